#include "RegistryFixture.h"

#include "geometry/Snap.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

// The display is 1440 × 900 with a 25-point bar at the top; three shared desktops.
class StickiesNew : public RegistryFixture {
protected:
    static constexpr SpaceId fullScreenSpace = 99;

    void SetUp() override {
        RegistryFixture::SetUp();
        platform.screens.screens = {
            FakeScreens::display(1, "MAIN", {0, 0, 1440, 900}, Rect{0, 25, 1440, 875})};
    }

    // The id of the one note made since the start, and its record.
    std::string made() {
        for (const auto& [id, record] : registry->appState().stickies)
            if (id.rfind("sticky-", 0) == 0) return id;
        return "";
    }
    const Record& madeRecord() { return registry->appState().stickies.at(made()); }

    // A note seeded before the start.
    void seedNote(const std::string& id, const std::string& color, Frame frame, std::int64_t desktop = 1) {
        AppState state = stateOnDiskOrEmpty();
        Record note = record(desktop, frame);
        note.color = color;
        state.stickies[id] = note;
        saveState(state);
        writeNote(id, id);
    }

    AppState stateOnDiskOrEmpty() {
        return std::filesystem::exists(notes / ".stickies.json") ? stateOnDisk() : AppState{};
    }

    void fullScreenInFront() {
        auto& display = platform.windowServer.description.at(0);
        display.spaces.push_back({fullScreenSpace, std::nullopt, WindowServer::fullScreenType});
        platform.windowServer.switchTo(fullScreenSpace);
    }
};

}

TEST_F(StickiesNew, anAltClickFarFromOtherNotesMakesAYellowNoteJustBelowRightOfTheClick) {
    registry->start();
    platform.screens.pointerAt = {500, 400};
    registry->newSticky(Stickies::Placement::desktopClick);
    EXPECT_EQ(madeRecord().color, "yellow");
    EXPECT_EQ(madeRecord().frame, (Frame{488, 380, 260, 220}));
}

TEST_F(StickiesNew, aHotKeyNoteIsCentredOnThePointer) {
    registry->start();
    platform.screens.pointerAt = {700, 400};
    registry->newSticky(Stickies::Placement::mouse);
    EXPECT_EQ(madeRecord().frame, (Frame{570, 380, 260, 220}));
}

TEST_F(StickiesNew, aMenuNoteIsCentredAcrossAndAThirdDownTheScreen) {
    registry->start();
    platform.screens.pointerAt = {20, 800};
    registry->newSticky(Stickies::Placement::screen);
    EXPECT_EQ(madeRecord().frame, (Frame{590, 25 + (875 - 220) / 3.0, 260, 220}));
}

TEST_F(StickiesNew, aNoteMadeNearABlueNoteTakesItsColourAndSize) {
    seedNote("blue", "blue", {400, 300, 300, 200});
    registry->start();
    platform.screens.pointerAt = {900, 400};   // 200 points right of the blue note's body
    registry->newSticky(Stickies::Placement::desktopClick);
    EXPECT_EQ(madeRecord().color, "blue");
    EXPECT_EQ(madeRecord().frame.w, 300);
    EXPECT_EQ(madeRecord().frame.h, 200);
}

TEST_F(StickiesNew, aNoteBeyondReachLendsNothing) {
    seedNote("blue", "blue", {100, 300, 300, 200});
    registry->start();
    EXPECT_EQ(registry->templateFor({100 + 300 - 6 + 250, 400}), (Stickies::Template{"yellow", 260, 220}));
    EXPECT_EQ(registry->templateFor({100 + 300 - 6 + 249, 400}), (Stickies::Template{"blue", 300, 200}));
}

TEST_F(StickiesNew, theNearestOfTwoNotesLendsItsLook) {
    seedNote("blue", "blue", {100, 300, 300, 200});
    seedNote("green", "green", {700, 300, 200, 150});
    registry->start();
    EXPECT_EQ(registry->templateFor({650, 350}).color, "green");
    EXPECT_EQ(registry->templateFor({450, 350}).color, "blue");
}

TEST_F(StickiesNew, aNoteOnAnotherDesktopLendsNothing) {
    seedNote("blue", "blue", {400, 300, 300, 200}, 2);
    registry->start();
    EXPECT_EQ(registry->templateFor({500, 350}).color, "yellow");
}

TEST_F(StickiesNew, aNoteMadeAtTheScreensEdgeIsPulledInsideTheVisibleArea) {
    registry->start();
    platform.screens.pointerAt = {1439, 899};
    registry->newSticky(Stickies::Placement::desktopClick);
    const Rect frame = madeRecord().frame.rect();
    EXPECT_LE(frame.maxX(), 1440 + Stickies::windowMargin);
    EXPECT_LE(frame.maxY(), 900 + Stickies::windowMargin);
    EXPECT_EQ(frame.width, 260);
    EXPECT_EQ(frame.height, 220);
}

TEST_F(StickiesNew, aNoteMadeUnderTheBarIsPulledBelowIt) {
    registry->start();
    platform.screens.pointerAt = {700, 26};
    registry->newSticky(Stickies::Placement::mouse);
    EXPECT_GE(madeRecord().frame.y, 25 - Stickies::windowMargin);
}

TEST_F(StickiesNew, aNoteMadeCloseBesideAnotherSnapsToIt) {
    AppState state;
    state.stickies["left"] = record(1, {300, 300, 260, 220});
    saveState(state);
    writeNote("left", "l");
    registry->start();
    // The click would put the new note 5 points lower than its neighbour, and beside it.
    platform.screens.pointerAt = {300 + 260 - Snap::overlap + 12 + 3, 300 + 20 + 5};
    registry->newSticky(Stickies::Placement::desktopClick);
    EXPECT_EQ(madeRecord().frame.y, 300);
}

TEST_F(StickiesNew, aMenuNoteIsNotSnapped) {
    AppState state;
    // A neighbour whose top edge is 5 points below where the menu's note goes.
    const double top = 25 + (875 - 220) / 3.0;
    state.stickies["other"] = record(1, {100, top + 5, 260, 220});
    saveState(state);
    writeNote("other", "o");
    registry->start();
    registry->newSticky(Stickies::Placement::screen);
    EXPECT_EQ(madeRecord().frame.y, top);
}

TEST_F(StickiesNew, aNewNoteHasAnEmptyFileARecordOnTheDesktopInFrontAndAnOpenEditor) {
    registry->start();
    platform.windowServer.switchTo(2);
    registry->newSticky(Stickies::Placement::mouse);
    const std::string id = made();
    EXPECT_EQ(noteText(id), "");
    EXPECT_EQ(stateOnDisk().stickies.at(id), madeRecord());
    EXPECT_EQ(madeRecord().screen, "MAIN");
    EXPECT_EQ(madeRecord().desktop, 2);
    EXPECT_FALSE(madeRecord().pinned);
    EXPECT_TRUE(shown(id));
    EXPECT_EQ(window(id).pages.back(), "<page color=\"yellow\" edit=true>\"\"</page>");
}

TEST_F(StickiesNew, aNewNoteIsNamedAfterTheTimeItWasMade) {
    registry->start();
    registry->newSticky(Stickies::Placement::mouse);
    registry->newSticky(Stickies::Placement::mouse);
    std::vector<std::string> ids;
    for (const auto& [id, record] : registry->appState().stickies)
        ids.push_back(id);
    EXPECT_EQ(ids.size(), 2u);
    EXPECT_EQ(ids[0].rfind("sticky-", 0), 0u);
    EXPECT_EQ(ids[1], ids[0] + "-2");
}

TEST_F(StickiesNew, aNewNoteGetsTheKeyboardAShortMomentAfterItIsMade) {
    registry->start();
    registry->newSticky(Stickies::Placement::mouse);
    FakeNoteWindow& made = window(this->made());
    const int before = made.focusCount;
    platform.clock.advance(Stickies::newFocusDelay - 0.01);
    EXPECT_EQ(made.focusCount, before);
    platform.clock.advance(0.01);
    EXPECT_EQ(made.focusCount, before + 1);
    EXPECT_EQ(platform.workspace.activations, 1);
}

TEST_F(StickiesNew, aNoteDeletedBeforeItsFocusIsNotFocused) {
    registry->start();
    registry->newSticky(Stickies::Placement::mouse);
    registry->deleteNotes({made()}, false);
    platform.clock.advance(Stickies::newFocusDelay);
    EXPECT_EQ(platform.workspace.activations, 0);
}

TEST_F(StickiesNew, withAFullScreenWindowInFrontNoNoteIsMadeAndTheMessageSaysWhy) {
    registry->start();
    fullScreenInFront();
    registry->newSticky(Stickies::Placement::mouse);
    EXPECT_TRUE(registry->appState().stickies.empty());
    EXPECT_TRUE(Store::noteIds().empty());
    EXPECT_EQ(hudText(), "📝 Stickies live on desktops, not full-screen apps");
}

TEST_F(StickiesNew, aRecordOnDesktopZeroResolvesToDesktopOne) {
    registry->start();
    Record zero = record(0);
    const auto where = registry->resolve(zero);
    ASSERT_TRUE(where);
    EXPECT_EQ(where->desktop, 1);
}

TEST_F(StickiesNew, makingANoteOnAHiddenDesktopShowsItsNotesAgain) {
    AppState state;
    state.stickies["old"] = record(1);
    saveState(state);
    writeNote("old", "o");
    registry->start();
    registry->toggleHere();
    ASSERT_FALSE(shown("old"));
    registry->newSticky(Stickies::Placement::mouse);
    EXPECT_TRUE(shown("old"));
    EXPECT_TRUE(stateOnDisk().hidden.empty());
}

TEST_F(StickiesNew, theNotesHereAreThoseOfTheDesktopInFrontAwakeAndOldestFirst) {
    AppState state;
    state.stickies["sticky-20250101-090000"] = record(1);
    state.stickies["sticky-20240101-090000"] = record(1);
    state.stickies["sticky-20230101-090000"] = record(2);
    Record asleep = record(1);
    asleep.snoozeUntil = morning + 3600;
    state.stickies["sticky-20220101-090000"] = asleep;
    saveState(state);
    for (const auto& [id, record] : state.stickies)
        writeNote(id, "# " + id.substr(7, 4) + "\nmore");
    registry->start();
    EXPECT_EQ(registry->here(), (std::vector<Stickies::Listed>{{"sticky-20240101-090000", "2024"},
                                                               {"sticky-20250101-090000", "2025"}}));
}

TEST_F(StickiesNew, noNotesAreHereWhileAFullScreenWindowIsInFront) {
    AppState state;
    state.stickies["a"] = record(1);
    saveState(state);
    writeNote("a", "a");
    registry->start();
    fullScreenInFront();
    EXPECT_TRUE(registry->here().empty());
}

TEST_F(StickiesNew, neighboursAreTheFramesOfTheOtherNotesOnScreen) {
    AppState state;
    state.stickies["a"] = record(1, {100, 100, 260, 220});
    state.stickies["b"] = record(1, {500, 100, 260, 220});
    state.stickies["c"] = record(2, {900, 100, 260, 220});
    saveState(state);
    for (auto id : {"a", "b", "c"})
        writeNote(id, id);
    platform.windowServer.spacesAfterMove = std::vector<SpaceId>{};   // c stays off screen
    registry->start();
    EXPECT_EQ(registry->neighbours({"a"}), (std::vector<Rect>{{500, 100, 260, 220}}));
}

TEST_F(StickiesNew, aBlankNotePageIsKeptReadySoANewYellowNoteNeedsNoLoad) {
    registry->start();
    ASSERT_EQ(platform.noteWindows.readyPage, "<page color=\"yellow\" edit=true>\"\"</page>");
    registry->newSticky(Stickies::Placement::mouse);
    EXPECT_EQ(platform.noteWindows.readyUsed, 1);
    EXPECT_EQ(window(made()).pages, std::vector<std::string>{*platform.noteWindows.readyPage});
}

TEST_F(StickiesNew, aNewNoteOfAnotherColourLoadsItsOwnPage) {
    seedNote("blue", "blue", {400, 300, 300, 200});
    registry->start();
    platform.screens.pointerAt = {600, 400};
    registry->newSticky(Stickies::Placement::mouse);
    EXPECT_EQ(platform.noteWindows.readyUsed, 0);
    EXPECT_EQ(window(made()).pages, std::vector<std::string>{"<page color=\"blue\" edit=true>\"\"</page>"});
}

TEST_F(StickiesNew, makingANoteAmongFiftyReadsTheDisplaysAFewTimesNotOncePerNote) {
    for (int i = 0; i < 50; ++i)
        seedNote("n" + std::to_string(100 + i), "yellow", {20.0 + 20 * i, 40, 260, 220});
    registry->start();
    platform.screens.pointerAt = {700, 500};
    platform.screens.reads = 0;
    registry->newSticky(Stickies::Placement::mouse);
    ASSERT_FALSE(made().empty());
    EXPECT_LE(platform.screens.reads, 3);
}
