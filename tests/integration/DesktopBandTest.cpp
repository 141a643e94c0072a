// The rubber band of a box dragged on the desktop, in the real program on
// Xvfb with openbox, driven by xdotool: drawn over the bare root while the
// button is held, gone at the release, and left to a desktop program that
// draws the desktop itself.
#include "integration/RegistrySession.h"
#include "integration/TestWindow.h"

#include <string>
#include <vector>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

const std::string first = "sticky-20240101-090000";
const std::string second = "sticky-20240101-090100";

// From below-left of the first note up into the second.
constexpr int pressX = 60, pressY = 500;
constexpr int dragX = 400, dragY = -200;
constexpr int steps = 10;

class DesktopBand : public RegistrySession {
protected:
    void SetUp() override {
        seed(first, "a", recordOn(1, 100, 100));
        seed(second, "b", recordOn(1, 400, 100));
    }

    void run(const std::vector<std::string>& command) {
        const CommandResult result = session.run(command);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    // Presses at the box's corner and drags to the opposite one, keeping the
    // button down. Relative moves, a command each: those are what the
    // desktop's raw pointer events report.
    void dragBoxAndHold() {
        run({"xdotool", "mousemove", std::to_string(pressX), std::to_string(pressY), "mousedown", "1"});
        for (int step = 1; step <= steps; ++step)
            run({"xdotool", "mousemove_relative", "--", std::to_string(dragX / steps),
                 std::to_string(dragY / steps)});
    }

    void release() { run({"xdotool", "mouseup", "1"}); }

    // Whether one of our unmanaged windows covers exactly the dragged box.
    bool bandOverTheBox() {
        const auto shown = overrideRedirectWindowsOf(x(), app.pid());
        return std::ranges::any_of(shown, [](const Pill& window) {
            return window.x == pressX && window.y == pressY + dragY && window.width == dragX &&
                   window.height == -dragY;
        });
    }

    bool isSelected(const std::string& id) {
        auto selected = [](const json& note) { return note["selected"] == true; };
        return waitForNote(id, selected, 3s).has_value();
    }
};

}

TEST_F(DesktopBand, aBoxDraggedOnTheBareDesktopShowsTheBandUntilTheButtonIsReleased) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(dragBoxAndHold());
    EXPECT_TRUE(waitUntil([&] { return bandOverTheBox(); }, 5s, 10ms)) << diagnostics();
    ASSERT_NO_FATAL_FAILURE(release());
    EXPECT_TRUE(waitUntil([&] { return overrideRedirectWindowsOf(x(), app.pid()).empty(); }, 5s, 10ms))
        << "the band stays after the release";
    EXPECT_TRUE(isSelected(first) && isSelected(second)) << diagnostics();
}

TEST_F(DesktopBand, overADesktopProgramsBackgroundTheBoxSelectsButDrawsNoBand) {
    TestWindow::Options options;
    options.area = {0, 0, double(session.options().width), double(session.options().height)};
    options.types = {"_NET_WM_WINDOW_TYPE_DESKTOP"};
    options.name = "a desktop program's desktop";
    TestWindow desktop(x(), options);
    ASSERT_TRUE(desktop.waitUntilManaged());
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(dragBoxAndHold());
    // Once the box has selected, the program has seen the steps of the drag.
    EXPECT_TRUE(isSelected(first) && isSelected(second)) << diagnostics();
    EXPECT_FALSE(bandOverTheBox());
    EXPECT_TRUE(overrideRedirectWindowsOf(x(), app.pid()).empty());
    ASSERT_NO_FATAL_FAILURE(release());
}
