#include "platform/linux/XcbWindowServer.h"

#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbScreens.h"
#include "shell/Log.h"

#include <algorithm>
#include <chrono>

namespace marrowleaf {

namespace {

constexpr std::uint32_t allDesktops = 0xFFFFFFFF;
constexpr std::uint32_t withdrawnState = 0;
// Who asks, in the _NET_WM_DESKTOP request: an ordinary application.
constexpr std::uint32_t fromApplication = 1;

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
    : x(connection), screens(screens) {
    if (!x.connected()) return;
    x.internAtoms({"_NET_NUMBER_OF_DESKTOPS", "_NET_CURRENT_DESKTOP", "_NET_ACTIVE_WINDOW", "_NET_WM_DESKTOP",
                   "_NET_WM_STATE", "_NET_WM_STATE_FULLSCREEN", "WM_STATE"});
    followActiveWindow();
    activeWatch = x.watch(
        [this](const xcb_generic_event_t& event) {
            if (XcbConnection::eventType(event) != XCB_PROPERTY_NOTIFY) return false;
            const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            return change.window == x.root() && change.atom == x.atom("_NET_ACTIVE_WINDOW");
        },
        [this] { followActiveWindow(); });
    managedWatch = x.watch([this](const xcb_generic_event_t& event) { return isManagedChange(event); },
                           [this] { askAgainOnceManaged(); });
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

bool XcbWindowServer::isManaged(xcb_window_t window) const {
    const auto state = first(x.cardinals(window, "WM_STATE"));
    return state && *state != withdrawnState;
}

void XcbWindowServer::putWindowOnSpace(WindowNumber window, SpaceId space) {
    const auto id = static_cast<xcb_window_t>(window);
    const std::uint32_t count = first(x.cardinals(x.root(), "_NET_NUMBER_OF_DESKTOPS")).value_or(0);
    if (space == 0 || space > count) {
        Log::error("can't put window " + std::to_string(window) + " on desktop " + std::to_string(space) +
                   ": there is no such desktop");
        return;
    }
    const auto index = static_cast<std::uint32_t>(space - 1);
    x.followProperties(id);
    if (!isManaged(id)) {
        // The window manager looks at an unmapped window's desktop when it maps it.
        xcb_change_property(x.get(), XCB_PROP_MODE_REPLACE, id, x.atom("_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL,
                            32, 1, &index);
        xcb_flush(x.get());
        // But GTK deletes that property as it maps a window: a window being
        // mapped right now may reach the window manager before the property
        // does, so it is asked again once the window manager has it.
        awaitingManager[id] = index;
        return;
    }
    requestDesktop(id, index);

    using namespace std::chrono;
    const auto deadline =
        steady_clock::now() + duration_cast<steady_clock::duration>(duration<double>(moveTimeoutSeconds));
    for (;;) {
        if (first(x.cardinals(id, "_NET_WM_DESKTOP")) == index) return;
        if (steady_clock::now() >= deadline) break;
        x.waitForEvents(deadline);
    }
    Log::error("can't confirm that window " + std::to_string(window) + " moved to desktop " +
               std::to_string(space) + ": the window manager did not answer in time");
}

void XcbWindowServer::requestDesktop(xcb_window_t window, std::uint32_t index) {
    xcb_client_message_event_t request{};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = window;
    request.type = x.atom("_NET_WM_DESKTOP");
    request.data.data32[0] = index;
    request.data.data32[1] = fromApplication;
    xcb_send_event(x.get(), 0, x.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&request));
    xcb_flush(x.get());
}

bool XcbWindowServer::isManagedChange(const xcb_generic_event_t& event) const {
    if (XcbConnection::eventType(event) != XCB_PROPERTY_NOTIFY) return false;
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    return change.atom == x.atom("WM_STATE") && awaitingManager.contains(change.window);
}

void XcbWindowServer::askAgainOnceManaged() {
    // One round trip for all the windows still waiting.
    std::vector<std::pair<xcb_window_t, xcb_get_property_cookie_t>> asked;
    for (const auto& [window, index] : awaitingManager)
        asked.emplace_back(window, x.askProperty(window, "WM_STATE"));
    for (const auto& [window, request] : asked) {
        const auto state = first(x.cardinals(request));
        if (!state || *state == withdrawnState) continue;
        const std::uint32_t index = awaitingManager[window];
        awaitingManager.erase(window);
        if (first(x.cardinals(window, "_NET_WM_DESKTOP")) != index) requestDesktop(window, index);
    }
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
