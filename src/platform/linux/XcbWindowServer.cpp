#include "platform/linux/XcbWindowServer.h"

#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbScreens.h"
#include "shell/Log.h"

#include <algorithm>
#include <chrono>

namespace marrowleaf {

namespace {

constexpr std::uint32_t allDesktops = 0xFFFFFFFF;

std::optional<std::size_t> monitorHolding(Point point, const std::vector<Screen>& monitors) {
    for (std::size_t i = 0; i < monitors.size(); ++i) {
        if (monitors[i].frame.contains(point)) return i;
    }
    return std::nullopt;
}

std::optional<std::uint32_t> first(const std::vector<std::uint32_t>& items) {
    if (items.empty()) return std::nullopt;
    return items.front();
}

}

struct XcbWindowServer::Desktops {
    std::optional<std::uint32_t> count;
    std::optional<std::uint32_t> current;   // 0-based
    // Where the focused window is, when it is full screen.
    std::optional<Rect> fullScreenWindow;
};

XcbWindowServer::XcbWindowServer(XcbConnection& connection, const XcbScreens& screens)
    : x(connection), screens(screens), moves(connection) {
    if (!x.connected()) return;
    x.internAtoms({"_NET_NUMBER_OF_DESKTOPS", "_NET_CLIENT_LIST_STACKING", "_NET_CURRENT_DESKTOP", "_NET_ACTIVE_WINDOW", "_NET_WM_DESKTOP",
                   "_NET_WM_STATE", "_NET_WM_STATE_FULLSCREEN", "WM_STATE"});
    followActiveWindow();
    activeWatch = x.watch(
        [this](const xcb_generic_event_t& event) {
            if (XcbConnection::eventType(event) != XCB_PROPERTY_NOTIFY) return false;
            const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            return change.window == x.root() && change.atom == x.atom("_NET_ACTIVE_WINDOW");
        },
        [this] { followActiveWindow(); });
}

XcbWindowServer::~XcbWindowServer() = default;

void XcbWindowServer::followActiveWindow() {
    activeWindow = first(x.cardinals(x.root(), "_NET_ACTIVE_WINDOW")).value_or(XCB_NONE);
    // Going full screen changes the window's state, not which window is active.
    x.followProperties(activeWindow);
}

XcbWindowServer::Desktops XcbWindowServer::readDesktops() const {
    Desktops desktops;
    if (!x.connected()) return desktops;
    auto count = x.askProperty(x.root(), "_NET_NUMBER_OF_DESKTOPS");
    auto current = x.askProperty(x.root(), "_NET_CURRENT_DESKTOP");
    auto active = x.askProperty(x.root(), "_NET_ACTIVE_WINDOW");
    desktops.count = first(x.cardinals(count));
    desktops.current = first(x.cardinals(current));
    const xcb_window_t focused = first(x.cardinals(active)).value_or(XCB_NONE);
    if (focused == XCB_NONE) return desktops;
    const auto state = x.cardinals(focused, "_NET_WM_STATE");
    if (std::ranges::find(state, x.atom("_NET_WM_STATE_FULLSCREEN")) != state.end())
        desktops.fullScreenWindow = x.windowRect(focused);
    return desktops;
}

std::optional<std::vector<DisplayDescription>> XcbWindowServer::describeDisplays() const {
    const Desktops desktops = readDesktops();
    if (!desktops.count || *desktops.count == 0) return std::nullopt;
    const auto monitors = screens.monitors();
    if (monitors.empty()) return std::nullopt;
    std::optional<std::size_t> fullScreen;
    if (desktops.fullScreenWindow) fullScreen = monitorHolding(desktops.fullScreenWindow->centre(), monitors);

    std::vector<DisplayDescription> displays;
    for (std::size_t i = 0; i < monitors.size(); ++i) {
        DisplayDescription display;
        display.identifier = monitors[i].uuid;
        for (std::uint32_t desktop = 0; desktop < *desktops.count; ++desktop)
            display.spaces.push_back({SpaceId{desktop} + 1, std::nullopt, ordinaryType});
        if (fullScreen == i) {
            const SpaceId own = fullScreenSpaceBase + i;
            display.spaces.push_back({own, std::nullopt, fullScreenType});
            display.currentSpace = own;
        } else if (desktops.current) {
            display.currentSpace = SpaceId{*desktops.current} + 1;
        }
        displays.push_back(std::move(display));
    }
    return displays;
}

std::vector<WindowNumber> XcbWindowServer::frontToBack() const {
    const auto bottomFirst = x.cardinals(x.root(), "_NET_CLIENT_LIST_STACKING");
    return {bottomFirst.rbegin(), bottomFirst.rend()};
}

SpaceId XcbWindowServer::focusedSpace() const {
    const Desktops desktops = readDesktops();
    if (desktops.fullScreenWindow) {
        if (auto index = monitorHolding(desktops.fullScreenWindow->centre(), screens.monitors()))
            return fullScreenSpaceBase + *index;
    }
    return desktops.current ? SpaceId{*desktops.current} + 1 : 0;
}

std::vector<SpaceId> XcbWindowServer::spacesOfWindow(WindowNumber window) const {
    const auto desktop = first(x.cardinals(static_cast<xcb_window_t>(window), "_NET_WM_DESKTOP"));
    if (!desktop) return {};
    if (*desktop != allDesktops) return {SpaceId{*desktop} + 1};
    std::vector<SpaceId> every;
    const std::uint32_t count = first(x.cardinals(x.root(), "_NET_NUMBER_OF_DESKTOPS")).value_or(0);
    for (std::uint32_t d = 0; d < count; ++d)
        every.push_back(SpaceId{d} + 1);
    return every;
}

void XcbWindowServer::putWindowOnSpace(WindowNumber window, SpaceId space, Moved moved) {
    const std::uint32_t count = first(x.cardinals(x.root(), "_NET_NUMBER_OF_DESKTOPS")).value_or(0);
    if (space == 0 || space > count) {
        Log::error("can't put window " + std::to_string(window) + " on desktop " + std::to_string(space) +
                   ": there is no such desktop");
        moved(false);
        return;
    }
    moves.request(static_cast<xcb_window_t>(window), static_cast<std::uint32_t>(space - 1), std::move(moved));
}

void XcbWindowServer::showSpace(SpaceId space) {
    const std::uint32_t count = first(x.cardinals(x.root(), "_NET_NUMBER_OF_DESKTOPS")).value_or(0);
    if (space == 0 || space > count) return;   // a full-screen desktop is not ours to bring forward
    constexpr std::uint32_t currentTime = 0;
    x.askWindowManager(x.root(), "_NET_CURRENT_DESKTOP", {static_cast<std::uint32_t>(space - 1), currentTime, 0, 0, 0});
}

std::unique_ptr<Subscription> XcbWindowServer::watchActiveSpace(Handler handler) {
    return x.watch([this](const xcb_generic_event_t& event) { return isActiveSpaceChange(event); },
                   std::move(handler));
}

bool XcbWindowServer::isActiveSpaceChange(const xcb_generic_event_t& event) const {
    if (XcbConnection::eventType(event) != XCB_PROPERTY_NOTIFY) return false;
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    if (change.window == x.root())
        return change.atom == x.atom("_NET_CURRENT_DESKTOP") || change.atom == x.atom("_NET_ACTIVE_WINDOW") ||
               change.atom == x.atom("_NET_NUMBER_OF_DESKTOPS");
    return change.window == activeWindow && change.atom == x.atom("_NET_WM_STATE");
}

}
