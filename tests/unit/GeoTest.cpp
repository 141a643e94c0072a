#include "geometry/Geo.h"
#include "platform/fake/FakePlatform.h"
#include "LogCapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace marrowleaf;

namespace {

const std::string leftUUID = "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0";
const std::string rightUUID = "11111111-2222-3333-4444-555555555555";

class GeoTest : public ::testing::Test {
protected:
    FakePlatform platform;

    // A 1440×900 primary display with a 25-point bar at the top, and a
    // 1920×1080 display to its right.
    void attachTwoDisplays() {
        platform.screens.screens = {
            FakeScreens::display(1, leftUUID, {0, 0, 1440, 900}),
            FakeScreens::display(2, rightUUID, {1440, 0, 1920, 1080}),
        };
    }
};

}

// --- naming displays

TEST_F(GeoTest, withNoScreensThePrimaryUUIDIsEmpty) {
    EXPECT_EQ(Geo::primaryUUID(), "");
}

TEST_F(GeoTest, thePrimaryUUIDIsTheFirstScreensEvenWhenAnotherHasTheFocus) {
    attachTwoDisplays();
    platform.screens.focusedScreen = platform.screens.screens[1];
    EXPECT_EQ(Geo::primaryUUID(), leftUUID);
}

TEST_F(GeoTest, aPrimaryDisplayWithoutAUUIDGivesAnEmptyPrimaryUUID) {
    platform.screens.screens = {FakeScreens::display(1, "", {0, 0, 1440, 900})};
    EXPECT_EQ(Geo::primaryUUID(), "");
}

TEST_F(GeoTest, aScreenWithoutAUUIDHasNoName) {
    EXPECT_EQ(Geo::uuid(FakeScreens::display(7, "", {0, 0, 800, 600})), std::nullopt);
}

TEST_F(GeoTest, aScreenIsNamedByItsUUID) {
    EXPECT_EQ(Geo::uuid(FakeScreens::display(7, rightUUID, {0, 0, 800, 600})), rightUUID);
}

TEST_F(GeoTest, aUUIDStoredInLowerCaseStillFindsItsDisplay) {
    attachTwoDisplays();
    auto found = Geo::screen("0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->id, 1u);
}

TEST_F(GeoTest, anUnknownUUIDFindsNoDisplay) {
    attachTwoDisplays();
    EXPECT_EQ(Geo::screen("99999999-0000-0000-0000-000000000000"), std::nullopt);
}

TEST_F(GeoTest, theEmptyUUIDFindsNoDisplayEvenWhenOneHasNoName) {
    platform.screens.screens = {FakeScreens::display(1, "", {0, 0, 1440, 900})};
    EXPECT_EQ(Geo::screen(""), std::nullopt);
}

TEST_F(GeoTest, twoDisplaysWithTheSameUUIDFindTheFirstInPlatformOrder) {
    platform.screens.screens = {
        FakeScreens::display(1, leftUUID, {0, 0, 1440, 900}),
        FakeScreens::display(2, leftUUID, {1440, 0, 1920, 1080}),
    };
    EXPECT_EQ(Geo::screen(leftUUID)->id, 1u);
}

// --- the display under a point

TEST_F(GeoTest, aPointOnTheSharedEdgeOfTwoDisplaysBelongsToTheOneOnTheRight) {
    attachTwoDisplays();
    auto found = Geo::screenContaining({1440, 300});
    ASSERT_TRUE(found);
    EXPECT_EQ(found->uuid, rightUUID);
}

TEST_F(GeoTest, aPointOnTheBottomEdgeOfTheOnlyDisplayBelongsToNone) {
    platform.screens.screens = {FakeScreens::display(1, leftUUID, {0, 0, 1440, 900})};
    EXPECT_EQ(Geo::screenContaining({700, 900}), std::nullopt);
}

TEST_F(GeoTest, aPointOnTheTopLeftCornerOfADisplayBelongsToIt) {
    attachTwoDisplays();
    EXPECT_EQ(Geo::screenContaining({0, 0})->uuid, leftUUID);
}

TEST_F(GeoTest, aPointOnTheMenuBarStripIsStillOnTheDisplay) {
    attachTwoDisplays();   // the whole frame counts, not only the visible part
    EXPECT_EQ(Geo::screenContaining({100, 10})->uuid, leftUUID);
}

TEST_F(GeoTest, aPointBelowTheShorterDisplayIsOnNoDisplay) {
    attachTwoDisplays();
    EXPECT_EQ(Geo::screenContaining({700, 1000}), std::nullopt);
}

TEST_F(GeoTest, overlappingDisplaysGiveTheFirstInPlatformOrder) {
    platform.screens.screens = {
        FakeScreens::display(1, leftUUID, {0, 0, 1440, 900}),
        FakeScreens::display(2, rightUUID, {0, 0, 1440, 900}),   // a mirror
    };
    EXPECT_EQ(Geo::screenContaining({10, 10})->id, 1u);
}

// --- the pointer

TEST_F(GeoTest, theMouseIsWhereThePointerIs) {
    platform.screens.pointerAt = {512, 384};
    EXPECT_EQ(Geo::mouse(), (Point{512, 384}));
}

TEST_F(GeoTest, theMouseScreenIsTheDisplayUnderThePointer) {
    attachTwoDisplays();
    platform.screens.pointerAt = {2000, 500};
    EXPECT_EQ(Geo::mouseScreen().uuid, rightUUID);
}

TEST_F(GeoTest, aPointerOffEveryDisplayFallsBackToTheFocusedDisplay) {
    attachTwoDisplays();
    platform.screens.focusedScreen = platform.screens.screens[1];
    platform.screens.pointerAt = {700, 1000};
    EXPECT_EQ(Geo::mouseScreen().uuid, rightUUID);
}

TEST_F(GeoTest, aPointerOffEveryDisplayWithNoFocusFallsBackToThePrimaryDisplay) {
    attachTwoDisplays();
    platform.screens.pointerAt = {-50, -50};
    EXPECT_EQ(Geo::mouseScreen().uuid, leftUUID);
}

TEST_F(GeoTest, withNoScreensTheMouseScreenIsAnEmptyDisplayAndTheLogSaysSo) {
    support::LogCapture log;
    const Screen screen = Geo::mouseScreen();
    EXPECT_EQ(screen, Screen{});
    EXPECT_EQ(log.count("ERROR can't find any display"), 1u);
}

// --- the display for a rectangle

TEST_F(GeoTest, aRectangleBelongsToTheDisplayUnderItsCentre) {
    attachTwoDisplays();
    // Mostly on the left display, but its centre (1450, 300) is on the right one.
    EXPECT_EQ(Geo::screenFor({1300, 200, 300, 200}).uuid, rightUUID);
}

TEST_F(GeoTest, aRectangleWhoseCentreIsOffEveryDisplayFallsBackToTheFocusedDisplay) {
    attachTwoDisplays();
    platform.screens.focusedScreen = platform.screens.screens[1];
    EXPECT_EQ(Geo::screenFor({-500, -500, 100, 100}).uuid, rightUUID);
}

TEST_F(GeoTest, aRectangleWhoseCentreIsOffEveryDisplayWithNoFocusFallsBackToThePrimary) {
    attachTwoDisplays();
    EXPECT_EQ(Geo::screenFor({-500, -500, 100, 100}).uuid, leftUUID);
}

// --- clamping

TEST_F(GeoTest, clampingAHugeRectangleFarAboveAndLeftGivesTheVisibleSizeHangingOverByTheInset) {
    const Screen screen = FakeScreens::display(1, leftUUID, {0, 0, 1440, 900});   // visible (0, 25) 1440×875
    const Rect clamped = Geo::clamp({-5000, -5000, 3000, 3000}, screen, 6);
    EXPECT_EQ(clamped, (Rect{-6, 19, 1440, 875}));
}

TEST_F(GeoTest, clampingLeavesARectangleThatFitsWhereItIs) {
    const Screen screen = FakeScreens::display(1, leftUUID, {0, 0, 1440, 900});
    EXPECT_EQ(Geo::clamp({300, 200, 260, 220}, screen, 6), (Rect{300, 200, 260, 220}));
}

TEST_F(GeoTest, clampingUsesTheVisibleFrameNotTheWholeDisplay) {
    const Screen screen = FakeScreens::display(1, leftUUID, {0, 0, 1440, 900}, Rect{0, 25, 1440, 800});
    // Below the visible area's bottom (825) but inside the display's frame.
    EXPECT_EQ(Geo::clamp({300, 700, 260, 220}, screen, 0).y, 605);
}

TEST_F(GeoTest, aPositiveInsetLetsANoteHangOverTheRightAndBottomEdges) {
    const Rect visible{0, 25, 1440, 875};
    EXPECT_EQ(Geo::clamp({1400, 850, 260, 220}, visible, 6), (Rect{1186, 686, 260, 220}));
}

TEST_F(GeoTest, aPositiveInsetLetsANoteHangOverTheLeftAndTopEdges) {
    const Rect visible{0, 25, 1440, 875};
    EXPECT_EQ(Geo::clamp({-40, 0, 260, 220}, visible, 6), (Rect{-6, 19, 260, 220}));
}

TEST_F(GeoTest, aNegativeInsetKeepsANoteThatFarInside) {
    const Rect visible{0, 25, 1440, 875};
    EXPECT_EQ(Geo::clamp({-40, 0, 260, 220}, visible, -10), (Rect{10, 35, 260, 220}));
    EXPECT_EQ(Geo::clamp({1400, 850, 260, 220}, visible, -10), (Rect{1170, 670, 260, 220}));
}

TEST_F(GeoTest, aNoteTooWideToFitWithANegativeInsetKeepsItsLeftEdgeInside) {
    // 1440 wide cannot sit 10 points inside both edges of a 1440-wide area:
    // the lower bound comes last, so the left edge wins.
    const Rect visible{0, 25, 1440, 875};
    const Rect clamped = Geo::clamp({200, 100, 1600, 875}, visible, -10);
    EXPECT_EQ(clamped.x, 10);
    EXPECT_EQ(clamped.y, 35);
    EXPECT_EQ(clamped.width, 1440);
}

TEST_F(GeoTest, clampingShrinksOnlyTheSideThatIsTooLarge) {
    const Rect visible{0, 25, 1440, 875};
    EXPECT_EQ(Geo::clamp({100, 100, 260, 2000}, visible, 6), (Rect{100, 31, 260, 875}));
}

TEST_F(GeoTest, aNoteSmallerThanTheSmallestNoteGrowsToIt) {
    const Rect visible{0, 25, 1440, 875};
    EXPECT_EQ(Geo::clamp({300, 200, 5, 5}, visible, 6), (Rect{300, 200, 170, 110}));
    EXPECT_EQ(Geo::clamp({300, 200, 500, 40}, visible, 6), (Rect{300, 200, 500, 110}));
}

TEST_F(GeoTest, aGrownNoteAtTheEdgeStaysOnScreen) {
    const Rect visible{0, 25, 1440, 875};
    EXPECT_EQ(Geo::clamp({1430, 895, 5, 5}, visible, 6), (Rect{1276, 796, 170, 110}));
}

TEST_F(GeoTest, sizesAndPlacesThatAreNoNumbersBecomeTheSmallestNoteAtTheCorner) {
    const Rect visible{0, 25, 1440, 875};
    const double nan = std::nan("");
    EXPECT_EQ(Geo::clamp({nan, nan, nan, nan}, visible, 6), (Rect{0, 25, 170, 110}));
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Geo::clamp({inf, -inf, inf, 300}, visible, 6), (Rect{0, 25, 170, 300}));
}

TEST_F(GeoTest, anAreaSmallerThanTheSmallestNoteIsFilled) {
    EXPECT_EQ(Geo::clamp({0, 0, 5, 5}, Rect{0, 0, 120, 80}, 0), (Rect{0, 0, 120, 80}));
}

// --- holding one reading of the displays

TEST_F(GeoTest, whileHeldTheDisplaysAreReadOnceAndAfterwardsAfreshEachTime) {
    attachTwoDisplays();
    {
        const Geo::Held held;
        const Geo::Held nested;
        EXPECT_TRUE(Geo::screen(rightUUID));
        EXPECT_TRUE(Geo::screenContaining({2000, 500}));
        EXPECT_EQ(Geo::primaryUUID(), leftUUID);
        EXPECT_EQ(platform.screens.reads, 1);
    }
    platform.screens.reads = 0;
    Geo::primaryUUID();
    Geo::primaryUUID();
    EXPECT_EQ(platform.screens.reads, 2);
}

TEST_F(GeoTest, aDisplayUnpluggedWhileHeldIsSeenGoneOnceTheHoldEnds) {
    attachTwoDisplays();
    {
        const Geo::Held held;
        ASSERT_TRUE(Geo::screen(rightUUID));
        platform.screens.screens.pop_back();
        EXPECT_TRUE(Geo::screen(rightUUID));
    }
    EXPECT_FALSE(Geo::screen(rightUUID));
}
