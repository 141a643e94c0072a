// The login item as an XDG autostart entry, read back the way a session reads it.
#include "platform/linux/AutostartLoginItem.h"
#include "integration/Harness.h"

#include <gio/gdesktopappinfo.h>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace marrowleaf;
using namespace marrowleaf::testing;
namespace fs = std::filesystem;

namespace {

class AutostartLoginItemTest : public ::testing::Test {
protected:
    TemporaryFolder home{"marrowleaf-autostart"};
    fs::path entry = home / "config/autostart/marrowleaf.desktop";
    fs::path program = home / "bin/marrowleaf";
    fs::path ran = home / "ran";

    void SetUp() override { makeProgram(program); }

    // A program that writes the path it was started as into `ran`.
    void makeProgram(const fs::path& path) {
        writeFile(path, "#!/bin/sh\nprintf '%s' \"$0\" > '" + ran.string() + "'\n");
        fs::permissions(path, fs::perms::owner_all);
    }

    // Starts what the entry says, as a session does at login; whether it could.
    bool startAsASessionWould() {
        GDesktopAppInfo* info = g_desktop_app_info_new_from_filename(entry.c_str());
        if (!info) return false;
        const bool launched = g_app_info_launch(G_APP_INFO(info), nullptr, nullptr, nullptr);
        g_object_unref(info);
        return launched;
    }

    // The path of the program the entry started; empty when nothing ran.
    std::string startedProgram() {
        if (!startAsASessionWould()) return {};
        waitUntil([&] { return fs::exists(ran) && !readFile(ran).empty(); });
        return readFile(ran);
    }
};

}

TEST_F(AutostartLoginItemTest, aMissingEntryIsOff) {
    AutostartLoginItem item(entry, program);
    EXPECT_TRUE(item.available());
    EXPECT_FALSE(item.enabled());
}

TEST_F(AutostartLoginItemTest, turningItOnWritesAnEntryThatStartsTheProgram) {
    AutostartLoginItem item(entry, program);
    ASSERT_FALSE(item.setEnabled(true).failed());
    EXPECT_TRUE(item.enabled());
    EXPECT_EQ(startedProgram(), program.string()) << readFile(entry);
    const std::string text = readFile(entry);
    EXPECT_NE(text.find("Type=Application\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Name=Marrowleaf\n"), std::string::npos) << text;
}

TEST_F(AutostartLoginItemTest, turningItOffRemovesTheEntry) {
    AutostartLoginItem item(entry, program);
    ASSERT_FALSE(item.setEnabled(true).failed());
    ASSERT_FALSE(item.setEnabled(false).failed());
    EXPECT_FALSE(fs::exists(entry));
    EXPECT_FALSE(item.enabled());
}

TEST_F(AutostartLoginItemTest, turningOffAnEntryThatIsNotThereIsNoFailure) {
    AutostartLoginItem item(entry, program);
    EXPECT_FALSE(item.setEnabled(false).failed());
}

TEST_F(AutostartLoginItemTest, anEntryMarkedHiddenIsOffAndTurningItOnReplacesIt) {
    writeFile(entry, "[Desktop Entry]\nType=Application\nExec=/somewhere/else\nHidden=true\n");
    AutostartLoginItem item(entry, program);
    EXPECT_FALSE(item.enabled());
    ASSERT_FALSE(item.setEnabled(true).failed());
    EXPECT_TRUE(item.enabled());
    EXPECT_EQ(readFile(entry).find("Hidden"), std::string::npos);
}

TEST_F(AutostartLoginItemTest, anEntryTheUserWroteCountsAsOn) {
    writeFile(entry, "[Desktop Entry]\nType=Application\nExec=marrowleaf --notes-dir ~/notes\n");
    EXPECT_TRUE(AutostartLoginItem(entry, program).enabled());
}

TEST_F(AutostartLoginItemTest, aProgramPathWithSpacesQuotesAndBackslashesStartsThatProgram) {
    const fs::path odd = home / "My Apps/it's \"quoted\" $HOME\\marrowleaf";
    makeProgram(odd);
    AutostartLoginItem item(entry, odd);
    ASSERT_FALSE(item.setEnabled(true).failed());
    EXPECT_EQ(startedProgram(), odd.string()) << readFile(entry);
}

// GLib itself won't start a program whose path holds a %, so the entry is read as text here.
TEST_F(AutostartLoginItemTest, aPercentSignInTheProgramPathIsWrittenTwiceSoItIsNoFieldCode) {
    EXPECT_EQ(AutostartLoginItem::execValue("/opt/100%/marrowleaf"), "/opt/100%%/marrowleaf");
    EXPECT_EQ(AutostartLoginItem::execValue("/opt/100% sure/marrowleaf"), "\"/opt/100%% sure/marrowleaf\"");
}

TEST_F(AutostartLoginItemTest, aFolderThatCantBeWrittenFailsWithAReasonNamingTheEntry) {
    if (geteuid() == 0) GTEST_SKIP() << "the superuser writes into read-only folders";
    fs::create_directories(entry.parent_path());
    fs::permissions(entry.parent_path(), fs::perms::owner_read | fs::perms::owner_exec);
    AutostartLoginItem item(entry, program);
    const Files::Result result = item.setEnabled(true);
    fs::permissions(entry.parent_path(), fs::perms::owner_all);
    ASSERT_TRUE(result.failed());
    EXPECT_NE(result.reason().find(entry.string()), std::string::npos) << result.reason();
    EXPECT_FALSE(item.enabled());
}

TEST_F(AutostartLoginItemTest, anAutostartPathThatIsAFileFailsWithAReason) {
    writeFile(home / "config/autostart", "not a folder");
    AutostartLoginItem item(entry, program);
    const Files::Result result = item.setEnabled(true);
    ASSERT_TRUE(result.failed());
    EXPECT_NE(result.reason().find("autostart"), std::string::npos) << result.reason();
    EXPECT_FALSE(item.enabled());
}

TEST_F(AutostartLoginItemTest, aProgramThatDoesNotKnowItsPathCantBeStartedAtLogin) {
    AutostartLoginItem item(entry, {});
    EXPECT_FALSE(item.available());
    EXPECT_TRUE(item.setEnabled(true).failed());
    EXPECT_FALSE(fs::exists(entry));
}

TEST_F(AutostartLoginItemTest, theRunningProgramIsFoundFromTheSystem) {
    EXPECT_EQ(AutostartLoginItem::runningProgram(), fs::canonical("/proc/self/exe"));
}
