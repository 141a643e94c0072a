#include "integration/Harness.h"

#include "integration/Pipe.h"

#include <glib.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

namespace marrowleaf::testing {

namespace fs = std::filesystem;
using detail::failure;

namespace {

constexpr auto mainContextTick = 10;   // ms: bounds each blocking iteration so deadlines are noticed

}

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout,
               std::chrono::milliseconds interval) {
    const auto deadline = SteadyClock::now() + timeout;
    while (!condition()) {
        if (SteadyClock::now() >= deadline) return condition();
        std::this_thread::sleep_for(interval);
    }
    return true;
}

bool runMainContextUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    GMainContext* context = g_main_context_ref_thread_default();
    GSource* tick = g_timeout_source_new(mainContextTick);
    g_source_set_callback(
        tick, [](gpointer) { return gboolean(G_SOURCE_CONTINUE); }, nullptr, nullptr);
    g_source_attach(tick, context);
    const auto deadline = SteadyClock::now() + timeout;
    bool held = condition();
    while (!held && SteadyClock::now() < deadline) {
        g_main_context_iteration(context, TRUE);
        held = condition();
    }
    g_source_destroy(tick);
    g_source_unref(tick);
    g_main_context_unref(context);
    return held;
}

std::string readFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::vector<std::string> readLines(const fs::path& file) {
    std::vector<std::string> lines;
    std::ifstream in(file, std::ios::binary);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

std::string lastLines(const fs::path& file, std::size_t count) {
    auto lines = readLines(file);
    std::string tail;
    for (std::size_t i = lines.size() > count ? lines.size() - count : 0; i < lines.size(); ++i)
        tail += "\n  " + lines[i];
    return tail;
}

void writeFile(const fs::path& file, const std::string& content) {
    if (file.has_parent_path()) fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << content;
    if (!out) throw failure("can't write " + file.string());
}

TemporaryFolder::TemporaryFolder(const std::string& prefix) {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = (fs::path(base && *base ? base : "/tmp") / (prefix + "-XXXXXX")).string();
    if (!mkdtemp(pattern.data()))
        throw failure("can't make a temporary folder: " + std::string(std::strerror(errno)));
    folder = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

}
