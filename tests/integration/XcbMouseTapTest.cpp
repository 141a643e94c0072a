// The desktop mouse tap driven in this process against a private Xvfb +
// openbox session: the mouse moved and clicked with xdotool, other programs'
// windows and grabs made through X connections of the test's own.

#include "integration/MouseEventPrint.h"
#include "integration/Harness.h"
#include "integration/Keyboard.h"
#include "integration/TestWindow.h"

#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbMouseTap.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <bit>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

constexpr std::uint32_t noModifiers = 0;
constexpr Point onTarget{400, 275};

// A window of another program under the pointer that records the button
// events it is sent. It is override-redirect, so the window manager puts no
// frame or grab of its own between the pointer and it.
class ClickTarget {
public:
    ClickTarget(const std::string& display, Rect area) : x(display) {
        xcb_connection_t* c = x.get();
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
        window = xcb_generate_id(c);
        const std::uint32_t values[] = {screen->white_pixel, 1,
                                        XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE};
        xcb_create_window(c, XCB_COPY_FROM_PARENT, window, x.root(), static_cast<std::int16_t>(area.x),
                          static_cast<std::int16_t>(area.y), static_cast<std::uint16_t>(area.width),
                          static_cast<std::uint16_t>(area.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK,
                          values);
        xcb_map_window(c, window);
        xcb_flush(c);
    }
    ~ClickTarget() {
        xcb_destroy_window(x.get(), window);
        xcb_flush(x.get());
    }
    ClickTarget(const ClickTarget&) = delete;
    ClickTarget& operator=(const ClickTarget&) = delete;

    bool viewable() {
        XcbReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(x.get(), xcb_get_window_attributes(x.get(), window), nullptr));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    // "press" and "release", in the order the window got them so far.
    const std::vector<std::string>& buttonEvents() {
        while (XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(x.get())}) {
            const auto type = XcbConnection::eventType(*event);
            if (type == XCB_BUTTON_PRESS) seen.emplace_back("press");
            if (type == XCB_BUTTON_RELEASE) seen.emplace_back("release");
        }
        return seen;
    }

private:
    XConnection x;
    xcb_window_t window = XCB_NONE;
    std::vector<std::string> seen;
};

class XcbMouseTaps : public ::testing::Test {
protected:
    XSession session;
    XcbConnection connection{session.display()};
    std::unique_ptr<XcbMouseTap> tap = std::make_unique<XcbMouseTap>(connection);
    Keyboard keyboard{session.x()};
    std::vector<MouseEvent> seen;
    MouseAnswer answer = MouseAnswer::pass;

    bool start() {
        return tap->start([this](const MouseEvent& event) {
            seen.push_back(event);
            return answer;
        });
    }

    void xdotool(std::initializer_list<std::string> arguments) {
        std::vector<std::string> command{"xdotool"};
        command.insert(command.end(), arguments);
        const CommandResult result = session.run(command);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    Point pointerNow() {
        XcbReply<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(
            session.x().get(), xcb_query_pointer(session.x().get(), session.x().root()), nullptr));
        return pointer ? Point{double(pointer->root_x), double(pointer->root_y)} : Point{-1, -1};
    }

    void movePointer(Point to) {
        xdotool({"mousemove", std::to_string(int(to.x)), std::to_string(int(to.y))});
        ASSERT_TRUE(waitUntil([&] { return pointerNow() == to; })) << "the pointer never got to " << to;
    }

    void holdModifiers(std::uint16_t mask, std::initializer_list<std::string> keys) {
        std::vector<std::string> command{"xdotool"};
        for (const auto& key : keys) {
            command.emplace_back("keydown");
            command.push_back(key);
        }
        ASSERT_EQ(session.run(command).exitCode, 0);
        ASSERT_TRUE(waitUntil([&] { return (keyboard.modifiersNow() & mask) == mask; }))
            << "the modifiers were never held";
    }

    bool waitForEvents(std::size_t count) {
        return runMainContextUntil([&] { return seen.size() >= count; });
    }

    // An Alt-click at `at`, answered swallow, is reported as its press and release.
    void altClickSwallowed(Point at) {
        answer = MouseAnswer::swallow;
        xdotool({"keydown", "alt", "click", "1", "keyup", "alt"});
        ASSERT_TRUE(waitForEvents(2));
        EXPECT_EQ(seen[0], (MouseEvent{MouseEvent::Kind::press, at, MouseModifiers::alt}));
        // Alt may be up by the time the frozen release is let go: its modifiers are not checked.
        EXPECT_EQ(seen[1].kind, MouseEvent::Kind::release);
        EXPECT_EQ(seen[1].point, at);
    }

    // Waits until `target` has got `count` button events, running the tap meanwhile.
    bool waitForTarget(ClickTarget& target, std::size_t count) {
        return runMainContextUntil([&] { return target.buttonEvents().size() >= count; });
    }

    // Another program's grab of Button1 with `modifiers` on the root: the X error, or 0.
    int grabElsewhere(std::uint16_t modifiers) {
        xcb_connection_t* c = session.x().get();
        XcbReply<xcb_generic_error_t> error(xcb_request_check(
            c, xcb_grab_button_checked(c, 0, session.x().root(), XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC,
                                       XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, 1, modifiers)));
        return error ? error->error_code : 0;
    }
    void releaseElsewhere(std::uint16_t modifiers) {
        xcb_connection_t* c = session.x().get();
        xcb_ungrab_button(c, 1, session.x().root(), modifiers);
        XcbReply<xcb_get_input_focus_reply_t> synced(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    }

    // Whether some other client holds Button1 with `modifiers`; asking leaves nothing grabbed.
    bool heldElsewhere(std::uint16_t modifiers) {
        const int error = grabElsewhere(modifiers);
        if (error == 0) releaseElsewhere(modifiers);
        return error == badAccess;
    }

    std::vector<std::uint16_t> altWithEveryLock() {
        const std::uint16_t numLock = keyboard.modifierOf(XK_Num_Lock);
        return {altMask, altMask | XCB_MOD_MASK_LOCK, static_cast<std::uint16_t>(altMask | numLock),
                static_cast<std::uint16_t>(altMask | XCB_MOD_MASK_LOCK | numLock)};
    }
};

}

TEST_F(XcbMouseTaps, aPlainPressDragAndReleaseOnTheBareRootAreReportedWhereThePointerIs) {
    ASSERT_TRUE(start());
    EXPECT_TRUE(tap->started());
    movePointer({400, 300});

    xdotool({"mousedown", "1"});
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_EQ(seen[0], (MouseEvent{MouseEvent::Kind::press, {400, 300}, noModifiers}));

    xdotool({"mousemove_relative", "30", "20"});
    ASSERT_TRUE(waitForEvents(2));
    const Point moved = pointerNow();
    EXPECT_NE(moved, (Point{400, 300}));
    EXPECT_EQ(seen[1], (MouseEvent{MouseEvent::Kind::drag, moved, noModifiers}));

    xdotool({"mouseup", "1"});
    ASSERT_TRUE(waitForEvents(3));
    EXPECT_EQ(seen[2], (MouseEvent{MouseEvent::Kind::release, moved, noModifiers}));
    EXPECT_EQ(seen.size(), 3u);
}

TEST_F(XcbMouseTaps, stepsWithoutTheButtonHeldAreNotReported) {
    ASSERT_TRUE(start());
    movePointer({400, 300});
    xdotool({"mousemove_relative", "30", "20"});
    xdotool({"click", "1"});   // comes after the step, had the step been reported
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_EQ(seen[0].kind, MouseEvent::Kind::press);
    EXPECT_EQ(seen[1].kind, MouseEvent::Kind::release);
}

TEST_F(XcbMouseTaps, anAltClickAnsweredSwallowReachesNeitherTheWindowUnderThePointerNorAnyoneElse) {
    ClickTarget target(session.display(), {300, 200, 200, 150});
    ASSERT_TRUE(waitUntil([&] { return target.viewable(); }));
    ASSERT_TRUE(start());
    movePointer(onTarget);
    ASSERT_NO_FATAL_FAILURE(altClickSwallowed(onTarget));

    // The window hears a plain click made after it; had the Alt-click reached
    // it, the window would have heard that first.
    answer = MouseAnswer::pass;
    xdotool({"click", "1"});
    ASSERT_TRUE(waitForTarget(target, 2));
    EXPECT_EQ(target.buttonEvents(), (std::vector<std::string>{"press", "release"}));
    ASSERT_TRUE(waitForEvents(4));
    EXPECT_EQ(seen[2], (MouseEvent{MouseEvent::Kind::press, onTarget, noModifiers}));
    EXPECT_EQ(seen.size(), 4u);
}

TEST_F(XcbMouseTaps, theStepsAndReleaseOfASwallowedAltPressAreReportedWhereThePointerIs) {
    ASSERT_TRUE(start());
    movePointer(onTarget);
    answer = MouseAnswer::swallow;

    holdModifiers(altMask, {"alt"});
    xdotool({"mousedown", "1"});
    ASSERT_TRUE(waitForEvents(1));
    xdotool({"mousemove_relative", "30", "20"});
    ASSERT_TRUE(waitForEvents(2));
    const Point moved = pointerNow();
    EXPECT_NE(moved, onTarget);
    EXPECT_EQ(seen[1], (MouseEvent{MouseEvent::Kind::drag, moved, MouseModifiers::alt}));
    xdotool({"mouseup", "1", "keyup", "alt"});
    ASSERT_TRUE(waitForEvents(3));
    EXPECT_EQ(seen[2], (MouseEvent{MouseEvent::Kind::release, moved, MouseModifiers::alt}));
    EXPECT_EQ(seen.size(), 3u);
}

TEST_F(XcbMouseTaps, anAltClickAnsweredPassReachesTheWindowUnderThePointer) {
    ClickTarget target(session.display(), {300, 200, 200, 150});
    ASSERT_TRUE(waitUntil([&] { return target.viewable(); }));
    ASSERT_TRUE(start());
    movePointer(onTarget);

    xdotool({"keydown", "alt", "click", "1", "keyup", "alt"});
    ASSERT_TRUE(waitForTarget(target, 2));
    EXPECT_EQ(target.buttonEvents(), (std::vector<std::string>{"press", "release"}));
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_EQ(seen[0], (MouseEvent{MouseEvent::Kind::press, onTarget, MouseModifiers::alt}));
    EXPECT_EQ(seen[1].kind, MouseEvent::Kind::release);
    EXPECT_EQ(seen[1].point, onTarget);
    EXPECT_EQ(seen.size(), 2u);
}

TEST_F(XcbMouseTaps, anAltDragAnsweredPassStillMovesAWindowTheWindowManagerManages) {
    TestWindow::Options options;
    options.area = {200, 150, 300, 200};
    TestWindow window(session.x(), options);
    ASSERT_TRUE(window.waitUntilManaged());
    const auto before = connection.windowRect(window.id());
    ASSERT_TRUE(before);
    ASSERT_TRUE(start());
    movePointer({350, 250});

    holdModifiers(altMask, {"alt"});
    xdotool({"mousedown", "1"});
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_EQ(seen[0], (MouseEvent{MouseEvent::Kind::press, {350, 250}, MouseModifiers::alt}));
    xdotool({"mousemove_relative", "40", "30"});
    xdotool({"mousemove_relative", "40", "30"});
    xdotool({"mouseup", "1", "keyup", "alt"});

    EXPECT_TRUE(runMainContextUntil([&] {
        const auto now = connection.windowRect(window.id());
        return now && now->x > before->x && now->y > before->y;
    })) << "the window manager never moved the window";
    ASSERT_TRUE(runMainContextUntil([&] { return !seen.empty() && seen.back().kind == MouseEvent::Kind::release; }));
    EXPECT_GE(seen.size(), 3u);
    EXPECT_EQ(seen[1].kind, MouseEvent::Kind::drag);
}

TEST_F(XcbMouseTaps, anAltShiftClickIsAPlainPressWithShiftAndAltThatCannotBeSwallowed) {
    ClickTarget target(session.display(), {300, 200, 200, 150});
    ASSERT_TRUE(waitUntil([&] { return target.viewable(); }));
    ASSERT_TRUE(start());
    movePointer(onTarget);
    answer = MouseAnswer::swallow;

    holdModifiers(altMask | XCB_MOD_MASK_SHIFT, {"alt", "shift"});
    xdotool({"mousedown", "1"});
    ASSERT_TRUE(waitForEvents(1));
    xdotool({"mouseup", "1"});
    ASSERT_TRUE(waitForEvents(2));
    xdotool({"keyup", "shift", "keyup", "alt"});

    EXPECT_EQ(seen[0], (MouseEvent{MouseEvent::Kind::press, onTarget,
                                   MouseModifiers::shift | MouseModifiers::alt}));
    EXPECT_EQ(seen[1].kind, MouseEvent::Kind::release);
    ASSERT_TRUE(waitForTarget(target, 2));
    EXPECT_EQ(target.buttonEvents(), (std::vector<std::string>{"press", "release"}));
}

TEST_F(XcbMouseTaps, withCapsLockAndNumLockOnAnAltClickIsStillSwallowedAndReportedAsAlt) {
    ClickTarget target(session.display(), {300, 200, 200, 150});
    ASSERT_TRUE(waitUntil([&] { return target.viewable(); }));
    ASSERT_TRUE(start());
    movePointer(onTarget);
    xdotool({"key", "Caps_Lock", "key", "Num_Lock"});
    const std::uint16_t locks = XCB_MOD_MASK_LOCK | keyboard.modifierOf(XK_Num_Lock);
    ASSERT_TRUE(waitUntil([&] { return (keyboard.modifiersNow() & locks) == locks; })) << "the locks never lit";
    ASSERT_NO_FATAL_FAILURE(altClickSwallowed(onTarget));

    answer = MouseAnswer::pass;
    xdotool({"click", "1"});
    ASSERT_TRUE(waitForTarget(target, 2));
    EXPECT_EQ(target.buttonEvents(), (std::vector<std::string>{"press", "release"}));
    xdotool({"key", "Caps_Lock", "key", "Num_Lock"});
}

TEST_F(XcbMouseTaps, followsNumLockToTheModifierANewModifierMapGivesIt) {
    const std::uint16_t before = keyboard.modifierOf(XK_Num_Lock);
    const std::uint16_t after = before == XCB_MOD_MASK_3 ? XCB_MOD_MASK_5 : XCB_MOD_MASK_3;
    ASSERT_TRUE(start());
    // Mod1 is the fourth bit of a modifier mask.
    auto name = [](std::uint16_t modifier) { return "mod" + std::to_string(std::countr_zero(modifier) - 2); };
    const std::string from = name(before), to = name(after);
    ASSERT_EQ(session.run({"xmodmap", "-e", "remove " + from + " = Num_Lock", "-e", "add " + to + " = Num_Lock"}).exitCode,
              0);
    ASSERT_EQ(keyboard.modifierOf(XK_Num_Lock), after);

    const auto withNumLock = static_cast<std::uint16_t>(altMask | after);
    EXPECT_TRUE(runMainContextUntil([&] { return heldElsewhere(withNumLock); }))
        << "the tap never grabbed Alt with NumLock's new modifier";
    EXPECT_FALSE(heldElsewhere(static_cast<std::uint16_t>(altMask | before)));
}

TEST_F(XcbMouseTaps, doesNotStartWhileAnotherProgramHoldsAltClickWithAnyLock) {
    for (const std::uint16_t held : altWithEveryLock()) {
        SCOPED_TRACE("held elsewhere: modifiers " + std::to_string(held));
        ASSERT_EQ(grabElsewhere(held), 0);
        EXPECT_FALSE(start());
        EXPECT_FALSE(tap->started());
        releaseElsewhere(held);
    }
}

TEST_F(XcbMouseTaps, aRefusedStartKeepsNoneOfItsGrabs) {
    const auto variants = altWithEveryLock();
    ASSERT_EQ(grabElsewhere(variants.back()), 0);
    ASSERT_FALSE(start());
    // Had the tap kept any of the others, its grab would meet BadAccess here.
    for (std::size_t i = 0; i + 1 < variants.size(); ++i)
        EXPECT_EQ(grabElsewhere(variants[i]), 0) << "modifiers " << variants[i];
}

TEST_F(XcbMouseTaps, startsOnceTheOtherProgramLetsGoOfAltClick) {
    ASSERT_EQ(grabElsewhere(altMask), 0);
    ASSERT_FALSE(start());
    releaseElsewhere(altMask);
    ASSERT_TRUE(start());
    EXPECT_TRUE(tap->started());

    movePointer({400, 300});
    answer = MouseAnswer::swallow;
    xdotool({"keydown", "alt", "click", "1", "keyup", "alt"});
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_EQ(seen[0], (MouseEvent{MouseEvent::Kind::press, {400, 300}, MouseModifiers::alt}));
}

TEST_F(XcbMouseTaps, startingAgainKeepsTheFirstHandler) {
    ASSERT_TRUE(start());
    int secondHandlerCalls = 0;
    EXPECT_TRUE(tap->start([&](const MouseEvent&) {
        ++secondHandlerCalls;
        return MouseAnswer::pass;
    }));
    movePointer({400, 300});
    xdotool({"click", "1"});
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_EQ(secondHandlerCalls, 0);
}

TEST_F(XcbMouseTaps, holdsAltClickAgainstOtherProgramsUntilItIsGone) {
    ASSERT_TRUE(start());
    for (const std::uint16_t variant : altWithEveryLock())
        EXPECT_EQ(grabElsewhere(variant), badAccess) << "modifiers " << variant;
    tap.reset();
    for (const std::uint16_t variant : altWithEveryLock())
        EXPECT_EQ(grabElsewhere(variant), 0) << "modifiers " << variant;
}
