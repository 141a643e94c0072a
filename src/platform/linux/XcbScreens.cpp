#include "platform/linux/XcbScreens.h"

#include "platform/linux/DisplayUuid.h"
#include "platform/linux/XcbConnection.h"
#include "shell/Log.h"

#include <xcb/randr.h>

#include <algorithm>
#include <set>

namespace marrowleaf {

namespace {

constexpr std::uint32_t monitorsMajor = 1;
constexpr std::uint32_t monitorsMinor = 5;
constexpr std::uint32_t edidLengthLimit = 64;   // in 32-bit units: base block and one extension
constexpr const char* edidProperty = "EDID";
constexpr const char* wholeScreenName = "screen";
constexpr std::uint16_t randrChanges =
    XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
    XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_PROPERTY;

// Partial struts: thickness on each edge, then the span along each edge.
enum StrutItem {
    left,
    right,
    top,
    bottom,
    leftStartY,
    leftEndY,
    rightStartY,
    rightEndY,
    topStartX,
    topEndX,
    bottomStartX,
    bottomEndX,
    partialStrutItems
};
constexpr std::size_t plainStrutItems = 4;

enum class Edge { left, right, top, bottom };

// Space a panel keeps for itself along one edge of the X screen.
struct Reserved {
    Edge edge;
    Rect area;
};

void reserve(std::vector<Reserved>& out, Edge edge, double thickness, double start, double end, Rect root) {
    if (thickness <= 0 || end < start) return;
    const double span = end - start + 1;
    switch (edge) {
    case Edge::left:
        out.push_back({edge, {0, start, thickness, span}});
        break;
    case Edge::right:
        out.push_back({edge, {root.width - thickness, start, thickness, span}});
        break;
    case Edge::top:
        out.push_back({edge, {start, 0, span, thickness}});
        break;
    case Edge::bottom:
        out.push_back({edge, {start, root.height - thickness, span, thickness}});
        break;
    }
}

void reserveStrut(std::vector<Reserved>& out, const std::vector<std::uint32_t>& partial,
                  const std::vector<std::uint32_t>& plain, Rect root) {
    if (partial.size() >= partialStrutItems) {
        const auto& p = partial;
        reserve(out, Edge::left, p[left], p[leftStartY], p[leftEndY], root);
        reserve(out, Edge::right, p[right], p[rightStartY], p[rightEndY], root);
        reserve(out, Edge::top, p[top], p[topStartX], p[topEndX], root);
        reserve(out, Edge::bottom, p[bottom], p[bottomStartX], p[bottomEndX], root);
    } else if (plain.size() >= plainStrutItems) {
        // An old-style strut runs the whole length of its edge.
        const auto& p = plain;
        reserve(out, Edge::left, p[left], 0, root.height - 1, root);
        reserve(out, Edge::right, p[right], 0, root.height - 1, root);
        reserve(out, Edge::top, p[top], 0, root.width - 1, root);
        reserve(out, Edge::bottom, p[bottom], 0, root.width - 1, root);
    }
}

bool overlaps(Rect a, Rect b) {
    return a.minX() < b.maxX() && b.minX() < a.maxX() && a.minY() < b.maxY() && b.minY() < a.maxY();
}

// The monitor less the panels along its edges. A strut whose inner edge lies
// outside the monitor covers it from side to side: that panel sits on a
// neighbour's edge and says nothing about this monitor.
Rect visibleArea(Rect frame, const std::vector<Reserved>& reserved) {
    double minX = frame.minX(), maxX = frame.maxX(), minY = frame.minY(), maxY = frame.maxY();
    auto inside = [](double edge, double from, double to) { return edge > from && edge < to; };
    for (const auto& [edge, area] : reserved) {
        if (!overlaps(area, frame)) continue;
        switch (edge) {
        case Edge::left:
            if (inside(area.maxX(), frame.minX(), frame.maxX())) minX = std::max(minX, area.maxX());
            break;
        case Edge::right:
            if (inside(area.minX(), frame.minX(), frame.maxX())) maxX = std::min(maxX, area.minX());
            break;
        case Edge::top:
            if (inside(area.maxY(), frame.minY(), frame.maxY())) minY = std::max(minY, area.maxY());
            break;
        case Edge::bottom:
            if (inside(area.minY(), frame.minY(), frame.maxY())) maxY = std::min(maxY, area.minY());
            break;
        }
    }
    if (maxX <= minX || maxY <= minY) return frame;
    return {minX, minY, maxX - minX, maxY - minY};
}

std::vector<Reserved> reservedAreas(XcbConnection& x) {
    auto rootCookie = xcb_get_geometry(x.get(), x.root());
    const auto clients = x.cardinals(x.root(), "_NET_CLIENT_LIST");
    XcbReply<xcb_get_geometry_reply_t> rootGeometry(xcb_get_geometry_reply(x.get(), rootCookie, nullptr));
    if (!rootGeometry) return {};
    const Rect root{0, 0, static_cast<double>(rootGeometry->width),
                    static_cast<double>(rootGeometry->height)};
    std::vector<std::pair<xcb_get_property_cookie_t, xcb_get_property_cookie_t>> asked;
    for (auto client : clients)
        asked.emplace_back(x.askProperty(client, "_NET_WM_STRUT_PARTIAL"),
                           x.askProperty(client, "_NET_WM_STRUT"));
    std::vector<Reserved> reserved;
    for (auto& [partial, plain] : asked)
        reserveStrut(reserved, x.cardinals(partial), x.cardinals(plain), root);
    return reserved;
}

struct MonitorRequest {
    Screen screen;
    bool primary = false;
    xcb_randr_output_t output = XCB_NONE;
    xcb_atom_t name = XCB_NONE;
    xcb_randr_get_output_info_cookie_t info{0};
    xcb_randr_get_output_property_cookie_t edid{0};
};

std::string outputName(XcbReply<xcb_randr_get_output_info_reply_t>& info) {
    if (!info) return {};
    return {reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get())),
            static_cast<std::size_t>(xcb_randr_get_output_info_name_length(info.get()))};
}

std::vector<std::uint8_t> edidBytes(XcbReply<xcb_randr_get_output_property_reply_t>& reply) {
    if (!reply || reply->format != 8) return {};
    const std::uint8_t* data = xcb_randr_get_output_property_data(reply.get());
    return {data, data + xcb_randr_get_output_property_data_length(reply.get())};
}

// Named once per connector, so a display that keeps sending a broken EDID logs it once.
void reportBadEdid(const std::string& connector) {
    static std::set<std::string> reported;
    if (reported.insert(connector).second)
        Log::error("can't read the EDID of display " + connector + "; naming it by its connector");
}

std::string uuidOf(const std::string& connector, const std::vector<std::uint8_t>& edid) {
    if (!edid.empty()) {
        if (auto fromEdid = DisplayUuid::fromEdid(edid, connector)) return *fromEdid;
        reportBadEdid(connector);
    }
    return DisplayUuid::fromConnector(connector);
}

}

XcbScreens::XcbScreens(XcbConnection& connection) : x(connection) {
    if (!x.connected()) return;
    x.internAtoms({"_NET_CLIENT_LIST", "_NET_WORKAREA", "_NET_WM_STRUT", "_NET_WM_STRUT_PARTIAL",
                   "_NET_ACTIVE_WINDOW", edidProperty});
    const xcb_query_extension_reply_t* randr = xcb_get_extension_data(x.get(), &xcb_randr_id);
    if (randr && randr->present) {
        XcbReply<xcb_randr_query_version_reply_t> version(xcb_randr_query_version_reply(
            x.get(), xcb_randr_query_version(x.get(), monitorsMajor, monitorsMinor), nullptr));
        hasMonitors =
            version && (version->major_version > monitorsMajor ||
                        (version->major_version == monitorsMajor && version->minor_version >= monitorsMinor));
        randrEvents = randr->first_event;
        xcb_randr_select_input(x.get(), x.root(), randrChanges);
    }
    if (!hasMonitors)
        Log::error(
            "can't list monitors: the X server lacks RandR 1.5; using the whole screen as one display");
    followClients();
    clientWatch = x.watch(
        [this](const xcb_generic_event_t& event) {
            if (XcbConnection::eventType(event) != XCB_PROPERTY_NOTIFY) return false;
            const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            return change.window == x.root() && change.atom == x.atom("_NET_CLIENT_LIST");
        },
        [this] { followClients(); });
}

XcbScreens::~XcbScreens() = default;

void XcbScreens::followClients() {
    for (auto client : x.cardinals(x.root(), "_NET_CLIENT_LIST"))
        x.followProperties(client);
}

std::vector<Screen> XcbScreens::wholeScreen() const {
    auto frame = x.windowRect(x.root());
    if (!frame) return {};
    Screen screen;
    screen.uuid = DisplayUuid::fromConnector(wholeScreenName);
    screen.frame = screen.visibleFrame = *frame;
    return {screen};
}

std::vector<Screen> XcbScreens::monitors() const {
    if (!x.connected()) return {};
    if (!hasMonitors) return wholeScreen();
    XcbReply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(x.get(), xcb_randr_get_monitors(x.get(), x.root(), 1), nullptr));
    if (!reply) return {};
    const xcb_atom_t edid = x.atom(edidProperty);
    std::vector<MonitorRequest> asked;
    for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem;
         xcb_randr_monitor_info_next(&it)) {
        const xcb_randr_monitor_info_t& info = *it.data;
        MonitorRequest m;
        m.primary = info.primary;
        m.name = info.name;
        m.screen.frame = {static_cast<double>(info.x), static_cast<double>(info.y),
                          static_cast<double>(info.width), static_cast<double>(info.height)};
        m.screen.visibleFrame = m.screen.frame;
        if (xcb_randr_monitor_info_outputs_length(&info) > 0) {
            m.output = xcb_randr_monitor_info_outputs(&info)[0];
            m.info = xcb_randr_get_output_info(x.get(), m.output, XCB_CURRENT_TIME);
            m.edid = xcb_randr_get_output_property(x.get(), m.output, edid, XCB_ATOM_ANY, 0, edidLengthLimit,
                                                   0, 0);
        }
        asked.push_back(m);
    }
    std::vector<Screen> screens;
    for (auto& m : asked) {
        std::string connector;
        std::vector<std::uint8_t> edidData;
        if (m.output != XCB_NONE) {
            XcbReply<xcb_randr_get_output_info_reply_t> info(
                xcb_randr_get_output_info_reply(x.get(), m.info, nullptr));
            XcbReply<xcb_randr_get_output_property_reply_t> property(
                xcb_randr_get_output_property_reply(x.get(), m.edid, nullptr));
            connector = outputName(info);
            edidData = edidBytes(property);
        }
        // A monitor made by hand (xrandr --setmonitor) may have no output; its own name then stands in.
        if (connector.empty()) connector = x.atomName(m.name);
        m.screen.id = m.output != XCB_NONE ? m.output : m.name;
        m.screen.uuid = uuidOf(connector, edidData);
        screens.push_back(m.screen);
    }
    auto primary = std::ranges::find_if(asked, [](const MonitorRequest& m) { return m.primary; });
    if (primary != asked.end()) {
        const auto index = primary - asked.begin();
        std::rotate(screens.begin(), screens.begin() + index, screens.begin() + index + 1);
    }
    return screens;
}

std::vector<Screen> XcbScreens::all() const {
    std::vector<Screen> screens = monitors();
    if (screens.empty()) return screens;
    const auto reserved = reservedAreas(x);
    for (auto& screen : screens)
        screen.visibleFrame = visibleArea(screen.frame, reserved);
    return screens;
}

Point XcbScreens::pointer() const {
    if (!x.connected()) return {};
    XcbReply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(x.get(), xcb_query_pointer(x.get(), x.root()), nullptr));
    if (!reply) return {};
    return {static_cast<double>(reply->root_x), static_cast<double>(reply->root_y)};
}

std::optional<Screen> XcbScreens::focused() const {
    const auto active = x.cardinals(x.root(), "_NET_ACTIVE_WINDOW");
    if (active.empty() || active.front() == XCB_NONE) return std::nullopt;
    const auto window = x.windowRect(active.front());
    if (!window) return std::nullopt;
    for (const auto& screen : all()) {
        if (screen.frame.contains(window->centre())) return screen;
    }
    return std::nullopt;
}

std::unique_ptr<Subscription> XcbScreens::watchChanges(Handler handler) {
    return x.watch([this](const xcb_generic_event_t& event) { return isChange(event); }, std::move(handler));
}

bool XcbScreens::isChange(const xcb_generic_event_t& event) const {
    const std::uint8_t type = XcbConnection::eventType(event);
    if (randrEvents != 0 && type == randrEvents + XCB_RANDR_SCREEN_CHANGE_NOTIFY) return true;
    if (randrEvents != 0 && type == randrEvents + XCB_RANDR_NOTIFY) {
        const auto& notify = reinterpret_cast<const xcb_randr_notify_event_t&>(event);
        if (notify.subCode == XCB_RANDR_NOTIFY_OUTPUT_PROPERTY)
            return notify.u.op.atom == x.atom(edidProperty);
        return notify.subCode == XCB_RANDR_NOTIFY_CRTC_CHANGE ||
               notify.subCode == XCB_RANDR_NOTIFY_OUTPUT_CHANGE;
    }
    if (type != XCB_PROPERTY_NOTIFY) return false;
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    if (change.atom == x.atom("_NET_WM_STRUT") || change.atom == x.atom("_NET_WM_STRUT_PARTIAL")) return true;
    return change.window == x.root() &&
           (change.atom == x.atom("_NET_CLIENT_LIST") || change.atom == x.atom("_NET_WORKAREA"));
}

}
