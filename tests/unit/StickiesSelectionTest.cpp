#include "RegistryFixture.h"

#include <algorithm>

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

// Note "a" has the window {100, 120, 260, 220}, so its visible body is
// {106, 126, 248, 208}: right edge 354, bottom edge 334. Note "b"'s body
// {256, 156, 248, 208} overlaps its right part; note "away" lives on desktop
// 2, out of sight.
class StickiesSelection : public RegistryFixture {
protected:
    static constexpr Point insideBoth{300, 200};
    static constexpr Point onlyAway{850, 515};

    void SetUp() override {
        RegistryFixture::SetUp();
        AppState state;
        state.stickies["a"] = record(1, {100, 120, 260, 220});
        state.stickies["b"] = record(1, {250, 150, 260, 220});
        state.stickies["away"] = record(2, {800, 500, 260, 220});
        saveState(state);
        for (auto id : {"a", "b", "away"})
            writeNote(id, id);
        registry->start();
    }

    WindowNumber number(const std::string& id) { return controller(id).window().windowNumber(); }

    long sent(const std::string& id, bool selected) {
        return std::ranges::count(window(id).scripts, StickyController::setSelectedScript(selected));
    }

    std::optional<Stickies::Hit> hit(Point point) { return registry->hitTest(point); }
};

Rect bodyOfA() { return Rect{100, 120, 260, 220}.inset(Stickies::windowMargin); }

}

// --- hit testing

TEST_F(StickiesSelection, aPointThreePointsInsideTheWindowEdgeLiesInTheMarginAndHitsNothing) {
    EXPECT_FALSE(hit({103, 250}));
}

TEST_F(StickiesSelection, aPointInTheHeaderLeftOfTheButtonsIsTheDragStrip) {
    EXPECT_EQ(hit({150, 135}), (Stickies::Hit{"a", Stickies::Part::drag}));
}

TEST_F(StickiesSelection, aPointAmongTheHeaderButtonsIsBodyNotDrag) {
    const double buttonsStart = bodyOfA().maxX() - StickyController::defaultButtonsWidth;
    EXPECT_EQ(hit({buttonsStart, 135})->part, Stickies::Part::body);
}

TEST_F(StickiesSelection, theHeaderButtonsTakeTheWidthTheirPageReports) {
    controller("a").buttonsWidth = 40;
    const double buttonsStart = bodyOfA().maxX() - 40;
    EXPECT_EQ(hit({buttonsStart - 1, 135})->part, Stickies::Part::drag);
}

TEST_F(StickiesSelection, aPointExactlyTwentyTwoBelowTheBodysTopIsStillTheDragStrip) {
    EXPECT_EQ(hit({150, bodyOfA().minY() + 22})->part, Stickies::Part::drag);
}

TEST_F(StickiesSelection, aPointJustBelowTheDragStripIsBody) {
    EXPECT_EQ(hit({150, bodyOfA().minY() + 23})->part, Stickies::Part::body);
}

TEST_F(StickiesSelection, aPointSixteenFromTheBodysBottomRightCornerOnBothAxesIsTheGrip) {
    platform.windowServer.stacking = {number("a"), number("b")};
    EXPECT_EQ(hit({bodyOfA().maxX() - 16, bodyOfA().maxY() - 16})->part, Stickies::Part::resize);
}

TEST_F(StickiesSelection, aPointSeventeenFromTheBottomIsOutsideTheGrip) {
    platform.windowServer.stacking = {number("a"), number("b")};
    EXPECT_EQ(hit({bodyOfA().maxX() - 16, bodyOfA().maxY() - 17})->part, Stickies::Part::body);
}

TEST_F(StickiesSelection, theBodysTopLeftCornerIsInside) {
    EXPECT_EQ(hit({bodyOfA().minX(), bodyOfA().minY()})->id, "a");
}

TEST_F(StickiesSelection, theBodysRightEdgeIsOutside) {
    EXPECT_FALSE(hit({bodyOfA().maxX(), 140}));
}

TEST_F(StickiesSelection, whereNotesOverlapTheFrontWindowWins) {
    platform.windowServer.stacking = {number("b"), number("a")};
    EXPECT_EQ(hit(insideBoth)->id, "b");
}

TEST_F(StickiesSelection, aNoteMissingFromTheWindowOrderLosesToOneInIt) {
    platform.windowServer.stacking = {number("b")};
    EXPECT_EQ(hit(insideBoth)->id, "b");
}

TEST_F(StickiesSelection, withNoWindowOrderTheFirstNoteFoundWins) {
    platform.windowServer.stacking = {};
    EXPECT_EQ(hit(insideBoth)->id, "a");
}

TEST_F(StickiesSelection, aNoteOnADesktopThatIsNotInFrontIsNeverHit) {
    EXPECT_FALSE(hit(onlyAway));
}

TEST_F(StickiesSelection, aNoteOfAHiddenDesktopIsNeverHit) {
    registry->toggleHere();
    EXPECT_FALSE(hit({150, 135}));
}

// --- box selection

TEST_F(StickiesSelection, aBoxSelectsTheNotesItTouches) {
    registry->select({0, 0, 120, 140});
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"a"}));
}

TEST_F(StickiesSelection, aBoxOverTheTransparentMarginOnlySelectsNothing) {
    registry->select({0, 0, 105, 125});
    EXPECT_TRUE(registry->selection().empty());
}

TEST_F(StickiesSelection, aBoxNeverSelectsANoteThatIsNotOnScreen) {
    registry->select({0, 0, 1440, 900});
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"a", "b"}));
}

TEST_F(StickiesSelection, aBoxThatCoversThenUncoversANoteTellsItsPageOnceEachWay) {
    registry->select({0, 0, 120, 140});
    registry->select({0, 0, 130, 150});
    registry->select({0, 0, 50, 50});
    EXPECT_EQ(sent("a", true), 1);
    EXPECT_EQ(sent("a", false), 1);
    EXPECT_TRUE(registry->selection().empty());
}

TEST_F(StickiesSelection, selectingAnAlreadySelectedNoteSendsNothing) {
    registry->setSelected("a", true);
    registry->select({0, 0, 120, 140});
    EXPECT_EQ(sent("a", true), 1);
}

TEST_F(StickiesSelection, deselectingANoteThatIsNotSelectedSendsNothing) {
    registry->setSelected("a", false);
    EXPECT_EQ(sent("a", false), 0);
}

TEST_F(StickiesSelection, clearingTheSelectionTellsEverySelectedPage) {
    registry->setSelected("a", true);
    registry->setSelected("b", true);
    registry->clearSelection();
    EXPECT_EQ(sent("a", false), 1);
    EXPECT_EQ(sent("b", false), 1);
    EXPECT_TRUE(registry->selection().empty());
}
