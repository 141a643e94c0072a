#include "shell/Config.h"
#include "TempFolder.h"
#include "platform/fake/FakePlatform.h"

#include <gtest/gtest.h>

using namespace marrowleaf;
namespace fs = std::filesystem;

namespace {

class ConfigTest : public ::testing::Test {
protected:
    FakePlatform platform;

    void configure(std::optional<std::string> notesDirOption, std::map<std::string, std::string> environment = {},
                   std::string program = "marrowleaf") {
        ConfigSources sources;
        sources.arguments = {std::move(program)};
        sources.notesDirOption = std::move(notesDirOption);
        sources.home = "/home/someone";
        sources.appName = "Marrowleaf";
        sources.version = "1.2";
        sources.environment = [environment](const std::string& name) -> std::optional<std::string> {
            auto found = environment.find(name);
            if (found == environment.end()) return std::nullopt;
            return found->second;
        };
        Config::configure(sources);
    }
};

}

TEST_F(ConfigTest, notesDirOptionWithATildePathExpandsToTheHomeFolder) {
    configure("~/x");
    EXPECT_EQ(Config::notesDir(), fs::path("/home/someone/x"));
}

TEST_F(ConfigTest, anEmptyNotesDirOptionFallsThroughToTheUserDefault) {
    platform.defaults.setText("NotesDirectory", "/srv/notes");
    configure("");
    EXPECT_EQ(Config::notesDir(), fs::path("/srv/notes"));
}

TEST_F(ConfigTest, anEmptyNotesDirOptionWithoutUserDefaultUsesHomeNotesStickies) {
    configure("");
    EXPECT_EQ(Config::notesDir(), fs::path("/home/someone/Notes/stickies"));
}

TEST_F(ConfigTest, theArgumentWinsOverTheUserDefault) {
    platform.defaults.setText("NotesDirectory", "/srv/notes");
    configure("/tmp/argument");
    EXPECT_EQ(Config::notesDir(), fs::path("/tmp/argument"));
}

TEST_F(ConfigTest, theUserDefaultExpandsATilde) {
    platform.defaults.setText("NotesDirectory", "~/Documents/stickies");
    configure(std::nullopt);
    EXPECT_EQ(Config::notesDir(), fs::path("/home/someone/Documents/stickies"));
}

TEST_F(ConfigTest, aRelativeNotesDirIsKeptAsGiven) {
    configure("relative/notes");
    EXPECT_EQ(Config::notesDir(), fs::path("relative/notes"));
}

TEST_F(ConfigTest, notesDirIsFixedOnFirstUse) {
    configure(std::nullopt);
    const auto first = Config::notesDir();
    platform.defaults.setText("NotesDirectory", "/elsewhere");
    EXPECT_EQ(Config::notesDir(), first);
}

TEST_F(ConfigTest, altClickStoredAsTheTextNOReadsAsTrue) {
    platform.defaults.setText("AltClickNewSticky", "NO");
    configure(std::nullopt);
    EXPECT_TRUE(Config::altClickEnabled());
}

TEST_F(ConfigTest, altClickStoredAsFalseReadsAsFalse) {
    platform.defaults.setFlag("AltClickNewSticky", false);
    configure(std::nullopt);
    EXPECT_FALSE(Config::altClickEnabled());
}

TEST_F(ConfigTest, aBuildWithoutVersionReportsDev) {
    ConfigSources sources;
    sources.arguments = {"marrowleaf"};
    Config::configure(sources);
    EXPECT_EQ(Config::version(), "dev");
    EXPECT_EQ(Config::appName(), "Marrowleaf");
}

TEST_F(ConfigTest, aBuildWithVersionReportsIt) {
    configure(std::nullopt);
    EXPECT_EQ(Config::version(), "1.2");
}

TEST_F(ConfigTest, stickyPageThreeFoldersAboveTheExecutableIsFound) {
    support::TempFolder root;
    support::writeFile(root / "Resources/sticky.html", "<html></html>");
    const fs::path program = root.path / "a/b/c/marrowleaf";
    support::writeFile(program, "");
    configure(std::nullopt, {}, program.string());
    EXPECT_EQ(Config::stickyHTML(), root.path / "Resources/sticky.html");
}

TEST_F(ConfigTest, stickyPageSevenFoldersAboveTheExecutableIsNotFound) {
    support::TempFolder root;
    support::writeFile(root / "Resources/sticky.html", "<html></html>");
    const fs::path program = root.path / "a/b/c/d/e/f/g/marrowleaf";
    support::writeFile(program, "");
    configure(std::nullopt, {}, program.string());
    EXPECT_EQ(Config::stickyHTML(), std::nullopt);
}

TEST_F(ConfigTest, stickyPageIsFoundThroughASymbolicLinkToTheExecutable) {
    support::TempFolder root;
    support::writeFile(root / "app/Resources/sticky.html", "<html></html>");
    support::writeFile(root / "app/bin/marrowleaf", "");
    fs::create_directories(root / "elsewhere");
    fs::create_symlink(root / "app/bin/marrowleaf", root / "elsewhere/marrowleaf");
    configure(std::nullopt, {}, (root / "elsewhere/marrowleaf").string());
    EXPECT_EQ(Config::stickyHTML(), root.path / "app/Resources/sticky.html");
}

TEST_F(ConfigTest, theInstalledDataFolderComesFirst) {
    support::TempFolder root;
    support::writeFile(root / "share/marrowleaf/sticky.html", "installed");
    support::writeFile(root / "bin/Resources/sticky.html", "beside");
    support::writeFile(root / "bin/marrowleaf", "");
    ConfigSources sources;
    sources.arguments = {(root / "bin/marrowleaf").string()};
    sources.dataDirs = {root / "share/marrowleaf"};
    Config::configure(sources);
    EXPECT_EQ(Config::stickyHTML(), root.path / "share/marrowleaf/sticky.html");
}

TEST_F(ConfigTest, logAndConfigFollowTheXdgFolders) {
    configure(std::nullopt, {{"XDG_STATE_HOME", "/var/state"}, {"XDG_CONFIG_HOME", "/etc/me"}});
    EXPECT_EQ(Config::logFile(), fs::path("/var/state/marrowleaf/Marrowleaf.log"));
    EXPECT_EQ(Config::configDir(), fs::path("/etc/me/marrowleaf"));
}

TEST_F(ConfigTest, logAndConfigDefaultUnderHomeWhenXdgIsUnsetOrRelative) {
    configure(std::nullopt, {{"XDG_STATE_HOME", "relative"}});
    EXPECT_EQ(Config::logFile(), fs::path("/home/someone/.local/state/marrowleaf/Marrowleaf.log"));
    EXPECT_EQ(Config::configDir(), fs::path("/home/someone/.config/marrowleaf"));
}

TEST_F(ConfigTest, theIconsAreFoundInTheResourcesOfABuildLikeThePage) {
    support::TempFolder root;
    support::writeFile(root / "Resources/icons/marrowleaf-note-symbolic.svg", "<svg/>");
    const fs::path program = root.path / "build/marrowleaf";
    support::writeFile(program, "");
    configure(std::nullopt, {}, program.string());
    EXPECT_EQ(Config::iconsDir(), root.path / "Resources/icons");
}

TEST_F(ConfigTest, theInstalledIconsComeFirst) {
    support::TempFolder root;
    support::writeFile(root / "share/marrowleaf/icons/marrowleaf-note-symbolic.svg", "<svg/>");
    support::writeFile(root / "bin/Resources/icons/marrowleaf-note-symbolic.svg", "<svg/>");
    support::writeFile(root / "bin/marrowleaf", "");
    ConfigSources sources;
    sources.arguments = {(root / "bin/marrowleaf").string()};
    sources.dataDirs = {root / "share/marrowleaf"};
    Config::configure(sources);
    EXPECT_EQ(Config::iconsDir(), root.path / "share/marrowleaf/icons");
}

TEST_F(ConfigTest, aFileNamedIconsIsNoIconsFolder) {
    support::TempFolder root;
    support::writeFile(root / "Resources/icons", "not a folder");
    support::writeFile(root / "bin/marrowleaf", "");
    configure(std::nullopt, {}, (root / "bin/marrowleaf").string());
    EXPECT_EQ(Config::iconsDir(), std::nullopt);
}

TEST_F(ConfigTest, theAutostartEntryFollowsTheXdgConfigFolder) {
    configure(std::nullopt, {{"XDG_CONFIG_HOME", "/etc/me"}});
    EXPECT_EQ(Config::autostartFile(), fs::path("/etc/me/autostart/marrowleaf.desktop"));
    configure(std::nullopt);
    EXPECT_EQ(Config::autostartFile(), fs::path("/home/someone/.config/autostart/marrowleaf.desktop"));
}
