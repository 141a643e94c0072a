// Moving, resizing and selecting notes with the mouse in the real program, on
// Xvfb with openbox, driven by xdotool.
#include "geometry/Snap.h"
#include "integration/RegistrySession.h"
#include "platform/linux/XcbConnection.h"

#include <string>
#include <vector>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

constexpr double noteWidth = 260, noteHeight = 220;
// Inside the header strip, left of the buttons; and inside the resize grip.
constexpr Point headerSpot{40, 16};
constexpr Point gripSpot{noteWidth - 6 - 8, noteHeight - 6 - 8};

class NoteDrag : public RegistrySession {
protected:
    // Presses the left button at `from`, moves to `to` in `steps` steps and
    // lets go, with `held` keys ("ctrl", "shift") down throughout.
    void drag(Point from, Point to, int steps = 12, const std::vector<std::string>& held = {}) {
        std::vector<std::string> command{"xdotool"};
        for (const auto& key : held) command.insert(command.end(), {"keydown", key});
        command.insert(command.end(), {"mousemove", number(from.x), number(from.y), "mousedown", "1"});
        for (int step = 1; step <= steps; ++step) {
            const double t = static_cast<double>(step) / steps;
            command.insert(command.end(), {"mousemove", number(from.x + (to.x - from.x) * t),
                                           number(from.y + (to.y - from.y) * t)});
        }
        command.insert(command.end(), {"mouseup", "1"});
        for (const auto& key : held) command.insert(command.end(), {"keyup", key});
        const CommandResult result = session.run(command);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    void click(Point at, const std::vector<std::string>& held = {}) {
        std::vector<std::string> command{"xdotool"};
        for (const auto& key : held) command.insert(command.end(), {"keydown", key});
        command.insert(command.end(), {"mousemove", number(at.x), number(at.y), "click", "1"});
        for (const auto& key : held) command.insert(command.end(), {"keyup", key});
        const CommandResult result = session.run(command);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    static std::string number(double value) { return std::to_string(static_cast<int>(std::lround(value))); }

    static Rect frameOf(const json& note) {
        const json& f = note["frame"];
        return {f["x"].get<double>(), f["y"].get<double>(), f["w"].get<double>(), f["h"].get<double>()};
    }

    Rect frameNow(const std::string& id) {
        auto snapshot = client.snapshot();
        auto note = snapshot ? AppClient::note(*snapshot, id) : std::nullopt;
        return note ? frameOf(*note) : Rect{};
    }

    std::optional<Rect> savedFrame(const std::string& id) {
        const json state = stateOnDisk();
        if (!state.is_object() || !state["stickies"].contains(id)) return std::nullopt;
        const json& f = state["stickies"][id]["frame"];
        return Rect{f["x"].get<double>(), f["y"].get<double>(), f["w"].get<double>(), f["h"].get<double>()};
    }

    // Where the X server has the note's window now.
    std::optional<Rect> windowFrame(const std::string& id) {
        const xcb_window_t window = windowOf(id);
        XcbReply<xcb_get_geometry_reply_t> size(
            xcb_get_geometry_reply(x().get(), xcb_get_geometry(x().get(), window), nullptr));
        XcbReply<xcb_translate_coordinates_reply_t> corner(xcb_translate_coordinates_reply(
            x().get(), xcb_translate_coordinates(x().get(), window, x().root(), 0, 0), nullptr));
        if (!size || !corner) return std::nullopt;
        return Rect{double(corner->dst_x), double(corner->dst_y), double(size->width), double(size->height)};
    }

    // Waits until the note has `frame`: in the program, in its saved record
    // and on the X server.
    bool settlesAt(const std::string& id, Rect frame) {
        return waitUntil(
            [&] { return frameNow(id) == frame && savedFrame(id) == frame && windowFrame(id) == frame; });
    }

    bool selected(const std::string& id) {
        auto note = waitForNote(id, [](const json&) { return true; }, 2s);
        return note && (*note)["selected"] == true;
    }

    bool pageShowsSelected(const std::string& id, bool on) {
        return waitUntil([&] {
            auto shown = client.runScript(id, byId(element::note) + ".classList.contains('selected')");
            return shown && *shown == on;
        });
    }

    static Point at(const Record& record, Point spot) { return {record.frame.x + spot.x, record.frame.y + spot.y}; }

    Rect screen() const {
        return {0, 0, static_cast<double>(session.options().width), static_cast<double>(session.options().height)};
    }
};

const std::string first = "sticky-20240101-090000";
const std::string second = "sticky-20240101-090100";
const std::string third = "sticky-20240101-090200";

}

TEST_F(NoteDrag, draggingANoteByItsHeaderMovesItAndTheNewFrameOutlivesARestart) {
    const Record record = recordOn(1, 200, 150);
    seed(first, "move me", record);
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(drag(at(record, headerSpot), at(record, {headerSpot.x + 301, headerSpot.y + 203})));
    const Rect moved{501, 353, noteWidth, noteHeight};
    ASSERT_TRUE(settlesAt(first, moved)) << frameNow(first) << diagnostics();
    ASSERT_NO_FATAL_FAILURE(restart());
    EXPECT_TRUE(waitUntil([&] { return frameNow(first) == moved; })) << frameNow(first);
}

TEST_F(NoteDrag, aNoteDraggedNearTheScreenEdgeSnapsToTheMarginButNotWithCtrlHeld) {
    const Record record = recordOn(1, 200, 150);
    seed(first, "snap me", record);
    ASSERT_NO_FATAL_FAILURE(start());
    // To x = 12: 6 points from where the margin puts the window (14 − 6 = 8).
    ASSERT_NO_FATAL_FAILURE(drag(at(record, headerSpot), at(record, {headerSpot.x - 188, headerSpot.y + 100})));
    ASSERT_TRUE(settlesAt(first, {8, 250, noteWidth, noteHeight})) << frameNow(first) << diagnostics();

    const Point grabbed{8 + headerSpot.x, 250 + headerSpot.y};
    ASSERT_NO_FATAL_FAILURE(drag(grabbed, {grabbed.x + 4, grabbed.y + 50}, 12, {"ctrl"}));
    EXPECT_TRUE(settlesAt(first, {12, 300, noteWidth, noteHeight})) << frameNow(first) << diagnostics();
}

TEST_F(NoteDrag, aNoteDraggedBesideANeighbourSnapsToIt) {
    const Record mover = recordOn(1, 200, 150), neighbour = recordOn(1, 700, 150);
    seed(first, "mover", mover);
    seed(second, "neighbour", neighbour);
    ASSERT_NO_FATAL_FAILURE(start());
    // Dragged to end 7 points short of lying beside the neighbour.
    const Rect proposed{437, 157, noteWidth, noteHeight};
    const Rect neighbours[] = {neighbour.frame.rect()};
    const Rect expected = Snap::move(proposed, neighbours, screen());
    ASSERT_NE(expected, proposed) << "the test's positions must be within snapping reach";
    ASSERT_NO_FATAL_FAILURE(drag(at(mover, headerSpot), at(mover, {headerSpot.x + 237, headerSpot.y + 7})));
    EXPECT_TRUE(settlesAt(first, expected)) << frameNow(first) << " expected " << expected << diagnostics();
}

TEST_F(NoteDrag, aTwoPixelWiggleOnTheHeaderChangesNothing) {
    const Record record = recordOn(1, 200, 150);
    seed(first, "stay", record);
    ASSERT_NO_FATAL_FAILURE(start());
    const std::string stateBefore = readFile(stateFile());
    ASSERT_NO_FATAL_FAILURE(drag(at(record, headerSpot), at(record, {headerSpot.x + 2, headerSpot.y + 2}), 2));
    // Nothing to wait for: give the program time to have acted, had it wanted to.
    EXPECT_FALSE(waitUntil([&] { return frameNow(first) != record.frame.rect(); }, pastThePagesSavePause));
    EXPECT_EQ(readFile(stateFile()), stateBefore);
}

TEST_F(NoteDrag, draggingOneOfThreeSelectedNotesMovesAllThreeAlike) {
    const Record a = recordOn(1, 100, 100), b = recordOn(1, 420, 100), c = recordOn(1, 740, 100);
    seed(first, "a", a);
    seed(second, "b", b);
    seed(third, "c", c);
    ASSERT_NO_FATAL_FAILURE(start());
    for (const auto& [id, record] : {std::pair{first, a}, std::pair{second, b}, std::pair{third, c}})
        ASSERT_NO_FATAL_FAILURE(click(at(record, headerSpot), {"shift"}));
    ASSERT_TRUE(waitUntil([&] { return selected(first) && selected(second) && selected(third); }))
        << diagnostics();

    ASSERT_NO_FATAL_FAILURE(drag(at(b, headerSpot), at(b, {headerSpot.x + 33, headerSpot.y + 251})));
    EXPECT_TRUE(settlesAt(first, {133, 351, noteWidth, noteHeight})) << frameNow(first) << diagnostics();
    EXPECT_TRUE(settlesAt(second, {453, 351, noteWidth, noteHeight})) << frameNow(second);
    EXPECT_TRUE(settlesAt(third, {773, 351, noteWidth, noteHeight})) << frameNow(third);
}

TEST_F(NoteDrag, draggingAnUnselectedNoteClearsTheSelection) {
    const Record a = recordOn(1, 100, 100), b = recordOn(1, 500, 100);
    seed(first, "a", a);
    seed(second, "b", b);
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(click(at(a, headerSpot), {"shift"}));
    ASSERT_TRUE(pageShowsSelected(first, true)) << diagnostics();
    ASSERT_NO_FATAL_FAILURE(drag(at(b, headerSpot), at(b, {headerSpot.x + 41, headerSpot.y + 203})));
    EXPECT_TRUE(pageShowsSelected(first, false)) << diagnostics();
    EXPECT_FALSE(selected(first));
    EXPECT_TRUE(settlesAt(first, a.frame.rect())) << "the unselected drag moved another note";
}

TEST_F(NoteDrag, theGripResizesWithSnappingAndStopsAtTheSmallestNote) {
    const Record record = recordOn(1, 200, 150);
    seed(first, "resize me", record);
    ASSERT_NO_FATAL_FAILURE(start());
    // Wider and taller, to a size the screen's margins and no neighbour touch.
    ASSERT_NO_FATAL_FAILURE(drag(at(record, gripSpot), at(record, {gripSpot.x + 101, gripSpot.y + 57})));
    const Rect grown{200, 150, noteWidth + 101, noteHeight + 57};
    const Rect expected = Snap::resize(grown, {}, screen());
    ASSERT_TRUE(settlesAt(first, expected)) << frameNow(first) << diagnostics();

    const Point grip{expected.maxX() - 6 - 8, expected.maxY() - 6 - 8};
    ASSERT_NO_FATAL_FAILURE(drag(grip, {grip.x - 400, grip.y - 400}));
    EXPECT_TRUE(settlesAt(first, {200, 150, Snap::minimumWidth, Snap::minimumHeight})) << frameNow(first);
}

TEST_F(NoteDrag, shiftClickOnAHeaderTogglesTheSelectionWithoutTakingTheKeyboard) {
    const Record record = recordOn(1, 200, 150);
    seed(first, "toggle", record);
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(click(at(record, headerSpot), {"shift"}));
    EXPECT_TRUE(pageShowsSelected(first, true)) << diagnostics();
    EXPECT_TRUE(selected(first));
    auto focused = client.runScript(first, "document.hasFocus()");
    EXPECT_TRUE(focused && *focused == false) << "the note took the keyboard";

    ASSERT_NO_FATAL_FAILURE(click(at(record, headerSpot), {"shift"}));
    EXPECT_TRUE(pageShowsSelected(first, false));
    EXPECT_FALSE(selected(first));
}
