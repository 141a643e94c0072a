#pragma once
// The registry in the real program: notes files and the state file in a
// fresh home, the program on Xvfb with openbox and four desktops, watched
// through its test interface on the session bus and through the X server.
#include "input/HUD.h"
#include "integration/AppClient.h"
#include "integration/Harness.h"
#include "integration/PageScript.h"
#include "platform/linux/GtkHudView.h"
#include "storage/Model.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace marrowleaf::testing {

using nlohmann::json;
namespace fs = std::filesystem;

inline constexpr auto startTimeout = 20s;
// The snooze timer ticks every 20 s, so a note wakes up to 20 s after its time.
inline constexpr auto wakeTimeout = 35s;
// The page saves this long after typing stops; checks that a save did NOT
// happen wait comfortably past it.
inline constexpr auto pastThePagesSavePause = 800ms;

inline Record recordOn(std::int64_t desktop, double x = 200, double y = 150) {
    Record record;
    record.desktop = desktop;
    record.frame = {x, y, 260, 220};
    return record;
}

// Types as a person would into the note's editor: opens it, puts `text` in,
// and tells the page the text changed. The page's own save follows 250 ms later.
inline std::string typeScript(const std::string& text) {
    return "(() => { " + byId(element::view) +
           ".click();"
           " const editor = " +
           byId(element::editor) +
           ";"
           " editor.value = " +
           json(text).dump() +
           ";"
           " editor.dispatchEvent(new Event('input', {bubbles: true})); return editor.value; })()";
}

// Leaving the editor saves at once.
inline const std::string leaveEditorScript = byId(element::editor) + ".blur(), true";

inline std::string postScript(const json& message) {
    return "window.webkit.messageHandlers.sticky.postMessage(" + message.dump() + "), true";
}

// ---------------------------------------------------------------- the message pill

struct Pill {
    xcb_window_t window = XCB_NONE;
    int x = 0, y = 0, width = 0, height = 0;
};

// Our override-redirect windows on screen: the window manager never sees them.
inline std::vector<Pill> overrideRedirectWindowsOf(XConnection& x, pid_t pid) {
    std::vector<Pill> found;
    xcb_connection_t* c = x.get();
    auto* tree = xcb_query_tree_reply(c, xcb_query_tree(c, x.root()), nullptr);
    if (!tree) return found;
    const xcb_window_t* children = xcb_query_tree_children(tree);
    for (int i = 0; i < xcb_query_tree_children_length(tree); ++i) {
        const xcb_window_t window = children[i];
        auto* attributes = xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr);
        const bool candidate =
            attributes && attributes->override_redirect && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        free(attributes);
        if (!candidate) continue;
        auto owner = x.cardinals(window, "_NET_WM_PID");
        if (!owner || owner->empty() || static_cast<pid_t>(owner->front()) != pid) continue;
        auto* geometry = xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr);
        if (!geometry) continue;
        found.push_back({window, geometry->x, geometry->y, geometry->width, geometry->height});
        free(geometry);
    }
    free(tree);
    return found;
}

class RegistrySession : public ::testing::Test {
protected:
    XSession session;
    AppProcess app{session};
    AppClient client{session};
    AppState seeded;

    XConnection& x() { return session.x(); }
    fs::path notes() const { return app.defaultNotesFolder(); }
    fs::path noteFile(const std::string& id) const { return notes() / (id + ".md"); }
    fs::path stateFile() const { return notes() / ".stickies.json"; }

    // A note file and its record, written before the program starts.
    void seed(const std::string& id, const std::string& text, const Record& record) {
        writeFile(noteFile(id), text);
        seeded.stickies[id] = record;
        writeFile(stateFile(), ModelJSON::text(seeded));
    }

    // Starts the program and waits until every seeded note's page holds its text.
    void start(const std::vector<std::string>& launcher = {}) {
        app.startThrough(launcher);
        auto shown = client.waitFor(
            [&](const json& snapshot) {
                for (const auto& [id, record] : seeded.stickies) {
                    auto note = AppClient::note(snapshot, id);
                    if (!note || !(*note)["page"].is_string()) return false;
                }
                return true;
            },
            startTimeout);
        ASSERT_TRUE(shown) << "the notes never came up" << diagnostics();
    }

    void quit() {
        const CommandResult quit = app.run({"--quit"});
        ASSERT_EQ(quit.exitCode, 0) << quit.err << diagnostics();
        ASSERT_EQ(app.wait(10s), 0) << diagnostics();
    }

    void restart() {
        ASSERT_NO_FATAL_FAILURE(quit());
        ASSERT_NO_FATAL_FAILURE(start());
    }

    // Waits until the note's snapshot entry satisfies `condition`; the last entry seen.
    std::optional<json> waitForNote(const std::string& id, const std::function<bool(const json&)>& condition,
                                    std::chrono::milliseconds timeout = 10s) {
        std::optional<json> last;
        client.waitFor(
            [&](const json& snapshot) {
                last = AppClient::note(snapshot, id);
                return last && condition(*last);
            },
            timeout);
        return last && condition(*last) ? last : std::nullopt;
    }

    std::optional<json> waitForPage(const std::string& id, const std::string& text,
                                    std::chrono::milliseconds timeout = 10s) {
        return waitForNote(
            id, [&](const json& note) { return note["page"] == text; }, timeout);
    }

    bool waitForFile(const fs::path& file, const std::string& text, std::chrono::milliseconds timeout = 10s) {
        return waitUntil([&] { return fs::exists(file) && readFile(file) == text; }, timeout);
    }

    // Writes a file as editors do: a temporary file beside it, renamed over it.
    void writeAtomically(const fs::path& file, const std::string& text) {
        const fs::path temporary = file.parent_path() / ("." + file.filename().string() + ".swp");
        writeFile(temporary, text);
        fs::rename(temporary, file);
    }

    json stateOnDisk() { return json::parse(readFile(stateFile()), nullptr, false); }

    xcb_window_t windowOf(const std::string& id) {
        auto snapshot = client.snapshot();
        auto note = snapshot ? AppClient::note(*snapshot, id) : std::nullopt;
        return note ? (*note)["window"].get<xcb_window_t>() : XCB_NONE;
    }

    // The window manager's desktop of a window, zero-based; absent when it has none.
    std::optional<std::uint32_t> desktopOf(xcb_window_t window) {
        auto values = x().cardinals(window, "_NET_WM_DESKTOP");
        if (!values || values->empty()) return std::nullopt;
        return values->front();
    }

    bool viewable(xcb_window_t window) {
        auto* attributes =
            xcb_get_window_attributes_reply(x().get(), xcb_get_window_attributes(x().get(), window), nullptr);
        const bool shown = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        free(attributes);
        return shown;
    }

    bool hasState(xcb_window_t window, const std::string& state) {
        auto values = x().cardinals(window, "_NET_WM_STATE");
        if (!values) return false;
        return std::ranges::find(*values, x().atom(state)) != values->end();
    }

    // Whether a message pill of ours sized for `text` comes on screen.
    bool showsMessage(const std::string& text, std::chrono::milliseconds timeout = 5s) {
        GtkHudView view;
        const Size size = view.textSize(text);
        const int width = static_cast<int>(std::ceil(size.width + 2 * HUD::horizontalPadding));
        return waitUntil(
            [&] {
                const auto pills = overrideRedirectWindowsOf(x(), app.pid());
                return std::ranges::any_of(pills, [&](const Pill& pill) { return pill.width == width; });
            },
            timeout, 10ms);
    }

    bool anyMessageShown() { return !overrideRedirectWindowsOf(x(), app.pid()).empty(); }

    void switchToDesktop(int number) {
        const CommandResult result = session.run({"xdotool", "set_desktop", std::to_string(number - 1)});
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    std::string diagnostics() {
        auto snapshot = client.snapshot(1s);
        return "\nlog:\n" + readFile(app.logFile()) + "\nstandard error:\n" + app.standardError() +
               "\nsnapshot:\n" + (snapshot ? snapshot->dump(1) : "(no answer)");
    }

    void expectOnDesktop(const std::string& id, int desktop) {
        auto note = waitForNote(
            id, [&](const json& n) { return n["visible"] == true && n["placedDesktop"] == desktop; });
        ASSERT_TRUE(note) << id << " never showed on desktop " << desktop << diagnostics();
        const auto window = (*note)["window"].get<xcb_window_t>();
        ASSERT_NE(window, XCB_NONE) << id;
        EXPECT_TRUE(waitUntil([&] { return desktopOf(window) == static_cast<std::uint32_t>(desktop - 1); }))
            << id << "'s window is on desktop index " << desktopOf(window).value_or(999);
        EXPECT_EQ((*note)["record"]["desktop"], desktop) << id;
    }
};

}
