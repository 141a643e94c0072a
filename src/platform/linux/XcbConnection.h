#pragma once
#include "geometry/Rect.h"
#include "platform/Subscription.h"

#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

typedef struct _GSource GSource;

namespace marrowleaf {

struct XcbFree {
    void operator()(void* p) const { std::free(p); }
};
// A reply, event or error that XCB allocated for the caller.
template <class T> using XcbReply = std::unique_ptr<T, XcbFree>;

// The one connection to the X server that the desktop adapters share, read on
// the GLib main loop of the thread that makes it. Events arrive in batches
// (whatever the server sent by the time the loop looks); each watcher whose
// filter accepts an event of a batch is called once for that batch.
//
// Requests made here never block for long: a server that went away turns
// every answer into "absent", logged once.
class XcbConnection {
public:
    using EventFilter = std::function<bool(const xcb_generic_event_t& event)>;
    using Handler = std::function<void()>;
    using EventHandler = std::function<void(const xcb_generic_event_t& event)>;

    // `display` as in $DISPLAY; empty for $DISPLAY itself.
    explicit XcbConnection(const std::string& display = {});
    ~XcbConnection();
    XcbConnection(const XcbConnection&) = delete;
    XcbConnection& operator=(const XcbConnection&) = delete;

    // False when the connection failed or the server has gone.
    bool connected() const;
    // The XInput 2.2 extension's major opcode, when the server has it and is
    // an X session of its own: under Xwayland the desktop and its clicks
    // belong to the Wayland compositor.
    std::optional<std::uint8_t> desktopInputOpcode() const;
    xcb_connection_t* get() const { return connection; }
    xcb_window_t root() const { return rootWindow; }

    // The atom of that name, made on first use; XCB_NONE when the server can't be asked.
    xcb_atom_t atom(std::string_view name);
    // Makes several atoms in one round trip, ahead of their first use.
    void internAtoms(std::initializer_list<std::string_view> names);
    // The atom's name; empty when unknown.
    std::string atomName(xcb_atom_t atom);

    // A window property asked for now and read later, so that many requests
    // share one round trip.
    xcb_get_property_cookie_t askProperty(xcb_window_t window, std::string_view name);
    // The 32-bit items (CARDINAL, WINDOW, ATOM) of a property asked for with
    // `askProperty`; empty when the window or the property is absent.
    std::vector<std::uint32_t> cardinals(xcb_get_property_cookie_t request);
    std::vector<std::uint32_t> cardinals(xcb_window_t window, std::string_view name);

    // The window's outer rectangle (border included) in root coordinates;
    // nothing when the window is gone.
    std::optional<Rect> windowRect(xcb_window_t window);

    // Property changes of `window` are delivered to the watchers from now on.
    // The root window's are from the start.
    void followProperties(xcb_window_t window);
    // Sends the window manager an EWMH request about `window` (the root for
    // requests about the screen): a client message of that type to the root.
    void askWindowManager(xcb_window_t window, std::string_view type, std::array<std::uint32_t, 5> data);

    // Calls `handler` after each batch of events that holds one `wanted` accepts.
    std::unique_ptr<Subscription> watch(EventFilter wanted, Handler handler);
    // Calls `handler` with each event that `wanted` accepts, in the order they came.
    std::unique_ptr<Subscription> watchEach(EventFilter wanted, EventHandler handler);
    // Blocks until the server sends something or `deadline` passes; whatever
    // arrives is delivered later, on the main loop, as usual.
    void waitForEvents(std::chrono::steady_clock::time_point deadline);
    // Delivers the events that have arrived, without waiting for the main loop.
    void dispatchPending();

    // The event code of an event, without the "sent by a client" bit.
    static std::uint8_t eventType(const xcb_generic_event_t& event) { return event.response_type & 0x7f; }

private:
    struct Watcher {
        EventFilter wanted;
        Handler handler;          // once for a batch
        EventHandler eachEvent;   // or once for every event wanted
    };
    using Watchers = std::map<int, Watcher>;
    class Registration;

    xcb_connection_t* connection = nullptr;
    xcb_window_t rootWindow = XCB_NONE;
    std::map<std::string, xcb_atom_t, std::less<>> atoms;
    std::shared_ptr<Watchers> watchers = std::make_shared<Watchers>();
    int nextWatcher = 1;
    std::deque<XcbReply<xcb_generic_event_t>> arrived;
    GSource* source = nullptr;
    bool reportedLoss = false;

    void attachToMainLoop();
    // Moves the events XCB has read (and, when `readSocket`, those waiting
    // on the socket) into `arrived`; false once the connection is lost.
    bool collect(bool readSocket);
    void deliver();
    bool reportLoss();

    friend struct XcbEventSource;
};

}
