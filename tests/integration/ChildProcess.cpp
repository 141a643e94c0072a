#include "integration/Harness.h"

#include "integration/Pipe.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace marrowleaf::testing {

using detail::failure;
using detail::Pipe;

namespace {

constexpr auto processPollInterval = 10ms;
constexpr int exitBySignalBase = 128;
constexpr int execFailedStatus = 127;

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

}
