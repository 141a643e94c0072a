#include "integration/Pipe.h"

#include "integration/Harness.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace marrowleaf::testing::detail {

Pipe::Pipe() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) throw failure(std::string("can't make a pipe: ") + std::strerror(errno));
    read = fds[0];
    write = fds[1];
}

Pipe::~Pipe() {
    closeRead();
    closeWrite();
}

void Pipe::closeRead() {
    if (read >= 0) close(read);
    read = -1;
}

void Pipe::closeWrite() {
    if (write >= 0) close(write);
    write = -1;
}

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

}
