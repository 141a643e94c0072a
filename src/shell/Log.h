#pragma once
#include <filesystem>
#include <string>

namespace marrowleaf {

// The application's one diagnostic channel. Each line is stamped with the
// local time and the level, echoed (message only) to standard error, and
// appended to the log file by a writer thread, so callers never wait on disk.
struct Log {
    static void write(const std::string& level, const std::string& message);
    static void info(const std::string& message) { write("INFO", message); }
    static void warn(const std::string& message) { write("WARN", message); }
    static void error(const std::string& message) { write("ERROR", message); }

    // Where lines go; set once at start (and by tests). The folder is created.
    static void setFile(const std::filesystem::path& file);
    static std::filesystem::path file();
    static void setEcho(bool toStandardError);
    // Waits until every line written so far is in the file.
    static void flush();
};

}
