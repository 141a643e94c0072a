// Starts the real program with N note files spread over four desktops and
// prints, for each N,
//
//   notes N interactive_ms X pss_mb Y
//
// interactive_ms: from exec until every note of the current desktop has its
// page loaded (the test interface lists it among the loaded pages, and a
// snapshot then confirms that each of those pages holds its note's text), the
// median of several starts. pss_mb: the proportional set size of the
// program and every process it started (WebKit's), summed from
// /proc/*/smaps_rollup once every page on every desktop has loaded and the
// pages have settled, from the last start. Each start gets a fresh home on a
// private Xvfb with a session bus and openbox. The steps of each start go to
// standard error. Judges nothing.
//
//   bench_startup [N…]        (default: 10 50 200)
#include "integration/Processes.h"
#include "SampleNote.h"
#include "integration/AppClient.h"
#include "integration/Harness.h"
#include "storage/Model.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

using namespace marrowleaf;
using namespace marrowleaf::testing;
using nlohmann::json;

using namespace marrowleaf::bench;

namespace {

constexpr int desktops = 4;
constexpr int startsPerCount = 5;
constexpr auto loadTimeout = 120s;
// Between two questions about loaded pages (which ask no page, so cost the program little).
constexpr auto pollInterval = 10ms;
// Long enough for the pages' first paint, their timers and a collection to pass.
constexpr auto settleTime = 3s;
constexpr double noteWidth = 260, noteHeight = 220;
constexpr int columns = 4, rows = 3;
constexpr double spacingX = 300, spacingY = 250, layerOffset = 10;

const char* const noteText = marrowleaf::bench::sampleNoteText;

std::string noteId(int index) {
    char id[40];
    std::snprintf(id, sizeof id, "sticky-20240101-%06d", index);
    return id;
}

int desktopOf(int index) { return index % desktops + 1; }

// Notes of one desktop in a grid, later ones overlapping the first.
Record recordFor(int index) {
    Record record;
    const auto& palette = StickyColor::all();
    record.color = palette[static_cast<std::size_t>(index) % palette.size()].name;
    record.desktop = desktopOf(index);
    const int onDesktop = index / desktops;
    const int layer = onDesktop / (columns * rows);
    record.frame = {20 + (onDesktop % columns) * spacingX + layer * layerOffset,
                    20 + (onDesktop / columns % rows) * spacingY + layer * layerOffset, noteWidth,
                    noteHeight};
    return record;
}

void seed(const AppProcess& app, int count) {
    AppState state;
    for (int i = 0; i < count; ++i) {
        writeFile(app.defaultNotesFolder() / (noteId(i) + ".md"), noteText);
        state.stickies[noteId(i)] = recordFor(i);
    }
    writeFile(app.defaultNotesFolder() / ".stickies.json", ModelJSON::text(state));
}

// How many of the notes (of desktop 1 only, or all) have loaded their page.
int countLoaded(const std::vector<std::string>& loadedIds, int count, bool firstDesktopOnly) {
    int loaded = 0;
    for (int i = 0; i < count; ++i) {
        if (firstDesktopOnly && desktopOf(i) != 1) continue;
        if (std::ranges::find(loadedIds, noteId(i)) != loadedIds.end()) ++loaded;
    }
    return loaded;
}

// Whether every loaded page of desktop 1 in the snapshot holds its note's text.
bool firstDesktopPagesHoldTheirText(const json& snapshot, int onFirstDesktop) {
    int holding = 0;
    for (const auto& note : snapshot.value("notes", json::array())) {
        if (note["record"].value("desktop", 0) != 1) continue;
        if (note["page"] == json(noteText)) ++holding;
    }
    return holding == onFirstDesktop;
}


double millisecondsSince(SteadyClock::time_point start) {
    return std::chrono::duration<double, std::milli>(SteadyClock::now() - start).count();
}

struct Start {
    double interactiveMs = 0;
    double pssMb = 0;
};

std::optional<Start> startOnce(XSession& session, int count, bool measureMemory) {
    AppProcess app(session);
    AppClient client(session);
    seed(app, count);
    const int onFirstDesktop = (count + desktops - 1) / desktops;

    const auto exec = SteadyClock::now();
    app.start();
    double answered = 0, firstPage = 0;
    std::optional<std::vector<std::string>> last;
    const bool interactive = waitUntil(
        [&] {
            last = client.loadedPages(30s);
            if (!last) return false;
            if (!answered) answered = millisecondsSince(exec);
            const int loaded = countLoaded(*last, count, true);
            if (loaded > 0 && !firstPage) firstPage = millisecondsSince(exec);
            return loaded == onFirstDesktop;
        },
        loadTimeout, pollInterval);
    const double interactiveMs = millisecondsSince(exec);
    if (!interactive) {
        std::fprintf(stderr, "  only %d of %d pages of the first desktop loaded\n",
                     last ? countLoaded(*last, count, true) : 0, onFirstDesktop);
        return std::nullopt;
    }
    const auto snapshot = client.snapshot(30s);
    if (!snapshot || !firstDesktopPagesHoldTheirText(*snapshot, onFirstDesktop)) {
        std::fprintf(stderr, "  a loaded page of the first desktop does not hold its note's text\n");
        return std::nullopt;
    }
    std::fprintf(stderr, "  %d notes: first answer %.0f ms, first page %.0f ms, desktop 1's %d pages %.0f ms",
                 count, answered, firstPage, onFirstDesktop, interactiveMs);

    Start result{interactiveMs, 0};
    const bool allLoaded =
        waitUntil([&] { return (last = client.loadedPages(30s)) && countLoaded(*last, count, false) == count; },
                  loadTimeout, pollInterval);
    std::fprintf(stderr, ", all %d pages %.0f ms\n", count, millisecondsSince(exec));
    if (measureMemory && allLoaded) {
        std::this_thread::sleep_for(settleTime);
        long total = 0;
        for (pid_t pid : processTree(app.pid())) {
            const long pss = pssKilobytes(pid);
            total += pss;
            std::fprintf(stderr, "    %-16s %7d %8.1f MB\n", processName(pid).c_str(), pid, pss / 1024.0);
        }
        result.pssMb = total / 1024.0;
    }
    app.run({"--quit"});
    app.wait(10s);
    return result;
}

}

int main(int argc, char** argv) {
    std::vector<int> counts;
    for (int i = 1; i < argc; ++i)
        counts.push_back(std::atoi(argv[i]));
    if (counts.empty()) counts = {10, 50, 200};
    try {
        XSession::Options options;
        options.desktops = desktops;
        XSession session(options);
        for (int count : counts) {
            std::vector<double> times;
            double pss = 0;
            for (int run = 0; run < startsPerCount; ++run) {
                auto start = startOnce(session, count, run == startsPerCount - 1);
                if (!start) return 1;
                times.push_back(start->interactiveMs);
                if (start->pssMb > 0) pss = start->pssMb;
            }
            std::ranges::sort(times);
            std::printf("notes %d interactive_ms %.0f pss_mb %.1f\n", count, times[times.size() / 2], pss);
            std::fflush(stdout);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "can't run the benchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
