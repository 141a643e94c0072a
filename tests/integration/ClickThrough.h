#pragma once
// Where a click at a point of the screen would land, as the harness's own
// connection sees it: for windows that must let clicks through.
#include "geometry/Rect.h"
#include "integration/Harness.h"
#include "platform/linux/XcbConnection.h"

#include <xcb/xcb.h>

#include <cstdlib>

namespace marrowleaf::testing {

// The child of the root window that holds `window`: the window manager's frame around it.
inline xcb_window_t topLevelOf(XConnection& x, xcb_window_t window) {
    for (;;) {
        XcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(x.get(), xcb_query_tree(x.get(), window), nullptr));
        if (!tree || tree->parent == x.root() || tree->parent == XCB_NONE) return window;
        window = tree->parent;
    }
}

// The top-level window that would take a click at a point of the screen.
inline xcb_window_t windowTakingClicksAt(XConnection& x, Point point) {
    xcb_connection_t* c = x.get();
    xcb_warp_pointer(c, XCB_NONE, x.root(), 0, 0, 0, 0, static_cast<std::int16_t>(point.x),
                     static_cast<std::int16_t>(point.y));
    XcbReply<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(c, xcb_query_pointer(c, x.root()), nullptr));
    return pointer ? pointer->child : XCB_NONE;
}

// Whether a button press on `window` has reached the harness's connection.
inline bool pressReached(XConnection& x, xcb_window_t window) {
    bool reached = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(x.get())) {
        if ((event->response_type & 0x7f) == XCB_BUTTON_PRESS &&
            reinterpret_cast<xcb_button_press_event_t*>(event)->event == window)
            reached = true;
        std::free(event);
    }
    return reached;
}

}
