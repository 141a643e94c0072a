#pragma once
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <sys/types.h>
#include <vector>

// Which processes a benchmark's program started, and how much memory they hold.
namespace marrowleaf::bench {

inline std::string procFile(pid_t pid, const char* name) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/" + name);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

inline pid_t parentOf(pid_t pid) {
    const std::string stat = procFile(pid, "stat");
    const auto close = stat.rfind(')');
    if (close == std::string::npos) return 0;
    int parent = 0;
    std::sscanf(stat.c_str() + close + 2, "%*c %d", &parent);
    return parent;
}

// `root` and all its descendants alive now.
inline std::vector<pid_t> processTree(pid_t root) {
    std::map<pid_t, pid_t> parents;
    if (DIR* proc = opendir("/proc")) {
        while (dirent* entry = readdir(proc)) {
            const pid_t pid = static_cast<pid_t>(std::atoi(entry->d_name));
            if (pid > 0) parents[pid] = parentOf(pid);
        }
        closedir(proc);
    }
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

// Proportional set size in kilobytes; 0 when the process is gone or unreadable.
inline long pssKilobytes(pid_t pid) {
    std::istringstream rollup(procFile(pid, "smaps_rollup"));
    for (std::string line; std::getline(rollup, line);)
        if (line.rfind("Pss:", 0) == 0) return std::atol(line.c_str() + 4);
    return 0;
}

inline std::string processName(pid_t pid) {
    std::string name = procFile(pid, "comm");
    while (!name.empty() && name.back() == '\n') name.pop_back();
    return name;
}

}
