#include "geometry/Spaces.h"
#include "LogCapture.h"
#include "platform/fake/FakePlatform.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

namespace {

const std::string primaryUUID = "0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0";
const std::string otherUUID = "11111111-2222-3333-4444-555555555555";

SpaceDescription space(SpaceId id, std::int64_t type = 0) { return {id, std::nullopt, type}; }

class SpacesTest : public ::testing::Test {
protected:
    FakePlatform platform;

    SpacesTest() { Spaces::reset(); }
    ~SpacesTest() override { Spaces::reset(); }

    void attachPrimaryDisplay() {
        platform.screens.screens = {FakeScreens::display(1, primaryUUID, {0, 0, 1440, 900})};
    }
    void describe(std::vector<DisplayDescription> displays) { platform.windowServer.description = displays; }
};

}

// --- reading the description

TEST_F(SpacesTest, thereAreNoDisplaysAndNoActiveDesktopsBeforeTheFirstUpdate) {
    describe({{primaryUUID, {space(1)}, 1}});
    EXPECT_TRUE(Spaces::displays().empty());
    EXPECT_TRUE(Spaces::active().empty());
}

TEST_F(SpacesTest, anUpdateListsEveryDisplayWithItsDesktopsInTheWindowServersOrder) {
    describe({{otherUUID, {space(5), space(6)}, 6}, {primaryUUID, {space(1), space(2), space(3)}, 1}});
    Spaces::update();
    const std::vector<DisplaySpaces> expected{
        {otherUUID, {{5, 0}, {6, 0}}, 6},
        {primaryUUID, {{1, 0}, {2, 0}, {3, 0}}, 1},
    };
    EXPECT_EQ(Spaces::displays(), expected);
}

TEST_F(SpacesTest, aDisplayNamedMainGetsThePrimaryDisplaysUUID) {
    attachPrimaryDisplay();
    describe({{"Main", {space(1)}, 1}});
    Spaces::update();
    ASSERT_EQ(Spaces::displays().size(), 1u);
    EXPECT_EQ(Spaces::displays()[0].display, primaryUUID);
}

TEST_F(SpacesTest, aDisplayNamedMainOnAMachineWithNoScreenGetsTheEmptyUUID) {
    describe({{"Main", {space(1)}, 1}});
    Spaces::update();
    ASSERT_EQ(Spaces::displays().size(), 1u);
    EXPECT_EQ(Spaces::displays()[0].display, "");
}

TEST_F(SpacesTest, onlyTheExactNameMainStandsForThePrimaryDisplay) {
    attachPrimaryDisplay();
    describe({{"main", {space(1)}, 1}});
    Spaces::update();
    EXPECT_EQ(Spaces::displays()[0].display, "main");
}

TEST_F(SpacesTest, aDisplayWithoutAnIdentifierIsRecordedWithTheEmptyUUID) {
    attachPrimaryDisplay();
    describe({{"", {space(1)}, 1}});
    Spaces::update();
    EXPECT_EQ(Spaces::displays()[0].display, "");
}

TEST_F(SpacesTest, aSpaceWithOnlyAnId64IsRecordedUnderThatId) {
    describe({{primaryUUID, {{std::nullopt, 42, 0}}, 42}});
    Spaces::update();
    EXPECT_EQ(Spaces::displays()[0].spaces, (std::vector<SpaceEntry>{{42, 0}}));
}

TEST_F(SpacesTest, aSpaceWithNeitherIdIsRecordedWithIdZero) {
    describe({{primaryUUID, {{std::nullopt, std::nullopt, 0}, space(3)}, 3}});
    Spaces::update();
    EXPECT_EQ(Spaces::displays()[0].spaces, (std::vector<SpaceEntry>{{0, 0}, {3, 0}}));
}

TEST_F(SpacesTest, theManagedSpaceIdIsPreferredToTheId64) {
    describe({{primaryUUID, {{7, 99, 0}}, 7}});
    Spaces::update();
    EXPECT_EQ(Spaces::displays()[0].spaces[0].id, 7u);
}

TEST_F(SpacesTest, aSpaceWithoutATypeIsAnOrdinaryDesktop) {
    describe({{primaryUUID, {{1, std::nullopt, std::nullopt}}, 1}});
    Spaces::update();
    EXPECT_EQ(Spaces::displays()[0].spaces[0].type, 0);
    EXPECT_EQ(Spaces::displays()[0].userSpaces(), (std::vector<SpaceId>{1}));
}

TEST_F(SpacesTest, aFullScreenSpaceIsListedInSpacesButNotInUserSpaces) {
    describe({{primaryUUID, {space(1), space(900, 4), space(2)}, 900}});
    Spaces::update();
    const DisplaySpaces& display = Spaces::displays()[0];
    EXPECT_EQ(display.spaces, (std::vector<SpaceEntry>{{1, 0}, {900, 4}, {2, 0}}));
    EXPECT_EQ(display.userSpaces(), (std::vector<SpaceId>{1, 2}));
}

TEST_F(SpacesTest, userSpacesKeepTheLeftToRightOrderOfTheDesktops) {
    describe({{primaryUUID, {space(30), space(10), space(20)}, 10}});
    Spaces::update();
    EXPECT_EQ(Spaces::displays()[0].userSpaces(), (std::vector<SpaceId>{30, 10, 20}));
}

TEST_F(SpacesTest, aDisplayWithoutADesktopListHasNoDesktops) {
    describe({{primaryUUID, {}, 1}});
    Spaces::update();
    EXPECT_TRUE(Spaces::displays()[0].spaces.empty());
    EXPECT_TRUE(Spaces::displays()[0].userSpaces().empty());
}

// --- the active desktops

TEST_F(SpacesTest, activeHoldsTheDesktopEveryDisplayIsShowing) {
    describe({{primaryUUID, {space(1), space(2)}, 2}, {otherUUID, {space(5), space(6)}, 5}});
    Spaces::update();
    EXPECT_EQ(Spaces::active(), (std::set<SpaceId>{2, 5}));
}

TEST_F(SpacesTest, aDisplayThatDoesNotSayWhatItShowsAddsZeroToTheActiveDesktops) {
    describe({{primaryUUID, {space(1)}, std::nullopt}, {otherUUID, {space(5)}, 5}});
    Spaces::update();
    EXPECT_EQ(Spaces::displays()[0].current, 0u);
    EXPECT_EQ(Spaces::active(), (std::set<SpaceId>{0, 5}));
}

TEST_F(SpacesTest, aDesktopSwitchIsSeenOnlyAfterTheNextUpdate) {
    platform.windowServer.shareDesktops({primaryUUID}, 3, 1);
    Spaces::update();
    platform.windowServer.switchTo(3);
    EXPECT_EQ(Spaces::active(), (std::set<SpaceId>{1}));
    Spaces::update();
    EXPECT_EQ(Spaces::active(), (std::set<SpaceId>{3}));
}

TEST_F(SpacesTest, aSecondUpdateReplacesTheWholeModel) {
    describe({{primaryUUID, {space(1)}, 1}, {otherUUID, {space(5)}, 5}});
    Spaces::update();
    describe({{primaryUUID, {space(1), space(2)}, 2}});
    Spaces::update();
    EXPECT_EQ(Spaces::displays(), (std::vector<DisplaySpaces>{{primaryUUID, {{1, 0}, {2, 0}}, 2}}));
    EXPECT_EQ(Spaces::active(), (std::set<SpaceId>{2}));
}

TEST_F(SpacesTest, aFailedSecondUpdateKeepsTheFirstUpdatesModel) {
    describe({{primaryUUID, {space(1), space(2)}, 2}});
    Spaces::update();
    describe({{primaryUUID, {space(1), space(2)}, 1}});
    platform.windowServer.failDescription = true;
    Spaces::update();
    EXPECT_EQ(Spaces::active(), (std::set<SpaceId>{2}));
    EXPECT_EQ(Spaces::displays(), (std::vector<DisplaySpaces>{{primaryUUID, {{1, 0}, {2, 0}}, 2}}));
}

TEST_F(SpacesTest, aWindowServerThatKeepsFailingIsLoggedOnceUntilItAnswersAgain) {
    support::LogCapture log;
    platform.windowServer.failDescription = true;
    Spaces::update();
    Spaces::update();
    platform.windowServer.failDescription = false;
    Spaces::update();
    platform.windowServer.failDescription = true;
    Spaces::update();
    EXPECT_EQ(log.count("ERROR can't read the desktops from the window server"), 2u);
}

// --- looking things up

TEST_F(SpacesTest, displayFindsADisplayRecordedInLowerCaseWhenAskedInUpperCase) {
    describe({{"0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0", {space(1)}, 1}});
    Spaces::update();
    auto found = Spaces::display(primaryUUID);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->current, 1u);
}

TEST_F(SpacesTest, displayFindsNothingForAnUnknownUUID) {
    describe({{primaryUUID, {space(1)}, 1}});
    Spaces::update();
    EXPECT_EQ(Spaces::display(otherUUID), std::nullopt);
}

TEST_F(SpacesTest, displayGivesTheFirstOfTwoEntriesWithTheSameUUID) {
    describe({{primaryUUID, {space(1)}, 1}, {primaryUUID, {space(5)}, 5}});
    Spaces::update();
    EXPECT_EQ(Spaces::display(primaryUUID)->current, 1u);
}

TEST_F(SpacesTest, typeOfGivesTheKindOfTheFirstDesktopWithThatId) {
    describe({{primaryUUID, {space(1), space(7, 4)}, 1}, {otherUUID, {space(7, 0)}, 7}});
    Spaces::update();
    EXPECT_EQ(Spaces::typeOf(7), 4);
    EXPECT_EQ(Spaces::typeOf(1), 0);
}

TEST_F(SpacesTest, typeOfADesktopNoDisplayListsIsNothing) {
    describe({{primaryUUID, {space(1)}, 1}});
    Spaces::update();
    EXPECT_EQ(Spaces::typeOf(2), std::nullopt);
}

// --- windows and their desktops

TEST_F(SpacesTest, spacesForWindowListsEveryDesktopTheWindowIsOn) {
    platform.windowServer.windowSpaces[41] = {1, 3};
    EXPECT_EQ(Spaces::spacesForWindow(41), (std::vector<SpaceId>{1, 3}));
}

TEST_F(SpacesTest, anUnknownWindowIsOnNoDesktop) { EXPECT_TRUE(Spaces::spacesForWindow(41).empty()); }

namespace {

// What a move answered; absent while it has not.
std::optional<bool> moveAnswer(WindowNumber window, SpaceId space) {
    std::optional<bool> answer;
    Spaces::move(window, space, [&](bool moved) { answer = moved; });
    return answer;
}

}

TEST_F(SpacesTest, moveSucceedsWhenTheWindowEndsOnTheTargetAlone) {
    platform.windowServer.windowSpaces[41] = {1};
    EXPECT_EQ(moveAnswer(41, 3), true);
    EXPECT_EQ(platform.windowServer.moves, (std::vector<FakeWindowServer::Move>{{41, 3}}));
    EXPECT_EQ(Spaces::spacesForWindow(41), (std::vector<SpaceId>{3}));
}

TEST_F(SpacesTest, moveFailsWhenTheWindowIsStillListedOnASecondDesktop) {
    platform.windowServer.windowSpaces[41] = {1};
    platform.windowServer.spacesAfterMove = std::vector<SpaceId>{3, 1};
    EXPECT_EQ(moveAnswer(41, 3), false);
}

TEST_F(SpacesTest, moveFailsWhenTheWindowServerListsTheWindowOnNoDesktop) {
    platform.windowServer.windowSpaces[41] = {1};
    platform.windowServer.spacesAfterMove = std::vector<SpaceId>{};
    EXPECT_EQ(moveAnswer(41, 3), false);
}

TEST_F(SpacesTest, moveFailsWhenTheWindowStaysOnAnotherDesktop) {
    platform.windowServer.windowSpaces[41] = {1};
    platform.windowServer.spacesAfterMove = std::vector<SpaceId>{1};
    EXPECT_EQ(moveAnswer(41, 3), false);
}

TEST_F(SpacesTest, movingAWindowToTheUnknownDesktopIsRefusedWithoutAskingTheWindowServer) {
    support::LogCapture log;
    platform.windowServer.windowSpaces[41] = {1};
    EXPECT_EQ(moveAnswer(41, 0), false);
    EXPECT_TRUE(platform.windowServer.moves.empty());
    EXPECT_EQ(log.count("ERROR can't move window 41 to an unknown desktop"), 1u);
}

TEST_F(SpacesTest, aMoveAnswersOnlyWhenTheWindowServerDoes) {
    platform.windowServer.windowSpaces[41] = {1};
    platform.windowServer.holdMoves = true;
    std::optional<bool> answer;
    Spaces::move(41, 3, [&](bool moved) { answer = moved; });
    EXPECT_FALSE(answer);
    platform.windowServer.answerMoves(true);
    EXPECT_EQ(answer, true);
}

TEST_F(SpacesTest, aMoveTheWindowServerGivesUpOnFails) {
    platform.windowServer.windowSpaces[41] = {1};
    platform.windowServer.holdMoves = true;
    std::optional<bool> answer;
    Spaces::move(41, 3, [&](bool moved) { answer = moved; });
    platform.windowServer.answerMoves(false);
    EXPECT_EQ(answer, false);
    EXPECT_EQ(Spaces::spacesForWindow(41), (std::vector<SpaceId>{1}));
}

TEST_F(SpacesTest, aSecondMoveOfAWindowOvertakesTheFirst) {
    platform.windowServer.windowSpaces[41] = {1};
    platform.windowServer.holdMoves = true;
    std::optional<bool> first, second;
    Spaces::move(41, 2, [&](bool moved) { first = moved; });
    Spaces::move(41, 3, [&](bool moved) { second = moved; });
    EXPECT_EQ(first, false);
    platform.windowServer.answerMoves(true);
    EXPECT_EQ(second, true);
    EXPECT_EQ(Spaces::spacesForWindow(41), (std::vector<SpaceId>{3}));
}
