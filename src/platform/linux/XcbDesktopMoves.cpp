#include "platform/linux/XcbDesktopMoves.h"

#include "platform/Platform.h"
#include "platform/linux/XcbConnection.h"

namespace marrowleaf {

namespace {

constexpr std::uint32_t withdrawnState = 0;
// Who asks, in the _NET_WM_DESKTOP request: an ordinary application.
constexpr std::uint32_t fromApplication = 1;

std::optional<std::uint32_t> first(const std::vector<std::uint32_t>& items) {
    if (items.empty()) return std::nullopt;
    return items.front();
}

}

XcbDesktopMoves::XcbDesktopMoves(XcbConnection& connection) : x(connection) {
    watch = x.watchEach([this](const xcb_generic_event_t& event) { return concerns(event); },
                        [this](const xcb_generic_event_t& event) { noteChange(event); });
}

XcbDesktopMoves::~XcbDesktopMoves() {
    *alive = false;
    if (!Platform::current().mainQueue) return;
    for (const auto& [window, move] : pending)
        Platform::mainQueue().cancel(move.timer);
}

void XcbDesktopMoves::request(xcb_window_t window, std::uint32_t index, WindowServer::Moved moved) {
    if (pending.contains(window)) finish(window, false);
    x.followProperties(window);
    Move& move = pending[window];
    move.index = index;
    move.moved = std::move(moved);
    schedule(window);
    check({window});
}

bool XcbDesktopMoves::concerns(const xcb_generic_event_t& event) const {
    if (XcbConnection::eventType(event) != XCB_PROPERTY_NOTIFY) return false;
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    return pending.contains(change.window) &&
           (change.atom == x.atom("WM_STATE") || change.atom == x.atom("_NET_WM_DESKTOP"));
}

// Changes come in bursts (hundreds of windows taken at once): they are read
// together, in one round trip, once the burst has been delivered.
void XcbDesktopMoves::noteChange(const xcb_generic_event_t& event) {
    changed.insert(reinterpret_cast<const xcb_property_notify_event_t&>(event).window);
    if (checkPosted) return;
    checkPosted = true;
    Platform::mainQueue().post([this, alive = std::weak_ptr<bool>(alive)] {
        if (alive.lock()) checkChanged();
    });
}

void XcbDesktopMoves::checkChanged() {
    checkPosted = false;
    const std::vector<xcb_window_t> windows(changed.begin(), changed.end());
    changed.clear();
    check(windows);
}

void XcbDesktopMoves::check(const std::vector<xcb_window_t>& windows) {
    struct Asked {
        xcb_window_t window;
        xcb_get_property_cookie_t state;
        xcb_get_property_cookie_t desktop;
    };
    std::vector<Asked> asked;
    for (xcb_window_t window : windows)
        if (pending.contains(window))
            asked.push_back(
                {window, x.askProperty(window, "WM_STATE"), x.askProperty(window, "_NET_WM_DESKTOP")});
    for (const auto& [window, state, desktop] : asked) {
        Seen seen;
        const auto wmState = first(x.cardinals(state));
        seen.managed = wmState && *wmState != withdrawnState;
        seen.desktop = first(x.cardinals(desktop));
        settle(window, seen);
    }
}

void XcbDesktopMoves::settle(xcb_window_t window, const Seen& seen) {
    auto found = pending.find(window);
    if (found == pending.end() || !seen.managed) return;
    Move& move = found->second;
    if (seen.desktop == move.index) {
        finish(window, true);
        return;
    }
    if (!move.asked) ask(window, move);
}

void XcbDesktopMoves::schedule(xcb_window_t window) {
    pending[window].timer =
        Platform::mainQueue().after(askInterval, [this, window, alive = std::weak_ptr<bool>(alive)] {
            if (alive.lock()) tick(window);
        });
}

// The window manager has had a while: ask again, or give up.
void XcbDesktopMoves::tick(xcb_window_t window) {
    auto found = pending.find(window);
    if (found == pending.end()) return;
    Move& move = found->second;
    if (++move.ticks >= mostTicks) {
        finish(window, false);
        return;
    }
    move.asked = false;
    schedule(window);
    check({window});
}

void XcbDesktopMoves::ask(xcb_window_t window, Move& move) {
    move.asked = true;
    x.askWindowManager(window, "_NET_WM_DESKTOP", {move.index, fromApplication, 0, 0, 0});
}

void XcbDesktopMoves::finish(xcb_window_t window, bool moved) {
    auto found = pending.find(window);
    if (found == pending.end()) return;
    Move move = std::move(found->second);
    pending.erase(found);
    Platform::mainQueue().cancel(move.timer);
    move.moved(moved);
}

}
