// The three hot keys in the real program: pressed with xdotool on Xvfb with
// openbox, with another program holding one of them, with NumLock on, and
// after the keyboard map changed.
#include "integration/Keyboard.h"
#include "integration/RegistrySession.h"

#include <X11/keysym.h>

#include <algorithm>
#include <initializer_list>
#include <string>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

class Hotkeys : public RegistrySession {
protected:
    Keyboard keyboard{x()};

    void press(std::initializer_list<std::string> keys) {
        std::vector<std::string> command{"xdotool", "key"};
        command.insert(command.end(), keys);
        const CommandResult result = session.run(command);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    void movePointer(int px, int py) {
        const CommandResult result =
            session.run({"xdotool", "mousemove", std::to_string(px), std::to_string(py)});
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    // Waits until the program holds `count` notes; the last snapshot seen.
    std::optional<json> waitForNotes(std::size_t count, std::chrono::milliseconds timeout = 10s) {
        auto snapshot = client.waitFor([&](const json& s) { return s["notes"].size() == count; }, timeout);
        if (!snapshot || (*snapshot)["notes"].size() != count) return std::nullopt;
        return snapshot;
    }

    bool logHas(const std::string& message) {
        return waitUntil([&] {
            const auto lines = app.logLines();
            return std::ranges::any_of(
                lines, [&](const std::string& line) { return line.ends_with(" " + message); });
        });
    }

    static bool frameHolds(const json& note, int px, int py) {
        const json& frame = note["frame"];
        const double left = frame["x"].get<double>(), top = frame["y"].get<double>();
        return px >= left && px <= left + frame["w"].get<double>() && py >= top &&
               py <= top + frame["h"].get<double>();
    }
};

}

TEST_F(Hotkeys, ctrlAltNMakesANoteUnderThePointer) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(movePointer(640, 400));
    press({"ctrl+alt+n"});
    auto snapshot = waitForNotes(1);
    ASSERT_TRUE(snapshot) << "Ctrl+Alt+N made no note" << diagnostics();
    EXPECT_TRUE(frameHolds((*snapshot)["notes"][0], 640, 400)) << (*snapshot)["notes"][0].dump();
}

TEST_F(Hotkeys, ctrlAltNTappedThroughTheHarnessKeyboardMakesANoteThatTakesTheTappedKeys) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(movePointer(640, 400));
    keyboard.tap({XK_Control_L, XK_Alt_L, XK_n});
    auto snapshot = waitForNotes(1);
    ASSERT_TRUE(snapshot) << "a tapped Ctrl+Alt+N made no note" << diagnostics();
    const std::string id = (*snapshot)["notes"][0]["id"];
    ASSERT_TRUE(waitUntil([&] {
        auto focused = client.runScript(id, "document.hasFocus() && document.activeElement.id");
        return focused && *focused == "editor";
    })) << diagnostics();
    keyboard.tap({XK_x});
    EXPECT_TRUE(waitUntil([&] {
        auto text = client.runScript(id, "currentText()");
        return text && *text == "x";
    })) << diagnostics();
}

TEST_F(Hotkeys, pressingCtrlAltNTwiceQuicklyMakesTwoNotesAndTheLastTakesWhatIsTyped) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(movePointer(500, 300));
    press({"ctrl+alt+n", "ctrl+alt+n"});
    auto snapshot = waitForNotes(2);
    ASSERT_TRUE(snapshot) << "two presses did not make two notes" << diagnostics();
    std::vector<std::string> ids;
    for (const auto& note : (*snapshot)["notes"])
        ids.push_back(note["id"]);
    std::ranges::sort(ids);   // made in the same second: the second one is "-2"
    ASSERT_NE(ids[0], ids[1]);
    const std::string last = ids[1];
    for (const auto& id : ids)
        EXPECT_TRUE(frameHolds(*AppClient::note(*snapshot, id), 500, 300)) << id;

    const xcb_window_t window = windowOf(last);
    ASSERT_TRUE(waitUntil([&] {
        auto active = x().rootCardinals("_NET_ACTIVE_WINDOW");
        return active && !active->empty() && active->front() == window;
    })) << "the last note never had the keyboard"
        << diagnostics();
    ASSERT_TRUE(waitUntil([&] {
        auto editing = client.runScript(last, "document.activeElement && document.activeElement.id");
        return editing && *editing == element::editor;
    })) << diagnostics();
    ASSERT_EQ(session.run({"xdotool", "type", "--delay", "20", "eggs"}).exitCode, 0);
    EXPECT_TRUE(waitForFile(noteFile(last), "eggs")) << diagnostics();
    EXPECT_EQ(readFile(noteFile(ids[0])), "");
}

TEST_F(Hotkeys, aNoteMadeNearABlueNoteIsBlueAndOfItsSize) {
    Record blue = recordOn(1, 300, 200);
    blue.frame.w = 300;
    blue.frame.h = 200;
    blue.color = "blue";
    seed("sticky-20240101-090000", "blue", blue);
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(movePointer(300 + 300 + 150, 300));   // 156 points right of its body
    press({"ctrl+alt+n"});
    auto snapshot = waitForNotes(2);
    ASSERT_TRUE(snapshot) << diagnostics();
    for (const auto& note : (*snapshot)["notes"]) {
        if (note["id"] == "sticky-20240101-090000") continue;
        EXPECT_EQ(note["record"]["color"], "blue");
        EXPECT_EQ(note["record"]["frame"]["w"], 300);
        EXPECT_EQ(note["record"]["frame"]["h"], 200);
    }
}

TEST_F(Hotkeys, aNoteMadeAtTheScreensEdgeIsPulledInside) {
    ASSERT_NO_FATAL_FAILURE(start());
    const int width = session.options().width, height = session.options().height;
    ASSERT_NO_FATAL_FAILURE(movePointer(width - 1, height - 1));
    press({"ctrl+alt+n"});
    auto snapshot = waitForNotes(1);
    ASSERT_TRUE(snapshot) << diagnostics();
    const json& frame = (*snapshot)["notes"][0]["record"]["frame"];
    EXPECT_LE(frame["x"].get<double>() + frame["w"].get<double>(), width + 6) << frame.dump();
    EXPECT_LE(frame["y"].get<double>() + frame["h"].get<double>(), height + 6) << frame.dump();
    EXPECT_EQ(frame["w"], 260);
    EXPECT_EQ(frame["h"], 220);
}

TEST_F(Hotkeys, ctrlAltSHidesExactlyThisDesktopsNotesAcrossARestartAndShowsThemAgain) {
    seed("sticky-20240101-090000", "here", recordOn(1));
    seed("sticky-20240101-090100", "elsewhere", recordOn(2));
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(expectOnDesktop("sticky-20240101-090000", 1));
    ASSERT_NO_FATAL_FAILURE(expectOnDesktop("sticky-20240101-090100", 2));
    ASSERT_NO_FATAL_FAILURE(movePointer(640, 400));
    press({"ctrl+alt+s"});
    EXPECT_TRUE(waitForNote("sticky-20240101-090000", [](const json& n) { return n["visible"] == false; }))
        << "Ctrl+Alt+S did not hide the note" << diagnostics();
    EXPECT_TRUE(showsMessage("📝 Stickies hidden")) << diagnostics();
    ASSERT_TRUE(waitUntil([&] { return stateOnDisk()["hidden"].size() == 1; })) << stateOnDisk().dump();
    const std::string key = stateOnDisk()["hidden"].begin().key();
    EXPECT_TRUE(key.ends_with(":1")) << key;
    // The other desktop's note is untouched.
    EXPECT_TRUE(waitForNote("sticky-20240101-090100", [](const json& n) { return n["visible"] == true; }));

    ASSERT_NO_FATAL_FAILURE(restart());
    EXPECT_TRUE(waitForNote("sticky-20240101-090000", [](const json& n) { return n["visible"] == false; }))
        << "the desktop's notes came back after a restart" << diagnostics();
    EXPECT_EQ(stateOnDisk()["hidden"][key], true);

    press({"ctrl+alt+s"});
    EXPECT_TRUE(waitForNote("sticky-20240101-090000", [](const json& n) { return n["visible"] == true; }))
        << "Ctrl+Alt+S did not show the note again" << diagnostics();
    EXPECT_TRUE(showsMessage("📝 Stickies shown")) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return stateOnDisk()["hidden"].empty(); })) << stateOnDisk().dump();
}

TEST_F(Hotkeys, overAFullScreenWindowCtrlAltNMakesNoNoteAndSaysWhyAndCtrlAltSDoesNothing) {
    seed("sticky-20240101-090000", "here", recordOn(1));
    ASSERT_NO_FATAL_FAILURE(start());
    ChildProcess::Options other;
    other.argv = {"xmessage", "a full-screen program"};
    other.environment = session.environment();
    ChildProcess window(other);
    const std::string title = "xmessage";
    ASSERT_TRUE(waitUntil([&] {
        return session.run({"wmctrl", "-l"}).out.find(title) != std::string::npos;
    })) << session.run({"wmctrl", "-l"}).out;
    ASSERT_EQ(session.run({"wmctrl", "-r", title, "-b", "add,fullscreen"}).exitCode, 0);
    ASSERT_EQ(session.run({"wmctrl", "-a", title}).exitCode, 0);
    ASSERT_TRUE(waitUntil([&] {
        auto active = x().rootCardinals("_NET_ACTIVE_WINDOW");
        return active && !active->empty() && active->front() != 0 &&
               hasState(active->front(), "_NET_WM_STATE_FULLSCREEN");
    })) << "the test window never went full screen in front";
    ASSERT_NO_FATAL_FAILURE(movePointer(640, 400));

    press({"ctrl+alt+n"});
    EXPECT_TRUE(showsMessage("📝 Stickies live on desktops, not full-screen apps")) << diagnostics();
    press({"ctrl+alt+s"});
    // Both keys have been handled once the program answers after them.
    ASSERT_TRUE(client.snapshot());
    EXPECT_EQ(client.snapshot()->at("notes").size(), 1u);
    EXPECT_TRUE(stateOnDisk()["hidden"].empty());
    std::size_t notesInFolder = 0;
    for (const auto& entry : fs::directory_iterator(notes()))
        notesInFolder += entry.path().extension() == ".md";
    EXPECT_EQ(notesInFolder, 1u);
}

TEST_F(Hotkeys, theProgramHoldsAllThreeKeysOnceStarted) {
    ASSERT_NO_FATAL_FAILURE(start());
    // Ctrl+Alt+L opens nothing yet, but it is held all the same.
    for (xcb_keysym_t key : {XK_n, XK_s, XK_l})
        EXPECT_EQ(keyboard.grab(keyboard.codeOf(key), ctrlAltMask), badAccess) << "keysym " << key;
    EXPECT_TRUE(std::ranges::none_of(app.logLines(), [](const std::string& line) {
        return line.find(" ERROR hotkey ") != line.npos;
    })) << diagnostics();
}

TEST_F(Hotkeys, whenAnotherProgramHoldsCtrlAltSTheLogSaysSoAndCtrlAltNAndLStillWork) {
    const xcb_keycode_t s = keyboard.codeOf(XK_s);
    ASSERT_EQ(keyboard.grab(s, ctrlAltMask), 0) << "the test could not take Ctrl+Alt+S first";
    ASSERT_NO_FATAL_FAILURE(start());
    EXPECT_TRUE(logHas("ERROR hotkey " + std::to_string(s) + " unavailable (10)")) << diagnostics();

    ASSERT_NO_FATAL_FAILURE(movePointer(640, 400));
    press({"ctrl+alt+n"});
    EXPECT_TRUE(waitForNotes(1)) << "Ctrl+Alt+N made no note" << diagnostics();
    EXPECT_EQ(keyboard.grab(keyboard.codeOf(XK_l), ctrlAltMask), badAccess) << "Ctrl+Alt+L is not held";
}

TEST_F(Hotkeys, withNumLockOnCtrlAltNStillMakesANote) {
    ASSERT_NO_FATAL_FAILURE(start());
    const std::uint16_t numLock = keyboard.modifierOf(XK_Num_Lock);
    ASSERT_NE(numLock, 0) << "the session's modifier map has no NumLock";
    press({"Num_Lock"});
    ASSERT_TRUE(waitUntil([&] { return (keyboard.modifiersNow() & numLock) != 0; })) << "NumLock never lit";
    ASSERT_NO_FATAL_FAILURE(movePointer(640, 400));
    press({"ctrl+alt+n"});
    EXPECT_TRUE(waitForNotes(1)) << "Ctrl+Alt+N with NumLock on made no note" << diagnostics();
}

TEST_F(Hotkeys, afterTheKeyboardMapMovesNCtrlAltNStillMakesANote) {
    ASSERT_NO_FATAL_FAILURE(start());
    const xcb_keycode_t before = keyboard.codeOf(XK_n);
    const xcb_keycode_t after = keyboard.freeCode();
    ASSERT_NE(after, 0) << "no unbound key code to move N to";
    const CommandResult moved = session.run({"xmodmap", "-e", "keycode " + std::to_string(after) + " = n N",
                                             "-e", "keycode " + std::to_string(before) + " ="});
    ASSERT_EQ(moved.exitCode, 0) << moved.err;
    ASSERT_TRUE(logHas("INFO hotkey " + std::to_string(before) + " is key code " + std::to_string(after) +
                       " in the new keyboard map"))
        << diagnostics();

    ASSERT_NO_FATAL_FAILURE(movePointer(640, 400));
    press({"ctrl+alt+n"});   // xdotool finds n at its new key code
    EXPECT_TRUE(waitForNotes(1)) << "Ctrl+Alt+N made no note after the map changed" << diagnostics();
}
