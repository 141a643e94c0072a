#include "RegistryFixture.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

class StickiesVisibility : public RegistryFixture {
protected:
    static constexpr SpaceId fullScreenSpace = 99;

    void SetUp() override {
        RegistryFixture::SetUp();
        AppState state;
        state.stickies["one"] = record(1);
        state.stickies["alsoOne"] = record(1, {500, 120, 260, 220});
        state.stickies["two"] = record(2);
        saveState(state);
        writeNote("one", "one");
        writeNote("alsoOne", "also one");
        writeNote("two", "two");
    }

    void fullScreenInFront() {
        auto& display = platform.windowServer.description.at(0);
        display.spaces.push_back({fullScreenSpace, std::nullopt, WindowServer::fullScreenType});
        platform.windowServer.switchTo(fullScreenSpace);
    }

    bool flashed(const std::string& id) {
        const auto& scripts = window(id).scripts;
        return std::ranges::count(scripts, StickyController::flashScript()) > 0;
    }
};

}

TEST_F(StickiesVisibility, hidingTakesAwayExactlyTheNotesOfTheDesktopInFront) {
    registry->start();
    registry->toggleHere();
    EXPECT_FALSE(shown("one"));
    EXPECT_FALSE(shown("alsoOne"));
    EXPECT_TRUE(controller("two").visible);   // placed on its own desktop, out of sight
    EXPECT_EQ(stateOnDisk().hidden, (std::map<std::string, bool>{{"MAIN:1", true}}));
    EXPECT_EQ(hudText(), "📝 Stickies hidden");
}

TEST_F(StickiesVisibility, showingAgainBringsThemBackAndSaysSo) {
    registry->start();
    registry->toggleHere();
    registry->toggleHere();
    EXPECT_TRUE(shown("one"));
    EXPECT_TRUE(shown("alsoOne"));
    EXPECT_EQ(hudText(), "📝 Stickies shown");
}

TEST_F(StickiesVisibility, togglingTwiceLeavesNoKeyRatherThanAFalseOne) {
    registry->start();
    registry->toggleHere();
    registry->toggleHere();
    EXPECT_TRUE(registry->appState().hidden.empty());
    EXPECT_TRUE(stateOnDisk().hidden.empty());
}

TEST_F(StickiesVisibility, aHiddenDesktopStaysHiddenAfterARestart) {
    registry->start();
    registry->toggleHere();
    registry = std::make_unique<Stickies>();
    registry->start();
    EXPECT_FALSE(shown("one"));
}

TEST_F(StickiesVisibility, togglingOverAFullScreenWindowChangesNothingAndSaysNothing) {
    registry->start();
    fullScreenInFront();
    registry->toggleHere();
    EXPECT_TRUE(registry->appState().hidden.empty());
    EXPECT_EQ(hudText(), "");
}

TEST_F(StickiesVisibility, jumpingToANoteOnAHiddenDesktopShowsThatDesktopsNotesAgain) {
    registry->start();
    registry->toggleHere();
    registry->jump("one", false);
    EXPECT_TRUE(shown("one"));
    EXPECT_TRUE(shown("alsoOne"));
    EXPECT_TRUE(registry->appState().hidden.empty());
}

TEST_F(StickiesVisibility, jumpingBringsTheNoteForwardWithTheKeyboard) {
    registry->start();
    const int before = window("one").focusCount;
    registry->jump("one", false);
    EXPECT_EQ(window("one").focusCount, before + 1);
    EXPECT_EQ(platform.workspace.activations, 1);
    EXPECT_EQ(window("one").calls.back(), "focus");
}

TEST_F(StickiesVisibility, jumpingToANoteOnAnotherDesktopGoesToThatDesktop) {
    registry->start();
    registry->jump("two", false);
    EXPECT_EQ(platform.windowServer.shown, std::vector<SpaceId>{2});
    EXPECT_TRUE(shown("two"));
    EXPECT_EQ(window("two").calls.back(), "focus");
}

TEST_F(StickiesVisibility, aDesktopThatDoesNotComeForwardLeavesTheNoteWhereItIs) {
    registry->start();
    platform.windowServer.refuseSwitches = true;
    const int before = window("two").focusCount;
    registry->jump("two", true);
    platform.clock.advance(Stickies::flashDelay);
    EXPECT_EQ(window("two").focusCount, before);
    EXPECT_FALSE(flashed("two"));
    // A later switch by hand is not taken for the jump.
    platform.windowServer.switchTo(3);
    platform.windowServer.switchTo(2);
    EXPECT_EQ(window("two").focusCount, before);
}

TEST_F(StickiesVisibility, aJumpWithFlashPulsesTheNoteAMomentLater) {
    registry->start();
    registry->jump("one", true);
    platform.clock.advance(Stickies::flashDelay - 0.01);
    EXPECT_FALSE(flashed("one"));
    platform.clock.advance(0.01);
    EXPECT_TRUE(flashed("one"));
}

TEST_F(StickiesVisibility, jumpingToAnUnknownNoteDoesNothing) {
    registry->start();
    registry->jump("nothing", true);
    platform.clock.advance(1);
    EXPECT_EQ(platform.workspace.activations, 0);
    EXPECT_TRUE(platform.windowServer.shown.empty());
}

TEST_F(StickiesVisibility, aSnoozedNotePickedInSearchComesBackAndFlashes) {
    registry->start();
    post("one", {{"t", "snooze"}, {"at", (morning + 3600) * 1000}, {"label", "in an hour"}});
    ASSERT_FALSE(shown("one"));
    registry->pick("one");
    EXPECT_TRUE(shown("one"));
    EXPECT_FALSE(stateOnDisk().stickies.at("one").snoozeUntil);
    platform.clock.advance(Stickies::flashDelay);
    EXPECT_TRUE(flashed("one"));
}

TEST_F(StickiesVisibility, anAwakeNotePickedInSearchIsBroughtForwardWithoutFlashing) {
    registry->start();
    const int before = window("one").focusCount;
    registry->pick("one");
    platform.clock.advance(Stickies::flashDelay);
    EXPECT_EQ(window("one").focusCount, before + 1);
    EXPECT_FALSE(flashed("one"));
}

TEST_F(StickiesVisibility, bringingBackASnoozedNoteFromTheMenuJumpsToItWithAFlash) {
    registry->start();
    post("two", {{"t", "snooze"}, {"at", (morning + 3600) * 1000}, {"label", "in an hour"}});
    registry->unsnooze("two");
    EXPECT_EQ(platform.windowServer.shown, std::vector<SpaceId>{2});
    platform.clock.advance(Stickies::flashDelay);
    EXPECT_TRUE(flashed("two"));
}

TEST_F(StickiesVisibility, aChangeIsAnnouncedWhenADesktopIsHidden) {
    int announced = 0;
    registry->setChangeHandler([&] { ++announced; });
    registry->start();
    const int before = announced;
    registry->toggleHere();
    EXPECT_GT(announced, before);
}

TEST_F(StickiesVisibility, aChangeIsAnnouncedWhenANoteIsRetitledButNotForEveryKeystroke) {
    int announced = 0;
    registry->setChangeHandler([&] { ++announced; });
    registry->start();
    int before = announced;
    post("one", {{"t", "save"}, {"c", "one\nmore below"}, {"v", 0}});
    EXPECT_EQ(announced, before);
    post("one", {{"t", "save"}, {"c", "first line"}, {"v", 0}});
    EXPECT_EQ(announced, before + 1);
}

TEST_F(StickiesVisibility, aChangeIsAnnouncedWhenNotesAreDeleted) {
    int announced = 0;
    registry->setChangeHandler([&] { ++announced; });
    registry->start();
    const int before = announced;
    registry->deleteNotes({"one"}, false);
    EXPECT_GT(announced, before);
    EXPECT_TRUE(registry->canUndoDelete());
}
