// The running program's command-line actions, as a desktop's own shortcuts
// would call them: a new note, hiding this desktop's notes, a jump, a listing.
#include "integration/NotePage.h"
#include "integration/RegistrySession.h"

#include <cstdlib>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

class CommandLine : public RegistrySession {
protected:
    // The one note the program holds that was not seeded; absent while there is none.
    std::optional<json> madeNote() {
        auto snapshot = client.snapshot();
        if (!snapshot) return std::nullopt;
        for (const auto& note : (*snapshot)["notes"])
            if (!seeded.stickies.count(note["id"].get<std::string>())) return note;
        return std::nullopt;
    }

    bool activeWindowIs(xcb_window_t window) {
        auto active = x().rootCardinals("_NET_ACTIVE_WINDOW");
        return active && !active->empty() && active->front() == window;
    }

    int currentDesktop() {
        auto current = x().rootCardinals("_NET_CURRENT_DESKTOP");
        return current && !current->empty() ? static_cast<int>(current->front()) + 1 : 0;
    }
};

}

TEST_F(CommandLine, newMakesANoteUnderThePointerThatTakesWhatIsTyped) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_EQ(session.run({"xdotool", "mousemove", "500", "400"}).exitCode, 0);
    const CommandResult made = app.run({"--new"});
    ASSERT_EQ(made.exitCode, 0) << made.err;
    std::optional<json> note;
    ASSERT_TRUE(waitUntil([&] { return (note = madeNote()) && (*note)["visible"] == true; }))
        << diagnostics();
    EXPECT_EQ((*note)["record"]["frame"]["x"], 500 - 130);
    EXPECT_EQ((*note)["record"]["frame"]["y"], 400 - 20);
    EXPECT_EQ((*note)["record"]["color"], "yellow");
    const std::string id = (*note)["id"];
    EXPECT_TRUE(fs::exists(noteFile(id)));

    // The new note has the keyboard: what is typed lands in its file.
    const auto window = (*note)["window"].get<xcb_window_t>();
    ASSERT_TRUE(waitUntil([&] { return activeWindowIs(window); })) << diagnostics();
    ASSERT_TRUE(waitUntil([&] {
        auto editing = client.runScript(id, "document.activeElement && document.activeElement.id");
        return editing && *editing == element::editor;
    })) << diagnostics();
    ASSERT_EQ(session.run({"xdotool", "type", "--delay", "20", "Call Sam about the bikes"}).exitCode, 0);
    EXPECT_TRUE(waitForFile(noteFile(id), "Call Sam about the bikes")) << diagnostics();

    // With MARROWLEAF_SCREENSHOTS set to a folder, the picture is kept there as
    // new-note.png (docs/new-note.png is made this way).
    if (const char* folder = std::getenv("MARROWLEAF_SCREENSHOTS")) {
        session.run({"xsetroot", "-solid", "#4d5d6c"});   // a desktop colour rather than black
        ASSERT_EQ(session.run({"xdotool", "mousemove", "1", "1"}).exitCode, 0);
        const Rect around{500 - 130 - 24, 400 - 20 - 24, 260 + 48, 220 + 48};
        Shot shot(x(), around);
        EXPECT_TRUE(shot.save(fs::path(folder) / "new-note.png"));
    }
}

TEST_F(CommandLine, toggleHidesThisDesktopsNotesAndBringsThemBack) {
    seed("sticky-20240101-090000", "here", recordOn(1));
    seed("sticky-20240101-090100", "elsewhere", recordOn(2));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(expectOnDesktop("sticky-20240101-090000", 1));
    const xcb_window_t here = windowOf("sticky-20240101-090000");

    ASSERT_EQ(app.run({"--toggle"}).exitCode, 0);
    EXPECT_TRUE(waitUntil([&] { return !viewable(here); })) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return stateOnDisk()["hidden"].size() == 1; })) << stateOnDisk().dump();

    ASSERT_EQ(app.run({"--toggle"}).exitCode, 0);
    EXPECT_TRUE(waitUntil([&] { return viewable(here); })) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return stateOnDisk()["hidden"].empty(); }));
}

TEST_F(CommandLine, jumpGoesToTheNotesDesktopAndGivesItTheKeyboard) {
    seed("sticky-20240101-090000", "far away", recordOn(3));
    ASSERT_NO_FATAL_FAILURE(start());
    const CommandResult jumped = app.run({"--jump", "sticky-20240101-090000"});
    ASSERT_EQ(jumped.exitCode, 0) << jumped.err;
    EXPECT_TRUE(waitUntil([&] { return currentDesktop() == 3; })) << diagnostics();
    ASSERT_NO_FATAL_FAILURE(expectOnDesktop("sticky-20240101-090000", 3));
    const xcb_window_t window = windowOf("sticky-20240101-090000");
    EXPECT_TRUE(waitUntil([&] { return activeWindowIs(window); })) << diagnostics();
}

TEST_F(CommandLine, jumpToANoteThatDoesNotExistSaysSo) {
    ASSERT_NO_FATAL_FAILURE(start());
    const CommandResult jumped = app.run({"--jump", "sticky-19990101-000000"});
    EXPECT_EQ(jumped.exitCode, 1);
    EXPECT_NE(jumped.err.find("there is no note sticky-19990101-000000"), std::string::npos) << jumped.err;
}

TEST_F(CommandLine, listPrintsEachNotesIdDesktopAndTitleOnTheCallersTerminal) {
    seed("sticky-20240101-090000", "# Groceries\nmilk", recordOn(2));
    seed("sticky-20240101-090100", "call back", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(start());
    const CommandResult listed = app.run({"--list"});
    ASSERT_EQ(listed.exitCode, 0) << listed.err;
    EXPECT_EQ(listed.out, "sticky-20240101-090100\t1\tcall back\nsticky-20240101-090000\t2\tGroceries\n");
}

TEST_F(CommandLine, listWithNothingRunningReadsTheFolderAndStartsNothing) {
    seed("sticky-20240101-090000", "# Groceries\nmilk", recordOn(2));
    Record asleep = recordOn(1);
    asleep.snoozeUntil = 4102444800;   // 2100
    asleep.snoozeLabel = "Friday 9:00";
    seed("sticky-20240101-090100", "call back", asleep);
    const CommandResult listed = app.run({"--list"});
    ASSERT_EQ(listed.exitCode, 0) << listed.err;
    EXPECT_EQ(listed.out, "sticky-20240101-090000\t2\tGroceries\nsticky-20240101-090100\tsnoozed until "
                          "Friday 9:00\tcall back\n");
    EXPECT_FALSE(fs::exists(app.logFile()));
    EXPECT_TRUE(app.processesOfThisHome().empty());
}
