// Clicks on the desktop in the real program, on Xvfb with openbox, driven by
// xdotool: Alt-click makes a note, a dragged box selects notes, a click
// clears the selection; and what happens when another program holds Alt-click.
#include "integration/RegistrySession.h"
#include "integration/TrayHost.h"
#include "platform/linux/XcbConnection.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

const std::string first = "sticky-20240101-090000";
const std::string second = "sticky-20240101-090100";
const std::string third = "sticky-20240101-090200";
const std::string featuresUnavailable = "\u26a0\ufe0f Desktop Features Unavailable\u2026";

// A desktop window of another program, under everything, filling the screen,
// that counts the left-button presses and releases it is given.
class DesktopWindow {
public:
    DesktopWindow(const XSession& session, int width, int height) {
        connection = xcb_connect(session.display().c_str(), nullptr);
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        window = xcb_generate_id(connection);
        const std::uint32_t values[] = {screen->white_pixel,
                                        XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE};
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0,
                          static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
        const xcb_atom_t type = atom("_NET_WM_WINDOW_TYPE"), desktop = atom("_NET_WM_WINDOW_TYPE_DESKTOP");
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, type, XCB_ATOM_ATOM, 32, 1, &desktop);
        xcb_map_window(connection, window);
        xcb_flush(connection);
    }
    ~DesktopWindow() { xcb_disconnect(connection); }
    DesktopWindow(const DesktopWindow&) = delete;
    DesktopWindow& operator=(const DesktopWindow&) = delete;

    // The presses and releases that reached the window so far.
    int presses() {
        read();
        return pressCount;
    }
    int releases() {
        read();
        return releaseCount;
    }
    bool viewable() {
        XcbReply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            connection, xcb_get_window_attributes(connection, window), nullptr));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }

private:
    xcb_connection_t* connection;
    xcb_window_t window;
    int pressCount = 0, releaseCount = 0;

    xcb_atom_t atom(const char* name) {
        XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(strlen(name)), name), nullptr));
        return reply ? reply->atom : XCB_NONE;
    }

    void read() {
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
            const std::uint8_t type = event->response_type & 0x7f;
            if (type == XCB_BUTTON_PRESS && reinterpret_cast<xcb_button_press_event_t*>(event)->detail == 1)
                ++pressCount;
            if (type == XCB_BUTTON_RELEASE && reinterpret_cast<xcb_button_release_event_t*>(event)->detail == 1)
                ++releaseCount;
            std::free(event);
        }
    }
};

class DesktopClicks : public RegistrySession {
protected:
    std::unique_ptr<DesktopWindow> desktop;
    DesktopTray tray{session};

    void startOnADesktop() {
        desktop = std::make_unique<DesktopWindow>(session, session.options().width, session.options().height);
        ASSERT_TRUE(waitUntil([&] { return desktop->viewable(); })) << "the desktop window never showed";
        ASSERT_NO_FATAL_FAILURE(start());
    }

    void run(const std::vector<std::string>& command) {
        const CommandResult result = session.run(command);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    void altClick(int x, int y) {
        run({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "keydown", "alt", "click", "1", "keyup",
             "alt"});
    }

    // A box dragged on the desktop from (x, y) by (dx, dy), with relative
    // moves: those are what the desktop's raw pointer events report. Each
    // step is a command of its own, milliseconds apart as a hand's would be:
    // the program reads the pointer when it hears of a step.
    void box(int x, int y, int dx, int dy, const std::vector<std::string>& held = {}) {
        std::vector<std::string> press{"xdotool"};
        for (const auto& key : held) press.insert(press.end(), {"keydown", key});
        press.insert(press.end(), {"mousemove", std::to_string(x), std::to_string(y), "mousedown", "1"});
        run(press);
        for (int step = 1; step <= 10; ++step)
            run({"xdotool", "mousemove_relative", "--", std::to_string(dx / 10), std::to_string(dy / 10)});
        std::vector<std::string> release{"xdotool", "mouseup", "1"};
        for (const auto& key : held) release.insert(release.end(), {"keyup", key});
        run(release);
    }

    std::size_t noteCount() {
        auto snapshot = client.snapshot();
        return snapshot ? (*snapshot)["notes"].size() : 0;
    }

    std::optional<json> newNote(const std::set<std::string>& known) {
        std::optional<json> found;
        waitUntil([&] {
            auto snapshot = client.snapshot();
            if (!snapshot) return false;
            for (const auto& note : (*snapshot)["notes"])
                if (!known.count(note["id"].get<std::string>())) found = note;
            return found.has_value();
        });
        return found;
    }

    bool isSelected(const std::string& id, bool on) {
        return waitForNote(id, [&](const json& n) { return n["selected"] == on; }, 3s).has_value();
    }

    bool welcomeShown() {
        return session.run({"xdotool", "search", "--onlyvisible", "--name", "Welcome to Marrowleaf"}).exitCode == 0;
    }

    // As the window manager's close button does.
    void closeWelcome() { run({"wmctrl", "-c", "Welcome to Marrowleaf"}); }
};

}

TEST_F(DesktopClicks, altClickOnTheBareDesktopMakesAYellowNoteAtTheClickThatTheDesktopNeverSees) {
    seed(first, "already here", recordOn(1, 900, 500));
    ASSERT_NO_FATAL_FAILURE(startOnADesktop());
    ASSERT_NO_FATAL_FAILURE(altClick(300, 300));
    auto made = newNote({first});
    ASSERT_TRUE(made) << diagnostics();
    EXPECT_EQ((*made)["record"]["color"], "yellow");
    EXPECT_EQ((*made)["record"]["frame"], json({{"x", 288}, {"y", 280}, {"w", 260}, {"h", 220}}));

    // A plain click shows the window does hear the clicks that are not taken.
    run({"xdotool", "mousemove", "600", "700", "click", "1"});
    ASSERT_TRUE(waitUntil([&] { return desktop->presses() == 1 && desktop->releases() == 1; }))
        << desktop->presses() << " presses, " << desktop->releases() << " releases";
    EXPECT_EQ(noteCount(), 2u);
}

TEST_F(DesktopClicks, withAltClickTurnedOffAnAltClickMakesNoNote) {
    writeFile(app.configHome() / "marrowleaf" / "defaults.ini", "[Defaults]\nAltClickNewSticky=false\n");
    seed(first, "already here", recordOn(1, 900, 500));
    ASSERT_NO_FATAL_FAILURE(startOnADesktop());
    ASSERT_NO_FATAL_FAILURE(altClick(300, 300));
    ASSERT_TRUE(waitUntil([&] { return desktop->presses() == 1; })) << "the Alt-click was taken";
    EXPECT_EQ(noteCount(), 1u);
}

TEST_F(DesktopClicks, aBoxDraggedOnTheDesktopSelectsExactlyTheNotesItTouchesAndAClickClearsThem) {
    seed(first, "a", recordOn(1, 100, 100));
    seed(second, "b", recordOn(1, 400, 100));
    seed(third, "c", recordOn(1, 800, 100));
    ASSERT_NO_FATAL_FAILURE(startOnADesktop());
    // From below-left of the first across into the second, short of the third.
    ASSERT_NO_FATAL_FAILURE(box(60, 500, 400, -200));
    EXPECT_TRUE(isSelected(first, true)) << diagnostics();
    EXPECT_TRUE(isSelected(second, true));
    EXPECT_TRUE(isSelected(third, false));
    auto shown = client.runScript(first, byId(element::note) + ".classList.contains('selected')");
    EXPECT_TRUE(shown && *shown == true);

    run({"xdotool", "mousemove", "640", "700", "click", "1"});
    EXPECT_TRUE(isSelected(first, false)) << diagnostics();
    EXPECT_TRUE(isSelected(second, false));
}

TEST_F(DesktopClicks, altShiftDragStartsABoxInsteadOfANote) {
    seed(first, "a", recordOn(1, 100, 100));
    ASSERT_NO_FATAL_FAILURE(startOnADesktop());
    ASSERT_NO_FATAL_FAILURE(box(60, 500, 200, -200, {"alt", "shift"}));
    EXPECT_TRUE(isSelected(first, true)) << diagnostics();
    EXPECT_EQ(noteCount(), 1u);
}

TEST_F(DesktopClicks, whenAnotherProgramHoldsAltClickTheWelcomeExplainsAndTheFeaturesComeOnOnceItLetsGo) {
    seed(first, "already here", recordOn(1, 900, 500));
    // Another client takes Alt+Button1 on the root before the program starts.
    xcb_connection_t* other = xcb_connect(session.display().c_str(), nullptr);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(other)).data->root;
    XcbReply<xcb_generic_error_t> refused(xcb_request_check(
        other, xcb_grab_button_checked(other, 0, root, XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC,
                                       XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, 1, XCB_MOD_MASK_1)));
    ASSERT_FALSE(refused) << "the other client could not take Alt-click";

    ASSERT_TRUE(tray.start());
    ASSERT_NO_FATAL_FAILURE(startOnADesktop());
    EXPECT_TRUE(waitUntil([&] { return welcomeShown(); }, 5s)) << diagnostics();
    EXPECT_TRUE(waitUntil([&] {
        for (const auto& line : app.logLines())
            if (line.find("ERROR event tap unavailable") != std::string::npos) return true;
        return false;
    }));

    // The tray says the features are off, and its row brings the closed welcome back.
    EXPECT_TRUE(tray.waitForRow(featuresUnavailable)) << describe(tray.menu()) << tray.diagnostics();
    ASSERT_NO_FATAL_FAILURE(closeWelcome());
    ASSERT_TRUE(waitUntil([&] { return !welcomeShown(); })) << "the welcome did not close";
    ASSERT_TRUE(tray.choose(featuresUnavailable)) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return welcomeShown(); })) << "the tray's row did not open the welcome"
                                                           << diagnostics();

    xcb_disconnect(other);
    EXPECT_TRUE(showsMessage("✅ Desktop features on", 6s)) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return !welcomeShown(); }, 3s));
    EXPECT_TRUE(tray.waitForMenu([](const TrayMenu& menu) {
        return !rowTitled(menu, featuresUnavailable) && rowTitled(menu, "New Sticky");
    })) << describe(tray.menu());
    ASSERT_NO_FATAL_FAILURE(altClick(300, 300));
    EXPECT_TRUE(newNote({first})) << diagnostics();

    ASSERT_NO_FATAL_FAILURE(restart());
    EXPECT_FALSE(waitUntil([&] { return welcomeShown(); }, 2s)) << "the welcome came again on the next launch";
}
