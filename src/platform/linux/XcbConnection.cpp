#include "platform/linux/XcbConnection.h"

#include "shell/Log.h"

#include <glib.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <poll.h>

namespace marrowleaf {

namespace {

// The one kind of event the adapters select on windows. Every adapter asks
// for the same mask, so one selecting a window never undoes another's.
constexpr std::uint32_t followedEvents = XCB_EVENT_MASK_PROPERTY_CHANGE;
// Longer properties are cut: nothing the adapters read comes near it.
constexpr std::uint32_t propertyLengthLimit = 1 << 16;   // in 32-bit units

constexpr auto eventSourceConditions = static_cast<GIOCondition>(G_IO_IN | G_IO_ERR | G_IO_HUP);

}

class XcbConnection::Registration : public Subscription {
public:
    Registration(const std::shared_ptr<Watchers>& watchers, int id) : watchers(watchers), id(id) {}
    ~Registration() override {
        if (auto owner = watchers.lock()) owner->erase(id);
    }

private:
    std::weak_ptr<Watchers> watchers;
    int id;
};

// The connection's place on the GLib main loop: ready when events wait in
// XCB's queue (read there while some reply was awaited) or on the socket.
struct XcbEventSource {
    GSource base;
    XcbConnection* owner;
    gpointer socket;

    static gboolean prepare(GSource* source, gint* timeout) {
        auto* self = reinterpret_cast<XcbEventSource*>(source);
        *timeout = -1;
        xcb_flush(self->owner->connection);
        self->owner->collect(false);
        return !self->owner->arrived.empty();
    }

    static gboolean check(GSource* source) {
        auto* self = reinterpret_cast<XcbEventSource*>(source);
        const bool readable = (g_source_query_unix_fd(source, self->socket) & eventSourceConditions) != 0;
        const bool alive = self->owner->collect(readable);
        return !self->owner->arrived.empty() || !alive;
    }

    static gboolean dispatch(GSource* source, GSourceFunc, gpointer) {
        auto* self = reinterpret_cast<XcbEventSource*>(source);
        self->owner->deliver();
        return self->owner->connected() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    }
};

namespace {

GSourceFuncs eventSourceFuncs = {
    XcbEventSource::prepare, XcbEventSource::check, XcbEventSource::dispatch, nullptr, nullptr, nullptr};

}

XcbConnection::XcbConnection(const std::string& display) {
    int screenNumber = 0;
    connection = xcb_connect(display.empty() ? nullptr : display.c_str(), &screenNumber);
    if (xcb_connection_has_error(connection)) {
        Log::error("can't connect to the X display \"" + display + "\"; screens and desktops stay unknown");
        reportedLoss = true;
        return;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    rootWindow = screens.data->root;
    followProperties(rootWindow);
    attachToMainLoop();
}

XcbConnection::~XcbConnection() {
    if (source) {
        g_source_destroy(source);
        g_source_unref(source);
    }
    arrived.clear();
    xcb_disconnect(connection);
}

void XcbConnection::attachToMainLoop() {
    source = g_source_new(&eventSourceFuncs, sizeof(XcbEventSource));
    auto* events = reinterpret_cast<XcbEventSource*>(source);
    events->owner = this;
    events->socket = g_source_add_unix_fd(source, xcb_get_file_descriptor(connection), eventSourceConditions);
    g_source_set_name(source, "X events");
    GMainContext* context = g_main_context_ref_thread_default();
    g_source_attach(source, context);
    g_main_context_unref(context);
}

bool XcbConnection::connected() const { return connection && !xcb_connection_has_error(connection); }

std::optional<std::uint8_t> XcbConnection::desktopInputOpcode() const {
    constexpr std::uint16_t major = 2, minor = 2;
    constexpr std::string_view xwayland = "XWAYLAND";
    if (!connected()) return std::nullopt;
    const xcb_query_extension_reply_t* input = xcb_get_extension_data(connection, &xcb_input_id);
    if (!input || !input->present) return std::nullopt;
    auto versionCookie = xcb_input_xi_query_version(connection, major, minor);
    auto xwaylandCookie = xcb_query_extension(connection, static_cast<std::uint16_t>(xwayland.size()), xwayland.data());
    XcbReply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(connection, versionCookie, nullptr));
    XcbReply<xcb_query_extension_reply_t> wayland(xcb_query_extension_reply(connection, xwaylandCookie, nullptr));
    if (wayland && wayland->present) return std::nullopt;
    const bool recent = version && (version->major_version > major ||
                                    (version->major_version == major && version->minor_version >= minor));
    if (!recent) return std::nullopt;
    return input->major_opcode;
}

bool XcbConnection::reportLoss() {
    if (!reportedLoss)
        Log::error("can't talk to the X server any more; screens and desktops stay as last seen");
    reportedLoss = true;
    return false;
}

xcb_atom_t XcbConnection::atom(std::string_view name) {
    if (auto known = atoms.find(name); known != atoms.end()) return known->second;
    if (!connected()) return XCB_NONE;
    auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    if (!reply) return XCB_NONE;
    atoms.emplace(std::string(name), reply->atom);
    return reply->atom;
}

void XcbConnection::internAtoms(std::initializer_list<std::string_view> names) {
    if (!connected()) return;
    std::vector<std::pair<std::string_view, xcb_intern_atom_cookie_t>> asked;
    for (auto name : names) {
        if (atoms.contains(name)) continue;
        asked.emplace_back(
            name, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    }
    for (auto& [name, cookie] : asked) {
        XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
        if (reply) atoms.emplace(std::string(name), reply->atom);
    }
}

std::string XcbConnection::atomName(xcb_atom_t value) {
    if (!connected() || value == XCB_NONE) return {};
    XcbReply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(connection, xcb_get_atom_name(connection, value), nullptr));
    if (!reply) return {};
    return {xcb_get_atom_name_name(reply.get()),
            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

xcb_get_property_cookie_t XcbConnection::askProperty(xcb_window_t window, std::string_view name) {
    const xcb_atom_t which = atom(name);
    if (!connected() || which == XCB_NONE) return {0};
    return xcb_get_property(connection, 0, window, which, XCB_GET_PROPERTY_TYPE_ANY, 0, propertyLengthLimit);
}

std::vector<std::uint32_t> XcbConnection::cardinals(xcb_get_property_cookie_t request) {
    if (request.sequence == 0 || !connected()) return {};
    XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, request, nullptr));
    if (!reply || reply->type == XCB_NONE || reply->format != 32) return {};
    const auto* items = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    const auto count =
        static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) / sizeof(std::uint32_t);
    return {items, items + count};
}

std::vector<std::uint32_t> XcbConnection::cardinals(xcb_window_t window, std::string_view name) {
    return cardinals(askProperty(window, name));
}

std::optional<Rect> XcbConnection::windowRect(xcb_window_t window) {
    if (!connected() || window == XCB_NONE) return std::nullopt;
    auto geometryCookie = xcb_get_geometry(connection, window);
    auto placeCookie = xcb_translate_coordinates(connection, window, rootWindow, 0, 0);
    XcbReply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(connection, geometryCookie, nullptr));
    XcbReply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(connection, placeCookie, nullptr));
    if (!geometry || !place) return std::nullopt;
    // The translation gives the inside's corner; the border lies around it.
    const double border = geometry->border_width;
    return Rect{place->dst_x - border, place->dst_y - border, geometry->width + 2 * border,
                geometry->height + 2 * border};
}

void XcbConnection::followProperties(xcb_window_t window) {
    if (!connected() || window == XCB_NONE) return;
    // Unchecked: a window that is already gone answers with an error event, which no watcher wants.
    xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &followedEvents);
}

void XcbConnection::askWindowManager(xcb_window_t window, std::string_view type, std::array<std::uint32_t, 5> data) {
    xcb_client_message_event_t request{};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = window;
    request.type = atom(type);
    std::copy(data.begin(), data.end(), request.data.data32);
    xcb_send_event(connection, 0, rootWindow,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&request));
    xcb_flush(connection);
}

std::unique_ptr<Subscription> XcbConnection::watch(EventFilter wanted, Handler handler) {
    const int id = nextWatcher++;
    (*watchers)[id] = Watcher{std::move(wanted), std::move(handler), {}};
    return std::make_unique<Registration>(watchers, id);
}

std::unique_ptr<Subscription> XcbConnection::watchEach(EventFilter wanted, EventHandler handler) {
    const int id = nextWatcher++;
    (*watchers)[id] = Watcher{std::move(wanted), {}, std::move(handler)};
    return std::make_unique<Registration>(watchers, id);
}

bool XcbConnection::collect(bool readSocket) {
    if (!connected()) return reportLoss();
    for (;;) {
        xcb_generic_event_t* event =
            readSocket ? xcb_poll_for_event(connection) : xcb_poll_for_queued_event(connection);
        if (!event) break;
        arrived.emplace_back(event);
    }
    return connected() || reportLoss();
}

void XcbConnection::waitForEvents(std::chrono::steady_clock::time_point deadline) {
    if (!connected()) return;
    xcb_flush(connection);
    const std::size_t before = arrived.size();
    collect(false);
    if (arrived.size() > before) return;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return;
    pollfd socket{xcb_get_file_descriptor(connection), POLLIN, 0};
    if (poll(&socket, 1, static_cast<int>(left.count())) > 0) collect(true);
}

void XcbConnection::dispatchPending() {
    if (connected()) xcb_flush(connection);
    collect(true);
    deliver();
}

void XcbConnection::deliver() {
    std::vector<XcbReply<xcb_generic_event_t>> batch;
    while (!arrived.empty()) {
        batch.push_back(std::move(arrived.front()));
        arrived.pop_front();
    }
    if (batch.empty()) return;
    // A handler may end its own or another watcher's subscription.
    const Watchers live = *watchers;
    for (const auto& [id, watcher] : live) {
        if (!watchers->contains(id)) continue;
        if (watcher.eachEvent) {
            for (const auto& event : batch)
                if (watchers->contains(id) && watcher.wanted(*event)) watcher.eachEvent(*event);
            continue;
        }
        const bool wanted =
            std::ranges::any_of(batch, [&](const auto& event) { return watcher.wanted(*event); });
        if (wanted && watchers->contains(id)) watcher.handler();
    }
}

}
