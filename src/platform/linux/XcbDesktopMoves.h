#pragma once
#include "platform/MainQueue.h"
#include "platform/WindowServer.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace marrowleaf {

class XcbConnection;

// Puts windows on EWMH desktops by asking the window manager, and takes its
// word for the outcome. It ignores requests about windows it does not manage
// yet, so a window is asked about once the window manager has taken it; the
// move counts once the window manager's own _NET_WM_DESKTOP names the
// desktop. A request left unanswered is sent again, and given up after a few
// seconds. Nothing here waits: answers come from the event loop.
class XcbDesktopMoves {
public:
    // Between two requests about one window, and how many are sent at most.
    static constexpr double askInterval = 1.0;
    static constexpr int mostTicks = 8;

    explicit XcbDesktopMoves(XcbConnection& connection);
    ~XcbDesktopMoves();
    XcbDesktopMoves(const XcbDesktopMoves&) = delete;
    XcbDesktopMoves& operator=(const XcbDesktopMoves&) = delete;

    // Moves the window to the desktop of that 0-based index and answers
    // `moved` once; an earlier move of the same window is answered false.
    void request(xcb_window_t window, std::uint32_t index, WindowServer::Moved moved);

private:
    struct Move {
        std::uint32_t index = 0;
        int ticks = 0;
        bool asked = false;
        WindowServer::Moved moved;
        TimerId timer = 0;
    };
    // What the window manager says of a window now.
    struct Seen {
        bool managed = false;
        std::optional<std::uint32_t> desktop;
    };

    XcbConnection& x;
    std::map<xcb_window_t, Move> pending;
    std::set<xcb_window_t> changed;
    bool checkPosted = false;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
    std::unique_ptr<Subscription> watch;

    bool concerns(const xcb_generic_event_t& event) const;
    void noteChange(const xcb_generic_event_t& event);
    void checkChanged();
    void check(const std::vector<xcb_window_t>& windows);
    void settle(xcb_window_t window, const Seen& seen);
    void tick(xcb_window_t window);
    void schedule(xcb_window_t window);
    void ask(xcb_window_t window, Move& move);
    void finish(xcb_window_t window, bool moved);
};

}
