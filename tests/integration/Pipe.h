#pragma once
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

// Pieces the harness's own files share; not for tests.
namespace marrowleaf::testing::detail {

inline std::runtime_error failure(const std::string& what) { return std::runtime_error(what); }

// A pipe whose ends close themselves; both are close-on-exec until a child is told to keep one.
struct Pipe {
    int read = -1;
    int write = -1;
    Pipe();
    ~Pipe();
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void closeRead();
    void closeWrite();
};

// Reads one line (without its line feed) that a child prints on `fd`; absent
// when the writer closes it first or the deadline passes.
std::optional<std::string> readLine(int fd, std::chrono::milliseconds timeout);

}
