#include "geometry/AX.h"
#include "platform/fake/FakePlatform.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

namespace {

class AXTest : public ::testing::Test {
protected:
    FakePlatform platform;

    // Something of kind `hit` covers (100, 100)…(300, 300); the rest is bare desktop.
    void place(DesktopHit hit) { platform.accessibility.regions = {{{100, 100, 200, 200}, hit}}; }
};

const Point inside{150, 150};
const Rect trashTarget{700, 820, 64, 64};

}

// --- is this the bare desktop

TEST_F(AXTest, aPointOnTheBareDesktopIsTheDesktop) {
    place(DesktopHit::desktopIcon);
    EXPECT_TRUE(AX::isDesktop({600, 600}));
}

TEST_F(AXTest, aPointOnTheBackgroundADesktopProgramDrawsIsTheDesktop) {
    place(DesktopHit::desktopBackground);
    EXPECT_TRUE(AX::isDesktop(inside));
}

TEST_F(AXTest, theProbeTellsTheBareRootFromADesktopProgramsBackground) {
    place(DesktopHit::desktopBackground);
    EXPECT_EQ(AX::whatIsAt(inside), DesktopHit::desktopBackground);
    EXPECT_EQ(AX::whatIsAt({600, 600}), DesktopHit::bareDesktop);
}

TEST_F(AXTest, withoutTrustWhatLiesAtAPointIsUnknownAndTheProbeIsNotAsked) {
    platform.accessibility.isTrusted = false;
    EXPECT_EQ(AX::whatIsAt({600, 600}), DesktopHit::unknown);
    EXPECT_TRUE(platform.accessibility.asked.empty());
}

TEST_F(AXTest, aPointOverADesktopIconsLabelIsNotTheDesktop) {
    place(DesktopHit::desktopIcon);
    EXPECT_FALSE(AX::isDesktop(inside));
}

TEST_F(AXTest, aPointOverTheEmptyAreaOfAFileManagerWindowIsNotTheDesktop) {
    place(DesktopHit::window);
    EXPECT_FALSE(AX::isDesktop(inside));
}

TEST_F(AXTest, aPointOverAnotherProgramsWindowIsNotTheDesktopEvenWhenItShowsTheWallpaper) {
    place(DesktopHit::window);   // a transparent or wallpaper-coloured window looks like the desktop
    EXPECT_FALSE(AX::isDesktop(inside));
}

TEST_F(AXTest, aPointOverTheTransparentMarginOfANoteIsNotTheDesktop) {
    place(DesktopHit::ownWindow);
    EXPECT_FALSE(AX::isDesktop(inside));
}

TEST_F(AXTest, aProbeThatGivesUpBeforeReachingTheDesktopReadsAsNotTheDesktop) {
    place(DesktopHit::unknown);   // e.g. the desktop is found only beyond the probe's bounded walk
    EXPECT_FALSE(AX::isDesktop(inside));
}

TEST_F(AXTest, aProbeThatFailsEverywhereMakesNoPointTheDesktop) {
    platform.accessibility.elsewhere = DesktopHit::unknown;
    EXPECT_FALSE(AX::isDesktop({600, 600}));
}

TEST_F(AXTest, thePointIsPassedToTheProbeAsGiven) {
    AX::isDesktop({612.5, 48.25});
    EXPECT_EQ(platform.accessibility.asked, (std::vector<Point>{{612.5, 48.25}}));
}

TEST_F(AXTest, withoutTrustNoPointIsTheDesktopAndTheProbeIsNotAsked) {
    platform.accessibility.isTrusted = false;
    EXPECT_FALSE(AX::isDesktop({600, 600}));
    EXPECT_TRUE(platform.accessibility.asked.empty());
}

// --- the trash target

TEST_F(AXTest, theTrashFrameIsTheTrashTargetsFrame) {
    platform.accessibility.trash = trashTarget;
    EXPECT_EQ(AX::trashFrame(), trashTarget);
}

TEST_F(AXTest, withNoTrashTargetOnScreenThereIsNoTrashFrame) {
    EXPECT_EQ(AX::trashFrame(), std::nullopt);
}

TEST_F(AXTest, withoutTrustThereIsNoTrashFrameEvenWhenTheTargetIsShown) {
    platform.accessibility.trash = trashTarget;
    platform.accessibility.isTrusted = false;
    EXPECT_EQ(AX::trashFrame(), std::nullopt);
}
