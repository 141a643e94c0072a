#include "integration/Processes.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

namespace marrowleaf::testing {

namespace fs = std::filesystem;

namespace {

fs::path procPath(pid_t pid) { return fs::path("/proc") / std::to_string(pid); }

std::string procFileText(pid_t pid, const std::string& name) {
    std::ifstream in(procPath(pid) / name);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// The fields of /proc/<pid>/stat after the name, starting with the state; empty
// when the process is gone. The name in parentheses may hold spaces and
// parentheses itself, so the fields start after the last one.
std::string statAfterName(pid_t pid) {
    const std::string stat = procFileText(pid, "stat");
    const auto close = stat.rfind(')');
    return close == std::string::npos || close + 2 >= stat.size() ? std::string() : stat.substr(close + 2);
}

}

std::string procFile(pid_t pid, const std::string& name) { return procFileText(pid, name); }

std::vector<pid_t> liveProcesses() {
    std::vector<pid_t> pids;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/proc", error)) {
        const std::string name = entry.path().filename().string();
        if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) continue;
        pids.push_back(static_cast<pid_t>(std::stol(name)));
    }
    return pids;
}

pid_t parentOf(pid_t pid) {
    int parent = 0;
    std::sscanf(statAfterName(pid).c_str(), "%*c %d", &parent);
    return parent;
}

bool isRunning(pid_t pid) {
    const std::string stat = statAfterName(pid);
    return !stat.empty() && stat[0] != 'Z';
}

std::string processName(pid_t pid) {
    std::string name = procFile(pid, "comm");
    while (!name.empty() && name.back() == '\n')
        name.pop_back();
    return name;
}

fs::path executableOf(pid_t pid) {
    std::error_code gone;
    fs::path exe = fs::read_symlink(procPath(pid) / "exe", gone);
    return gone ? fs::path() : exe;
}

bool hasEnvironmentEntry(pid_t pid, const std::string& entry) {
    std::istringstream variables(procFile(pid, "environ"));
    for (std::string variable; std::getline(variables, variable, '\0');)
        if (variable == entry) return true;
    return false;
}

std::vector<pid_t> processTree(pid_t root) {
    std::map<pid_t, pid_t> parents;
    for (pid_t pid : liveProcesses())
        parents[pid] = parentOf(pid);
    std::vector<pid_t> tree;
    for (const auto& [pid, parent] : parents) {
        for (pid_t up = pid; up > 0;) {
            if (up == root) {
                tree.push_back(pid);
                break;
            }
            auto next = parents.find(up);
            up = next == parents.end() ? 0 : next->second;
        }
    }
    return tree;
}

long pssKilobytes(pid_t pid) {
    std::istringstream rollup(procFile(pid, "smaps_rollup"));
    for (std::string line; std::getline(rollup, line);)
        if (line.rfind("Pss:", 0) == 0) return std::atol(line.c_str() + 4);
    return 0;
}

}
