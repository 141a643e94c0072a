#include "shell/Log.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <ctime>
#include <deque>
#include <fstream>
#include <mutex>
#include <thread>

namespace marrowleaf {

namespace fs = std::filesystem;

namespace {

// Appends lines in submission order on one thread of its own. The file is
// opened and closed for every line, so it may be deleted or moved at any time.
class LogWriter {
public:
    LogWriter() : worker([this] { run(); }) {}
    ~LogWriter() {
        {
            std::lock_guard lock(mutex);
            stopping = true;
        }
        wake.notify_all();
        worker.join();
    }

    void append(fs::path file, std::string line) {
        {
            std::lock_guard lock(mutex);
            pending.push_back({std::move(file), std::move(line)});
            ++submitted;
        }
        wake.notify_all();
    }

    void flush() {
        std::unique_lock lock(mutex);
        const auto target = submitted;
        done.wait(lock, [&] { return written >= target; });
    }

private:
    struct Line {
        fs::path file;
        std::string text;
    };

    std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable done;
    std::deque<Line> pending;
    std::uint64_t submitted = 0;
    std::uint64_t written = 0;
    bool stopping = false;
    std::thread worker;

    void run() {
        std::unique_lock lock(mutex);
        for (;;) {
            wake.wait(lock, [&] { return stopping || !pending.empty(); });
            if (pending.empty() && stopping) return;
            Line line = std::move(pending.front());
            pending.pop_front();
            lock.unlock();
            writeLine(line);
            lock.lock();
            ++written;
            done.notify_all();
        }
    }

    static void writeLine(const Line& line) {
        if (line.file.empty()) return;
        std::ofstream out(line.file, std::ios::binary | std::ios::app);
        if (out) out << line.text;   // failures are swallowed: the log never reports on itself
    }
};

std::mutex settingsMutex;
fs::path logFile;
bool echo = true;

LogWriter& writer() {
    static LogWriter instance;
    return instance;
}

std::string timestamp() {
    const auto now = std::chrono::system_clock::now();
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(millis));
    return text;
}

}

void Log::write(const std::string& level, const std::string& message) {
    std::string line = timestamp() + " " + level + " " + message + "\n";
    fs::path file;
    bool toStandardError;
    {
        std::lock_guard lock(settingsMutex);
        file = logFile;
        toStandardError = echo;
    }
    if (toStandardError) std::fprintf(stderr, "%s\n", message.c_str());
    writer().append(std::move(file), std::move(line));
}

void Log::setFile(const fs::path& file) {
    std::error_code ignored;
    fs::create_directories(file.parent_path(), ignored);
    std::lock_guard lock(settingsMutex);
    logFile = file;
}

fs::path Log::file() {
    std::lock_guard lock(settingsMutex);
    return logFile;
}

void Log::setEcho(bool toStandardError) {
    std::lock_guard lock(settingsMutex);
    echo = toStandardError;
}

void Log::flush() { writer().flush(); }

}
