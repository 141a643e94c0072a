// A note put on a desktop that is not in front, while the window manager
// takes its time to answer the move.
#include "RegistryFixture.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

class StickiesRemotePlacement : public RegistryFixture {
protected:
    void SetUp() override {
        RegistryFixture::SetUp();
        AppState state;
        state.stickies["far"] = record(3);
        saveState(state);
        writeNote("far", "x");
        platform.windowServer.holdMoves = true;
    }
};

}

TEST_F(StickiesRemotePlacement, aNoteIsShownUnseenUntilTheWindowManagerSaysItMoved) {
    registry->start();
    EXPECT_EQ(platform.windowServer.heldMoves(), 1u);
    EXPECT_EQ(window("far").alpha, 0);
    EXPECT_FALSE(controller("far").visible);
    EXPECT_EQ(controller("far").moving, SpaceId{3});
    platform.windowServer.answerMoves(true);
    EXPECT_TRUE(controller("far").visible);
    EXPECT_EQ(controller("far").placed, SpaceId{3});
    EXPECT_EQ(window("far").alpha, 1);
    EXPECT_FALSE(controller("far").moving);
}

TEST_F(StickiesRemotePlacement, aRefreshWhileTheWindowManagerThinksAsksNothingMore) {
    registry->start();
    registry->refresh();
    registry->sync();
    EXPECT_EQ(platform.windowServer.moves.size(), 1u);
    platform.windowServer.answerMoves(true);
    EXPECT_TRUE(shown("far"));
}

TEST_F(StickiesRemotePlacement, aMoveThatDidNotTakeIsLoggedWithTheNotesIdAndNotTriedAgain) {
    registry->start();
    platform.windowServer.answerMoves(false);
    EXPECT_FALSE(controller("far").visible);
    EXPECT_FALSE(window("far").orderedIn);
    EXPECT_EQ(window("far").alpha, 1);
    EXPECT_TRUE(controller("far").remoteTried);
    EXPECT_EQ(log.count("ERROR can't put far on desktop 3: the window manager did not move it; "
                        "it shows when that desktop is in front"),
              1u);
    registry->refresh();
    EXPECT_EQ(platform.windowServer.moves.size(), 1u);
    platform.windowServer.switchTo(3);
    EXPECT_TRUE(shown("far"));
}

TEST_F(StickiesRemotePlacement, aMoveThatFailsAfterItsDesktopCameToTheFrontShowsTheNoteThere) {
    registry->start();
    platform.windowServer.switchTo(3);
    platform.windowServer.answerMoves(false);
    EXPECT_TRUE(shown("far"));
    EXPECT_EQ(controller("far").placed, SpaceId{3});
}

TEST_F(StickiesRemotePlacement, aNoteHiddenWhileItMovesStaysHiddenWhateverTheAnswer) {
    registry->start();
    AppState state = registry->appState();
    platform.clock.advance(1);
    post("far", {{"t", "snooze"}, {"at", (morning + 3600) * 1000}, {"label", "later"}});
    EXPECT_FALSE(controller("far").moving);
    platform.windowServer.answerMoves(true);
    EXPECT_FALSE(controller("far").visible);
    EXPECT_FALSE(window("far").orderedIn);
}

TEST_F(StickiesRemotePlacement, anAnswerForADeletedNoteIsIgnored) {
    registry->start();
    registry->deleteNotes({"far"}, false);
    platform.windowServer.answerMoves(true);
    EXPECT_FALSE(registry->controllers().count("far"));
}
