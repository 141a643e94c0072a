// Killing the program at random moments while its notes are typed into and
// another program rewrites their files: every note file still holds one
// whole text that was really written, and the state file still reads.
#include "integration/AppClient.h"
#include "integration/Harness.h"
#include "integration/PageScript.h"
#include "storage/Files.h"
#include "storage/Model.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <thread>

using namespace marrowleaf;
using namespace marrowleaf::testing;
using nlohmann::json;
namespace fs = std::filesystem;

namespace {

constexpr int rounds = 200;
constexpr int notesInPlay = 3;
constexpr int longestKillDelayMs = 300;
constexpr auto upTimeout = 20s;
constexpr auto upPollInterval = 10ms;
// Between two rewrites of the other program, and between two edits typed in.
constexpr auto writerPause = 100ms;
constexpr auto typistPause = 10ms;
// Long enough that a write cut short would show as a partial text.
constexpr std::size_t textLength = 16 * 1024;
const char* const colours[] = {"yellow", "blue", "green", "pink", "purple", "gray"};

std::string noteId(int n) { return "sticky-20240101-09000" + std::to_string(n); }

// A text that says who wrote it and ends with a line only a whole write has.
std::string wholeText(const std::string& author, int round, int serial) {
    const std::string line =
        author + " round " + std::to_string(round) + " edit " + std::to_string(serial) + "\n";
    std::string text;
    while (text.size() < textLength)
        text += line;
    return text + "-- end of " + line;
}

// Every text a note's file may hold after a round, by note.
class Texts {
public:
    void add(const std::string& id, const std::string& text) {
        std::lock_guard lock(mutex);
        texts[id].insert(text);
    }
    bool contains(const std::string& id, const std::string& text) {
        std::lock_guard lock(mutex);
        return texts[id].count(text) > 0;
    }
    void reset() {
        std::lock_guard lock(mutex);
        texts.clear();
    }

private:
    std::mutex mutex;
    std::map<std::string, std::set<std::string>> texts;
};

std::string describe(const std::string& text) {
    if (text.empty()) return "(empty)";
    const auto firstLine = text.substr(0, text.find('\n'));
    return std::to_string(text.size()) + " bytes, first line \"" + firstLine + "\", last line \"" +
           text.substr(text.rfind('\n', text.size() - 2) + 1) + "\"";
}

class Reliability : public ::testing::Test {
protected:
    XSession session;
    AppProcess app{session};
    AppClient client{session};
    Texts allowed;
    std::atomic<bool> running{false};
    std::mutex roundMutex;
    std::condition_variable roundOver;
    std::optional<nlohmann::json> lastSnapshot;

    fs::path notes() const { return app.defaultNotesFolder(); }
    fs::path noteFile(const std::string& id) const { return notes() / (id + ".md"); }
    fs::path stateFile() const { return notes() / ".stickies.json"; }

    void seed() {
        AppState state;
        for (int n = 0; n < notesInPlay; ++n) {
            Record record;
            record.frame = {40.0 + 280 * n, 120, 260, 220};
            state.stickies[noteId(n)] = record;
            writeFile(noteFile(noteId(n)), wholeText("seed", 0, n));
        }
        writeFile(stateFile(), ModelJSON::text(state));
    }

    bool waitUntilUp() {
        lastSnapshot.reset();
        return waitUntil(
            [&] {
                auto snapshot = client.snapshot(1s);
                if (!snapshot) return false;
                lastSnapshot = snapshot;
                for (int n = 0; n < notesInPlay; ++n) {
                    auto note = AppClient::note(*snapshot, noteId(n));
                    if (!note || !(*note)["page"].is_string()) return false;
                }
                return true;
            },
            upTimeout, upPollInterval);
    }

    // Waits `pause`; false as soon as the round is over.
    bool pauseInRound(std::chrono::milliseconds pause) {
        std::unique_lock lock(roundMutex);
        return !roundOver.wait_for(lock, pause, [&] { return !running; });
    }

    void endRound() {
        {
            std::lock_guard lock(roundMutex);
            running = false;
        }
        roundOver.notify_all();
    }

    // Types a whole new text into one note after another, leaving the editor
    // each time (which saves at once), and now and then picks a colour (which
    // saves the state).
    void type(int round) {
        for (int serial = 0; running; ++serial) {
            const std::string id = noteId(serial % notesInPlay);
            const std::string text = wholeText("typist", round, serial);
            allowed.add(id, text);
            const std::string script = "(() => { " + byId(element::view) +
                                       ".click();"
                                       " const editor = " +
                                       byId(element::editor) +
                                       ";"
                                       " editor.value = " +
                                       json(text).dump() +
                                       ";"
                                       " editor.dispatchEvent(new Event('input', {bubbles: true}));"
                                       " editor.blur();"
                                       " document.querySelector('" +
                                       selector(element::swatches, std::string("button[data-name=\"") +
                                                                       colours[serial % 6] + "\"]") +
                                       "').click();"
                                       " return true; })()";
            if (!client.runScript(id, script, 2s)) return;   // the program is gone
            if (!pauseInRound(typistPause)) return;
        }
    }

    // Another program rewriting the notes, the way editors save: a temporary
    // file beside the note, renamed over it.
    void rewrite(int round) {
        for (int serial = 0; running; ++serial) {
            const std::string id = noteId(serial % notesInPlay);
            const std::string text = wholeText("writer", round, serial);
            allowed.add(id, text);
            const fs::path temporary = notes() / ("." + id + ".md.swp");
            writeFile(temporary, text);
            fs::rename(temporary, noteFile(id));
            if (!pauseInRound(writerPause)) return;
        }
    }

    // Temporary files of the program's own writes in the notes folder.
    std::size_t unfinishedWrites() const {
        std::size_t count = 0;
        for (const auto& entry : fs::directory_iterator(notes()))
            if (Files::isTemporaryName(entry.path().filename().string())) ++count;
        return count;
    }

    // What was seen of the program, for a round that went wrong.
    std::string diagnostics() {
        std::string seen =
            app.running() ? "\nthe program still runs"
                          : "\nthe program ended with status " + std::to_string(app.exitCode().value_or(-1));
        seen +=
            lastSnapshot ? "\nthe last snapshot showed " + pagesIn(*lastSnapshot) : "\nno snapshot answered";
        return seen + "\nlog, last lines:" + lastLines(app.logFile(), 20) + "\nstandard error:\n" +
               app.standardError();
    }

    static std::string pagesIn(const nlohmann::json& snapshot) {
        std::string pages;
        for (int n = 0; n < notesInPlay; ++n) {
            auto note = AppClient::note(snapshot, noteId(n));
            pages += noteId(n) + (!note                         ? " without a window; "
                                  : (*note)["page"].is_string() ? " with its page; "
                                                                : " without its page; ");
        }
        return pages;
    }
};

}

TEST_F(Reliability, killingTheProgramAtRandomMomentsLeavesEveryNoteWholeAndTheStateReadable) {
    seed();
    const unsigned seedValue = std::random_device{}();
    std::mt19937 random(seedValue);
    std::uniform_int_distribution<int> killDelay(0, longestKillDelayMs);
    RecordProperty("random_seed", static_cast<int>(seedValue));
    std::map<std::string, int> outcomes;   // who wrote each note's text last, counted over all rounds
    std::size_t cutShort = 0;

    for (int round = 1; round <= rounds; ++round) {
        SCOPED_TRACE("round " + std::to_string(round) + ", random seed " + std::to_string(seedValue));
        allowed.reset();
        for (int n = 0; n < notesInPlay; ++n)
            allowed.add(noteId(n), readFile(noteFile(noteId(n))));

        app.start();
        ASSERT_TRUE(waitUntilUp()) << "the program never came up" << diagnostics();
        running = true;
        std::thread typist([&] { type(round); });
        std::thread writer([&] { rewrite(round); });
        // The experiment is the moment of the kill, chosen at random: a plain sleep is what is wanted.
        std::this_thread::sleep_for(std::chrono::milliseconds(killDelay(random)));
        endRound();   // each helper finishes at most the step it is in
        kill(app.pid(), SIGKILL);
        app.wait();   // reaps the program, then ends what is left of its process group
        typist.join();
        writer.join();

        for (int n = 0; n < notesInPlay; ++n) {
            const std::string text = readFile(noteFile(noteId(n)));
            ASSERT_TRUE(allowed.contains(noteId(n), text)) << noteId(n) << " holds " << describe(text);
            ++outcomes[text.substr(0, text.find(' '))];
        }
        std::optional<AppState> state;
        const auto parsed = json::parse(readFile(stateFile()), nullptr, false);
        if (!parsed.is_discarded()) state = ModelJSON::decodeState(parsed);
        ASSERT_TRUE(state) << "the state file doesn't read:\n" << readFile(stateFile());
        cutShort += unfinishedWrites();
        EXPECT_EQ(state->stickies.size(), static_cast<std::size_t>(notesInPlay)) << readFile(stateFile());
    }
    // What the rounds left behind, to see that the kills fell among the writes.
    std::cout << "last writer of each note after a kill:";
    for (const auto& [author, count] : outcomes)
        std::cout << " " << author << " " << count;
    std::cout << "; saves cut short: " << cutShort << std::endl;

    // The next run clears away what writes cut short left behind.
    app.start();
    ASSERT_TRUE(waitUntilUp()) << diagnostics();
    ASSERT_EQ(app.run({"--quit"}).exitCode, 0);
    ASSERT_EQ(app.wait(), 0) << diagnostics();
    EXPECT_EQ(unfinishedWrites(), 0u);
}
