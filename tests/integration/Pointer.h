#pragma once
// The mouse as a person moves it, through XTest on the harness's own
// connection: each call returns once the server has taken the event, so a
// clock read just after is the event's time.
#include "integration/Harness.h"
#include "platform/linux/XcbConnection.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <cmath>
#include <cstdint>

namespace marrowleaf::testing {

class Pointer {
public:
    explicit Pointer(XConnection& x) : x(x) {}

    void moveTo(Point point) {
        fake(XCB_MOTION_NOTIFY, 0, static_cast<std::int16_t>(std::lround(point.x)),
             static_cast<std::int16_t>(std::lround(point.y)));
    }
    void press() { fake(XCB_BUTTON_PRESS, 1, 0, 0); }
    void release() { fake(XCB_BUTTON_RELEASE, 1, 0, 0); }

    // Where the window's top-left corner is on the screen now.
    std::optional<Point> windowAt(xcb_window_t window) {
        marrowleaf::XcbReply<xcb_translate_coordinates_reply_t> reply(xcb_translate_coordinates_reply(
            x.get(), xcb_translate_coordinates(x.get(), window, x.root(), 0, 0), nullptr));
        if (!reply) return std::nullopt;
        return Point{static_cast<double>(reply->dst_x), static_cast<double>(reply->dst_y)};
    }

private:
    XConnection& x;

    void fake(std::uint8_t type, std::uint8_t detail, std::int16_t rootX, std::int16_t rootY) {
        xcb_test_fake_input(x.get(), type, detail, XCB_CURRENT_TIME, type == XCB_MOTION_NOTIFY ? x.root() : XCB_NONE,
                            rootX, rootY, 0);
        marrowleaf::XcbReply<xcb_get_input_focus_reply_t> synced(
            xcb_get_input_focus_reply(x.get(), xcb_get_input_focus(x.get()), nullptr));
    }
};

}
