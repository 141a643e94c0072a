#include "RegistryFixture.h"

#include "input/StickyDrag.h"

#include <algorithm>

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

// Notes on desktop 1 of a 1440 × 900 display whose work area is
// {0, 25, 1440, 875}: "a" {100, 120, 260, 220}, "b" {500, 120, 260, 220}
// (pinned) and "c" {100, 420, 260, 220}. Each header strip and grip below
// lies in one note only.
class StickyDragTest : public RegistryFixture {
protected:
    static constexpr Point headerOfA{150, 135};
    static constexpr Point headerOfB{550, 135};
    static constexpr Point gripOfA{345, 325};
    static constexpr Point bodyOfA{200, 250};
    static constexpr Rect startOfA{100, 120, 260, 220};
    // Where the trash target stands on the main display.
    static constexpr Rect trashOnMain{684, 804, 72, 72};
    static constexpr Point overTrash{720, 840};
    // The frame "a" lands on when its header is taken from `headerOfA` to `overTrash`.
    static constexpr Rect aOverTrash{670, 825, 260, 220};

    std::unique_ptr<StickyDrag> drags;

    void SetUp() override {
        RegistryFixture::SetUp();
        AppState state;
        state.stickies["a"] = record(1, Frame::of(startOfA));
        state.stickies["b"] = record(1, {500, 120, 260, 220});
        state.stickies["b"].pinned = true;
        state.stickies["c"] = record(1, {100, 420, 260, 220});
        saveState(state);
        for (auto id : {"a", "b", "c"})
            writeNote(id, id);
        registry->start();
        drags = std::make_unique<StickyDrag>(*registry);
        drags->start();
    }

    void TearDown() override {
        drags.reset();
        RegistryFixture::TearDown();
    }

    MouseAnswer press(Point point, std::uint32_t modifiers = 0) {
        return platform.appMouse.deliver({MouseEvent::Kind::press, point, modifiers});
    }
    MouseAnswer dragTo(Point point, std::uint32_t modifiers = 0) {
        return platform.appMouse.deliver({MouseEvent::Kind::drag, point, modifiers});
    }
    MouseAnswer release(Point point) { return platform.appMouse.deliver({MouseEvent::Kind::release, point, 0}); }
    // Takes the header of "a" by (dx, dy) and lets go.
    void moveA(double dx, double dy, std::uint32_t modifiers = 0) {
        press(headerOfA);
        dragTo({headerOfA.x + dx, headerOfA.y + dy}, modifiers);
    }

    void selectAll(std::initializer_list<const char*> ids) {
        for (auto id : ids)
            registry->setSelected(id, true);
    }
    Rect frameOf(const std::string& id) { return window(id).frame(); }
    long trashSent(const std::string& id, bool on) {
        return std::ranges::count(window(id).scripts, StickyController::setTrashScript(on));
    }
    void trashAt(Rect frame) { platform.accessibility.trash = frame; }
    std::string stateFileText() { return readFile(notes / ".stickies.json"); }
};

}

// --- starting

TEST_F(StickyDragTest, startingWatchesTheProgramsOwnWindows) {
    EXPECT_TRUE(platform.appMouse.started());
}

TEST_F(StickyDragTest, startingWatchesTheDesktopInFront) {
    const std::size_t before = platform.windowServer.watcherCount();
    StickyDrag another(*registry);
    another.start();
    EXPECT_EQ(platform.windowServer.watcherCount(), before + 1);
}

TEST_F(StickyDragTest, eventsForAWatcherThatIsGonePassUntouched) {
    drags.reset();
    EXPECT_EQ(press(headerOfA, MouseModifiers::shift), MouseAnswer::pass);
    EXPECT_TRUE(registry->selection().empty());
}

// --- presses

TEST_F(StickyDragTest, aPressOnAHeaderBeginsAMoveOfThatNote) {
    EXPECT_EQ(press(headerOfA), MouseAnswer::pass);
    ASSERT_TRUE(drags->inProgress());
    EXPECT_EQ(drags->drag()->id, "a");
    EXPECT_EQ(drags->drag()->kind, StickyDrag::Kind::move);
    EXPECT_EQ(drags->drag()->frames, (std::map<std::string, Rect>{{"a", startOfA}}));
}

TEST_F(StickyDragTest, aPressOnTheGripBeginsAResize) {
    EXPECT_EQ(press(gripOfA), MouseAnswer::pass);
    ASSERT_TRUE(drags->inProgress());
    EXPECT_EQ(drags->drag()->kind, StickyDrag::Kind::resize);
}

TEST_F(StickyDragTest, aPressInANotesBodyBeginsNothing) {
    EXPECT_EQ(press(bodyOfA), MouseAnswer::pass);
    EXPECT_FALSE(drags->inProgress());
}

TEST_F(StickyDragTest, aPressInTheTransparentMarginBeginsNothing) {
    EXPECT_EQ(press({103, 135}), MouseAnswer::pass);
    EXPECT_FALSE(drags->inProgress());
}

TEST_F(StickyDragTest, shiftClickOnAHeaderSelectsTheNoteAndIsNotSeenByIt) {
    EXPECT_EQ(press(headerOfA, MouseModifiers::shift), MouseAnswer::swallow);
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"a"}));
    EXPECT_FALSE(drags->inProgress());
}

TEST_F(StickyDragTest, shiftClickOnASelectedNotesHeaderDeselectsIt) {
    selectAll({"a", "b"});
    EXPECT_EQ(press(headerOfA, MouseModifiers::shift), MouseAnswer::swallow);
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"b"}));
}

TEST_F(StickyDragTest, draggingAnUnselectedNoteClearsTheSelectionFirst) {
    selectAll({"b", "c"});
    press(headerOfA);
    EXPECT_TRUE(registry->selection().empty());
    EXPECT_EQ(drags->drag()->group, (std::set<std::string>{"a"}));
}

TEST_F(StickyDragTest, draggingASelectedNoteTakesTheWholeSelection) {
    selectAll({"a", "c"});
    press(headerOfA);
    EXPECT_EQ(drags->drag()->group, (std::set<std::string>{"a", "c"}));
}

// --- moving

TEST_F(StickyDragTest, aTwoPointWiggleOnAHeaderNeitherMovesTheNoteNorSavesItsFrame) {
    const std::string before = stateFileText();
    moveA(2, -2);
    release({headerOfA.x + 2, headerOfA.y - 2});
    EXPECT_TRUE(window("a").frames.empty());
    EXPECT_TRUE(window("a").levels.empty());
    EXPECT_EQ(stateFileText(), before);
}

TEST_F(StickyDragTest, aMoveFollowsThePointer) {
    moveA(200, 400);
    EXPECT_EQ(frameOf("a"), (Rect{300, 520, 260, 220}));
}

TEST_F(StickyDragTest, aMoveSnapsToTheMarginOfTheWorkArea) {
    moveA(-90, 50);
    EXPECT_EQ(frameOf("a"), (Rect{8, 170, 260, 220}));
}

TEST_F(StickyDragTest, ctrlDraggingMovesWithoutAnySnapping) {
    moveA(-90, 50, MouseModifiers::control);
    EXPECT_EQ(frameOf("a"), (Rect{10, 170, 260, 220}));
}

TEST_F(StickyDragTest, draggingOneOfThreeSelectedNotesMovesAllThreeByTheGrabbedNotesSnappedOffset) {
    selectAll({"a", "b", "c"});
    moveA(-90, 50);   // "a" would land at x 10 and snaps 2 points left
    EXPECT_EQ(frameOf("a"), (Rect{8, 170, 260, 220}));
    EXPECT_EQ(frameOf("b"), (Rect{408, 170, 260, 220}));
    EXPECT_EQ(frameOf("c"), (Rect{8, 470, 260, 220}));
}

TEST_F(StickyDragTest, aMoveLiftsEveryNoteOfTheGroupOnlyOnceItLeavesTheDeadZone) {
    selectAll({"a", "c"});
    moveA(2, 2);
    EXPECT_TRUE(window("a").levels.empty());
    dragTo({headerOfA.x + 10, headerOfA.y});
    EXPECT_EQ(window("a").level(), WindowLevel::drag);
    EXPECT_EQ(window("c").level(), WindowLevel::drag);
}

TEST_F(StickyDragTest, theReleasePutsEachNoteBackAtItsOwnLevel) {
    selectAll({"a", "b"});
    moveA(10, 200);
    release({headerOfA.x + 10, headerOfA.y + 200});
    EXPECT_EQ(window("a").level(), WindowLevel::normal);
    EXPECT_EQ(window("b").level(), WindowLevel::floating);
}

TEST_F(StickyDragTest, theRegistryLeavesALiftedNoteAloneUntilTheDragEnds) {
    moveA(10, 200);
    registry->refresh();
    EXPECT_EQ(window("a").level(), WindowLevel::drag);
}

TEST_F(StickyDragTest, theReleaseSavesTheMovedFrameInTheStateFile) {
    moveA(200, 400);
    release({headerOfA.x + 200, headerOfA.y + 400});
    EXPECT_EQ(stateOnDisk().stickies.at("a").frame, (Frame{300, 520, 260, 220}));
    EXPECT_FALSE(drags->inProgress());
}

TEST_F(StickyDragTest, theReleaseSavesEveryFrameOfTheGroup) {
    selectAll({"a", "c"});
    moveA(-90, 50);
    release({headerOfA.x - 90, headerOfA.y + 50});
    EXPECT_EQ(stateOnDisk().stickies.at("a").frame, (Frame{8, 170, 260, 220}));
    EXPECT_EQ(stateOnDisk().stickies.at("c").frame, (Frame{8, 470, 260, 220}));
}

// --- resizing

TEST_F(StickyDragTest, aResizeFollowsThePointer) {
    press(gripOfA);
    dragTo({gripOfA.x + 40, gripOfA.y + 30});
    EXPECT_EQ(frameOf("a"), (Rect{100, 120, 300, 250}));
}

TEST_F(StickyDragTest, aResizeBelow170By110StopsAtThatSize) {
    press(gripOfA);
    dragTo({gripOfA.x - 300, gripOfA.y - 300});
    EXPECT_EQ(frameOf("a"), (Rect{100, 120, 170, 110}));
}

TEST_F(StickyDragTest, aResizeSnapsItsRightEdgeJustOverANeighbour) {
    press(gripOfA);
    dragTo({gripOfA.x + 140, gripOfA.y});
    EXPECT_EQ(frameOf("a"), (Rect{100, 120, 402, 220}));
}

TEST_F(StickyDragTest, aCtrlResizeDoesNotSnap) {
    press(gripOfA);
    dragTo({gripOfA.x + 140, gripOfA.y}, MouseModifiers::control);
    EXPECT_EQ(frameOf("a"), (Rect{100, 120, 400, 220}));
}

TEST_F(StickyDragTest, aResizeLeavesTheSelectionAlone) {
    selectAll({"b"});
    press(gripOfA);
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"b"}));
}

TEST_F(StickyDragTest, aResizeLeavesTheLevelAlone) {
    press(gripOfA);
    dragTo({gripOfA.x + 40, gripOfA.y + 30});
    release({gripOfA.x + 40, gripOfA.y + 30});
    EXPECT_TRUE(window("a").levels.empty());
}

TEST_F(StickyDragTest, theReleaseSavesTheResizedFrame) {
    press(gripOfA);
    dragTo({gripOfA.x + 40, gripOfA.y + 30});
    release({gripOfA.x + 40, gripOfA.y + 30});
    EXPECT_EQ(stateOnDisk().stickies.at("a").frame, (Frame{100, 120, 300, 250}));
}

// --- the trash target

TEST_F(StickyDragTest, theTrashTargetStandsAtTheBottomCentreOfTheWorkAreaUnderThePointer) {
    platform.screens.screens.push_back(
        FakeScreens::display(2, "SIDE", {1440, 0, 1920, 1080}, Rect{1440, 0, 1920, 1040}));
    moveA(1500, 200);
    EXPECT_EQ(platform.trashTarget.shown, (Rect{2364, 944, 72, 72}));
}

TEST_F(StickyDragTest, theTrashTargetShowsOnlyOnceAMoveLeavesTheDeadZone) {
    moveA(2, 2);
    EXPECT_TRUE(platform.trashTarget.shows.empty());
    dragTo({headerOfA.x + 10, headerOfA.y});
    EXPECT_EQ(platform.trashTarget.shows, (std::vector<Rect>{trashOnMain}));
}

TEST_F(StickyDragTest, theTrashTargetShowsOncePerMove) {
    moveA(10, 0);
    dragTo({headerOfA.x + 50, headerOfA.y});
    EXPECT_EQ(platform.trashTarget.shows.size(), 1u);
}

TEST_F(StickyDragTest, aResizeShowsNoTrashTarget) {
    press(gripOfA);
    dragTo({gripOfA.x + 40, gripOfA.y + 30});
    EXPECT_TRUE(platform.trashTarget.shows.empty());
}

TEST_F(StickyDragTest, withoutDesktopAccessNoTrashTargetShows) {
    platform.accessibility.isTrusted = false;
    moveA(10, 200);
    EXPECT_TRUE(platform.trashTarget.shows.empty());
}

TEST_F(StickyDragTest, theTrashTargetHidesWhenTheDragEnds) {
    moveA(10, 200);
    release({headerOfA.x + 10, headerOfA.y + 200});
    EXPECT_FALSE(platform.trashTarget.shown);
}

TEST_F(StickyDragTest, thePointerOverTheTrashLightsTheTargetAndTellsEveryPageOfTheGroup) {
    trashAt(trashOnMain);
    selectAll({"a", "c"});
    moveA(overTrash.x - headerOfA.x, overTrash.y - headerOfA.y);
    EXPECT_TRUE(platform.trashTarget.lit);
    EXPECT_EQ(trashSent("a", true), 1);
    EXPECT_EQ(trashSent("c", true), 1);
    EXPECT_EQ(trashSent("b", true), 0);
}

TEST_F(StickyDragTest, theTrashLightsAndGoesOutOncePerCrossing) {
    trashAt(trashOnMain);
    moveA(overTrash.x - headerOfA.x, overTrash.y - headerOfA.y);
    platform.clock.advance(0.3);
    dragTo({overTrash.x + 5, overTrash.y});
    platform.clock.advance(0.3);
    dragTo({400, 400});
    platform.clock.advance(0.3);
    dragTo({410, 400});
    EXPECT_EQ(platform.trashTarget.litChanges, (std::vector<bool>{true, false}));
    EXPECT_EQ(trashSent("a", true), 1);
    EXPECT_EQ(trashSent("a", false), 1);
}

TEST_F(StickyDragTest, theNoteOverTheTrashWithThePointerBesideItDoesNotCount) {
    trashAt(trashOnMain);
    moveA(overTrash.x - headerOfA.x, trashOnMain.y - 1 - headerOfA.y);
    EXPECT_FALSE(platform.trashTarget.lit);
    EXPECT_EQ(trashSent("a", true), 0);
}

TEST_F(StickyDragTest, theTrashIsLookedUpAtMostEveryFifthOfASecond) {
    moveA(10, 200);   // looked up now: no trash yet
    trashAt(trashOnMain);
    dragTo(overTrash);
    EXPECT_FALSE(platform.trashTarget.lit);
    platform.clock.advance(0.1);
    dragTo(overTrash);
    EXPECT_FALSE(platform.trashTarget.lit);
    platform.clock.advance(0.15);
    dragTo(overTrash);
    EXPECT_TRUE(platform.trashTarget.lit);
}

// --- dropping on the trash

TEST_F(StickyDragTest, releasingOverTheTrashDeletesEveryNoteOfTheGroup) {
    trashAt(trashOnMain);
    selectAll({"a", "c"});
    moveA(overTrash.x - headerOfA.x, overTrash.y - headerOfA.y);
    release(overTrash);
    EXPECT_EQ(registry->controller("a"), nullptr);
    EXPECT_EQ(registry->controller("c"), nullptr);
    EXPECT_EQ(readFile(notes / ".trash/a.md"), "a");
    EXPECT_EQ(readFile(notes / ".trash/c.md"), "c");
    EXPECT_EQ(stateOnDisk().stickies.size(), 1u);
}

TEST_F(StickyDragTest, aDropOnTheTrashPlaysTheTrashSoundAndSaysWhatWent) {
    trashAt(trashOnMain);
    selectAll({"a", "c"});
    moveA(overTrash.x - headerOfA.x, overTrash.y - headerOfA.y);
    release(overTrash);
    EXPECT_EQ(platform.sounds.trashPlayed, 1);
    EXPECT_EQ(hudText(), "🗑  2 stickies deleted (undo from the menu bar)");
}

TEST_F(StickyDragTest, aNoteDroppedOnTheTrashComesBackFromUndoWhereItWasBeforeTheDrag) {
    trashAt(trashOnMain);
    moveA(overTrash.x - headerOfA.x, overTrash.y - headerOfA.y);
    release(overTrash);
    ASSERT_EQ(registry->lastDeletion().size(), 1u);
    EXPECT_EQ(registry->lastDeletion().at(0).second.frame, Frame::of(startOfA));
}

TEST_F(StickyDragTest, aDropOnTheTrashHidesTheTarget) {
    trashAt(trashOnMain);
    moveA(overTrash.x - headerOfA.x, overTrash.y - headerOfA.y);
    release(overTrash);
    EXPECT_FALSE(platform.trashTarget.shown);
}

// --- cancelling

TEST_F(StickyDragTest, aDesktopSwitchWhileOverTheTrashCancelsTheDrop) {
    trashAt(trashOnMain);
    moveA(overTrash.x - headerOfA.x, overTrash.y - headerOfA.y);
    platform.windowServer.switchTo(2);
    EXPECT_FALSE(drags->inProgress());
    EXPECT_NE(registry->controller("a"), nullptr);
    EXPECT_EQ(platform.sounds.trashPlayed, 0);
}

TEST_F(StickyDragTest, aDesktopSwitchWhileOverTheTrashTurnsTheHighlightOff) {
    trashAt(trashOnMain);
    moveA(overTrash.x - headerOfA.x, overTrash.y - headerOfA.y);
    platform.windowServer.switchTo(2);
    EXPECT_EQ(trashSent("a", false), 1);
    EXPECT_FALSE(platform.trashTarget.shown);
}

TEST_F(StickyDragTest, aDesktopSwitchWhileOverTheTrashKeepsTheNoteWhereItWasDragged) {
    trashAt(trashOnMain);
    moveA(overTrash.x - headerOfA.x, overTrash.y - headerOfA.y);
    platform.windowServer.switchTo(2);
    EXPECT_EQ(frameOf("a"), aOverTrash);
    EXPECT_EQ(stateOnDisk().stickies.at("a").frame, Frame::of(aOverTrash));
}

TEST_F(StickyDragTest, aPressThatFindsADragUnderWayDropsItWithoutDeleting) {
    trashAt(trashOnMain);
    moveA(overTrash.x - headerOfA.x, overTrash.y - headerOfA.y);
    press(headerOfB);
    EXPECT_NE(registry->controller("a"), nullptr);
    EXPECT_EQ(trashSent("a", false), 1);
    EXPECT_EQ(drags->drag()->id, "b");
}
