#include "input/Hotkeys.h"
#include "platform/fake/FakePlatform.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace marrowleaf;

namespace {

// A numeric status another program's hold on a key answers with.
constexpr int takenStatus = 10;

class HotkeysTest : public ::testing::Test {
protected:
    FakePlatform platform;
    support::LogCapture log;
    Hotkeys hotkeys;
    std::vector<std::string> ran;

    Hotkeys::Actions recordingActions() {
        return {[this] { ran.push_back("new"); }, [this] { ran.push_back("toggle"); },
                [this] { ran.push_back("search"); }};
    }

    const FakeHotkeySource::Registered& registration(std::size_t index) {
        return platform.hotkeys.registrations.at(index);
    }
};

}

// --- registering

TEST_F(HotkeysTest, installRegistersCtrlAltNThenSThenLAsOneTwoThree) {
    hotkeys.install(recordingActions());
    ASSERT_EQ(platform.hotkeys.registrations.size(), 3u);
    EXPECT_EQ(registration(0).key, 'N');
    EXPECT_EQ(registration(0).id, 1u);
    EXPECT_EQ(registration(1).key, 'S');
    EXPECT_EQ(registration(1).id, 2u);
    EXPECT_EQ(registration(2).key, 'L');
    EXPECT_EQ(registration(2).id, 3u);
}

TEST_F(HotkeysTest, everyKeyIsHeldWithControlAndAltAlone) {
    hotkeys.install(recordingActions());
    for (const auto& registered : platform.hotkeys.registrations)
        EXPECT_EQ(registered.modifiers, HotkeyModifiers::control | HotkeyModifiers::alt) << registered.key;
}

TEST_F(HotkeysTest, installListensForPressesBeforeRegistering) {
    hotkeys.install(recordingActions());
    EXPECT_TRUE(platform.hotkeys.hasPressHandler());
}

TEST_F(HotkeysTest, eachRegistrationKeepsTheKeyCodeTheDesktopTook) {
    hotkeys.install(recordingActions());
    EXPECT_EQ(hotkeys.registered(), (std::vector<std::optional<std::uint32_t>>{
                                        FakeHotkeySource::keyCodeOf('N'), FakeHotkeySource::keyCodeOf('S'),
                                        FakeHotkeySource::keyCodeOf('L')}));
}

TEST_F(HotkeysTest, aRegistrationLogsNothingWhenTheDesktopAgrees) {
    hotkeys.install(recordingActions());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(HotkeysTest, registerKeyAnswersTheNextIdAfterThoseAlreadyHeld) {
    hotkeys.install(recordingActions());
    EXPECT_EQ(hotkeys.registerKey('Q', HotkeyModifiers::control, [] {}), 4u);
    EXPECT_EQ(registration(3).id, 4u);
}

// --- a key another program holds

TEST_F(HotkeysTest, aKeyAnotherProgramHoldsIsLoggedWithItsKeyCodeAndStatus) {
    platform.hotkeys.refuse('S', takenStatus);
    hotkeys.install(recordingActions());
    const std::string expected = "ERROR hotkey " + std::to_string(FakeHotkeySource::keyCodeOf('S')) +
                                 " unavailable (" + std::to_string(takenStatus) + ")";
    EXPECT_EQ(log.lines(), std::vector<std::string>{expected});
}

TEST_F(HotkeysTest, aRefusedKeyIsAbsentFromTheRegistrationsButKeepsItsPlace) {
    platform.hotkeys.refuse('S', takenStatus);
    hotkeys.install(recordingActions());
    EXPECT_EQ(hotkeys.registered(),
              (std::vector<std::optional<std::uint32_t>>{FakeHotkeySource::keyCodeOf('N'), std::nullopt,
                                                         FakeHotkeySource::keyCodeOf('L')}));
}

TEST_F(HotkeysTest, withCtrlAltSTakenCtrlAltLStillHasIdThree) {
    platform.hotkeys.refuse('S', takenStatus);
    hotkeys.install(recordingActions());
    ASSERT_EQ(platform.hotkeys.registrations.size(), 3u);
    EXPECT_EQ(registration(2).key, 'L');
    EXPECT_EQ(registration(2).id, 3u);
}

TEST_F(HotkeysTest, withCtrlAltSTakenCtrlAltNAndCtrlAltLStillWork) {
    platform.hotkeys.refuse('S', takenStatus);
    hotkeys.install(recordingActions());
    platform.hotkeys.press(1);
    platform.hotkeys.press(3);
    platform.clock.runPending();
    EXPECT_EQ(ran, (std::vector<std::string>{"new", "search"}));
}

TEST_F(HotkeysTest, theActionIsKeptEvenWhenTheDesktopRefusesTheKey) {
    platform.hotkeys.refuse('S', takenStatus);
    hotkeys.install(recordingActions());
    EXPECT_TRUE(hotkeys.hasAction(2));
    // A press the desktop reports under that id after all still does what the key is for.
    platform.hotkeys.press(2);
    platform.clock.runPending();
    EXPECT_EQ(ran, std::vector<std::string>{"toggle"});
}

TEST_F(HotkeysTest, everyRefusedKeyIsLoggedOnce) {
    platform.hotkeys.refuse('N', takenStatus);
    platform.hotkeys.refuse('L', -1);
    hotkeys.install(recordingActions());
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "ERROR hotkey " + std::to_string(FakeHotkeySource::keyCodeOf('N')) + " unavailable (10)",
                  "ERROR hotkey " + std::to_string(FakeHotkeySource::keyCodeOf('L')) + " unavailable (-1)"}));
}

// --- presses

TEST_F(HotkeysTest, eachKeyRunsItsOwnAction) {
    hotkeys.install(recordingActions());
    platform.hotkeys.press(2);
    platform.clock.runPending();
    platform.hotkeys.press(1);
    platform.clock.runPending();
    platform.hotkeys.press(3);
    platform.clock.runPending();
    EXPECT_EQ(ran, (std::vector<std::string>{"toggle", "new", "search"}));
}

TEST_F(HotkeysTest, aPressRunsItsActionLaterOnTheMainQueueNotAtOnce) {
    hotkeys.install(recordingActions());
    platform.hotkeys.press(1);
    EXPECT_TRUE(ran.empty());
    EXPECT_EQ(platform.clock.pendingCount(), 1u);
    platform.clock.runPending();
    EXPECT_EQ(ran, std::vector<std::string>{"new"});
}

TEST_F(HotkeysTest, twoQuickPressesOfCtrlAltNAreTwoSeparateMainQueueTasksThatEachMakeANote) {
    hotkeys.install(recordingActions());
    platform.hotkeys.press(1);
    platform.hotkeys.press(1);
    EXPECT_EQ(platform.clock.pendingCount(), 2u);
    platform.clock.runPending();
    EXPECT_EQ(ran, (std::vector<std::string>{"new", "new"}));
}

TEST_F(HotkeysTest, anUnknownIdDoesNothing) {
    hotkeys.install(recordingActions());
    platform.hotkeys.press(0);
    platform.hotkeys.press(4);
    platform.hotkeys.press(0x53544B59);
    platform.clock.runPending();
    EXPECT_TRUE(ran.empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(HotkeysTest, aKeyWithoutAnActionIsRegisteredAndDoesNothing) {
    hotkeys.install({[this] { ran.push_back("new"); }, [this] { ran.push_back("toggle"); }, {}});
    ASSERT_EQ(platform.hotkeys.registrations.size(), 3u);
    EXPECT_EQ(registration(2).id, 3u);
    platform.hotkeys.press(3);
    platform.clock.runPending();
    EXPECT_TRUE(ran.empty());
}

TEST_F(HotkeysTest, theActionIsLookedUpWhenItRunsSoAKeyRegisteredMeanwhileIsFound) {
    hotkeys.install(recordingActions());
    platform.hotkeys.press(4);   // not registered yet
    hotkeys.registerKey('Q', HotkeyModifiers::control, [this] { ran.push_back("fourth"); });
    platform.clock.runPending();
    EXPECT_EQ(ran, std::vector<std::string>{"fourth"});
}
