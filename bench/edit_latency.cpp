// How soon a note's page shows a change another program made to its file:
// the real program runs with a few notes on a private Xvfb (session bus,
// openbox), one note file is rewritten in place 100 times, 0.5 s apart, and
// each time the page is asked (through the test interface) for its text and
// whether its rendered view is still waiting for its HTML, until it holds the
// new text and shows it. Prints
//
//   external_edit_ms median X p95 Y
//
// from the write until the page shows the new text; every sample goes to
// standard error. The asking itself takes a round trip of about a
// millisecond, which is part of the figures. Judges nothing.
//
//   bench_edit_latency
#include "Latency.h"
#include "integration/AppClient.h"
#include "integration/Harness.h"
#include "storage/Model.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <thread>

using namespace marrowleaf;
using namespace marrowleaf::testing;
using nlohmann::json;

namespace {

constexpr int edits = 100;
constexpr auto editInterval = 500ms;
constexpr auto showTimeout = 5s;
constexpr int notes = 5;
const char* const editedId = "sticky-20240101-090000";

std::string noteId(int index) { return "sticky-20240101-09000" + std::to_string(index); }

std::string editText(int serial) {
    return "# Shopping " + std::to_string(serial) + "\n\n- [ ] milk\n- [x] bread\n- [ ] " +
           std::to_string(serial) + " apples\n";
}

}

int main() {
    try {
        XSession session;
        AppProcess app(session);
        AppClient client(session);
        AppState state;
        for (int i = 0; i < notes; ++i) {
            Record record;
            record.frame = {40.0 + 240 * i, 100, 260, 220};
            state.stickies[noteId(i)] = record;
            writeFile(app.defaultNotesFolder() / (noteId(i) + ".md"), editText(-1 - i));
        }
        writeFile(app.defaultNotesFolder() / ".stickies.json", ModelJSON::text(state));
        app.start();
        if (!client.waitFor(
                [](const json& s) {
                    auto note = AppClient::note(s, editedId);
                    return note && (*note)["page"].is_string();
                },
                30s)) {
            std::fprintf(stderr, "can't start the program:\n%s\n", readFile(app.logFile()).c_str());
            return 1;
        }

        const auto file = app.defaultNotesFolder() / (std::string(editedId) + ".md");
        std::vector<double> samples;
        for (int serial = 0; serial < edits; ++serial) {
            // Paces the edits as a person saving in an editor might; not a wait for anything.
            std::this_thread::sleep_for(editInterval);
            const std::string text = editText(serial);
            const auto written = SteadyClock::now();
            writeFile(file, text);
            const bool shown = waitUntil(
                [&] {
                    auto page = client.runScript(
                        editedId, "[currentText(), document.getElementById('view').hasAttribute('aria-busy')]", 1s);
                    return page && *page == json::array({text, false});
                },
                showTimeout, 0ms);
            const double ms = std::chrono::duration<double, std::milli>(SteadyClock::now() - written).count();
            if (!shown) {
                std::fprintf(stderr, "edit %d never showed\n", serial);
                return 1;
            }
            samples.push_back(ms);
            std::fprintf(stderr, "edit %d %.1f ms\n", serial, ms);
        }
        app.run({"--quit"});
        app.wait(10s);
        bench::printLatency("external_edit_ms", samples);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "can't run the benchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
