#include "integration/Harness.h"

#include <glib.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace marrowleaf::testing {

namespace fs = std::filesystem;

namespace {

constexpr auto processPollInterval = 10ms;
constexpr auto mainContextTick = 10;   // ms: bounds each blocking iteration so deadlines are noticed
constexpr int exitBySignalBase = 128;
constexpr int execFailedStatus = 127;

std::runtime_error failure(const std::string& what) { return std::runtime_error(what); }

// A pipe whose ends close themselves; both are close-on-exec until a child is told to keep one.
struct Pipe {
    int read = -1;
    int write = -1;
    Pipe() {
        int fds[2];
        if (pipe2(fds, O_CLOEXEC) != 0)
            throw failure(std::string("can't make a pipe: ") + std::strerror(errno));
        read = fds[0];
        write = fds[1];
    }
    ~Pipe() {
        closeRead();
        closeWrite();
    }
    void closeRead() {
        if (read >= 0) close(read);
        read = -1;
    }
    void closeWrite() {
        if (write >= 0) close(write);
        write = -1;
    }
};

// Reads one line (without its line feed) that a child prints on `fd`; absent
// when the writer closes it first or the deadline passes.
std::optional<std::string> readLine(int fd, std::chrono::milliseconds timeout) {
    const auto deadline = SteadyClock::now() + timeout;
    std::string line;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - SteadyClock::now());
        if (left.count() <= 0) return std::nullopt;
        pollfd waiting{fd, POLLIN, 0};
        const int ready = poll(&waiting, 1, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return std::nullopt;
        char c;
        const ssize_t got = ::read(fd, &c, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return std::nullopt;
        if (c == '\n') return line;
        line += c;
    }
}

int decodeStatus(int status) {
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return exitBySignalBase + WTERMSIG(status);
    return -1;
}

std::vector<char*> cStrings(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (auto& t : texts)
        pointers.push_back(t.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::string joined(const std::vector<std::string>& argv) {
    std::string text;
    for (const auto& a : argv)
        text += (text.empty() ? "" : " ") + a;
    return text;
}

// Everything between fork and exec must be async-signal-safe: no allocation here.
[[noreturn]] void becomeChild(const char* file, char** argv, char** envp, const char* out, const char* err,
                              const char* folder, const std::vector<int>& keep, int reportFd) {
    setpgid(0, 0);   // its own group, so helpers it starts can be stopped with it
    // Dies with the test even when the test itself is killed, instead of holding a display.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int devNull = open("/dev/null", O_RDONLY);
    if (devNull >= 0) dup2(devNull, STDIN_FILENO);
    const int outFd = open(out, O_WRONLY | O_CREAT | O_APPEND, 0644);
    const int errFd = open(err, O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (outFd >= 0) dup2(outFd, STDOUT_FILENO);
    if (errFd >= 0) dup2(errFd, STDERR_FILENO);
    // Nothing of the test's own leaks into the child but what it is told to keep.
    close_range(3, UINT_MAX, CLOSE_RANGE_CLOEXEC);
    for (int fd : keep)
        fcntl(fd, F_SETFD, 0);
    if (folder[0] != '\0' && chdir(folder) != 0) {
        const int error = errno;
        (void)!::write(reportFd, &error, sizeof error);
        _exit(execFailedStatus);
    }
    execvpe(file, argv, envp);
    const int error = errno;
    (void)!::write(reportFd, &error, sizeof error);
    _exit(execFailedStatus);
}

}

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout,
               std::chrono::milliseconds interval) {
    const auto deadline = SteadyClock::now() + timeout;
    while (!condition()) {
        if (SteadyClock::now() >= deadline) return condition();
        std::this_thread::sleep_for(interval);
    }
    return true;
}

bool runMainContextUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    GMainContext* context = g_main_context_ref_thread_default();
    GSource* tick = g_timeout_source_new(mainContextTick);
    g_source_set_callback(
        tick, [](gpointer) { return gboolean(G_SOURCE_CONTINUE); }, nullptr, nullptr);
    g_source_attach(tick, context);
    const auto deadline = SteadyClock::now() + timeout;
    bool held = condition();
    while (!held && SteadyClock::now() < deadline) {
        g_main_context_iteration(context, TRUE);
        held = condition();
    }
    g_source_destroy(tick);
    g_source_unref(tick);
    g_main_context_unref(context);
    return held;
}

std::string readFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::vector<std::string> readLines(const fs::path& file) {
    std::vector<std::string> lines;
    std::ifstream in(file, std::ios::binary);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

std::string lastLines(const fs::path& file, std::size_t count) {
    auto lines = readLines(file);
    std::string tail;
    for (std::size_t i = lines.size() > count ? lines.size() - count : 0; i < lines.size(); ++i)
        tail += "\n  " + lines[i];
    return tail;
}

void writeFile(const fs::path& file, const std::string& content) {
    if (file.has_parent_path()) fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << content;
    if (!out) throw failure("can't write " + file.string());
}

TemporaryFolder::TemporaryFolder(const std::string& prefix) {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = (fs::path(base && *base ? base : "/tmp") / (prefix + "-XXXXXX")).string();
    if (!mkdtemp(pattern.data()))
        throw failure("can't make a temporary folder: " + std::string(std::strerror(errno)));
    folder = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

Environment inheritedEnvironment(const Environment& changes) {
    Environment env;
    for (char** entry = environ; *entry; ++entry) {
        std::string text = *entry;
        const auto equals = text.find('=');
        if (equals != std::string::npos) env[text.substr(0, equals)] = text.substr(equals + 1);
    }
    for (const auto& [name, value] : changes) {
        if (value.empty())
            env.erase(name);
        else
            env[name] = value;
    }
    return env;
}

ChildProcess::ChildProcess(Options options) {
    if (options.argv.empty()) throw failure("can't start a process without a command");
    std::vector<std::string> args = options.argv;
    std::vector<std::string> envTexts;
    for (const auto& [name, value] : options.environment)
        envTexts.push_back(name + "=" + value);
    auto argv = cStrings(args);
    auto envp = cStrings(envTexts);
    const std::string out = options.standardOutput.empty() ? "/dev/null" : options.standardOutput.string();
    const std::string err = options.standardError.empty() ? "/dev/null" : options.standardError.string();
    const std::string folder = options.workingFolder.string();
    Pipe report;   // carries errno when exec fails; closes by itself when exec succeeds

    child = fork();
    if (child < 0) throw failure("can't fork for " + args[0] + ": " + std::strerror(errno));
    if (child == 0)
        becomeChild(argv[0], argv.data(), envp.data(), out.c_str(), err.c_str(), folder.c_str(),
                    options.keepFds, report.write);
    setpgid(child, child);   // also here, so the group exists before we might signal it
    report.closeWrite();
    int error = 0;
    ssize_t got;
    do
        got = ::read(report.read, &error, sizeof error);
    while (got < 0 && errno == EINTR);
    if (got == sizeof error) {
        wait(5s);
        throw failure("can't run " + joined(options.argv) + ": " + std::strerror(error));
    }
}

ChildProcess::~ChildProcess() {
    if (child > 0 && !status) stop();
}

bool ChildProcess::reap(bool block) {
    if (status) return true;
    // Look without reaping first: while the ended leader is unreaped its group id
    // can't be reused, so whatever it left behind in its group is stopped safely.
    siginfo_t info{};
    const int options = WEXITED | WNOWAIT | (block ? 0 : WNOHANG);
    int result;
    do
        result = waitid(P_PID, static_cast<id_t>(child), &info, options);
    while (result < 0 && errno == EINTR);
    if (result == 0 && info.si_pid == 0) return false;   // still running
    if (result == 0) kill(-child, SIGKILL);
    int raw = 0;
    pid_t reaped;
    do
        reaped = waitpid(child, &raw, 0);
    while (reaped < 0 && errno == EINTR);
    status = reaped == child ? decodeStatus(raw) : -1;
    return true;
}

bool ChildProcess::running() { return !reap(false); }

std::optional<int> ChildProcess::wait(std::chrono::milliseconds timeout) {
    waitUntil([&] { return reap(false); }, timeout, processPollInterval);
    return status;
}

int ChildProcess::stop(std::chrono::milliseconds grace) {
    if (reap(false)) return *status;
    kill(-child, SIGTERM);
    if (wait(grace)) return *status;
    kill(-child, SIGKILL);
    reap(true);
    return *status;
}

CommandResult runCommand(const std::vector<std::string>& argv, const Environment& environment,
                         std::chrono::milliseconds timeout) {
    TemporaryFolder outputs("marrowleaf-run");
    ChildProcess::Options options;
    options.argv = argv;
    options.environment = environment;
    options.standardOutput = outputs / "out";
    options.standardError = outputs / "err";
    ChildProcess process(options);
    CommandResult result;
    result.exitCode = process.wait(timeout);
    if (!result.exitCode) process.stop();
    result.out = readFile(options.standardOutput);
    result.err = readFile(options.standardError);
    return result;
}

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

AppProcess::AppProcess(const XSession& session, Environment extraEnvironment) {
    const fs::path runtime = home() / ".runtime";
    fs::create_directories(runtime);
    fs::permissions(runtime, fs::perms::owner_all, fs::perm_options::replace);
    Environment changes = session.environment();
    changes.merge(Environment{
        {"HOME", home().string()},
        {"XDG_CONFIG_HOME", configHome().string()},
        {"XDG_STATE_HOME", stateHome().string()},
        {"XDG_DATA_HOME", dataHome().string()},
        {"XDG_CACHE_HOME", (home() / ".cache").string()},
        {"XDG_RUNTIME_DIR", runtime.string()},
        {"MARROWLEAF_TEST", "1"},
        // An X11 program on this session's display only, whatever desktop runs the tests.
        {"GDK_BACKEND", "x11"},
        {"XDG_SESSION_TYPE", "x11"},
        {"WAYLAND_DISPLAY", ""},
        {"XAUTHORITY", ""},
        {"SESSION_MANAGER", ""},
        {"XDG_CURRENT_DESKTOP", ""},
        {"DESKTOP_SESSION", ""},
        // Settings stay in memory instead of the user's settings database.
        {"GSETTINGS_BACKEND", "memory"},
    });
    for (auto& [name, value] : extraEnvironment)
        changes[name] = value;
    env = inheritedEnvironment(changes);
}

AppProcess::~AppProcess() {
    if (process) process->stop();
}

fs::path AppProcess::outputFile(const std::string& stream) const {
    return home() / ".test-output" / ("run-" + std::to_string(starts) + "." + stream);
}

void AppProcess::start(const std::vector<std::string>& arguments) { startThrough({}, arguments); }

void AppProcess::startThrough(const std::vector<std::string>& launcher, const std::vector<std::string>& arguments) {
    if (process && process->running()) throw std::logic_error("the program is already running");
    ++starts;
    fs::create_directories(standardOutputFile().parent_path());
    ChildProcess::Options o;
    o.argv = launcher;
    o.argv.push_back(MARROWLEAF_BINARY);
    o.argv.insert(o.argv.end(), arguments.begin(), arguments.end());
    o.environment = env;
    o.standardOutput = standardOutputFile();
    o.standardError = standardErrorFile();
    o.workingFolder = home();
    process = std::make_unique<ChildProcess>(o);
}

CommandResult AppProcess::run(const std::vector<std::string>& arguments,
                              std::chrono::milliseconds timeout) const {
    std::vector<std::string> argv{MARROWLEAF_BINARY};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    return runCommand(argv, env, timeout);
}

pid_t AppProcess::pid() const { return process ? process->pid() : -1; }

bool AppProcess::running() { return process && process->running(); }

std::optional<int> AppProcess::wait(std::chrono::milliseconds timeout) {
    return process ? process->wait(timeout) : std::nullopt;
}

std::optional<int> AppProcess::exitCode() const { return process ? process->exitCode() : std::nullopt; }

int AppProcess::stop(std::chrono::milliseconds grace) {
    if (!process) throw std::logic_error("the program was never started");
    return process->stop(grace);
}

std::vector<pid_t> AppProcess::processesOfThisHome() const {
    std::error_code error;
    const fs::path binary = fs::weakly_canonical(MARROWLEAF_BINARY, error);
    const std::string homeEntry = "HOME=" + home().string();
    std::vector<pid_t> found;
    for (const auto& entry : fs::directory_iterator("/proc", error)) {
        const std::string name = entry.path().filename().string();
        if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) continue;
        std::error_code gone;
        // Ended processes (zombies included) have no executable any more.
        const fs::path exe = fs::read_symlink(entry.path() / "exe", gone);
        if (gone || exe != binary) continue;
        const std::string environment = readFile(entry.path() / "environ");
        std::istringstream variables(environment);
        for (std::string variable; std::getline(variables, variable, '\0');) {
            if (variable == homeEntry) {
                found.push_back(static_cast<pid_t>(std::stol(name)));
                break;
            }
        }
    }
    return found;
}

}
