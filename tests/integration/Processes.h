#pragma once
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

// What /proc tells about other processes: the one place tests and benchmarks read it.
namespace marrowleaf::testing {

// The content of /proc/<pid>/<name>; empty when the process is gone or the file unreadable.
std::string procFile(pid_t pid, const std::string& name);
// Every process alive now.
std::vector<pid_t> liveProcesses();
pid_t parentOf(pid_t pid);
// Alive and not a zombie (a zombie still answers kill(0)).
bool isRunning(pid_t pid);
// The short name the kernel keeps for it (its comm), without the line feed.
std::string processName(pid_t pid);
// The executable it runs; empty once it has ended (zombies included).
std::filesystem::path executableOf(pid_t pid);
// Whether NAME=VALUE is in the environment it started with.
bool hasEnvironmentEntry(pid_t pid, const std::string& entry);
// `root` and all its descendants alive now.
std::vector<pid_t> processTree(pid_t root);
// Proportional set size in kilobytes; 0 when the process is gone or unreadable.
long pssKilobytes(pid_t pid);

}
