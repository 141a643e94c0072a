// The tray menu of the real program, as a tray host sees it: a stand-in
// StatusNotifierWatcher on the session's bus takes the item's registration,
// and the test reads and clicks the menu over com.canonical.dbusmenu.
#include "integration/RegistrySession.h"
#include "integration/TrayHost.h"

#include <ctime>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

// A plain window of another program, mapped and given the focus by the window manager.
class OtherWindow {
public:
    explicit OtherWindow(XConnection& x) : x(x) {
        xcb_connection_t* c = x.get();
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
        window = xcb_generate_id(c);
        const std::uint32_t background = screen->white_pixel;
        xcb_create_window(c, XCB_COPY_FROM_PARENT, window, x.root(), 100, 100, 400, 300, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL, &background);
        const std::string name = "another program";
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                            static_cast<std::uint32_t>(name.size()), name.data());
        xcb_map_window(c, window);
        xcb_flush(c);
    }
    ~OtherWindow() {
        xcb_destroy_window(x.get(), window);
        xcb_flush(x.get());
    }
    OtherWindow(const OtherWindow&) = delete;
    OtherWindow& operator=(const OtherWindow&) = delete;

    std::string hexId() const {
        char text[16];
        std::snprintf(text, sizeof text, "0x%08x", window);
        return text;
    }
    bool active() {
        auto value = x.rootCardinals("_NET_ACTIVE_WINDOW");
        return value && !value->empty() && value->front() == window;
    }
    // A window manager that just started now and then misses a map; a program maps again.
    bool waitUntilActive() {
        if (waitUntil([&] { return active(); }, 2s)) return true;
        xcb_unmap_window(x.get(), window);
        xcb_map_window(x.get(), window);
        xcb_flush(x.get());
        return waitUntil([&] { return active(); });
    }

private:
    XConnection& x;
    xcb_window_t window = XCB_NONE;
};

class Tray : public RegistrySession {
protected:
    DesktopTray tray{session};

    fs::path autostartEntry() const { return app.configHome() / "autostart" / "marrowleaf.desktop"; }

    void startTray() { ASSERT_TRUE(tray.start()); }

    void startWithTray() {
        ASSERT_NO_FATAL_FAILURE(startTray());
        ASSERT_NO_FATAL_FAILURE(start());
    }

    void choose(const std::string& title) { ASSERT_TRUE(tray.choose(title)) << diagnostics(); }

    std::string trayDiagnostics() { return tray.diagnostics() + diagnostics(); }
};

}

TEST_F(Tray, theMenuListsTheNotesOfTheDesktopInFrontUnderAHeading) {
    seed("sticky-20240101-090000", "# Shopping\nmilk", recordOn(1));
    seed("sticky-20240101-090100", "Call the plumber (kitchen_sink)", recordOn(1, 600, 300));
    seed("sticky-20240101-090200", "On the second desktop", recordOn(2));
    ASSERT_NO_FATAL_FAILURE(startWithTray());

    auto menu = tray.waitForRow("Shopping");
    ASSERT_TRUE(menu) << describe(tray.menu()) << trayDiagnostics();
    EXPECT_EQ(titles(*menu), (std::vector<std::string>{
                                 "New Sticky", "Hide Stickies on This Desktop", "---", "On This Desktop",
                                 "Shopping", "Call the plumber (kitchen_sink)", "---", "Open Stickies Folder",
                                 "Open Trash", "---", "Alt-Click Desktop for New Sticky", "Open at Login",
                                 "---", "About Marrowleaf", "Leave a Tip\u2026", "Quit Marrowleaf"}))
        << describe(menu);
    EXPECT_FALSE(rowTitled(*menu, "On This Desktop")->enabled);
    EXPECT_EQ(rowTitled(*menu, "On This Desktop")->indentLevel(), 0);
    EXPECT_EQ(rowTitled(*menu, "Shopping")->indentLevel(), 1);
    EXPECT_TRUE(rowTitled(*menu, "Shopping")->enabled);
    // Sent so that the host shows the underscore rather than underlining the next letter.
    EXPECT_EQ(rowTitled(*menu, "Call the plumber (kitchen_sink)")->label,
              "    Call the plumber (kitchen__sink)");
    EXPECT_EQ(rowTitled(*menu, "New Sticky")->shortcut,
              (std::vector<std::vector<std::string>>{{"Control", "Alt", "n"}}));
    EXPECT_EQ(rowTitled(*menu, "Hide Stickies on This Desktop")->shortcut,
              (std::vector<std::vector<std::string>>{{"Control", "Alt", "s"}}));
    const TrayRow altClick = *rowTitled(*menu, "Alt-Click Desktop for New Sticky");
    EXPECT_EQ(altClick.toggleType, "checkmark");
    EXPECT_EQ(altClick.toggleState, 1);
    EXPECT_EQ(rowTitled(*menu, "Open at Login")->toggleState, 0);
    EXPECT_EQ(rowTitled(*menu, "New Sticky")->toggleType, "");
}

TEST_F(Tray, theItemShowsTheProgramsOwnNoteIcon) {
    ASSERT_NO_FATAL_FAILURE(startWithTray());
    ASSERT_TRUE(tray.waitForRow("New Sticky")) << describe(tray.menu()) << trayDiagnostics();
    EXPECT_EQ(tray.itemText("Id"), "marrowleaf");
    EXPECT_EQ(tray.itemText("Title"), "Marrowleaf");
    EXPECT_EQ(tray.itemText("Status"), "Active");
    const auto icon = tray.itemText("IconName");
    const auto folder = tray.itemText("IconThemePath");
    ASSERT_TRUE(icon && folder);
    EXPECT_EQ(*icon, "marrowleaf-note-symbolic");
    EXPECT_TRUE(fs::is_regular_file(fs::path(*folder) / (*icon + ".svg"))) << *folder;
}

TEST_F(Tray, aboutOpensTheAboutWindow) {
    ASSERT_NO_FATAL_FAILURE(startWithTray());
    ASSERT_NO_FATAL_FAILURE(choose("About Marrowleaf"));
    auto aboutWindow = [&] {
        auto clients = x().rootCardinals("_NET_CLIENT_LIST");
        if (!clients) return false;
        return std::ranges::any_of(*clients, [&](std::uint32_t window) {
            auto owner = x().cardinals(window, "_NET_WM_PID");
            return owner && !owner->empty() && static_cast<pid_t>(owner->front()) == app.pid() &&
                   x().text(window, "_NET_WM_NAME") == "About Marrowleaf";
        });
    };
    EXPECT_TRUE(waitUntil(aboutWindow)) << trayDiagnostics();
}

TEST_F(Tray, anEmptyDesktopSaysItHasNoStickiesWithoutAHeading) {
    seed("sticky-20240101-090000", "# Shopping\nmilk", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(startWithTray());
    ASSERT_TRUE(tray.waitForRow("Shopping")) << describe(tray.menu()) << trayDiagnostics();

    ASSERT_NO_FATAL_FAILURE(switchToDesktop(3));
    auto menu = tray.waitForRow("No stickies on this desktop");
    ASSERT_TRUE(menu) << describe(tray.menu()) << trayDiagnostics();
    EXPECT_FALSE(rowTitled(*menu, "No stickies on this desktop")->enabled);
    EXPECT_FALSE(rowTitled(*menu, "On This Desktop"));
    EXPECT_FALSE(rowTitled(*menu, "Shopping"));
    EXPECT_TRUE(rowTitled(*menu, "New Sticky"));
}

TEST_F(Tray, snoozedNotesAreListedAndChoosingOneBringsItBack) {
    const std::string id = "sticky-20240101-090000";
    Record sleeping = recordOn(1);
    sleeping.snoozeUntil = static_cast<double>(std::time(nullptr) + 3600);
    sleeping.snoozeLabel = "in 1 hour";
    seed(id, "Dentist", sleeping);
    ASSERT_NO_FATAL_FAILURE(startWithTray());

    const std::string row = "Dentist  \u00b7  in 1 hour";
    auto menu = tray.waitForRow(row);
    ASSERT_TRUE(menu) << describe(tray.menu()) << trayDiagnostics();
    const auto all = titles(*menu);
    const auto heading = std::ranges::find(all, "Snoozed (click to bring back)");
    ASSERT_NE(heading, all.end()) << describe(menu);
    EXPECT_EQ(*(heading - 1), "---");
    EXPECT_EQ(*(heading + 1), row);
    EXPECT_FALSE(rowTitled(*menu, "Snoozed (click to bring back)")->enabled);
    EXPECT_EQ(rowTitled(*menu, row)->indentLevel(), 1);
    EXPECT_TRUE(rowTitled(*menu, "No stickies on this desktop"));

    ASSERT_NO_FATAL_FAILURE(choose(row));
    EXPECT_TRUE(waitForNote(id, [](const json& n) { return n["visible"] == true; })) << trayDiagnostics();
    menu = tray.waitForMenu([](const TrayMenu& m) { return !rowTitled(m, "Snoozed (click to bring back)"); });
    ASSERT_TRUE(menu) << describe(tray.menu());
    EXPECT_TRUE(rowTitled(*menu, "Dentist"));
}

TEST_F(Tray, undoDeleteShowsOnlyAfterADeleteAndPutsTheNoteBack) {
    const std::string id = "sticky-20240101-090000";
    seed(id, "keep me", recordOn(1, 320, 240));
    seed("sticky-20240101-090100", "bystander", recordOn(1, 700, 300));
    ASSERT_NO_FATAL_FAILURE(startWithTray());
    auto menu = tray.waitForRow("keep me");
    ASSERT_TRUE(menu) << describe(tray.menu()) << trayDiagnostics();
    EXPECT_FALSE(rowTitled(*menu, "Undo Delete"));

    ASSERT_TRUE(client.runScript(id, byId(element::closeButton) + ".click(), true"));
    menu = tray.waitForRow("Undo Delete");
    ASSERT_TRUE(menu) << describe(tray.menu()) << trayDiagnostics();
    EXPECT_FALSE(rowTitled(*menu, "keep me"));
    EXPECT_FALSE(fs::exists(noteFile(id)));

    ASSERT_NO_FATAL_FAILURE(choose("Undo Delete"));
    EXPECT_TRUE(waitForFile(noteFile(id), "keep me")) << trayDiagnostics();
    auto back = waitForNote(id, [](const json& n) { return n["visible"] == true; });
    ASSERT_TRUE(back) << trayDiagnostics();
    EXPECT_TRUE(waitUntil([&] { return viewable((*back)["window"].get<xcb_window_t>()); }));
    EXPECT_FALSE(fs::exists(notes() / ".trash" / (id + ".md")));
    menu = tray.waitForMenu(
        [](const TrayMenu& m) { return !rowTitled(m, "Undo Delete") && rowTitled(m, "keep me"); });
    EXPECT_TRUE(menu) << describe(tray.menu());
}

TEST_F(Tray, aFullScreenWindowInFrontLeavesOnlyTheRowsThatWorkThere) {
    seed("sticky-20240101-090000", "# Shopping\nmilk", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(startWithTray());
    ASSERT_TRUE(tray.waitForRow("Shopping")) << describe(tray.menu()) << trayDiagnostics();

    OtherWindow other(x());
    ASSERT_TRUE(other.waitUntilActive());
    ASSERT_EQ(session.run({"wmctrl", "-i", "-r", other.hexId(), "-b", "add,fullscreen"}).exitCode, 0);
    auto menu = tray.waitForRow("Full-screen app: stickies live on desktops");
    ASSERT_TRUE(menu) << describe(tray.menu()) << trayDiagnostics();
    EXPECT_FALSE(rowTitled(*menu, "Full-screen app: stickies live on desktops")->enabled);
    for (const char* gone : {"New Sticky", "Hide Stickies on This Desktop", "On This Desktop", "Shopping",
                             "No stickies on this desktop"})
        EXPECT_FALSE(rowTitled(*menu, gone)) << gone << describe(menu);
    EXPECT_TRUE(rowTitled(*menu, "Open Stickies Folder"));

    ASSERT_EQ(session.run({"wmctrl", "-i", "-r", other.hexId(), "-b", "remove,fullscreen"}).exitCode, 0);
    EXPECT_TRUE(tray.waitForRow("New Sticky")) << describe(tray.menu());
}

TEST_F(Tray, newStickyMakesANoteInTheMiddleOfTheScreen) {
    ASSERT_NO_FATAL_FAILURE(startWithTray());
    ASSERT_NO_FATAL_FAILURE(choose("New Sticky"));
    auto made = client.waitFor(
        [](const json& s) { return s["notes"].size() == 1 && s["notes"][0]["visible"] == true; });
    ASSERT_TRUE(made) << trayDiagnostics();
    const json note = (*made)["notes"][0];
    const double width = note["frame"]["w"];
    const double x = note["frame"]["x"];
    EXPECT_NEAR(x + width / 2, session.options().width / 2.0, 1.0) << note.dump();
    EXPECT_EQ(note["record"]["desktop"], 1);
    EXPECT_TRUE(waitUntil([&] { return fs::exists(noteFile(note["id"].get<std::string>())); }));
}

TEST_F(Tray, aNotesTitleShowsItsHiddenDesktopAndGivesTheNoteTheKeyboard) {
    const std::string id = "sticky-20240101-090100";
    seed("sticky-20240101-090000", "# Shopping\nmilk", recordOn(1));
    seed(id, "Call the plumber", recordOn(1, 600, 300));
    ASSERT_NO_FATAL_FAILURE(startWithTray());

    ASSERT_NO_FATAL_FAILURE(choose("Hide Stickies on This Desktop"));
    ASSERT_TRUE(waitForNote(id, [](const json& n) { return n["visible"] == false; })) << trayDiagnostics();
    ASSERT_TRUE(tray.waitForRow("Show Stickies on This Desktop")) << describe(tray.menu());

    ASSERT_NO_FATAL_FAILURE(choose("Call the plumber"));
    auto shown = waitForNote(id, [](const json& n) { return n["visible"] == true; });
    ASSERT_TRUE(shown) << trayDiagnostics();
    const auto window = (*shown)["window"].get<std::uint32_t>();
    EXPECT_TRUE(waitUntil([&] {
        auto active = x().rootCardinals("_NET_ACTIVE_WINDOW");
        return active && !active->empty() && active->front() == window;
    })) << "the note never got the keyboard";
    EXPECT_TRUE(tray.waitForRow("Hide Stickies on This Desktop")) << describe(tray.menu());
}

TEST_F(Tray, openAtLoginWritesTheAutostartEntryAndChoosingItAgainRemovesIt) {
    ASSERT_NO_FATAL_FAILURE(startWithTray());
    ASSERT_NO_FATAL_FAILURE(choose("Open at Login"));
    ASSERT_TRUE(waitUntil([&] { return fs::exists(autostartEntry()); })) << trayDiagnostics();
    const std::string entry = readFile(autostartEntry());
    const fs::path program = fs::canonical(MARROWLEAF_BINARY);
    EXPECT_NE(entry.find("[Desktop Entry]\n"), std::string::npos) << entry;
    EXPECT_NE(entry.find("\nExec=" + program.string() + "\n"), std::string::npos) << entry;
    EXPECT_NE(entry.find("\nType=Application\n"), std::string::npos) << entry;
    EXPECT_TRUE(tray.waitForMenu([](const TrayMenu& m) {
        auto row = rowTitled(m, "Open at Login");
        return row && row->toggleState == 1;
    })) << describe(tray.menu());

    ASSERT_NO_FATAL_FAILURE(choose("Open at Login"));
    EXPECT_TRUE(waitUntil([&] { return !fs::exists(autostartEntry()); })) << trayDiagnostics();
    EXPECT_TRUE(tray.waitForMenu([](const TrayMenu& m) {
        auto row = rowTitled(m, "Open at Login");
        return row && row->toggleState == 0;
    })) << describe(tray.menu());
}

TEST_F(Tray, altClickFromTheMenuIsSavedAndCheckedAsItIs) {
    ASSERT_NO_FATAL_FAILURE(startWithTray());
    ASSERT_NO_FATAL_FAILURE(choose("Alt-Click Desktop for New Sticky"));
    EXPECT_TRUE(tray.waitForMenu([](const TrayMenu& m) {
        auto row = rowTitled(m, "Alt-Click Desktop for New Sticky");
        return row && row->toggleState == 0;
    })) << describe(tray.menu());
    EXPECT_TRUE(waitUntil([&] {
        return readFile(app.defaultsFile()).find("AltClickNewSticky=false") != std::string::npos;
    })) << readFile(app.defaultsFile());
}

TEST_F(Tray, quitEndsTheProgramWithItsStateSaved) {
    ASSERT_NO_FATAL_FAILURE(startWithTray());
    ASSERT_NO_FATAL_FAILURE(choose("New Sticky"));
    auto made = client.waitFor([](const json& s) { return s["notes"].size() == 1; });
    ASSERT_TRUE(made) << trayDiagnostics();
    const std::string id = (*made)["notes"][0]["id"];

    ASSERT_NO_FATAL_FAILURE(choose("Quit Marrowleaf"));
    ASSERT_EQ(app.wait(15s), 0) << trayDiagnostics();
    EXPECT_TRUE(stateOnDisk()["stickies"].contains(id)) << readFile(stateFile());
    EXPECT_TRUE(fs::exists(noteFile(id)));
    const auto lines = app.logLines();
    EXPECT_TRUE(std::ranges::any_of(lines, [](const std::string& line) {
        return line.ends_with(" INFO quitting");
    })) << readFile(app.logFile());
}

TEST_F(Tray, withoutATrayTheProgramSaysSoOnceAndItsItemShowsWhenATrayStarts) {
    seed("sticky-20240101-090000", "# Shopping\nmilk", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(start());
    const std::string noTray = "INFO no tray on this desktop (nothing owns org.kde.StatusNotifierWatcher); "
                               "the tray menu shows once one "
                               "starts";
    auto count = [&] {
        return std::ranges::count_if(app.logLines(), [&](const std::string& line) {
            return line.size() > 24 && line.substr(24) == noTray;
        });
    };
    ASSERT_TRUE(waitUntil([&] { return count() == 1; })) << diagnostics();

    // A tray that starts after the program found none still gets the item.
    ASSERT_NO_FATAL_FAILURE(startTray());
    auto menu = tray.waitForRow("Shopping");
    ASSERT_TRUE(menu) << describe(tray.menu()) << trayDiagnostics();
    EXPECT_EQ(count(), 1);
    ASSERT_NO_FATAL_FAILURE(choose("New Sticky"));
    EXPECT_TRUE(client.waitFor([](const json& s) { return s["notes"].size() == 2; })) << trayDiagnostics();
    // Neither the wait for a tray nor the tray's arrival bothered GLib or GTK.
    const std::string errors = app.standardError();
    EXPECT_EQ(errors.find("-WARNING"), std::string::npos) << errors;
    EXPECT_EQ(errors.find("-CRITICAL"), std::string::npos) << errors;
}
