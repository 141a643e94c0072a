#include "RegistryFixture.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

class StickiesSync : public RegistryFixture {};

}

TEST_F(StickiesSync, startOpensAWindowForEveryNoteFile) {
    writeNote("a", "# A");
    writeNote("b", "# B");
    registry->start();
    EXPECT_EQ(registry->controllers().size(), 2u);
    EXPECT_TRUE(shown("a"));
    EXPECT_EQ(controller("a").content, "# A");
    EXPECT_NE(window("a").pages.front().find("# A"), std::string::npos);
}

TEST_F(StickiesSync, aMissingPageLogsAndLeavesTheRegistryInert) {
    std::filesystem::remove(root / "share/sticky.html");
    writeNote("a", "text");
    registry->start();
    EXPECT_EQ(log.count("ERROR sticky.html not found"), 1u);
    EXPECT_TRUE(registry->controllers().empty());
    EXPECT_EQ(platform.folderEvents.watchCount(), 0u);
    EXPECT_EQ(platform.windowServer.watcherCount(), 0u);
}

TEST_F(StickiesSync, theNotesFolderIsCreatedBeforeTheWatcher) {
    std::filesystem::remove_all(notes);
    registry->start();
    EXPECT_TRUE(std::filesystem::is_directory(notes));
    EXPECT_EQ(platform.folderEvents.watchCount(), 1u);
}

TEST_F(StickiesSync, aNoteOnDesktopFiveOfThreeShowsOnTheLastDesktop) {
    AppState state;
    state.stickies["a"] = record(5);
    saveState(state);
    writeNote("a", "x");
    platform.windowServer.switchTo(3);
    registry->start();
    EXPECT_TRUE(shown("a"));
    EXPECT_EQ(controller("a").placed, SpaceId{3});
}

TEST_F(StickiesSync, desktopZeroOrNegativeCountsAsTheFirst) {
    AppState state;
    state.stickies["zero"] = record(0);
    state.stickies["negative"] = record(-4);
    saveState(state);
    writeNote("zero", "0");
    writeNote("negative", "-4");
    registry->start();
    EXPECT_EQ(controller("zero").placed, SpaceId{1});
    EXPECT_EQ(controller("negative").placed, SpaceId{1});
}

TEST_F(StickiesSync, sevenFilesWithoutRecordsCascadeInSixSteps) {
    registry->start();
    for (int i = 1; i <= 7; ++i)
        writeNote("n" + std::to_string(i), "note");
    folderChanged({"n1.md"});
    std::vector<double> offsets;
    for (int i = 1; i <= 7; ++i) {
        const Frame f = registry->appState().stickies.at("n" + std::to_string(i)).frame;
        offsets.push_back(f.y - (25 + 40));
        EXPECT_EQ(f.x, 1440 - 300 - offsets.back());
        EXPECT_EQ(f.w, 260);
        EXPECT_EQ(f.h, 220);
    }
    EXPECT_EQ(offsets, (std::vector<double>{0, 24, 48, 72, 96, 120, 0}));
}

TEST_F(StickiesSync, aStrayFileGetsAYellowRecordOnTheCurrentDesktopAndIsSaved) {
    platform.windowServer.switchTo(2);
    registry->start();
    writeNote("stray", "hello");
    folderChanged({"stray.md"});
    const Record r = stateOnDisk().stickies.at("stray");
    EXPECT_EQ(r.color, "yellow");
    EXPECT_EQ(r.desktop, 2);
    EXPECT_EQ(r.screen, "MAIN");
    EXPECT_EQ(r.pinned, std::nullopt);
}

TEST_F(StickiesSync, markdownFilesInTheTrashNeverTriggerASync) {
    registry->start();
    writeNote("new", "x");
    folderChanged({".trash/old.md"});
    EXPECT_FALSE(registry->controllers().count("new"));
}

TEST_F(StickiesSync, changesToOtherFileTypesDoNotTriggerASync) {
    registry->start();
    writeNote("new", "x");
    folderChanged({"notes.txt", ".stickies.json"});
    EXPECT_FALSE(registry->controllers().count("new"));
    folderChanged({"new.md"});
    EXPECT_TRUE(registry->controllers().count("new"));
}

TEST_F(StickiesSync, anEditByAnotherProgramReplacesThePageText) {
    writeNote("a", "old");
    registry->start();
    writeNote("a", "new </script> text");
    folderChanged({"a.md"});
    EXPECT_EQ(controller("a").content, "new </script> text");
    EXPECT_EQ(window("a").scripts.back(), R"(setContent(["new <\/script> text"][0]))");
}

TEST_F(StickiesSync, anUnchangedFileDoesNotDisturbThePage) {
    writeNote("a", "same");
    registry->start();
    folderChanged({"a.md"});
    EXPECT_TRUE(window("a").scripts.empty());
}

TEST_F(StickiesSync, aDeletedFileClosesItsWindowAndPrunesItsRecord) {
    writeNote("a", "x");
    registry->start();
    FakeNoteWindow* w = &window("a");
    EXPECT_EQ(w->closeCount, 0);
    std::filesystem::remove(notes / "a.md");
    folderChanged({"a.md"});
    platform.clock.advance(Stickies::vanishGrace);
    EXPECT_FALSE(registry->controllers().count("a"));
    EXPECT_FALSE(stateOnDisk().stickies.count("a"));
    EXPECT_EQ(platform.noteWindows.windows().size(), 0u);
}

TEST_F(StickiesSync, removingASelectedNotesFileRemovesItFromTheSelection) {
    writeNote("a", "x");
    registry->start();
    registry->setSelected("a", true);
    std::filesystem::remove(notes / "a.md");
    folderChanged({"a.md"});
    platform.clock.advance(Stickies::vanishGrace);
    EXPECT_TRUE(registry->selection().empty());
}

TEST_F(StickiesSync, recordsOfFilesDeletedWhileNotRunningArePruned) {
    AppState state;
    state.stickies["gone"] = record();
    state.stickies["here"] = record();
    saveState(state);
    writeNote("here", "x");
    registry->start();
    EXPECT_EQ(stateOnDisk().stickies.size(), 1u);
    EXPECT_TRUE(stateOnDisk().stickies.count("here"));
}

TEST_F(StickiesSync, aNoteThatIsNotUtf8IsSkippedAndItsRecordKept) {
    AppState state;
    state.stickies["latin"] = record();
    saveState(state);
    writeNote("latin", "caf\xE9");
    registry->start();
    EXPECT_FALSE(registry->controllers().count("latin"));
    EXPECT_TRUE(registry->appState().stickies.count("latin"));
    EXPECT_EQ(noteText("latin"), "caf\xE9");
}

TEST_F(StickiesSync, aNoteOnADesktopThatIsNotInFrontIsPlacedThereAtOnce) {
    AppState state;
    state.stickies["far"] = record(3);
    saveState(state);
    writeNote("far", "x");
    registry->start();
    EXPECT_EQ(platform.windowServer.moves,
              (std::vector<FakeWindowServer::Move>{{window("far").windowNumber(), 3}}));
    EXPECT_TRUE(controller("far").visible);
    EXPECT_EQ(controller("far").placed, SpaceId{3});
    EXPECT_EQ(window("far").alpha, 1);
}

TEST_F(StickiesSync, aNoteThatCannotBePlacedRemotelyWaitsForItsDesktopAndIsNotTriedAgain) {
    AppState state;
    state.stickies["far"] = record(3);
    saveState(state);
    writeNote("far", "x");
    platform.windowServer.spacesAfterMove = std::vector<SpaceId>{};   // the move goes nowhere
    registry->start();
    EXPECT_FALSE(controller("far").visible);
    EXPECT_TRUE(controller("far").remoteTried);
    EXPECT_FALSE(window("far").orderedIn);
    registry->refresh();
    EXPECT_EQ(platform.windowServer.moves.size(), 1u);
    platform.windowServer.switchTo(3);
    EXPECT_TRUE(shown("far"));
    EXPECT_EQ(platform.windowServer.moves.size(), 1u);
}

TEST_F(StickiesSync, noRemotePlacementIsTriedWhileAFullScreenWindowHasTheFocus) {
    AppState state;
    state.stickies["far"] = record(2);
    saveState(state);
    writeNote("far", "x");
    platform.windowServer.focused = 99;   // not an ordinary desktop
    registry->start();
    EXPECT_TRUE(platform.windowServer.moves.empty());
    EXPECT_TRUE(controller("far").remoteTried);
}

TEST_F(StickiesSync, switchingDesktopsShowsThatDesktopsNotes) {
    AppState state;
    state.stickies["one"] = record(1);
    state.stickies["two"] = record(2);
    saveState(state);
    writeNote("one", "1");
    writeNote("two", "2");
    platform.windowServer.spacesAfterMove = std::vector<SpaceId>{};
    registry->start();
    EXPECT_TRUE(shown("one"));
    EXPECT_FALSE(shown("two"));
    platform.windowServer.switchTo(2);
    EXPECT_TRUE(shown("two"));
    EXPECT_EQ(controller("two").placed, SpaceId{2});
}

TEST_F(StickiesSync, notesOfAHiddenDesktopStayOffScreen) {
    AppState state;
    state.stickies["a"] = record(1);
    state.hidden["MAIN:1"] = true;
    saveState(state);
    writeNote("a", "x");
    registry->start();
    EXPECT_FALSE(shown("a"));
}

TEST_F(StickiesSync, aSnoozedNoteStaysOffScreen) {
    AppState state;
    state.stickies["a"] = record();
    state.stickies["a"].snoozeUntil = morning + 3600;
    saveState(state);
    writeNote("a", "x");
    registry->start();
    EXPECT_FALSE(shown("a"));
}

TEST_F(StickiesSync, aSnoozedNoteDueThisVerySecondIsShown) {
    writeNote("a", "x");
    registry->start();
    post("a", {{"t", "snooze"}, {"at", (morning + 10) * 1000}});
    registry->refresh();
    EXPECT_FALSE(shown("a"));
    platform.clock.set(morning + 10);
    registry->refresh();
    EXPECT_TRUE(shown("a"));
}

TEST_F(StickiesSync, aPinnedNoteFloatsAndLevelsAreOnlySetWhenTheyDiffer) {
    AppState state;
    state.stickies["a"] = record();
    state.stickies["a"].pinned = true;
    saveState(state);
    writeNote("a", "x");
    registry->start();
    EXPECT_EQ(window("a").level(), WindowLevel::floating);
    const auto levelsSet = window("a").levels.size();
    registry->refresh();
    registry->refresh();
    EXPECT_EQ(window("a").levels.size(), levelsSet);
}

TEST_F(StickiesSync, aFrameOffTheScreenIsPulledBackWhenOpened) {
    AppState state;
    state.stickies["a"] = record(1, {5000, 3000, 260, 220});
    saveState(state);
    writeNote("a", "x");
    registry->start();
    const Frame f = registry->appState().stickies.at("a").frame;
    EXPECT_LE(f.x + f.w, 1440 + 6);
    EXPECT_LE(f.y + f.h, 900 + 6);
}

TEST_F(StickiesSync, aNoteOfAnUnknownDisplayShowsOnThePrimaryOne) {
    AppState state;
    state.stickies["a"] = record();
    state.stickies["a"].screen = "UNPLUGGED";
    saveState(state);
    writeNote("a", "x");
    registry->start();
    EXPECT_TRUE(shown("a"));
}

TEST_F(StickiesSync, aSelectedNoteThatLeavesTheScreenIsDeselected) {
    writeNote("a", "x");
    registry->start();
    registry->setSelected("a", true);
    platform.windowServer.switchTo(2);
    EXPECT_TRUE(registry->selection().empty());
    EXPECT_EQ(window("a").scripts.back(), "setSelected(false)");
}

TEST_F(StickiesSync, aScreenChangeRefreshesHalfASecondLater) {
    AppState state;
    state.stickies["a"] = record(1);
    state.stickies["a"].snoozeUntil = morning + 1;
    saveState(state);
    writeNote("a", "x");
    registry->start();
    platform.clock.advance(1.2);   // awake now, but nothing has looked since
    ASSERT_FALSE(shown("a"));
    platform.screens.change(platform.screens.screens);
    platform.clock.advance(0.4);
    EXPECT_FALSE(shown("a"));
    platform.clock.advance(0.1);
    EXPECT_TRUE(shown("a"));
}

TEST_F(StickiesSync, anyOnScreenIsTrueOnlyForAVisibleNoteOnAnActiveDesktop) {
    registry->start();
    EXPECT_FALSE(registry->anyOnScreen());
    writeNote("a", "x");
    folderChanged({"a.md"});
    EXPECT_TRUE(registry->anyOnScreen());
    platform.windowServer.switchTo(2);
    EXPECT_FALSE(registry->anyOnScreen());
}

TEST_F(StickiesSync, commitFramesStoresTheWindowsFrameScreenAndDesktop) {
    writeNote("a", "x");
    registry->start();
    window("a").setFrame({300, 310, 280, 240});
    platform.windowServer.windowSpaces[window("a").windowNumber()] = {2};
    registry->commitFrames({"a", "unknown"});
    const Record r = stateOnDisk().stickies.at("a");
    EXPECT_EQ(r.frame, (Frame{300, 310, 280, 240}));
    EXPECT_EQ(r.desktop, 2);
    EXPECT_EQ(r.screen, "MAIN");
}

TEST_F(StickiesSync, quittingWritesTheStateHeldInMemory) {
    writeNote("a", "x");
    registry->start();
    post("a", {{"t", "color"}, {"name", "green"}});
    std::filesystem::remove(notes / ".stickies.json");
    registry->saveAll();
    EXPECT_EQ(stateOnDisk().stickies.at("a").color, "green");
}

TEST_F(StickiesSync, aCorruptStateFileCostsNoNote) {
    writeFile(notes / ".stickies.json", "{ not json");
    writeNote("a", "precious");
    registry->start();
    EXPECT_EQ(log.count("ERROR can't read "), 1u);
    EXPECT_TRUE(shown("a"));
    EXPECT_EQ(noteText("a"), "precious");
    EXPECT_TRUE(stateOnDisk().stickies.count("a"));
}

// ---------------------------------------------------------------- pages at start

namespace {

class StickiesStartPages : public RegistryFixture {
protected:
    // "front" on desktop 1 (in front), "second" on 2, "third" on 3.
    void SetUp() override {
        RegistryFixture::SetUp();
        AppState state;
        state.stickies["front"] = record(1);
        state.stickies["second"] = record(2);
        state.stickies["third"] = record(3);
        saveState(state);
        writeNote("front", "in front");
        writeNote("second", "on two");
        writeNote("third", "on three");
    }

    std::size_t pagesOf(const std::string& id) { return window(id).pages.size(); }
};

}

TEST_F(StickiesStartPages, notesElsewhereLoadTheirPagesOnceEveryNoteInFrontHasStarted) {
    registry->start();
    EXPECT_EQ(pagesOf("front"), 1u);
    EXPECT_EQ(pagesOf("second"), 0u);
    EXPECT_EQ(pagesOf("third"), 0u);
    post("front", {{"t", "bar"}, {"w", 90}});
    EXPECT_EQ(pagesOf("second"), 1u);
    EXPECT_EQ(pagesOf("third"), 1u);
    EXPECT_NE(window("second").pages.front().find("on two"), std::string::npos);
    // The pages elsewhere are placed on their desktops all the same.
    EXPECT_EQ(controller("second").placed, SpaceId{2});
}

TEST_F(StickiesStartPages, notesElsewhereWaitASecondAtMost) {
    registry->start();
    platform.clock.advance(PageSchedule::waitingDelay - 0.1);
    EXPECT_EQ(pagesOf("second"), 0u);
    platform.clock.advance(0.1);
    EXPECT_EQ(pagesOf("second"), 1u);
    EXPECT_EQ(pagesOf("third"), 1u);
    // A late start of the page in front loads nothing twice.
    post("front", {{"t", "bar"}, {"w", 90}});
    EXPECT_EQ(pagesOf("second"), 1u);
    EXPECT_EQ(pagesOf("front"), 1u);
}

TEST_F(StickiesStartPages, anotherDesktopInFrontLoadsTheWaitingPagesAtOnce) {
    registry->start();
    platform.windowServer.switchTo(2);
    EXPECT_EQ(pagesOf("second"), 1u);
    EXPECT_EQ(pagesOf("third"), 1u);
    EXPECT_TRUE(shown("second"));
}

TEST_F(StickiesStartPages, aWaitingPageIsBuiltFromTheTextTheNoteHasWhenItLoads) {
    registry->start();
    writeNote("second", "changed on two");
    folderChanged({"second.md"});
    EXPECT_EQ(controller("second").content, "changed on two");
    post("front", {{"t", "bar"}, {"w", 90}});
    ASSERT_EQ(pagesOf("second"), 1u);
    EXPECT_NE(window("second").pages.front().find("changed on two"), std::string::npos);
}

TEST_F(StickiesStartPages, jumpingToAWaitingNoteLoadsItsPage) {
    registry->start();
    registry->front("third");
    EXPECT_EQ(pagesOf("third"), 1u);
    EXPECT_EQ(pagesOf("second"), 0u);
}

TEST_F(StickiesStartPages, withNoNoteInFrontNoPageWaits) {
    std::filesystem::remove(notes / "front.md");
    registry->start();
    EXPECT_EQ(pagesOf("second"), 1u);
    EXPECT_EQ(pagesOf("third"), 1u);
}

TEST_F(StickiesSync, aTinyFrameShowsAsTheSmallestNoteOnScreenAndIsWrittenBackSo) {
    AppState state;
    state.stickies["tiny"] = record(1, {1435, 895, 5, 5});
    saveState(state);
    writeNote("tiny", "can you see me");
    registry->start();
    const Rect frame = controller("tiny").window().frame();
    EXPECT_GE(frame.width, 170);
    EXPECT_GE(frame.height, 110);
    const Rect visible = platform.screens.screens.front().visibleFrame;
    EXPECT_GE(std::min(frame.maxX(), visible.maxX()) - std::max(frame.minX(), visible.minX()), 170 - 6);
    EXPECT_GE(std::min(frame.maxY(), visible.maxY()) - std::max(frame.minY(), visible.minY()), 110 - 6);
    registry->commitFrames({"tiny"});
    registry->saveAll();
    EXPECT_TRUE(stateOnDisk().stickies.at("tiny").frame.drawable());
    EXPECT_GE(stateOnDisk().stickies.at("tiny").frame.w, 170);
}

TEST_F(StickiesSync, aNegativeWidthInTheStateFileNeverReachesTheWindowOrTheFileAgain) {
    writeFile(notes / ".stickies.json",
              R"({"stickies": {"bent": {"screen":"MAIN","desktop":1,"color":"blue","pinned":true,)"
              R"("frame":{"x":300,"y":200,"w":-260,"h":220}}}})");
    writeNote("bent", "text");
    registry->start();
    EXPECT_EQ(log.count("WARN the frame of bent in the state file can't be shown"), 1u);
    const Rect frame = controller("bent").window().frame();
    EXPECT_GT(frame.width, 0);
    EXPECT_GT(frame.height, 0);
    registry->saveAll();
    const Record written = stateOnDisk().stickies.at("bent");
    EXPECT_TRUE(written.frame.drawable());
    EXPECT_EQ(written.color, "blue");
    EXPECT_EQ(written.pinned, true);
}
