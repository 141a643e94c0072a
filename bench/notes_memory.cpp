// Opens N note windows with a realistic note each, on the X display in
// $DISPLAY, and prints
//
//   notes N load_ms X pss_mb Y
//
// load_ms: from making the first window until every page has started (each
// page reports its button strip once it runs). pss_mb: the proportional set
// size of this process and every process it started (WebKit's web and network
// processes and whatever runs them), summed from /proc/*/smaps_rollup once the
// pages have settled. Judges nothing.
//
//   bench_notes_memory PAGE N
#include "integration/Processes.h"
#include "SampleNote.h"
#include "platform/Platform.h"
#include "platform/linux/GtkNoteWindow.h"
#include "window/StickyController.h"

#include <gtk/gtk.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace marrowleaf;

using namespace marrowleaf::bench;
using namespace marrowleaf::testing;

namespace {

using Steady = std::chrono::steady_clock;

constexpr double noteWidth = 260, noteHeight = 220;
constexpr int columns = 7, rows = 4;
constexpr double spacingX = 270, spacingY = 230, layerOffset = 12;   // later layers overlap the first
constexpr auto loadTimeout = std::chrono::seconds(120);
// Long enough for the pages' first paint, their timers and a collection to pass.
constexpr auto settleTime = std::chrono::seconds(3);

const char* const noteText = marrowleaf::bench::sampleNoteText;

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}


void runLoopFor(Steady::duration time) {
    const auto until = Steady::now() + time;
    while (Steady::now() < until) g_main_context_iteration(nullptr, FALSE), g_usleep(2000);
}

Record recordFor(int index) {
    Record record;
    const auto& palette = StickyColor::all();
    record.color = palette[static_cast<std::size_t>(index) % palette.size()].name;
    const int layer = index / (columns * rows);
    record.frame = {20 + (index % columns) * spacingX + layer * layerOffset,
                    20 + (index / columns % rows) * spacingY + layer * layerOffset, noteWidth, noteHeight};
    return record;
}

}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s PAGE N\n", argv[0]);
        return 2;
    }
    const std::string pageTemplate = readFile(argv[1]);
    const int count = std::atoi(argv[2]);
    if (pageTemplate.empty() || count <= 0) {
        std::fprintf(stderr, "can't read the page %s or the count %s\n", argv[1], argv[2]);
        return 2;
    }
    if (!gtk_init_check(&argc, &argv)) {
        std::fprintf(stderr, "can't open the display\n");
        return 1;
    }

    GtkNoteWindowFactory factory;
    const std::string markdownPage =
        readFile((std::filesystem::path(argv[1]).parent_path() / "markdown.html").string());
    if (markdownPage.empty()) {
        std::fprintf(stderr, "can't read markdown.html beside %s\n", argv[1]);
        return 2;
    }
    factory.setMarkdownPage(markdownPage);
    Platform::Services platform = Platform::current();
    platform.noteWindowFactory = &factory;
    Platform::install(platform);

    int started = 0;
    const auto begin = Steady::now();
    std::vector<std::unique_ptr<StickyController>> notes;
    for (int i = 0; i < count; ++i) {
        bool reported = false;
        notes.push_back(std::make_unique<StickyController>(
            "sticky-" + std::to_string(i), noteText, recordFor(i), false, pageTemplate,
            [&started, reported](StickyController&, const std::string& type, const nlohmann::json&) mutable {
                if (type == "bar" && !reported) {
                    reported = true;
                    ++started;
                }
            }));
        notes.back()->window().orderFront();
    }
    // A tick, so a blocking loop iteration still sees the deadline.
    const guint tick = g_timeout_add(50, [](gpointer) { return gboolean(G_SOURCE_CONTINUE); }, nullptr);
    while (started < count && Steady::now() - begin < loadTimeout) g_main_context_iteration(nullptr, TRUE);
    g_source_remove(tick);
    const auto loaded = Steady::now();
    if (started < count) {
        std::fprintf(stderr, "only %d of %d pages started\n", started, count);
        return 1;
    }

    runLoopFor(settleTime);
    long total = 0;
    for (pid_t pid : processTree(getpid())) {
        const long pss = pssKilobytes(pid);
        total += pss;
        std::fprintf(stderr, "  %-16s %7d %8.1f MB\n", processName(pid).c_str(), pid, pss / 1024.0);
    }
    const double loadMs = std::chrono::duration<double, std::milli>(loaded - begin).count();
    std::printf("notes %d load_ms %.0f pss_mb %.1f\n", count, loadMs, total / 1024.0);
    std::fflush(stdout);
    return 0;
}
