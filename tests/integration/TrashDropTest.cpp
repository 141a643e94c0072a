// Notes dropped on the trash target in the real program, on Xvfb with
// openbox, driven by xdotool; the delete undone from the tray's menu.
#include "input/StickyDrag.h"
#include "integration/RegistrySession.h"
#include "integration/TrayHost.h"

#include <string>
#include <vector>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

constexpr Point headerSpot{40, 16};
const std::string first = "sticky-20240101-090000";
const std::string second = "sticky-20240101-090100";

class TrashDrop : public RegistrySession {
protected:
    DesktopTray tray{session};

    // The target's centre: at the bottom centre of the screen, which has no panels.
    Point target() const {
        const double bottom = session.options().height - StickyDrag::trashMargin;
        return {session.options().width / 2.0, bottom - StickyDrag::trashSize / 2};
    }

    // Presses on the note's header and moves over the target in steps, the button still held.
    void holdOverTarget(const Record& record) {
        const Point from{record.frame.x + headerSpot.x, record.frame.y + headerSpot.y};
        std::vector<std::string> command{"xdotool", "mousemove", number(from.x), number(from.y), "mousedown", "1"};
        for (int step = 1; step <= 12; ++step) {
            const double t = step / 12.0;
            command.insert(command.end(), {"mousemove", number(from.x + (target().x - from.x) * t),
                                           number(from.y + (target().y - from.y) * t)});
        }
        run(command);
    }

    void run(const std::vector<std::string>& command) {
        const CommandResult result = session.run(command);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    static std::string number(double value) { return std::to_string(static_cast<int>(std::lround(value))); }

    bool pageShowsOverTrash(const std::string& id, bool on) {
        return waitUntil([&] {
            auto shown = client.runScript(id, byId(element::note) + ".classList.contains('over-trash')");
            return shown && *shown == on;
        });
    }

    fs::path trashed(const std::string& id) const { return notes() / ".trash" / (id + ".md"); }
};

}

TEST_F(TrashDrop, notesDroppedOnTheTargetGoToTheTrashAndUndoBringsThemBack) {
    const Record a = recordOn(1, 200, 150), b = recordOn(1, 520, 150);
    seed(first, "first", a);
    seed(second, "second", b);
    ASSERT_TRUE(tray.start());
    ASSERT_NO_FATAL_FAILURE(start());
    run({"xdotool", "mousemove", "246", "166", "keydown", "shift", "click", "1", "mousemove", "566", "166", "click",
         "1", "keyup", "shift"});
    ASSERT_TRUE(waitForNote(second, [](const json& n) { return n["selected"] == true; })) << diagnostics();
    ASSERT_TRUE(waitForNote(first, [](const json& n) { return n["selected"] == true; })) << diagnostics();

    ASSERT_NO_FATAL_FAILURE(holdOverTarget(a));
    EXPECT_TRUE(pageShowsOverTrash(first, true)) << diagnostics();
    EXPECT_TRUE(pageShowsOverTrash(second, true));
    run({"xdotool", "mouseup", "1"});
    EXPECT_TRUE(waitUntil([&] { return fs::exists(trashed(first)) && fs::exists(trashed(second)); }))
        << diagnostics();
    EXPECT_FALSE(fs::exists(noteFile(first)));
    EXPECT_TRUE(showsMessage("🗑  2 stickies deleted (undo from the menu bar)")) << diagnostics();

    ASSERT_TRUE(tray.choose("Undo Delete")) << diagnostics();
    EXPECT_TRUE(waitForFile(noteFile(first), "first")) << diagnostics();
    EXPECT_TRUE(waitForFile(noteFile(second), "second"));
    auto back = waitForNote(first, [](const json& n) { return n["visible"] == true; });
    ASSERT_TRUE(back) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return viewable((*back)["window"].get<xcb_window_t>()); }));
    EXPECT_TRUE(stateOnDisk()["stickies"].contains(first));
}

TEST_F(TrashDrop, aDesktopSwitchOverTheTargetDeletesNothingAndTurnsTheHighlightOff) {
    const Record a = recordOn(1, 200, 150);
    seed(first, "keep me", a);
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(holdOverTarget(a));
    ASSERT_TRUE(pageShowsOverTrash(first, true)) << diagnostics();
    ASSERT_NO_FATAL_FAILURE(switchToDesktop(2));
    EXPECT_TRUE(pageShowsOverTrash(first, false)) << diagnostics();
    run({"xdotool", "mouseup", "1"});
    ASSERT_NO_FATAL_FAILURE(switchToDesktop(1));
    EXPECT_TRUE(waitForNote(first, [](const json& n) { return n["visible"] == true; })) << diagnostics();
    EXPECT_TRUE(fs::exists(noteFile(first)));
    EXPECT_FALSE(fs::exists(trashed(first)));
}
