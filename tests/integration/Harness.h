#pragma once
#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

// What integration tests stand on: a private X session (Xvfb, a session bus
// and openbox), the real program started in a home folder of its own, and
// waiting for conditions with a deadline instead of sleeping.
namespace marrowleaf::testing {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;
using Environment = std::map<std::string, std::string>;

// Polls `condition` every `interval` until it holds or `timeout` has passed;
// returns whether it held. The condition is checked once more at the deadline.
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout = 10s,
               std::chrono::milliseconds interval = 20ms);

// Iterates the calling thread's GLib main context until `condition` holds or
// `timeout` has passed: for code whose callbacks run on that loop.
bool runMainContextUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout = 10s);

// The whole content of a file; empty when it can't be read.
std::string readFile(const std::filesystem::path& file);
// The file's lines, without their line feeds.
std::vector<std::string> readLines(const std::filesystem::path& file);
// The file's last `count` lines, each on a line of its own, indented: for failure messages.
std::string lastLines(const std::filesystem::path& file, std::size_t count = 15);
void writeFile(const std::filesystem::path& file, const std::string& content);

// A folder under $TMPDIR (or /tmp), removed with everything in it when the object goes.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::string& prefix = "marrowleaf-test");
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return folder; }
    std::filesystem::path operator/(const std::filesystem::path& relative) const { return folder / relative; }

private:
    std::filesystem::path folder;
};

// How a child process ended: its exit status, or 128 + the signal that killed it.
struct CommandResult {
    std::optional<int> exitCode;   // absent when it didn't end within the deadline (it is then killed)
    std::string out;
    std::string err;
    bool timedOut() const { return !exitCode; }
};

// One child process, started with fork and exec, stopped by its PID. It leads
// a process group of its own, so whatever it starts (a bus's on-demand
// services, a program's helper processes) is signalled with it, and it dies
// with the test process. Its standard output and error go to files (or
// /dev/null when none is given).
class ChildProcess {
public:
    struct Options {
        std::vector<std::string> argv;          // argv[0] is looked up in PATH
        Environment environment;                // the whole environment of the child
        std::filesystem::path standardOutput;   // empty: /dev/null
        std::filesystem::path standardError;    // empty: /dev/null
        std::vector<int> keepFds;               // our descriptors the child inherits, same numbers
        std::filesystem::path workingFolder;    // empty: ours
    };

    explicit ChildProcess(Options options);   // throws std::runtime_error when it can't start
    ~ChildProcess();                          // stops it if it still runs
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return child; }
    bool running();
    // Waits until it ends; its exit code (see CommandResult), or absent at the deadline.
    std::optional<int> wait(std::chrono::milliseconds timeout = 10s);
    std::optional<int> exitCode() const { return status; }
    // SIGTERM, then SIGKILL if it is still there after `grace`. Returns the exit code.
    int stop(std::chrono::milliseconds grace = 5s);

private:
    pid_t child = -1;
    std::optional<int> status;
    bool reap(bool block);
};

// Runs a short-lived command to its end (or kills it at the deadline) and returns what it printed.
CommandResult runCommand(const std::vector<std::string>& argv, const Environment& environment,
                         std::chrono::milliseconds timeout = 10s);

// The current process's environment, with `changes` applied (an empty value removes the variable).
Environment inheritedEnvironment(const Environment& changes = {});

// A connection to an X server for reading what the window manager and the program publish.
class XConnection {
public:
    explicit XConnection(const std::string& display);   // throws std::runtime_error when it can't connect
    ~XConnection();
    XConnection(const XConnection&) = delete;
    XConnection& operator=(const XConnection&) = delete;

    xcb_connection_t* get() const { return connection; }
    xcb_window_t root() const { return rootWindow; }
    xcb_atom_t atom(const std::string& name);

    // A property's raw bytes and type; absent when the window doesn't have it.
    struct Property {
        xcb_atom_t type = XCB_NONE;
        int format = 0;
        std::vector<std::uint8_t> data;
    };
    std::optional<Property> property(xcb_window_t window, const std::string& name);
    // A property of 32-bit items (CARDINAL, ATOM, WINDOW…).
    std::optional<std::vector<std::uint32_t>> cardinals(xcb_window_t window, const std::string& name);
    // A property of 8-bit text (UTF8_STRING or STRING); a list of texts is joined by NULs.
    std::optional<std::string> text(xcb_window_t window, const std::string& name);
    std::optional<std::vector<std::uint32_t>> rootCardinals(const std::string& name) {
        return cardinals(rootWindow, name);
    }
    std::string atomName(xcb_atom_t atom);

private:
    xcb_connection_t* connection = nullptr;
    xcb_window_t rootWindow = XCB_NONE;
    std::map<std::string, xcb_atom_t> atoms;
};

// A private desktop: Xvfb on a free display number, a session bus of its
// own, and openbox with the given number of desktops. Everything it starts
// is stopped by PID, and its folder removed, when it goes.
class XSession {
public:
    struct Options {
        int width = 1280;
        int height = 800;
        int depth = 24;
        int desktops = 4;
        bool windowManager = true;
        std::chrono::milliseconds startTimeout = 15s;
    };

    XSession();
    explicit XSession(Options options);   // throws std::runtime_error when some part can't start
    ~XSession();
    XSession(const XSession&) = delete;
    XSession& operator=(const XSession&) = delete;

    std::string display() const { return ":" + std::to_string(displayNumber_); }
    int displayNumber() const { return displayNumber_; }
    const std::string& busAddress() const { return busAddress_; }
    const Options& options() const { return options_; }
    const std::filesystem::path& folder() const { return temporary.path(); }
    // DISPLAY and DBUS_SESSION_BUS_ADDRESS, for whatever runs in this session.
    Environment environment() const;
    // The harness's own connection to the session's X server.
    XConnection& x() { return *connection; }
    // The PIDs of the X server, the bus and the window manager it started.
    std::vector<pid_t> processes() const;

    // Runs a tool (xdotool, wmctrl, xprop…) in this session and waits for it.
    CommandResult run(const std::vector<std::string>& argv, std::chrono::milliseconds timeout = 10s) const;

private:
    Options options_;
    TemporaryFolder temporary{"marrowleaf-xsession"};
    int displayNumber_ = -1;
    std::string busAddress_;
    // Declared in start order; stopped in reverse by the destructor.
    std::unique_ptr<ChildProcess> xserver;
    std::unique_ptr<ChildProcess> bus;
    std::unique_ptr<ChildProcess> windowManager;
    std::unique_ptr<XConnection> connection;

    void startXServer();
    void startBus();
    void startWindowManager();
    bool windowManagerTakesWindows();
    std::filesystem::path writeWindowManagerConfig() const;
    void stopAll();
};

// The real program, run as a user with a fresh home folder inside a session.
// The home (with XDG_CONFIG_HOME, XDG_STATE_HOME, XDG_DATA_HOME, XDG_CACHE_HOME
// and XDG_RUNTIME_DIR inside it) lives as long as this object, so a test can
// put files there before `start` and start the program again to see what it kept.
class AppProcess {
public:
    explicit AppProcess(const XSession& session, Environment extraEnvironment = {});
    ~AppProcess();   // stops the program if it still runs
    AppProcess(const AppProcess&) = delete;
    AppProcess& operator=(const AppProcess&) = delete;

    // Starts the long-running instance with `arguments` (after the program path).
    void start(const std::vector<std::string>& arguments = {});
    // Starts it through a launcher that ends by exec'ing the program it is given
    // last (so the PID stays the program's), e.g. one that sets up a mount namespace.
    void startThrough(const std::vector<std::string>& launcher, const std::vector<std::string>& arguments = {});
    // Runs another, short-lived invocation in the same environment and waits for it to end.
    CommandResult run(const std::vector<std::string>& arguments,
                      std::chrono::milliseconds timeout = 10s) const;

    pid_t pid() const;
    bool running();
    std::optional<int> wait(std::chrono::milliseconds timeout = 10s);
    std::optional<int> exitCode() const;
    int stop(std::chrono::milliseconds grace = 5s);

    const std::filesystem::path& home() const { return temporary.path(); }
    std::filesystem::path configHome() const { return home() / ".config"; }
    std::filesystem::path stateHome() const { return home() / ".local/state"; }
    std::filesystem::path dataHome() const { return home() / ".local/share"; }
    std::filesystem::path logFile() const { return stateHome() / "marrowleaf" / "Marrowleaf.log"; }
    std::filesystem::path defaultsFile() const { return configHome() / "marrowleaf" / "defaults.ini"; }
    std::filesystem::path defaultNotesFolder() const { return home() / "Notes" / "stickies"; }
    // Where the running instance's standard output and error go (a fresh pair for each start).
    std::filesystem::path standardOutputFile() const { return outputFile("out"); }
    std::filesystem::path standardErrorFile() const { return outputFile("err"); }

    std::vector<std::string> logLines() const { return readLines(logFile()); }
    std::string standardError() const { return readFile(standardErrorFile()); }
    const Environment& environment() const { return env; }

    // Every live process of the program that runs with this home folder, found in /proc.
    std::vector<pid_t> processesOfThisHome() const;

private:
    TemporaryFolder temporary{"marrowleaf-home"};
    Environment env;
    std::unique_ptr<ChildProcess> process;
    int starts = 0;

    std::filesystem::path outputFile(const std::string& stream) const;
};

}
