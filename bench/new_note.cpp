// How soon a note made with Ctrl+Alt+N takes what is typed: the real program
// runs with 50 notes on a private Xvfb (session bus, openbox); once every
// note's page has loaded, Ctrl+Alt+N is pressed 20 times, 0.5 s apart, each time at another place, and each time
// one character is typed as soon as the new note's editor has the keyboard.
// Prints
//
//   new_note_ms median X p95 Y
//
// from the key press until the new note's page holds the typed character
// (the note is made, shown, given the keyboard after its designed 0.15 s
// pause, and typed into); every sample goes to standard error. Judges nothing.
// Keys are pressed through XTest on the benchmark's own connection, and the
// clock starts once the server has the press: starting a tool such as xdotool
// for each key would add its own 10–15 ms to every sample.
//
//   bench_new_note
#include "SampleNote.h"
#include "Latency.h"
#include "integration/AppClient.h"
#include "integration/Harness.h"
#include "integration/Keyboard.h"
#include "storage/Model.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <thread>
#include <X11/keysym.h>

using namespace marrowleaf;
using namespace marrowleaf::testing;
using nlohmann::json;

namespace {

constexpr int notes = 50;
constexpr int presses = 20;
constexpr auto pressInterval = 500ms;
constexpr auto readyTimeout = 5s;

std::string noteId(int index) {
    char id[32];
    std::snprintf(id, sizeof id, "sticky-20240101-09%02d%02d", index / 60, index % 60);
    return id;
}

// The id of a note file in the folder that is not among `known`. The folder
// is read rather than the program's snapshot, which asks every page and takes
// far longer than the note does to appear.
std::optional<std::string> newNote(const std::filesystem::path& folder, const std::set<std::string>& known) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const auto name = entry.path().filename().string();
        if (entry.path().extension() != ".md" || name.front() == '.') continue;
        const std::string id = entry.path().stem().string();
        if (!known.count(id)) return id;
    }
    return std::nullopt;
}

}

int main() {
    try {
        XSession session;
        AppProcess app(session);
        AppClient client(session);
        Keyboard keyboard(session.x());
        AppState state;
        std::set<std::string> known;
        for (int i = 0; i < notes; ++i) {
            Record record;
            record.desktop = 1 + i % 4;
            record.frame = {20.0 + 100 * (i % 12), 40.0 + 150 * (i / 12 % 4), 260, 220};
            state.stickies[noteId(i)] = record;
            known.insert(noteId(i));
            writeFile(app.defaultNotesFolder() / (noteId(i) + ".md"), bench::sampleNoteText);
        }
        writeFile(app.defaultNotesFolder() / ".stickies.json", ModelJSON::text(state));
        app.start();
        const bool open = waitUntil(
            [&] {
                auto loaded = client.loadedPages(5s);
                return loaded && loaded->size() == static_cast<std::size_t>(notes);
            },
            60s, 50ms);
        if (!open) {
            std::fprintf(stderr, "can't start the program:\n%s\n", readFile(app.logFile()).c_str());
            return 1;
        }

        std::vector<double> samples;
        for (int press = 0; press < presses; ++press) {
            // Paces the presses as a person might; not a wait for anything.
            std::this_thread::sleep_for(pressInterval);
            const int x = 150 + 50 * (press % 20), y = 200 + 20 * (press % 10);
            session.run({"xdotool", "mousemove", std::to_string(x), std::to_string(y)});
            const auto pressed = SteadyClock::now();
            keyboard.tap({XK_Control_L, XK_Alt_L, XK_n});
            std::optional<std::string> id;
            // When the note was first listed, and when its page first answered.
            double listedMs = 0, answeredMs = 0;
            const auto since = [&] {
                return std::chrono::duration<double, std::milli>(SteadyClock::now() - pressed).count();
            };
            const bool editing = waitUntil(
                [&] {
                    if (!id) {
                        id = newNote(app.defaultNotesFolder(), known);
                        if (!id) return false;
                        listedMs = since();
                    }
                    auto focused = client.runScript(
                        *id, "document.hasFocus() && document.activeElement && document.activeElement.id",
                        1s);
                    if (focused && answeredMs == 0) answeredMs = since();
                    return focused && *focused == "editor";
                },
                readyTimeout, 5ms);
            const double editingMs = since();
            if (!editing) {
                std::fprintf(stderr, "press %d: the new note never had the keyboard\n", press);
                return 1;
            }
            keyboard.tap({XK_x});
            const bool typed = waitUntil(
                [&] {
                    auto text = client.runScript(*id, "currentText()", 1s);
                    return text && *text == "x";
                },
                readyTimeout, 5ms);
            const double ms = std::chrono::duration<double, std::milli>(SteadyClock::now() - pressed).count();
            if (!typed) {
                std::fprintf(stderr, "press %d: what was typed never reached %s\n", press, id->c_str());
                return 1;
            }
            known.insert(*id);
            samples.push_back(ms);
            std::fprintf(stderr, "press %d %s %.1f ms (listed %.1f, page answered %.1f, editing %.1f)\n",
                         press, id->c_str(), ms, listedMs, answeredMs, editingMs);
        }
        app.run({"--quit"});
        app.wait(10s);
        bench::printLatency("new_note_ms", samples);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "can't run the benchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
