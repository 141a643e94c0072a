// The tray menu over a registry: what it shows and when it is rebuilt.
#include "menubar/StatusMenu.h"
#include "RegistryFixture.h"

#include <gmock/gmock.h>

using namespace marrowleaf;
using namespace marrowleaf::support;
using ::testing::ElementsAre;

namespace {

class StatusMenuTest : public RegistryFixture {
protected:
    std::unique_ptr<StatusMenu> menu;
    int quits = 0;

    void SetUp() override {
        RegistryFixture::SetUp();
        menu = std::make_unique<StatusMenu>(*registry);
    }
    void TearDown() override {
        menu.reset();
        RegistryFixture::TearDown();
    }

    void startWith(const std::map<std::string, std::pair<std::string, std::int64_t>>& notesAndDesktops) {
        AppState state;
        for (const auto& [id, note] : notesAndDesktops) {
            writeNote(id, note.first);
            state.stickies[id] = record(note.second);
        }
        saveState(state);
        registry->start();
        menu->install([this] { ++quits; });
    }

    // What a full-screen window in front looks like to the window server.
    void fullScreenInFront() {
        auto& display = platform.windowServer.description.at(0);
        display.spaces.push_back({fullScreenSpace, std::nullopt, WindowServer::fullScreenType});
        platform.windowServer.switchTo(fullScreenSpace);
    }

    const FakeStatusItem& tray() { return platform.statusItem; }

    static constexpr SpaceId fullScreenSpace = 99;
};

}

TEST_F(StatusMenuTest, installingPutsTheItemInTheTrayWithItsMenu) {
    startWith({{"a", {"# Shopping\nmilk", 1}}});
    EXPECT_TRUE(tray().installed);
    EXPECT_EQ(tray().name, "Marrowleaf");
    EXPECT_FALSE(tray().badge);
    EXPECT_EQ(tray().tooltip, "Marrowleaf");
    EXPECT_EQ(tray().builds, 1);
    EXPECT_TRUE(tray().has("Shopping"));
}

TEST_F(StatusMenuTest, theBadgeSaysAnUpdateIsAvailable) {
    startWith({});
    menu->setBadge(true);
    EXPECT_TRUE(tray().badge);
    EXPECT_EQ(tray().tooltip, "Marrowleaf: update available");
}

TEST_F(StatusMenuTest, theMenuListsTheNotesOfTheDesktopInFrontOnly) {
    startWith({{"a", {"# Shopping\nmilk", 1}}, {"b", {"Plans for desktop two", 2}}});
    EXPECT_TRUE(tray().has("Shopping"));
    EXPECT_FALSE(tray().has("Plans for desktop two"));
    platform.windowServer.switchTo(2);
    platform.clock.runPending();
    EXPECT_FALSE(tray().has("Shopping"));
    EXPECT_TRUE(tray().has("Plans for desktop two"));
}

TEST_F(StatusMenuTest, aFullScreenWindowInFrontTakesNewStickyAwayRatherThanDisablingIt) {
    startWith({{"a", {"Shopping", 1}}});
    fullScreenInFront();
    platform.clock.runPending();
    EXPECT_FALSE(tray().has("New Sticky"));
    EXPECT_FALSE(tray().has("Shopping"));
    EXPECT_TRUE(tray().has("Full-screen app: stickies live on desktops"));
}

TEST_F(StatusMenuTest, changesInOneTurnOfTheMainQueueRebuildTheMenuOnce) {
    startWith({});
    menu->setNeedsRebuild();
    menu->setNeedsRebuild();
    menu->setNeedsRebuild();
    EXPECT_EQ(tray().builds, 1);
    platform.clock.runPending();
    EXPECT_EQ(tray().builds, 2);
    platform.clock.runPending();
    EXPECT_EQ(tray().builds, 2);
}

TEST_F(StatusMenuTest, theMenuFollowsADeleteAndItsUndo) {
    startWith({{"a", {"Shopping", 1}}});
    EXPECT_FALSE(tray().has("Undo Delete"));
    registry->deleteNotes({"a"}, false);
    platform.clock.runPending();
    EXPECT_TRUE(tray().has("Undo Delete"));
    EXPECT_FALSE(tray().has("Shopping"));

    tray().choose("Undo Delete");
    platform.clock.runPending();
    EXPECT_EQ(noteText("a"), "Shopping");
    EXPECT_TRUE(tray().has("Shopping"));
    EXPECT_FALSE(tray().has("Undo Delete"));
}

TEST_F(StatusMenuTest, buildingTwiceGivesTheSameRowsWithTheSameTags) {
    startWith({{"a", {"Shopping", 1}}, {"b", {"Errands", 1}}});
    const std::vector<MenuRow> first = tray().rows;
    menu->rebuild();
    ASSERT_EQ(tray().rows.size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i)
        EXPECT_TRUE(tray().rows[i].looksLike(first[i])) << first[i].title;
}

TEST_F(StatusMenuTest, aRebuildReplacesEveryActionOfTheMenuBefore) {
    startWith({{"a", {"Shopping", 1}}, {"b", {"Errands", 2}}});
    const int shoppingTag = tray().row("Shopping").tag;
    platform.windowServer.switchTo(2);
    platform.clock.runPending();
    // The same place in the menu now stands for the other desktop's note.
    EXPECT_EQ(tray().row("Errands").tag, shoppingTag);
    EXPECT_FALSE(tray().has("Shopping"));
    platform.windowServer.switchTo(1);
    platform.clock.runPending();
    const int focusedBefore = window("a").focusCount;
    tray().choose("Shopping");
    EXPECT_EQ(window("a").focusCount, focusedBefore + 1);
}

TEST_F(StatusMenuTest, newStickyFromTheMenuMakesANoteOnTheDesktopInFront) {
    startWith({});
    tray().choose("New Sticky");
    ASSERT_EQ(registry->appState().stickies.size(), 1u);
    EXPECT_EQ(registry->appState().stickies.begin()->second.desktop, 1);
}

TEST_F(StatusMenuTest, hidingFromTheMenuHidesTheNotesAndTheRowOffersToShowThem) {
    startWith({{"a", {"Shopping", 1}}});
    tray().choose("Hide Stickies on This Desktop");
    platform.clock.runPending();
    EXPECT_FALSE(shown("a"));
    EXPECT_TRUE(tray().has("Show Stickies on This Desktop"));
}

TEST_F(StatusMenuTest, choosingASnoozedNoteWakesIt) {
    startWith({{"a", {"Dentist", 1}}});
    post("a", {{"t", "snooze"}, {"at", (morning + 3600) * 1000}, {"label", "in 1 hour"}});
    platform.clock.runPending();
    ASSERT_TRUE(tray().has("Snoozed (click to bring back)"));
    const std::string row =
        "Dentist" + std::string(StatusMenu::snoozeSeparator) + registry->snoozed().at(0).label;
    tray().choose(row);
    platform.clock.runPending();
    EXPECT_FALSE(tray().has("Snoozed (click to bring back)"));
    EXPECT_FALSE(registry->appState().stickies.at("a").snoozeUntil);
}

TEST_F(StatusMenuTest, choosingAltClickTwiceRestoresTheSetting) {
    startWith({});
    EXPECT_EQ(tray().row("Alt-Click Desktop for New Sticky").check, MenuRow::Check::on);
    tray().choose("Alt-Click Desktop for New Sticky");
    EXPECT_EQ(platform.defaults.flag("AltClickNewSticky"), false);
    platform.clock.runPending();
    EXPECT_EQ(tray().row("Alt-Click Desktop for New Sticky").check, MenuRow::Check::off);
    tray().choose("Alt-Click Desktop for New Sticky");
    EXPECT_EQ(platform.defaults.flag("AltClickNewSticky"), true);
    EXPECT_TRUE(Config::altClickEnabled());
    platform.clock.runPending();
    EXPECT_EQ(tray().row("Alt-Click Desktop for New Sticky").check, MenuRow::Check::on);
}

TEST_F(StatusMenuTest, openAtLoginTurnsTheLoginItemOnAndOff) {
    startWith({});
    tray().choose("Open at Login");
    EXPECT_TRUE(platform.loginItem.on);
    platform.clock.runPending();
    EXPECT_EQ(tray().row("Open at Login").check, MenuRow::Check::on);
    tray().choose("Open at Login");
    EXPECT_FALSE(platform.loginItem.on);
    platform.clock.runPending();
    EXPECT_EQ(tray().row("Open at Login").check, MenuRow::Check::off);
}

TEST_F(StatusMenuTest, aLoginItemThatCantBeChangedIsLoggedAndSaidOnScreen) {
    platform.loginItem.refusal = "can't write autostart/marrowleaf.desktop: Permission denied";
    startWith({});
    tray().choose("Open at Login");
    EXPECT_THAT(
        log.lines(),
        ::testing::Contains("ERROR login item: can't write autostart/marrowleaf.desktop: Permission denied"));
    EXPECT_EQ(hudText(), "Couldn't change login item");
    platform.clock.advance(1.39);
    EXPECT_EQ(hudText(), "Couldn't change login item");
    platform.clock.advance(0.02);
    EXPECT_EQ(hudText(), "");
    EXPECT_EQ(tray().row("Open at Login").check, MenuRow::Check::off);
}

TEST_F(StatusMenuTest, openAtLoginIsLeftOutWhenTheProgramCantBeStartedAtLogin) {
    platform.loginItem.canStart = false;
    startWith({});
    EXPECT_FALSE(tray().has("Open at Login"));
}

TEST_F(StatusMenuTest, leaveATipRemembersItWasOpenedAndOpensTheSupportPage) {
    startWith({});
    tray().choose("Leave a Tip\u2026");
    EXPECT_EQ(platform.defaults.flag("TipLinkOpened"), true);
    EXPECT_THAT(platform.workspace.opened, ElementsAre(Config::supportURL()));
}

TEST_F(StatusMenuTest, theAboutPanelNamesTheProgramItsVersionAndWhereToLeaveATip) {
    startWith({});
    tray().choose("About Marrowleaf");
    ASSERT_TRUE(tray().about);
    EXPECT_EQ(tray().about->name, "Marrowleaf");
    EXPECT_EQ(tray().about->version, Config::version());
    EXPECT_EQ(tray().about->credits, "Free, always. Leave a tip at marrowleaf.app/tip");
    EXPECT_EQ(platform.workspace.activations, 1);
}

TEST_F(StatusMenuTest, theCreditsNameTheSupportPageWithoutItsScheme) {
    EXPECT_EQ(StatusMenu::aboutCredits(), "Free, always. Leave a tip at marrowleaf.app/tip");
}

TEST_F(StatusMenuTest, openStickiesFolderOpensTheNotesFolder) {
    startWith({});
    tray().choose("Open Stickies Folder");
    EXPECT_THAT(platform.workspace.opened, ElementsAre(notes.string()));
}

TEST_F(StatusMenuTest, openTrashMakesTheTrashFolderWhenMissingAndOpensIt) {
    startWith({});
    std::filesystem::remove_all(notes / ".trash");
    tray().choose("Open Trash");
    EXPECT_TRUE(std::filesystem::is_directory(notes / ".trash"));
    EXPECT_THAT(platform.workspace.opened, ElementsAre((notes / ".trash").string()));
}

TEST_F(StatusMenuTest, openTrashStillAsksWhenTheTrashFolderCantBeMade) {
    startWith({});
    std::filesystem::remove_all(notes / ".trash");
    FaultyFiles faulty;
    faulty.failCreate = "Read-only file system";
    Store::useFiles(&faulty);
    tray().choose("Open Trash");
    Store::useFiles(nullptr);
    EXPECT_THAT(platform.workspace.opened, ElementsAre((notes / ".trash").string()));
}

TEST_F(StatusMenuTest, quitRunsTheApplicationsQuit) {
    startWith({});
    tray().choose("Quit Marrowleaf");
    EXPECT_EQ(quits, 1);
}

TEST_F(StatusMenuTest, aRebuildAskedForByAMenuThatIsGoneDoesNothing) {
    startWith({});
    menu->setNeedsRebuild();
    menu.reset();
    platform.clock.runPending();
    EXPECT_EQ(tray().builds, 1);
}
