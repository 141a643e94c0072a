// Desktops, outside edits, the page, the message pill, snooze and delete in
// the real program.
#include "input/HUD.h"
#include "integration/RegistrySession.h"
#include "platform/linux/GtkHudView.h"

#include <cmath>
#include <csignal>
#include <set>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

class Registry : public RegistrySession {};

// ---------------------------------------------------------------- the message pill

// The top-level window that would take a click at a point of the screen.
xcb_window_t windowTakingClicksAt(XConnection& x, int px, int py) {
    xcb_connection_t* c = x.get();
    xcb_warp_pointer(c, XCB_NONE, x.root(), 0, 0, 0, 0, static_cast<std::int16_t>(px),
                     static_cast<std::int16_t>(py));
    auto* pointer = xcb_query_pointer_reply(c, xcb_query_pointer(c, x.root()), nullptr);
    const xcb_window_t child = pointer ? pointer->child : XCB_NONE;
    free(pointer);
    return child;
}

}

// ---------------------------------------------------------------- desktops

TEST_F(Registry, notesComeBackOnTheirOwnDesktopsAfterARestart) {
    seed("sticky-20240101-090000", "on the first desktop", recordOn(1));
    seed("sticky-20240101-090100", "on the third desktop", recordOn(3, 500, 300));
    ASSERT_NO_FATAL_FAILURE(start());
    expectOnDesktop("sticky-20240101-090000", 1);
    expectOnDesktop("sticky-20240101-090100", 3);

    ASSERT_NO_FATAL_FAILURE(restart());
    expectOnDesktop("sticky-20240101-090000", 1);
    expectOnDesktop("sticky-20240101-090100", 3);
    const json state = stateOnDisk();
    EXPECT_EQ(state["stickies"]["sticky-20240101-090000"]["desktop"], 1);
    EXPECT_EQ(state["stickies"]["sticky-20240101-090100"]["desktop"], 3);
}

TEST_F(Registry, switchingDesktopsShowsExactlyThatDesktopsNotes) {
    const std::map<std::string, int> desktops{{"sticky-20240101-090000", 1},
                                              {"sticky-20240101-090100", 2},
                                              {"sticky-20240101-090200", 2},
                                              {"sticky-20240101-090300", 3}};
    for (const auto& [id, desktop] : desktops)
        seed(id, "note " + id, recordOn(desktop, 100.0 * desktop, 100));
    ASSERT_NO_FATAL_FAILURE(start());
    std::map<std::string, xcb_window_t> windows;
    for (const auto& [id, desktop] : desktops) {
        ASSERT_NO_FATAL_FAILURE(expectOnDesktop(id, desktop));
        windows[id] = windowOf(id);
    }

    for (int current : {2, 3, 4, 1}) {
        ASSERT_NO_FATAL_FAILURE(switchToDesktop(current));
        ASSERT_TRUE(client.waitFor([&](const json& s) {
            return s["activeDesktops"] == json::array({current});
        })) << "the program never saw desktop "
            << current << diagnostics();
        for (const auto& [id, desktop] : desktops) {
            const bool wanted = desktop == current;
            EXPECT_TRUE(waitUntil([&] { return viewable(windows[id]) == wanted; }))
                << id << " (desktop " << desktop << ") on desktop " << current << ": viewable " << !wanted;
        }
    }
}

// ---------------------------------------------------------------- the folder

TEST_F(Registry, aFileEditedInPlaceByAnotherProgramShowsInItsPage) {
    seed("sticky-20240101-090000", "before", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(start());
    writeFile(noteFile("sticky-20240101-090000"), "# after\nedited elsewhere");
    EXPECT_TRUE(waitForPage("sticky-20240101-090000", "# after\nedited elsewhere")) << diagnostics();
}

TEST_F(Registry, aFileReplacedByRenameAsEditorsSaveShowsInItsPage) {
    seed("sticky-20240101-090000", "before", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(start());
    writeAtomically(noteFile("sticky-20240101-090000"), "renamed over the note");
    EXPECT_TRUE(waitForPage("sticky-20240101-090000", "renamed over the note")) << diagnostics();
    EXPECT_EQ(readFile(noteFile("sticky-20240101-090000")), "renamed over the note");
}

TEST_F(Registry, aDeletedFileClosesItsWindowAndLosesItsRecord) {
    seed("sticky-20240101-090000", "going", recordOn(1));
    seed("sticky-20240101-090100", "staying", recordOn(1, 600, 300));
    ASSERT_NO_FATAL_FAILURE(start());
    expectOnDesktop("sticky-20240101-090000", 1);
    const xcb_window_t window = windowOf("sticky-20240101-090000");

    fs::remove(noteFile("sticky-20240101-090000"));
    ASSERT_TRUE(client.waitFor([](const json& s) {
        return !AppClient::note(s, "sticky-20240101-090000") &&
               !s["state"]["stickies"].contains("sticky-20240101-090000");
    })) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return !viewable(window); }));
    EXPECT_TRUE(waitUntil([&] { return !stateOnDisk()["stickies"].contains("sticky-20240101-090000"); }))
        << readFile(stateFile());
    EXPECT_TRUE(stateOnDisk()["stickies"].contains("sticky-20240101-090100"));
    EXPECT_TRUE(AppClient::note(*client.snapshot(), "sticky-20240101-090100"));
}

// ---------------------------------------------------------------- the page

TEST_F(Registry, whatIsTypedIntoANoteIsSavedToItsFile) {
    const std::string id = "sticky-20240101-090000";
    seed(id, "", recordOn(1, 300, 200));
    ASSERT_NO_FATAL_FAILURE(start());
    auto note = waitForNote(id, [](const json& n) { return n["visible"] == true; });
    ASSERT_TRUE(note) << diagnostics();
    const json& frame = (*note)["frame"];
    const int middleX = static_cast<int>(frame["x"].get<double>() + frame["w"].get<double>() / 2);
    const int middleY = static_cast<int>(frame["y"].get<double>() + frame["h"].get<double>() / 2);
    ASSERT_EQ(
        session.run({"xdotool", "mousemove", std::to_string(middleX), std::to_string(middleY), "click", "1"})
            .exitCode,
        0);
    // The click opens the editor and focuses the note's window.
    ASSERT_TRUE(waitUntil([&] {
        auto focused = x().rootCardinals("_NET_ACTIVE_WINDOW");
        return focused && !focused->empty() && focused->front() == windowOf(id);
    })) << "the note never took the keyboard"
        << diagnostics();
    ASSERT_EQ(session.run({"xdotool", "type", "--delay", "5", "milk and eggs"}).exitCode, 0);

    EXPECT_TRUE(waitForFile(noteFile(id), "milk and eggs"))
        << "file holds: " << readFile(noteFile(id)) << diagnostics();
    EXPECT_TRUE(waitForNote(id, [](const json& n) { return n["content"] == "milk and eggs"; }));
}

TEST_F(Registry, colourAndPinSurviveARestart) {
    const std::string id = "sticky-20240101-090000";
    seed(id, "blue and on top", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(client.runScript(id, "document.querySelector('" +
                                         selector(element::swatches, "button[data-name=\"blue\"]") +
                                         "').click(), true"));
    ASSERT_TRUE(client.runScript(id, byId(element::pinButton) + ".click(), true"));
    ASSERT_TRUE(waitForNote(id, [](const json& n) {
        return n["record"]["color"] == "blue" && n["record"]["pinned"] == true;
    })) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return hasState(windowOf(id), "_NET_WM_STATE_ABOVE"); }));

    ASSERT_NO_FATAL_FAILURE(restart());
    auto note = waitForNote(id, [](const json& n) { return n["visible"] == true; });
    ASSERT_TRUE(note) << diagnostics();
    EXPECT_EQ((*note)["record"]["color"], "blue");
    EXPECT_EQ((*note)["record"]["pinned"], true);
    EXPECT_TRUE(waitUntil([&] { return hasState(windowOf(id), "_NET_WM_STATE_ABOVE"); }))
        << "the pinned note is not kept above after the restart";
    auto background = client.runScript(id, "getComputedStyle(" + byId(element::note) + ").backgroundColor");
    ASSERT_TRUE(background);
    EXPECT_EQ(*background, "rgb(207, 230, 255)") << "the page is not blue (#cfe6ff) after the restart";
}

TEST_F(Registry, aSnoozedNoteLeavesWithAMessageAndComesBackWhenItsTimeHasCome) {
    const std::string id = "sticky-20240101-090000";
    seed(id, "wake me", recordOn(1, 100, 100));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(expectOnDesktop(id, 1));
    const xcb_window_t window = windowOf(id);

    ASSERT_TRUE(client.runScript(id, "window.webkit.messageHandlers.sticky.postMessage("
                                     "{t: 'snooze', at: Date.now() + 3000, label: 'soon'}), true"));
    // The pill: ours, the window manager's business not at all, sized for its text
    // and standing 22 % of the screen's height above the bottom, centred.
    std::vector<Pill> pills;
    ASSERT_TRUE(
        waitUntil([&] { return !(pills = overrideRedirectWindowsOf(x(), app.pid())).empty(); }, 5s, 10ms))
        << "no message pill" << diagnostics();
    ASSERT_EQ(pills.size(), 1u);
    const Pill pill = pills.front();
    GtkHudView view;
    const Size text = view.textSize("😴 Snoozed until soon");
    const int screenWidth = session.options().width, screenHeight = session.options().height;
    EXPECT_EQ(pill.width, static_cast<int>(std::ceil(text.width + 2 * HUD::horizontalPadding)));
    EXPECT_EQ(pill.height, static_cast<int>(std::ceil(text.height + 2 * HUD::verticalPadding)));
    EXPECT_NEAR(pill.x + pill.width / 2.0, screenWidth / 2.0, 1.0);
    EXPECT_NEAR(pill.y + pill.height, screenHeight * (1 - HUD::heightAboveBottom), 1.0);
    EXPECT_NE(windowTakingClicksAt(x(), pill.x + pill.width / 2, pill.y + pill.height / 2), pill.window)
        << "the pill takes clicks";

    auto asleep = waitForNote(id, [](const json& n) {
        return n["visible"] == false && n["record"].contains("snoozeUntil") &&
               n["record"]["snoozeLabel"] == "soon";
    });
    ASSERT_TRUE(asleep) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return !viewable(window); }));
    EXPECT_TRUE(stateOnDisk()["stickies"][id].contains("snoozeUntil"));

    auto awake = waitForNote(
        id, [](const json& n) { return n["visible"] == true && !n["record"].contains("snoozeUntil"); },
        wakeTimeout);
    ASSERT_TRUE(awake) << "the note never woke" << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return viewable(window); }));
    EXPECT_FALSE(stateOnDisk()["stickies"][id].contains("snoozeUntil"));
}

// ---------------------------------------------------------------- deletion

TEST_F(Registry, aDeletedNoteGoesToTheTrashFolderAndUndoBringsItBack) {
    const std::string id = "sticky-20240101-090000";
    Record record = recordOn(2, 320, 240);
    record.color = "green";
    seed(id, "keep me somewhere", record);
    seed("sticky-20240101-090100", "bystander", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(switchToDesktop(2));
    ASSERT_NO_FATAL_FAILURE(expectOnDesktop(id, 2));
    const json recordBefore = (*waitForNote(id, [](const json&) { return true; }))["record"];

    ASSERT_TRUE(client.runScript(id, byId(element::closeButton) + ".click(), true"));
    ASSERT_TRUE(client.waitFor([&](const json& s) { return !AppClient::note(s, id); })) << diagnostics();
    const fs::path trashed = notes() / ".trash" / (id + ".md");
    EXPECT_FALSE(fs::exists(noteFile(id)));
    EXPECT_EQ(readFile(trashed), "keep me somewhere");
    EXPECT_TRUE(waitUntil([&] { return !stateOnDisk()["stickies"].contains(id); }));

    ASSERT_TRUE(client.undoDelete()) << diagnostics();
    auto back = waitForNote(id, [](const json& n) { return n["visible"] == true && n["page"].is_string(); });
    ASSERT_TRUE(back) << diagnostics();
    EXPECT_EQ((*back)["page"], "keep me somewhere");
    EXPECT_EQ((*back)["record"], recordBefore);
    EXPECT_EQ((*back)["placedDesktop"], 2);
    EXPECT_EQ(readFile(noteFile(id)), "keep me somewhere");
    EXPECT_FALSE(fs::exists(trashed));
    EXPECT_EQ(stateOnDisk()["stickies"][id], recordBefore);
}

// ---------------------------------------------------------------- a file and a page at odds

TEST_F(Registry, aFileWrittenElsewhereReplacesTypingThePageHadNotSavedYet) {
    const std::string id = "sticky-20240101-090000";
    seed(id, "shopping", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(start());
    auto typed = client.runScript(id, typeScript("shopping: typed, not yet saved"));
    ASSERT_TRUE(typed && *typed == "shopping: typed, not yet saved") << diagnostics();
    // Within the page's pause before saving, another program writes the file.
    writeFile(noteFile(id), "written by another program");

    EXPECT_TRUE(waitForPage(id, "written by another program")) << diagnostics();
    // The pause has long passed: the dropped typing was never saved.
    runMainContextUntil([] { return false; }, pastThePagesSavePause);
    EXPECT_EQ(readFile(noteFile(id)), "written by another program");
    auto note = waitForNote(id, [](const json&) { return true; });
    EXPECT_EQ((*note)["content"], "written by another program");
    EXPECT_EQ((*note)["page"], "written by another program");
}

TEST_F(Registry, aSaveTypedOverAnOlderTextNeverOverwritesTheNewerFile) {
    const std::string id = "sticky-20240101-090000";
    seed(id, "shopping", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(start());
    writeAtomically(noteFile(id), "written by another program");
    ASSERT_TRUE(waitForPage(id, "written by another program")) << diagnostics();

    // A save the page sent before the new text reached it arrives late: it
    // names the texts it had seen, none since it loaded. The page's message is
    // handled by the time the script's result comes back.
    ASSERT_TRUE(client.runScript(id, postScript({{page::message::type, page::message::save},
                                                 {page::field::text, "typed over the old text"},
                                                 {page::field::version, 0}})));
    ASSERT_TRUE(client.snapshot());
    EXPECT_EQ(readFile(noteFile(id)), "written by another program");
    auto note = waitForNote(id, [](const json&) { return true; });
    EXPECT_EQ((*note)["content"], "written by another program");

    // Typing over the new text is saved as ever.
    ASSERT_TRUE(client.runScript(id, typeScript("written by another program, and typed")));
    ASSERT_TRUE(client.runScript(id, leaveEditorScript));
    EXPECT_TRUE(waitForFile(noteFile(id), "written by another program, and typed")) << readFile(noteFile(id));
}
