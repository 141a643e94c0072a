#include "input/HUD.h"
#include "platform/fake/FakePlatform.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

namespace {

class HUDTest : public ::testing::Test {
protected:
    FakePlatform platform;

    void SetUp() override {
        HUD::reset();
        platform.screens.screens = {FakeScreens::display(1, "MAIN", {0, 0, 1440, 900}),
                                    FakeScreens::display(2, "SIDE", {1440, 0, 1920, 1080})};
        platform.screens.pointerAt = {700, 400};
    }
    void TearDown() override { HUD::reset(); }

    const FakeHudView::Pill& pill(std::size_t index) { return *platform.hud.pills.at(index); }
};

}

TEST_F(HUDTest, aMessageFadesInAndOutAfterItsTime) {
    HUD::show("📝 Stickies hidden", 1.4);
    EXPECT_EQ(pill(0).text, "📝 Stickies hidden");
    EXPECT_TRUE(pill(0).shown);
    EXPECT_DOUBLE_EQ(pill(0).fadeInSeconds, 0.12);
    platform.clock.advance(1.39);
    EXPECT_TRUE(pill(0).shown);
    platform.clock.advance(0.02);
    EXPECT_TRUE(pill(0).fadedOut);
    EXPECT_DOUBLE_EQ(pill(0).fadeOutSeconds, 0.25);
}

TEST_F(HUDTest, thePillIsPaddedAndSitsLowInTheMiddleOfTheDisplay) {
    HUD::show("abcd", 1.4);   // the fake sets text 36 × 20
    const Rect frame = pill(0).frame;
    EXPECT_EQ(frame.width, 36 + 56);
    EXPECT_EQ(frame.height, 20 + 32);
    EXPECT_DOUBLE_EQ(frame.midX(), 720);
    EXPECT_DOUBLE_EQ(frame.maxY(), 900 - 0.22 * 900);   // bottom edge 22 % of the height above the bottom
    EXPECT_EQ(pill(0).padding, (Size{28, 16}));
}

TEST_F(HUDTest, twoMessagesWithinASecondReplaceTheFirstWithoutAFade) {
    HUD::show("first", 1.4);
    platform.clock.advance(0.5);
    HUD::show("second", 1.4);
    EXPECT_TRUE(pill(0).orderedOut);
    EXPECT_FALSE(pill(0).fadedOut);
    EXPECT_TRUE(pill(1).shown);
    platform.clock.advance(1.0);   // past the first message's end
    EXPECT_TRUE(pill(1).shown);
    EXPECT_FALSE(pill(0).fadedOut);
    platform.clock.advance(0.41);
    EXPECT_TRUE(pill(1).fadedOut);
}

TEST_F(HUDTest, aMessageWhileTheLastOneFadesOutStillShowsItsFullTime) {
    HUD::show("first", 1.4);
    platform.clock.advance(1.5);   // the first is fading
    HUD::show("second", 2.5);
    EXPECT_TRUE(pill(1).shown);
    platform.clock.advance(2.4);
    EXPECT_TRUE(pill(1).shown);
    platform.clock.advance(0.2);
    EXPECT_FALSE(pill(1).shown);
}

TEST_F(HUDTest, aMessageOnASecondaryDisplayUnderThePointerAppearsThere) {
    platform.screens.pointerAt = {2000, 300};
    HUD::show("there", 1.4);
    EXPECT_DOUBLE_EQ(pill(0).frame.midX(), 1440 + 960);
    EXPECT_DOUBLE_EQ(pill(0).frame.maxY(), 1080 - 0.22 * 1080);
}

TEST_F(HUDTest, aVeryLongMessageMakesAWidePill) {
    const std::string longText(300, 'x');
    HUD::show(longText, 1.4);
    EXPECT_EQ(pill(0).frame.width, 9 * 300 + 56);
    EXPECT_EQ(pill(0).text, longText);
}

TEST_F(HUDTest, onlyOnePillIsOnScreenAtATime) {
    for (int i = 0; i < 5; ++i)
        HUD::show("message " + std::to_string(i), 1.4);
    int shown = 0;
    for (auto& p : platform.hud.pills)
        shown += p->shown ? 1 : 0;
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(platform.hud.onScreen()->text, "message 4");
}
