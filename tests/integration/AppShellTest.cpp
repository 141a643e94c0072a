#include "integration/Harness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

using namespace marrowleaf::testing;
namespace fs = std::filesystem;

namespace {

const std::regex launchingLine(
    R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3} INFO launching Marrowleaf [^ ,]+, notes in (.+))");

class AppShell : public ::testing::Test {
protected:
    XSession session;
    AppProcess app{session};

    bool waitForLogLines(std::size_t count) {
        return waitUntil([&] { return app.logLines().size() >= count; });
    }
    std::size_t launchingLines() {
        auto lines = app.logLines();
        return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [](const std::string& l) {
            return l.find(" launching ") != std::string::npos;
        }));
    }
    std::string diagnostics() {
        return "\nlog:\n" + readFile(app.logFile()) + "\nstandard error:\n" + app.standardError();
    }
    void quitAndWait() {
        const CommandResult quit = app.run({"--quit"});
        ASSERT_EQ(quit.exitCode, 0) << quit.err << diagnostics();
        ASSERT_EQ(app.wait(10s), 0) << diagnostics();
    }
};

}

TEST_F(AppShell, theFirstLineOfARunSaysItIsLaunchingWithTheVersionAndTheNotesFolder) {
    app.start();
    ASSERT_TRUE(waitForLogLines(1)) << diagnostics();
    std::smatch match;
    const std::string first = app.logLines().front();
    ASSERT_TRUE(std::regex_match(first, match, launchingLine)) << first;
    EXPECT_EQ(match[1].str(), app.defaultNotesFolder().string());
}

TEST_F(AppShell, everyRunStartsWithItsLaunchingLine) {
    app.start();
    ASSERT_TRUE(waitForLogLines(1)) << diagnostics();
    quitAndWait();
    const std::size_t firstRunLines = app.logLines().size();
    ASSERT_GE(firstRunLines, 1u);

    app.start();
    ASSERT_TRUE(waitForLogLines(firstRunLines + 1)) << diagnostics();
    const std::string firstOfSecondRun = app.logLines()[firstRunLines];
    EXPECT_TRUE(std::regex_match(firstOfSecondRun, launchingLine)) << firstOfSecondRun;
}

TEST_F(AppShell, aSecondLaunchHandsOverAndEndsWhileTheFirstKeepsRunning) {
    app.start();
    ASSERT_TRUE(waitForLogLines(1)) << diagnostics();

    const CommandResult second = app.run({});
    EXPECT_EQ(second.exitCode, 0) << second.err;
    EXPECT_TRUE(app.running());
    EXPECT_EQ(app.processesOfThisHome(), std::vector<pid_t>{app.pid()});

    // Everything the first instance logs about the hand-over is in the file once it has quit.
    quitAndWait();
    EXPECT_EQ(launchingLines(), 1u) << diagnostics();
}

TEST_F(AppShell, quitAsksTheRunningInstanceToEndCleanly) {
    app.start();
    ASSERT_TRUE(waitForLogLines(1)) << diagnostics();
    const CommandResult quit = app.run({"--quit"});
    EXPECT_EQ(quit.exitCode, 0) << quit.err;
    EXPECT_EQ(app.wait(10s), 0) << diagnostics();
    EXPECT_TRUE(app.processesOfThisHome().empty());
}

TEST_F(AppShell, makesTheDefaultNotesFolderUnderHome) {
    ASSERT_FALSE(fs::exists(app.defaultNotesFolder()));
    app.start();
    EXPECT_TRUE(waitUntil([&] { return fs::is_directory(app.defaultNotesFolder()); })) << diagnostics();
}

TEST_F(AppShell, makesTheNotesFolderGivenOnTheCommandLine) {
    const fs::path asked = app.home() / "elsewhere" / "my notes";
    app.start({"--notes-dir", asked.string()});
    EXPECT_TRUE(waitUntil([&] { return fs::is_directory(asked); })) << diagnostics();
    ASSERT_TRUE(waitForLogLines(1)) << diagnostics();
    std::smatch match;
    const std::string first = app.logLines().front();
    ASSERT_TRUE(std::regex_match(first, match, launchingLine)) << first;
    EXPECT_EQ(match[1].str(), asked.string());
    EXPECT_FALSE(fs::exists(app.defaultNotesFolder()));
}

TEST_F(AppShell, helpIsAnsweredWithoutStartingAnything) {
    const CommandResult help = app.run({"--help"});
    EXPECT_EQ(help.exitCode, 0) << help.err;
    EXPECT_NE(help.out.find("--notes-dir=PATH"), std::string::npos) << help.out;
    EXPECT_NE(help.out.find("--quit"), std::string::npos) << help.out;
    EXPECT_FALSE(fs::exists(app.logFile())) << "it launched:\n" << readFile(app.logFile());
    EXPECT_FALSE(fs::exists(app.defaultNotesFolder()));
    EXPECT_TRUE(app.processesOfThisHome().empty());
}

TEST_F(AppShell, versionIsAnsweredWithoutStartingAnything) {
    const CommandResult version = app.run({"--version"});
    EXPECT_EQ(version.exitCode, 0) << version.err;
    EXPECT_TRUE(std::regex_match(version.out, std::regex(R"(Marrowleaf \S+\n)"))) << version.out;
    EXPECT_FALSE(fs::exists(app.logFile()));
    EXPECT_TRUE(app.processesOfThisHome().empty());
}

TEST_F(AppShell, anUnknownOptionEndsWithStatusTwoWithoutStarting) {
    const CommandResult wrong = app.run({"--colour=blue"});
    EXPECT_EQ(wrong.exitCode, 2);
    EXPECT_NE(wrong.err.find("--colour"), std::string::npos) << wrong.err;
    EXPECT_FALSE(fs::exists(app.logFile()));
    EXPECT_TRUE(app.processesOfThisHome().empty());
}

TEST_F(AppShell, theNotesFolderCanBeGivenWithAnEqualsSign) {
    const fs::path asked = app.home() / "with equals";
    app.start({"--notes-dir=" + asked.string()});
    EXPECT_TRUE(waitUntil([&] { return fs::is_directory(asked); })) << diagnostics();
    EXPECT_FALSE(fs::exists(app.defaultNotesFolder()));
}

TEST_F(AppShell, quitWithNoInstanceRunningStartsNothing) {
    const CommandResult quit = app.run({"--quit"});
    EXPECT_EQ(quit.exitCode, 0) << quit.err;
    EXPECT_NE(quit.err.find("Marrowleaf is not running"), std::string::npos) << quit.err;
    EXPECT_FALSE(fs::exists(app.logFile())) << readFile(app.logFile());
    EXPECT_FALSE(fs::exists(app.defaultNotesFolder()));
    EXPECT_TRUE(app.processesOfThisHome().empty());
}
