// The round trash target on the X server: where it stands, above which windows,
// on which desktops, and that clicks go through it.
#include "integration/ClickThrough.h"
#include "integration/NotePage.h"
#include "integration/TestWindow.h"
#include "platform/linux/GtkTrashTargetView.h"
#include "platform/linux/XcbAccessibility.h"

#include <gtest/gtest.h>

#include <array>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

constexpr std::uint32_t allDesktops = 0xFFFFFFFFu;
constexpr Rect targetFrame{560, 620, 96, 96};

class TrashTarget : public ::testing::Test {
protected:
    NoteDesk& desk = NoteDesk::get();
    GtkTrashTargetView view{std::filesystem::path(MARROWLEAF_BINARY).parent_path() / "Resources" / "icons"};

    void TearDown() override {
        view.hide();
        settle(50ms);
    }

    XConnection& x() { return desk.session.x(); }
    xcb_window_t xid() {
        GdkWindow* window = view.widget() ? gtk_widget_get_window(view.widget()) : nullptr;
        return window ? static_cast<xcb_window_t>(gdk_x11_window_get_xid(window)) : XCB_NONE;
    }
    // Shows the target and waits until the X server has it where it was asked to be.
    bool showAt(Rect frame) {
        view.show(frame);
        return runMainContextUntil([&] {
            const auto state = xWindowState(x(), xid());
            return state.viewable && state.frame == frame;
        });
    }
    bool hasState(const std::string& state) { return hasAtom(x(), xid(), "_NET_WM_STATE", state); }
    std::optional<std::uint32_t> desktop() {
        auto value = x().cardinals(xid(), "_NET_WM_DESKTOP");
        if (!value || value->empty()) return std::nullopt;
        return value->front();
    }
    void xdotool(const std::vector<std::string>& arguments) {
        std::vector<std::string> argv{"xdotool"};
        argv.insert(argv.end(), arguments.begin(), arguments.end());
        const auto result = desk.session.run(argv);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }
};

}

TEST_F(TrashTarget, showsAtTheFrameAskedFor) {
    ASSERT_TRUE(showAt(targetFrame));
    EXPECT_EQ(view.shownFrame(), targetFrame);
    EXPECT_EQ(xWindowState(x(), xid()).depth, 32);
}

TEST_F(TrashTarget, isKeptAboveOtherWindowsOnEveryDesktop) {
    ASSERT_TRUE(showAt(targetFrame));
    EXPECT_TRUE(runMainContextUntil([&] { return hasState("_NET_WM_STATE_ABOVE") && desktop() == allDesktops; }))
        << "desktop " << desktop().value_or(0);
    EXPECT_TRUE(hasState("_NET_WM_STATE_SKIP_TASKBAR"));
    EXPECT_TRUE(hasState("_NET_WM_STATE_SKIP_PAGER"));
}

TEST_F(TrashTarget, neverTakesTheKeyboard) {
    ASSERT_TRUE(showAt(targetFrame));
    auto hints = x().cardinals(xid(), "WM_HINTS");
    ASSERT_TRUE(hints && hints->size() >= 2);
    EXPECT_TRUE((*hints)[0] & 1u);   // the input hint is given…
    EXPECT_EQ((*hints)[1], 0u);      // …and says no
}

TEST_F(TrashTarget, aClickAtItsCentreReachesTheWindowBeneath) {
    TestWindow::Options under;
    under.area = {500, 560, 220, 220};
    under.name = "beneath the trash target";
    TestWindow beneath(x(), under);
    ASSERT_TRUE(beneath.waitUntilManaged());
    const std::uint32_t presses = XCB_EVENT_MASK_BUTTON_PRESS;
    xcb_change_window_attributes(x().get(), beneath.id(), XCB_CW_EVENT_MASK, &presses);
    xcb_flush(x().get());
    ASSERT_TRUE(showAt(targetFrame));
    ASSERT_TRUE(runMainContextUntil([&] { return hasState("_NET_WM_STATE_ABOVE"); }));
    // The window manager's frame around the target takes the target's shape a moment after it is mapped.
    const Point centre{targetFrame.midX(), targetFrame.midY()};
    const xcb_window_t target = topLevelOf(x(), xid());
    EXPECT_TRUE(runMainContextUntil([&] { return windowTakingClicksAt(x(), centre) == topLevelOf(x(), beneath.id()); }))
        << "the target's frame 0x" << std::hex << target << " takes the clicks";

    xdotool({"mousemove", std::to_string(int(targetFrame.midX())), std::to_string(int(targetFrame.midY())),
             "click", "1"});
    EXPECT_TRUE(runMainContextUntil([&] { return pressReached(x(), beneath.id()); }));
}

TEST_F(TrashTarget, hidesAndShowsAgainElsewhereStillAboveOnEveryDesktop) {
    ASSERT_TRUE(showAt(targetFrame));
    const xcb_window_t window = xid();
    view.hide();
    EXPECT_FALSE(view.shownFrame());
    EXPECT_TRUE(runMainContextUntil([&] { return !xWindowState(x(), window).viewable; }));

    const Rect elsewhere{200, 300, 80, 80};
    ASSERT_TRUE(showAt(elsewhere));
    EXPECT_EQ(xid(), window);
    EXPECT_TRUE(runMainContextUntil([&] { return hasState("_NET_WM_STATE_ABOVE") && desktop() == allDesktops; }));
}

TEST_F(TrashTarget, lightsUpRedAndGoesDarkAgain) {
    ASSERT_TRUE(showAt(targetFrame));
    // Left of the icon, inside the circle.
    const Rect spot{targetFrame.x + targetFrame.width * 0.15, targetFrame.midY(), 1, 1};
    auto channels = [&] {
        Shot shot(x(), spot);
        const std::string colour = shot.at(0, 0);
        std::array<int, 3> rgb{-1, -1, -1};
        if (colour.size() != 7) return rgb;
        for (int i = 0; i < 3; ++i)
            rgb[i] = std::stoi(colour.substr(1 + 2 * i, 2), nullptr, 16);
        return rgb;
    };
    auto dark = [&] {
        const auto [red, green, blue] = channels();
        return red >= 0 && red < 70 && green < 70 && blue < 70;
    };
    auto red = [&] {
        const auto [r, g, b] = channels();
        return r > 150 && g < 80 && b < 80;
    };
    EXPECT_TRUE(runMainContextUntil(dark)) << "the target is not dark at rest";
    view.setLit(true);
    EXPECT_TRUE(view.lit());
    EXPECT_TRUE(runMainContextUntil(red)) << "the lit target is not red";
    view.setLit(false);
    EXPECT_TRUE(runMainContextUntil(dark)) << "the target stays lit";
}

TEST_F(TrashTarget, theDesktopProbesAnswerItsFrameWhileItIsShown) {
    XcbConnection connection(desk.session.display());
    XcbAccessibility accessibility(connection);
    accessibility.setTrashTarget([this] { return view.shownFrame(); });
    EXPECT_FALSE(accessibility.trashTarget());
    ASSERT_TRUE(showAt(targetFrame));
    EXPECT_EQ(accessibility.trashTarget(), targetFrame);
    view.hide();
    EXPECT_FALSE(accessibility.trashTarget());
}

