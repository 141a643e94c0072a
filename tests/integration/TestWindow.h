#pragma once
#include "geometry/Rect.h"
#include "integration/Harness.h"
#include "platform/linux/XcbConnection.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace marrowleaf::testing {

// A top-level window made on the session's display through the harness's own
// connection, as another program would make it; destroyed when the object goes.
class TestWindow {
public:
    struct Options {
        Rect area{100, 100, 300, 200};
        std::string name = "marrowleaf test window";
        std::vector<std::string> types;            // _NET_WM_WINDOW_TYPE, e.g. "_NET_WM_WINDOW_TYPE_DOCK"
        std::vector<std::uint32_t> strutPartial;   // the twelve _NET_WM_STRUT_PARTIAL items
        std::optional<pid_t> pid;                  // _NET_WM_PID
        bool mapped = true;
    };

    TestWindow(XConnection& x, Options options) : x(x) {
        xcb_connection_t* c = x.get();
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
        window = xcb_generate_id(c);
        const std::uint32_t background = screen->white_pixel;
        const Rect& a = options.area;
        xcb_create_window(c, XCB_COPY_FROM_PARENT, window, x.root(), static_cast<std::int16_t>(a.x),
                          static_cast<std::int16_t>(a.y), static_cast<std::uint16_t>(a.width),
                          static_cast<std::uint16_t>(a.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          screen->root_visual, XCB_CW_BACK_PIXEL, &background);
        setText("WM_NAME", XCB_ATOM_STRING, options.name);
        // Where the program asks to be, so the window manager leaves it there.
        constexpr std::uint32_t userPosition = 1, userSize = 2;
        std::vector<std::uint32_t> hints(18, 0);
        hints[0] = userPosition | userSize;
        hints[1] = static_cast<std::uint32_t>(a.x);
        hints[2] = static_cast<std::uint32_t>(a.y);
        hints[3] = static_cast<std::uint32_t>(a.width);
        hints[4] = static_cast<std::uint32_t>(a.height);
        setCardinals("WM_NORMAL_HINTS", x.atom("WM_SIZE_HINTS"), hints);
        std::vector<std::uint32_t> types;
        for (const auto& type : options.types)
            types.push_back(x.atom(type));
        if (!types.empty()) setCardinals("_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, types);
        if (!options.strutPartial.empty())
            setCardinals("_NET_WM_STRUT_PARTIAL", XCB_ATOM_CARDINAL, options.strutPartial);
        if (options.pid)
            setCardinals("_NET_WM_PID", XCB_ATOM_CARDINAL, {static_cast<std::uint32_t>(*options.pid)});
        if (options.mapped) xcb_map_window(c, window);
        xcb_flush(c);
    }

    ~TestWindow() {
        xcb_destroy_window(x.get(), window);
        xcb_flush(x.get());
    }

    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    xcb_window_t id() const { return window; }

    // Openbox, just started, now and then drops the first map request it gets
    // (about one session in thirty); asking again is what a program would do.
    bool waitUntilManaged() {
        if (waitUntil([&] { return isManaged(); }, 2s)) return true;
        xcb_unmap_window(x.get(), window);
        xcb_map_window(x.get(), window);
        xcb_flush(x.get());
        return waitUntil([&] { return isManaged(); });
    }
    std::string hexId() const {
        char text[16];
        std::snprintf(text, sizeof text, "0x%08x", window);
        return text;
    }

    bool isManaged() {
        auto clients = x.rootCardinals("_NET_CLIENT_LIST");
        return clients && std::ranges::find(*clients, window) != clients->end();
    }

    bool isViewable() {
        XcbReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(x.get(), xcb_get_window_attributes(x.get(), window), nullptr));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }

private:
    XConnection& x;
    xcb_window_t window = XCB_NONE;

    void setText(const std::string& property, xcb_atom_t type, const std::string& value) {
        xcb_change_property(x.get(), XCB_PROP_MODE_REPLACE, window, x.atom(property), type, 8,
                            static_cast<std::uint32_t>(value.size()), value.data());
    }
    void setCardinals(const std::string& property, xcb_atom_t type,
                      const std::vector<std::uint32_t>& values) {
        xcb_change_property(x.get(), XCB_PROP_MODE_REPLACE, window, x.atom(property), type, 32,
                            static_cast<std::uint32_t>(values.size()), values.data());
    }
};

}
