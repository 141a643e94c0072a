// The X11 hot keys driven in this process against a private Xvfb + openbox
// session: keys pressed with xdotool, another program's grab made through the
// harness's own connection, the keyboard map changed with xmodmap.

#include "integration/Harness.h"
#include "integration/Keyboard.h"

#include "LogCapture.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbHotkeySource.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

constexpr std::uint32_t ctrlAlt = HotkeyModifiers::control | HotkeyModifiers::alt;

class XcbHotkeys : public ::testing::Test {
protected:
    XSession session;
    support::LogCapture log;
    XcbConnection connection{session.display()};
    std::unique_ptr<XcbHotkeySource> source = std::make_unique<XcbHotkeySource>(connection);
    Keyboard keyboard{session.x()};
    std::vector<HotkeyId> pressed;
    int mappingChanges = 0;
    std::unique_ptr<Subscription> mappingWatch;

    void SetUp() override {
        source->setPressHandler([this](HotkeyId id) { pressed.push_back(id); });
        // Watchers of one connection hear an event in the order they came, so
        // once this one heard of a new keyboard map, the source has followed it.
        mappingWatch = connection.watchEach(
            [](const xcb_generic_event_t& event) {
                return XcbConnection::eventType(event) == XCB_MAPPING_NOTIFY;
            },
            [this](const xcb_generic_event_t&) { ++mappingChanges; });
    }

    // xdotool key with each argument a combination, pressed and released in turn.
    void press(std::initializer_list<std::string> keys) {
        std::vector<std::string> command{"xdotool", "key"};
        command.insert(command.end(), keys);
        const CommandResult result = session.run(command);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    void changeKeyboardMap(const std::vector<std::string>& expressions) {
        std::vector<std::string> command{"xmodmap"};
        for (const auto& expression : expressions) {
            command.push_back("-e");
            command.push_back(expression);
        }
        const int before = mappingChanges;
        const CommandResult result = session.run(command);
        ASSERT_EQ(result.exitCode, 0) << result.err;
        ASSERT_TRUE(runMainContextUntil([&] { return mappingChanges > before; })) << "no MappingNotify came";
    }

    bool waitForPresses(std::size_t count) {
        return runMainContextUntil([&] { return pressed.size() >= count; });
    }

    bool logged(const std::string& prefix) {
        auto lines = log.lines();
        return std::ranges::any_of(lines,
                                   [&](const std::string& line) { return line.rfind(prefix, 0) == 0; });
    }
};

}

TEST_F(XcbHotkeys, ctrlAltNPressedWithXdotoolArrivesWithItsId) {
    ASSERT_TRUE(source->registerKey('N', ctrlAlt, 1).registered());
    press({"ctrl+alt+n"});
    ASSERT_TRUE(waitForPresses(1));
    EXPECT_EQ(pressed, std::vector<HotkeyId>{1});
}

TEST_F(XcbHotkeys, theRegistrationAnswersTheKeyCodeOfTheKeyboardMap) {
    const HotkeyRegistration answer = source->registerKey('S', ctrlAlt, 2);
    EXPECT_EQ(answer, (HotkeyRegistration{keyboard.codeOf(XK_s), 0}));
}

TEST_F(XcbHotkeys, eachKeyArrivesWithItsOwnId) {
    source->registerKey('N', ctrlAlt, 1);
    source->registerKey('S', ctrlAlt, 2);
    source->registerKey('L', ctrlAlt, 3);
    press({"ctrl+alt+l"});
    press({"ctrl+alt+n"});
    press({"ctrl+alt+s"});
    ASSERT_TRUE(waitForPresses(3));
    EXPECT_EQ(pressed, (std::vector<HotkeyId>{3, 1, 2}));
}

TEST_F(XcbHotkeys, twoQuickPressesArriveTwice) {
    source->registerKey('N', ctrlAlt, 1);
    press({"ctrl+alt+n", "ctrl+alt+n"});
    ASSERT_TRUE(waitForPresses(2));
    EXPECT_EQ(pressed, (std::vector<HotkeyId>{1, 1}));
}

TEST_F(XcbHotkeys, theKeyWithOtherModifiersIsNotTheHotKey) {
    source->registerKey('N', ctrlAlt, 1);
    source->registerKey('M', ctrlAlt, 2);
    press({"ctrl+alt+shift+n"});
    press({"ctrl+n"});
    press({"ctrl+alt+m"});   // arrives after the two above, had they arrived
    ASSERT_TRUE(waitForPresses(1));
    EXPECT_EQ(pressed, std::vector<HotkeyId>{2});
}

TEST_F(XcbHotkeys, aCombinationAnotherProgramHoldsIsRefusedWithBadAccessAndItsKeyCode) {
    const xcb_keycode_t s = keyboard.codeOf(XK_s);
    ASSERT_EQ(keyboard.grab(s, ctrlAltMask), 0);
    const HotkeyRegistration answer = source->registerKey('S', ctrlAlt, 2);
    EXPECT_EQ(answer, (HotkeyRegistration{s, badAccess}));
}

TEST_F(XcbHotkeys, aRefusedCombinationKeepsNoneOfItsLockVariants) {
    const xcb_keycode_t s = keyboard.codeOf(XK_s);
    ASSERT_EQ(keyboard.grab(s, ctrlAltMask), 0);
    ASSERT_FALSE(source->registerKey('S', ctrlAlt, 2).registered());
    connection.dispatchPending();
    // Had the source kept Ctrl+Alt+CapsLock+S, this grab would meet BadAccess.
    EXPECT_EQ(keyboard.grab(s, ctrlAltMask | XCB_MOD_MASK_LOCK), 0);
}

TEST_F(XcbHotkeys, theOtherKeysWorkWhenOneIsRefused) {
    ASSERT_EQ(keyboard.grab(keyboard.codeOf(XK_s), ctrlAltMask), 0);
    source->registerKey('N', ctrlAlt, 1);
    source->registerKey('S', ctrlAlt, 2);
    source->registerKey('L', ctrlAlt, 3);
    press({"ctrl+alt+s"});
    press({"ctrl+alt+n"});
    press({"ctrl+alt+l"});
    ASSERT_TRUE(waitForPresses(2));
    EXPECT_EQ(pressed, (std::vector<HotkeyId>{1, 3}));
}

TEST_F(XcbHotkeys, aKeyNameNoKeyGivesIsRefusedWithoutAKeyCode) {
    EXPECT_EQ(source->registerKey('?', ctrlAlt, 1), (HotkeyRegistration{0, XcbHotkeySource::noSuchKey}));
}

TEST_F(XcbHotkeys, withNumLockOnCtrlAltNStillArrives) {
    const std::uint16_t numLock = keyboard.modifierOf(XK_Num_Lock);
    ASSERT_NE(numLock, 0) << "the session's modifier map has no NumLock";
    source->registerKey('N', ctrlAlt, 1);
    press({"Num_Lock"});
    ASSERT_TRUE(waitUntil([&] { return (keyboard.modifiersNow() & numLock) != 0; })) << "NumLock never lit";
    press({"ctrl+alt+n"});
    ASSERT_TRUE(waitForPresses(1));
    EXPECT_EQ(pressed, std::vector<HotkeyId>{1});
}

TEST_F(XcbHotkeys, withCapsLockAndNumLockOnCtrlAltNStillArrives) {
    source->registerKey('N', ctrlAlt, 1);
    press({"Caps_Lock"});
    press({"Num_Lock"});
    const std::uint16_t locks = XCB_MOD_MASK_LOCK | keyboard.modifierOf(XK_Num_Lock);
    ASSERT_TRUE(waitUntil([&] { return (keyboard.modifiersNow() & locks) == locks; }))
        << "the locks never lit";
    press({"ctrl+alt+n"});
    ASSERT_TRUE(waitForPresses(1));
    EXPECT_EQ(pressed, std::vector<HotkeyId>{1});
}

TEST_F(XcbHotkeys, aKeyMovedToAnotherKeyCodeIsGrabbedThereAndStillArrives) {
    const xcb_keycode_t before = keyboard.codeOf(XK_n);
    const xcb_keycode_t after = keyboard.freeCode();
    ASSERT_NE(after, 0) << "no unbound key code to move N to";
    ASSERT_TRUE(source->registerKey('N', ctrlAlt, 1).registered());

    changeKeyboardMap(
        {"keycode " + std::to_string(after) + " = n N", "keycode " + std::to_string(before) + " ="});
    const std::string followed = "INFO hotkey " + std::to_string(before) + " is key code " +
                                 std::to_string(after) + " in the new keyboard map";
    ASSERT_TRUE(runMainContextUntil([&] { return logged(followed); }))
        << "the new keyboard map was never followed";

    press({"ctrl+alt+n"});   // xdotool finds n at its new key code
    ASSERT_TRUE(waitForPresses(1));
    EXPECT_EQ(pressed, std::vector<HotkeyId>{1});
    // The old key code is free again for other programs.
    EXPECT_EQ(keyboard.grab(before, ctrlAltMask), 0);
}

TEST_F(XcbHotkeys, aKeyboardMapChangeThatLeavesTheKeyWhereItWasKeepsItWorking) {
    ASSERT_TRUE(source->registerKey('N', ctrlAlt, 1).registered());
    const xcb_keycode_t spare = keyboard.freeCode();
    ASSERT_NE(spare, 0);
    changeKeyboardMap({"keycode " + std::to_string(spare) + " = F20"});
    EXPECT_FALSE(logged("INFO hotkey"));
    EXPECT_FALSE(logged("ERROR hotkey"));
    press({"ctrl+alt+n"});
    ASSERT_TRUE(waitForPresses(1));
    EXPECT_EQ(pressed, std::vector<HotkeyId>{1});
}

TEST_F(XcbHotkeys, aKeyTheNewMapTakesAwayIsBackWhenItReturns) {
    const xcb_keycode_t n = keyboard.codeOf(XK_n);
    ASSERT_TRUE(source->registerKey('N', ctrlAlt, 1).registered());
    changeKeyboardMap({"keycode " + std::to_string(n) + " = b B"});
    EXPECT_TRUE(runMainContextUntil([&] { return logged("ERROR hotkey 0 unavailable (-1)"); }));
    changeKeyboardMap({"keycode " + std::to_string(n) + " = n N"});
    EXPECT_TRUE(runMainContextUntil([&] {
        return logged("INFO hotkey 0 is key code " + std::to_string(n) + " in the new keyboard map");
    }));
    press({"ctrl+alt+n"});
    ASSERT_TRUE(waitForPresses(1));
    EXPECT_EQ(pressed, std::vector<HotkeyId>{1});
}

TEST_F(XcbHotkeys, theCombinationIsFreeForOtherProgramsOnceTheSourceIsGone) {
    ASSERT_TRUE(source->registerKey('N', ctrlAlt, 1).registered());
    const xcb_keycode_t n = keyboard.codeOf(XK_n);
    EXPECT_EQ(keyboard.grab(n, ctrlAltMask), badAccess);
    source.reset();
    EXPECT_EQ(keyboard.grab(n, ctrlAltMask), 0);
}
