#include "platform/linux/XcbAccessibility.h"

#include "platform/linux/AtspiDesktopIcons.h"
#include "platform/linux/XcbConnection.h"

#include <xcb/xinput.h>

#include <algorithm>
#include <cstring>
#include <set>

namespace marrowleaf {

namespace {

// A window manager's frame holds the client, maybe inside one more layer.
constexpr int frameDepthLimit = 2;

std::vector<xcb_window_t> childrenOf(XcbReply<xcb_query_tree_reply_t>& tree) {
    if (!tree) return {};
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    return {children, children + xcb_query_tree_children_length(tree.get())};
}

}

struct XcbAccessibility::TopLevel {
    xcb_window_t window;
    Rect area;
};

XcbAccessibility::XcbAccessibility(XcbConnection& connection, pid_t ownProcess)
    : x(connection), own(ownProcess), icons(std::make_unique<AtspiDesktopIcons>()) {
    if (!x.connected()) return;
    x.internAtoms({"_NET_CLIENT_LIST", "_NET_WM_PID", "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_DESKTOP"});
    inputExtension = checkTrust();
}

XcbAccessibility::~XcbAccessibility() = default;

bool XcbAccessibility::checkTrust() const { return x.desktopInputOpcode().has_value(); }

bool XcbAccessibility::trusted() const { return inputExtension && x.connected(); }

std::optional<Rect> XcbAccessibility::trashTarget() const {
    if (!trashFrame) return std::nullopt;
    return trashFrame();
}

// The top-most viewable window among the root's children whose outer
// rectangle holds the point. Input-only windows draw nothing and are skipped.
std::optional<XcbAccessibility::TopLevel> XcbAccessibility::topLevelAt(Point point) const {
    XcbReply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(x.get(), xcb_query_tree(x.get(), x.root()), nullptr));
    const auto children = childrenOf(tree);
    std::vector<std::pair<xcb_get_window_attributes_cookie_t, xcb_get_geometry_cookie_t>> asked;
    for (auto child : children)
        asked.emplace_back(xcb_get_window_attributes(x.get(), child), xcb_get_geometry(x.get(), child));
    std::optional<TopLevel> found;
    // Children come bottom first.
    for (std::size_t i = children.size(); i-- > 0;) {
        auto [attributesCookie, geometryCookie] = asked[i];
        if (found) {
            xcb_discard_reply(x.get(), attributesCookie.sequence);
            xcb_discard_reply(x.get(), geometryCookie.sequence);
            continue;
        }
        XcbReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(x.get(), attributesCookie, nullptr));
        XcbReply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(x.get(), geometryCookie, nullptr));
        if (!attributes || !geometry) continue;
        if (attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
            attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY)
            continue;
        const double border = geometry->border_width;
        const Rect area{static_cast<double>(geometry->x), static_cast<double>(geometry->y),
                        geometry->width + 2 * border, geometry->height + 2 * border};
        if (area.contains(point)) found = TopLevel{children[i], area};
    }
    return found;
}

// The managed client shown by a top-level window: the window itself, or the
// client inside the window manager's frame; none for a window nobody manages
// (a menu, a tooltip, the window manager's own).
xcb_window_t XcbAccessibility::clientOf(xcb_window_t topLevel) const {
    const auto list = x.cardinals(x.root(), "_NET_CLIENT_LIST");
    const std::set<xcb_window_t> clients(list.begin(), list.end());
    std::vector<xcb_window_t> level{topLevel};
    for (int depth = 0; depth <= frameDepthLimit && !level.empty(); ++depth) {
        for (auto window : level) {
            if (clients.contains(window)) return window;
        }
        if (depth == frameDepthLimit) break;
        std::vector<xcb_query_tree_cookie_t> asked;
        for (auto window : level)
            asked.push_back(xcb_query_tree(x.get(), window));
        std::vector<xcb_window_t> next;
        for (auto cookie : asked) {
            XcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(x.get(), cookie, nullptr));
            auto children = childrenOf(tree);
            next.insert(next.end(), children.begin(), children.end());
        }
        level = std::move(next);
    }
    return XCB_NONE;
}

DesktopHit XcbAccessibility::whatIsAt(Point point) const {
    if (!x.connected()) return DesktopHit::unknown;
    const auto top = topLevelAt(point);
    if (!top) return DesktopHit::bareDesktop;   // nothing over the root window there
    const xcb_window_t client = clientOf(top->window);
    const xcb_window_t window = client != XCB_NONE ? client : top->window;
    auto pidCookie = x.askProperty(window, "_NET_WM_PID");
    auto typeCookie = x.askProperty(window, "_NET_WM_WINDOW_TYPE");
    const auto pid = x.cardinals(pidCookie);
    const auto types = x.cardinals(typeCookie);
    if (!pid.empty() && static_cast<pid_t>(pid.front()) == own) return DesktopHit::ownWindow;
    if (std::ranges::find(types, x.atom("_NET_WM_WINDOW_TYPE_DESKTOP")) == types.end())
        return DesktopHit::window;
    if (pid.empty()) return DesktopHit::desktopBackground;
    const Rect area = x.windowRect(window).value_or(top->area);
    return icons->at(static_cast<pid_t>(pid.front()), area, point);
}

}
