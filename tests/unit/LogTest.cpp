#include "shell/Log.h"
#include "TempFolder.h"

#include <gtest/gtest.h>
#include <regex>

using namespace marrowleaf;

namespace {

class LogTest : public ::testing::Test {
protected:
    support::TempFolder folder;
    std::filesystem::path file = folder / "logs/Marrowleaf.log";

    void SetUp() override {
        Log::setEcho(false);
        Log::setFile(file);
    }
    void TearDown() override {
        Log::flush();
        Log::setFile({});
        Log::setEcho(true);
    }
};

}

TEST_F(LogTest, theFirstCallCreatesTheFileHoldingExactlyOneLine) {
    Log::write("INFO", "hello");
    Log::flush();
    const std::string text = support::readFile(file);
    EXPECT_TRUE(std::regex_match(text, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} INFO hello\n)")))
        << text;
}

TEST_F(LogTest, deletingTheFileWhileRunningStartsANewOne) {
    Log::info("first");
    Log::flush();
    std::filesystem::remove(file);
    Log::info("second");
    Log::flush();
    const std::string text = support::readFile(file);
    EXPECT_EQ(text.find("first"), std::string::npos);
    EXPECT_NE(text.find("INFO second\n"), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
}

TEST_F(LogTest, twoCallsInQuickSuccessionAreWrittenInCallOrder) {
    for (int i = 0; i < 200; ++i)
        Log::info("line " + std::to_string(i));
    Log::flush();
    const std::string text = support::readFile(file);
    std::size_t at = 0;
    for (int i = 0; i < 200; ++i) {
        const auto found = text.find("INFO line " + std::to_string(i) + "\n", at);
        ASSERT_NE(found, std::string::npos) << i;
        at = found;
    }
}

TEST_F(LogTest, aMessageWithLineFeedsIsWrittenAsIs) {
    Log::error("two\nlines");
    Log::flush();
    EXPECT_NE(support::readFile(file).find(" ERROR two\nlines\n"), std::string::npos);
}

TEST_F(LogTest, theFolderIsCreatedWhenTheFileIsSet) {
    EXPECT_TRUE(std::filesystem::is_directory(file.parent_path()));
}

TEST_F(LogTest, anUnwritableFileIsSwallowed) {
    Log::setFile(folder.path);   // a folder cannot be appended to
    Log::info("lost");
    Log::flush();
    Log::setFile(file);
    Log::info("kept");
    Log::flush();
    EXPECT_NE(support::readFile(file).find("kept"), std::string::npos);
}
