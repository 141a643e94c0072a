// How closely a dragged note follows the pointer: the real program runs with
// five notes on a private Xvfb (session bus, openbox); one note is pressed on
// its header and dragged 300 px to the right in 60 steps of 5 px, far from
// the screen's edges and the other notes so nothing snaps. The pointer moves
// through XTest on the benchmark's own connection; after each step the note's
// window is read back from the X server until it stands 5 px further on.
// Prints
//
//   drag_lag_ms median X p95 Y
//
// from each pointer step until the X server has the window at its new place;
// every sample goes to standard error. Judges nothing.
//
//   bench_drag
#include "Latency.h"
#include "integration/AppClient.h"
#include "integration/Harness.h"
#include "integration/Pointer.h"
#include "storage/Model.h"

#include <cstdio>
#include <nlohmann/json.hpp>

using namespace marrowleaf;
using namespace marrowleaf::testing;
using nlohmann::json;

namespace {

constexpr int steps = 60;
constexpr double stepLength = 5;
constexpr auto stepTimeout = 2s;
const char* const draggedId = "sticky-20240101-090000";
constexpr Point start{300, 100};
// Where the header strip is grabbed, from the window's corner.
constexpr Point grab{40, 16};

std::string noteId(int index) { return "sticky-20240101-09000" + std::to_string(index); }

}

int main() {
    try {
        XSession session;
        AppProcess app(session);
        AppClient client(session);
        AppState state;
        for (int i = 0; i < 5; ++i) {
            Record record;
            // The others in a row below, out of the dragged note's snapping reach.
            record.frame = i == 0 ? Frame{start.x, start.y, 260, 220} : Frame{40.0 + 300 * (i - 1), 460, 260, 220};
            state.stickies[noteId(i)] = record;
            writeFile(app.defaultNotesFolder() / (noteId(i) + ".md"), "# Note " + std::to_string(i) + "\n");
        }
        writeFile(app.defaultNotesFolder() / ".stickies.json", ModelJSON::text(state));
        app.start();
        std::optional<json> note;
        const bool open = waitUntil(
            [&] {
                auto snapshot = client.snapshot();
                if (!snapshot || (*snapshot)["notes"].size() != 5) return false;
                for (const auto& each : (*snapshot)["notes"])
                    if (!each["page"].is_string()) return false;
                note = AppClient::note(*snapshot, draggedId);
                return note && (*note)["visible"] == true;
            },
            30s);
        if (!open) {
            std::fprintf(stderr, "can't start the program:\n%s\n", readFile(app.logFile()).c_str());
            return 1;
        }
        const auto window = (*note)["window"].get<xcb_window_t>();
        Pointer pointer(session.x());
        pointer.moveTo({start.x + grab.x, start.y + grab.y});
        pointer.press();

        std::vector<double> samples;
        for (int step = 1; step <= steps; ++step) {
            const double expectedX = start.x + stepLength * step;
            pointer.moveTo({expectedX + grab.x, start.y + grab.y});
            const auto moved = SteadyClock::now();
            const bool followed = waitUntil(
                [&] {
                    auto corner = pointer.windowAt(window);
                    return corner && corner->x == expectedX;
                },
                stepTimeout, 0ms);
            const double ms = std::chrono::duration<double, std::milli>(SteadyClock::now() - moved).count();
            if (!followed) {
                auto corner = pointer.windowAt(window);
                std::fprintf(stderr, "step %d: the note stayed at x %.0f, not %.0f\n", step,
                             corner ? corner->x : -1.0, expectedX);
                return 1;
            }
            samples.push_back(ms);
            std::fprintf(stderr, "step %d %.2f ms\n", step, ms);
        }
        pointer.release();
        app.run({"--quit"});
        app.wait(10s);
        bench::printLatency("drag_lag_ms", samples);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "can't run the benchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
