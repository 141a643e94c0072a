// How long an Alt-click on the bare desktop holds the whole desktop's
// pointer: the desktop tap's grab freezes the pointer at the press until the
// tap has answered it. On a private Xvfb + openbox session, Alt is held and
// the left button pressed and released 200 times (after 10 presses not
// counted) on the bare root window through XTest on the benchmark's own
// connection. The handler asks the desktop what the program asks before it
// answers an Alt press (the window order, for the note under the pointer, and
// whether the point is the bare desktop, through the program's own probes),
// then answers swallow. Prints
//
//   alt_click_decision_ms median X max Y
//
// and every sample to standard error. Judges nothing.
//
// A sample runs from the moment just before the press is sent to the server
// until the tap's handler returns its answer; the tap sends AllowEvents and
// flushes right after, within microseconds. Both moments are read from one
// steady clock in this one process, so they compare directly; the sample
// includes the request's trip to the server (tens of microseconds), the
// server's delivery of the raw and the grabbed press, the main loop waking,
// the tap's own pointer query and the program's questions to the desktop: an
// upper bound on the decision, never less than it. What the program decides
// from memory (its notes, its settings) takes microseconds and is left out.
//
//   bench_desktop_tap
#include "integration/Harness.h"
#include "integration/Keyboard.h"
#include "geometry/AX.h"
#include "platform/Platform.h"
#include "platform/linux/XcbAccessibility.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbMouseTap.h"
#include "platform/linux/XcbScreens.h"
#include "platform/linux/XcbWindowServer.h"

#include <X11/keysym.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>
#include <vector>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

constexpr int presses = 200;
constexpr int warmUpPresses = 10;
constexpr std::int16_t bareX = 640, bareY = 400;
constexpr std::uint8_t leftButton = 1;
constexpr auto answerTimeout = std::chrono::seconds(5);

// Sends one event as a person's device would, without waiting for the server.
void fake(XConnection& x, std::uint8_t type, std::uint8_t detail, std::int16_t rootX = 0, std::int16_t rootY = 0) {
    xcb_test_fake_input(x.get(), type, detail, XCB_CURRENT_TIME, type == XCB_MOTION_NOTIFY ? x.root() : XCB_NONE,
                        rootX, rootY, 0);
    xcb_flush(x.get());
}

double milliseconds(SteadyClock::duration span) {
    return std::chrono::duration<double, std::milli>(span).count();
}

}

int main() {
    try {
        XSession session;
        XConnection& harness = session.x();
        Keyboard keyboard(harness);
        XcbConnection connection(session.display());
        XcbScreens screens(connection);
        XcbWindowServer windowServer(connection, screens);
        XcbAccessibility accessibility(connection);
        Platform::Services services = Platform::current();
        services.screens = &screens;
        services.windowServer = &windowServer;
        services.accessibility = &accessibility;
        Platform::install(services);
        XcbMouseTap tap(connection);
        bool everyPressOnTheDesktop = true;

        std::optional<SteadyClock::time_point> answeredAt;
        bool released = false;
        const bool started = tap.start([&](const MouseEvent& event) {
            if (event.kind == MouseEvent::Kind::release) released = true;
            if (event.kind != MouseEvent::Kind::press || event.modifiers != MouseModifiers::alt)
                return MouseAnswer::pass;
            windowServer.frontToBack();
            everyPressOnTheDesktop = AX::isDesktop(event.point) && everyPressOnTheDesktop;
            answeredAt = SteadyClock::now();
            return MouseAnswer::swallow;
        });
        if (!started) {
            std::fprintf(stderr, "can't start the desktop tap on %s\n", session.display().c_str());
            return 1;
        }

        const xcb_keycode_t alt = keyboard.codeOf(XK_Alt_L);
        fake(harness, XCB_MOTION_NOTIFY, 0, bareX, bareY);
        fake(harness, XCB_KEY_PRESS, alt);
        if (!waitUntil([&] { return (keyboard.modifiersNow() & altMask) != 0; })) {
            std::fprintf(stderr, "can't hold Alt down\n");
            return 1;
        }

        std::vector<double> samples;
        for (int i = 0; i < warmUpPresses + presses; ++i) {
            answeredAt.reset();
            released = false;
            const auto sent = SteadyClock::now();
            fake(harness, XCB_BUTTON_PRESS, leftButton);
            if (!runMainContextUntil([&] { return answeredAt.has_value(); }, answerTimeout)) {
                std::fprintf(stderr, "press %d was never answered\n", i + 1);
                return 1;
            }
            fake(harness, XCB_BUTTON_RELEASE, leftButton);
            if (!runMainContextUntil([&] { return released; }, answerTimeout)) {
                std::fprintf(stderr, "the release of press %d never came\n", i + 1);
                return 1;
            }
            if (i < warmUpPresses) continue;
            samples.push_back(milliseconds(*answeredAt - sent));
            std::fprintf(stderr, "%.3f\n", samples.back());
        }
        fake(harness, XCB_KEY_RELEASE, alt);
        if (!everyPressOnTheDesktop) {
            std::fprintf(stderr, "the probe did not see the bare desktop under every press\n");
            return 1;
        }

        std::ranges::sort(samples);
        std::printf("alt_click_decision_ms median %.3f max %.3f\n", samples[samples.size() / 2], samples.back());
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
