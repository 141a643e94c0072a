#include "integration/Harness.h"

#include "integration/Processes.h"

#include <stdexcept>

namespace marrowleaf::testing {

namespace fs = std::filesystem;

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
        // The accessibility bus is found through this session's bus and display.
        {"AT_SPI_BUS_ADDRESS", ""},
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

void AppProcess::startThrough(const std::vector<std::string>& launcher,
                              const std::vector<std::string>& arguments) {
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
    for (pid_t pid : liveProcesses())
        if (executableOf(pid) == binary && hasEnvironmentEntry(pid, homeEntry)) found.push_back(pid);
    return found;
}

}
