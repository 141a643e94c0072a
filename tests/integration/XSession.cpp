#include "integration/Harness.h"

#include "integration/Pipe.h"

#include <cstdlib>
#include <cstring>
#include <fstream>

namespace marrowleaf::testing {

namespace fs = std::filesystem;
using detail::failure;
using detail::Pipe;
using detail::readLine;

XConnection::XConnection(const std::string& display) {
    int screenNumber = 0;
    connection = xcb_connect(display.c_str(), &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        connection = nullptr;
        throw failure("can't connect to the X server " + display);
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    rootWindow = screens.data->root;
}

XConnection::~XConnection() {
    if (connection) xcb_disconnect(connection);
}

xcb_atom_t XConnection::atom(const std::string& name) {
    if (auto known = atoms.find(name); known != atoms.end()) return known->second;
    auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t value = reply ? reply->atom : XCB_NONE;
    free(reply);
    if (value != XCB_NONE) atoms[name] = value;
    return value;
}

std::string XConnection::atomName(xcb_atom_t value) {
    xcb_get_atom_name_reply_t* reply =
        xcb_get_atom_name_reply(connection, xcb_get_atom_name(connection, value), nullptr);
    if (!reply) return {};
    std::string name(xcb_get_atom_name_name(reply),
                     static_cast<std::size_t>(xcb_get_atom_name_name_length(reply)));
    free(reply);
    return name;
}

std::optional<XConnection::Property> XConnection::property(xcb_window_t window, const std::string& name) {
    const xcb_atom_t which = atom(name);
    if (which == XCB_NONE) return std::nullopt;
    constexpr std::uint32_t wholeProperty = UINT32_MAX / 4;   // the length is counted in 32-bit units
    auto cookie = xcb_get_property(connection, 0, window, which, XCB_GET_PROPERTY_TYPE_ANY, 0, wholeProperty);
    xcb_get_property_reply_t* reply = xcb_get_property_reply(connection, cookie, nullptr);
    if (!reply) return std::nullopt;
    std::optional<Property> result;
    if (reply->type != XCB_NONE) {
        Property p;
        p.type = reply->type;
        p.format = reply->format;
        const auto* bytes = static_cast<const std::uint8_t*>(xcb_get_property_value(reply));
        p.data.assign(bytes, bytes + xcb_get_property_value_length(reply));
        result = std::move(p);
    }
    free(reply);
    return result;
}

std::optional<std::vector<std::uint32_t>> XConnection::cardinals(xcb_window_t window,
                                                                 const std::string& name) {
    auto p = property(window, name);
    if (!p || p->format != 32) return std::nullopt;
    std::vector<std::uint32_t> values(p->data.size() / 4);
    std::memcpy(values.data(), p->data.data(), values.size() * 4);
    return values;
}

std::optional<std::string> XConnection::text(xcb_window_t window, const std::string& name) {
    auto p = property(window, name);
    if (!p || p->format != 8) return std::nullopt;
    return std::string(p->data.begin(), p->data.end());
}

XSession::XSession() : XSession(Options{}) {}

XSession::XSession(Options options) : options_(options) {
    try {
        startXServer();
        startBus();
        connection = std::make_unique<XConnection>(display());
        if (options_.windowManager) startWindowManager();
    } catch (...) {
        stopAll();
        throw;
    }
}

XSession::~XSession() { stopAll(); }

void XSession::stopAll() {
    connection.reset();
    // The window manager and the bus go before the server they talk to.
    if (windowManager) windowManager->stop();
    if (bus) bus->stop();
    if (xserver) xserver->stop();
}

std::vector<pid_t> XSession::processes() const {
    std::vector<pid_t> pids;
    for (const auto* p : {xserver.get(), bus.get(), windowManager.get()})
        if (p) pids.push_back(p->pid());
    return pids;
}

Environment XSession::environment() const {
    return {{"DISPLAY", display()}, {"DBUS_SESSION_BUS_ADDRESS", busAddress_}};
}

CommandResult XSession::run(const std::vector<std::string>& argv, std::chrono::milliseconds timeout) const {
    return runCommand(argv, inheritedEnvironment(environment()), timeout);
}

void XSession::startXServer() {
    Pipe ready;   // Xvfb writes the display number it chose here once it accepts connections
    const std::string screen = std::to_string(options_.width) + "x" + std::to_string(options_.height) + "x" +
                               std::to_string(options_.depth);
    ChildProcess::Options o;
    o.argv = {"Xvfb", "-displayfd", std::to_string(ready.write), "-noreset", "-nolisten", "tcp", "-screen",
              "0",    screen};
    o.environment = inheritedEnvironment();
    o.standardError = folder() / "xvfb.log";
    o.keepFds = {ready.write};
    xserver = std::make_unique<ChildProcess>(o);
    ready.closeWrite();
    auto number = readLine(ready.read, options_.startTimeout);
    if (!number || number->empty()) throw failure("can't start Xvfb:" + lastLines(o.standardError));
    displayNumber_ = std::stoi(*number);
}

void XSession::startBus() {
    Pipe address;
    ChildProcess::Options o;
    o.argv = {"dbus-daemon", "--session", "--nofork", "--print-address=" + std::to_string(address.write)};
    // Services the bus starts on demand (the accessibility bus, say) belong to
    // this session's display and keep their sockets in this session's folder.
    const fs::path runtime = folder() / "runtime";
    fs::create_directories(runtime);
    fs::permissions(runtime, fs::perms::owner_all, fs::perm_options::replace);
    o.environment = inheritedEnvironment({{"DISPLAY", display()},
                                          {"DBUS_SESSION_BUS_ADDRESS", ""},
                                          {"XDG_RUNTIME_DIR", runtime.string()},
                                          {"XDG_CACHE_HOME", (folder() / "cache").string()}});
    o.standardError = folder() / "dbus.log";
    o.keepFds = {address.write};
    bus = std::make_unique<ChildProcess>(o);
    address.closeWrite();
    auto line = readLine(address.read, options_.startTimeout);
    if (!line || line->empty()) throw failure("can't start the session bus:" + lastLines(o.standardError));
    busAddress_ = *line;
}

fs::path XSession::writeWindowManagerConfig() const {
    // No key bindings, so every key reaches the program under test; a click
    // focuses and raises, Alt-drag moves; no edge resistance or desktop popup
    // to get in the way of windows that tests move.
    const std::string rc = R"(<?xml version="1.0" encoding="UTF-8"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <resistance><strength>0</strength><screen_edge_strength>0</screen_edge_strength></resistance>
  <focus><focusNew>yes</focusNew><followMouse>no</followMouse></focus>
  <placement><policy>Smart</policy></placement>
  <desktops>
    <number>)" + std::to_string(options_.desktops) +
                           R"(</number>
    <firstdesk>1</firstdesk>
    <popupTime>0</popupTime>
  </desktops>
  <margins><top>0</top><bottom>0</bottom><left>0</left><right>0</right></margins>
  <keyboard></keyboard>
  <mouse>
    <dragThreshold>1</dragThreshold>
    <context name="Frame">
      <mousebind button="A-Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind>
      <mousebind button="A-Left" action="Drag"><action name="Move"/></mousebind>
    </context>
    <context name="Client">
      <mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind>
    </context>
    <context name="Titlebar">
      <mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind>
      <mousebind button="Left" action="Drag"><action name="Move"/></mousebind>
    </context>
  </mouse>
</openbox_config>
)";
    const fs::path file = folder() / "openbox-rc.xml";
    writeFile(file, rc);
    return file;
}

void XSession::startWindowManager() {
    ChildProcess::Options o;
    o.argv = {"openbox", "--sm-disable", "--config-file", writeWindowManagerConfig().string()};
    // Its own config home, so nothing of the user's openbox set-up is read.
    o.environment = inheritedEnvironment({{"DISPLAY", display()},
                                          {"DBUS_SESSION_BUS_ADDRESS", busAddress_},
                                          {"XDG_CONFIG_HOME", (folder() / "config").string()},
                                          {"SESSION_MANAGER", ""}});
    o.standardOutput = folder() / "openbox.log";
    o.standardError = folder() / "openbox.log";
    windowManager = std::make_unique<ChildProcess>(o);
    const auto desktops = static_cast<std::uint32_t>(options_.desktops);
    const bool managing = waitUntil(
        [&] {
            if (!windowManager->running()) return true;   // no point waiting any longer
            auto count = connection->rootCardinals("_NET_NUMBER_OF_DESKTOPS");
            return connection->property(connection->root(), "_NET_SUPPORTED") && count && !count->empty() &&
                   (*count)[0] == desktops;
        },
        options_.startTimeout);
    if (!managing || !windowManager->running())
        throw failure("can't start openbox:" + lastLines(o.standardError));
    if (!windowManagerTakesWindows())
        throw failure("openbox does not manage windows:" + lastLines(o.standardError));
}

// openbox announces itself a moment before it manages new windows: a window
// mapped in between is left alone. A probe window it lists in its client list
// shows that it has settled.
bool XSession::windowManagerTakesWindows() {
    xcb_connection_t* c = connection->get();
    const xcb_window_t probe = xcb_generate_id(c);
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, probe, connection->root(), 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    // A map that arrives while openbox is still starting is lost: map again until it takes.
    auto lastMap = SteadyClock::now() - 1s;
    const bool managed = waitUntil(
        [&] {
            auto clients = connection->rootCardinals("_NET_CLIENT_LIST");
            if (clients && std::find(clients->begin(), clients->end(), probe) != clients->end()) return true;
            if (SteadyClock::now() - lastMap > 250ms) {
                xcb_unmap_window(c, probe);
                xcb_map_window(c, probe);
                xcb_flush(c);
                lastMap = SteadyClock::now();
            }
            return false;
        },
        options_.startTimeout);
    xcb_destroy_window(c, probe);
    xcb_flush(c);
    // Gone from the client list again, so tests start from an empty desktop.
    waitUntil(
        [&] {
            auto clients = connection->rootCardinals("_NET_CLIENT_LIST");
            return !clients || std::find(clients->begin(), clients->end(), probe) == clients->end();
        },
        options_.startTimeout);
    return managed;
}

}
