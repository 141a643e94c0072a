// The rubber band of a box dragged on the desktop, on the X server: where it
// stands, that the window manager leaves it alone, that clicks go through it,
// and what it draws.
#include "integration/ClickThrough.h"
#include "integration/NotePage.h"
#include "integration/TestWindow.h"
#include "platform/linux/GtkSelectionBoxView.h"

#include <gtest/gtest.h>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

constexpr Rect firstBox{300, 200, 240, 160};

class SelectionBox : public ::testing::Test {
protected:
    NoteDesk& desk = NoteDesk::get();
    GtkSelectionBoxView view;

    void TearDown() override {
        view.hide();
        settle(50ms);
    }

    XConnection& x() { return desk.session.x(); }
    xcb_window_t xid() {
        GdkWindow* window = view.widget() ? gtk_widget_get_window(view.widget()) : nullptr;
        return window ? static_cast<xcb_window_t>(gdk_x11_window_get_xid(window)) : XCB_NONE;
    }
    bool standsAt(Rect box) {
        const auto state = xWindowState(x(), xid());
        return state.viewable && state.frame == box;
    }
    // Shows the band and waits until the X server has it where it was asked to be.
    bool showAt(Rect box) {
        view.show(box);
        return runMainContextUntil([&] { return standsAt(box); });
    }
    // A plain window of another program under `area`, told to report its presses.
    std::unique_ptr<TestWindow> windowBeneath(Rect area) {
        TestWindow::Options options;
        options.area = area;
        options.name = "beneath the selection box";
        auto window = std::make_unique<TestWindow>(x(), options);
        EXPECT_TRUE(window->waitUntilManaged());
        const std::uint32_t presses = XCB_EVENT_MASK_BUTTON_PRESS;
        xcb_change_window_attributes(x().get(), window->id(), XCB_CW_EVENT_MASK, &presses);
        xcb_flush(x().get());
        return window;
    }
    void click(Point point) {
        const auto result = desk.session.run({"xdotool", "mousemove", std::to_string(int(point.x)),
                                              std::to_string(int(point.y)), "click", "1"});
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }
};

// The theme's selection colour as "#rrggbb", asked of a window of its own.
std::string themeSelectionColour() {
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GdkRGBA colour{};
    const bool found = gtk_style_context_lookup_color(gtk_widget_get_style_context(window),
                                                      "theme_selected_bg_color", &colour);
    gtk_widget_destroy(window);
    if (!found) return "";
    char hex[8];
    std::snprintf(hex, sizeof hex, "#%02x%02x%02x", int(std::lround(colour.red * 255)),
                  int(std::lround(colour.green * 255)), int(std::lround(colour.blue * 255)));
    return hex;
}

}

TEST_F(SelectionBox, showsOverTheBoxAskedFor) {
    ASSERT_TRUE(showAt(firstBox));
    EXPECT_EQ(view.shownBox(), firstBox);
    EXPECT_EQ(xWindowState(x(), xid()).depth, 32);
}

TEST_F(SelectionBox, followsTheBoxStepByStep) {
    ASSERT_TRUE(showAt(firstBox));
    const xcb_window_t window = xid();
    for (const Rect step : {Rect{300, 200, 260, 170}, Rect{180, 120, 120, 80}, Rect{180, 200, 400, 1}}) {
        view.show(step);
        EXPECT_TRUE(runMainContextUntil([&] { return standsAt(step); })) << step.x << "," << step.y;
    }
    EXPECT_EQ(xid(), window);
}

TEST_F(SelectionBox, theWindowManagerNeverFramesNorFocusesIt) {
    ASSERT_TRUE(showAt(firstBox));
    XcbReply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(x().get(), xcb_get_window_attributes(x().get(), xid()), nullptr));
    ASSERT_TRUE(attributes);
    EXPECT_TRUE(attributes->override_redirect);
    EXPECT_EQ(topLevelOf(x(), xid()), xid());
}

TEST_F(SelectionBox, aClickInsideReachesTheWindowBeneath) {
    auto beneath = windowBeneath({250, 150, 400, 300});
    ASSERT_TRUE(showAt(firstBox));
    const Point centre{firstBox.midX(), firstBox.midY()};
    EXPECT_TRUE(runMainContextUntil(
        [&] { return windowTakingClicksAt(x(), centre) == topLevelOf(x(), beneath->id()); }));
    click(centre);
    EXPECT_TRUE(runMainContextUntil([&] { return pressReached(x(), beneath->id()); }));
}

TEST_F(SelectionBox, hidesAndShowsAgainElsewhere) {
    ASSERT_TRUE(showAt(firstBox));
    const xcb_window_t window = xid();
    view.hide();
    EXPECT_FALSE(view.shownBox());
    EXPECT_TRUE(runMainContextUntil([&] { return !xWindowState(x(), window).viewable; }));

    const Rect elsewhere{600, 400, 90, 60};
    ASSERT_TRUE(showAt(elsewhere));
    EXPECT_EQ(xid(), window);
}

TEST_F(SelectionBox, withoutACompositorOnlyItsEdgeIsDrawnInTheThemesSelectionColour) {
    if (gdk_screen_is_composited(gdk_screen_get_default()))
        GTEST_SKIP() << "a compositor draws the fill see-through";
    const std::string selection = themeSelectionColour();
    ASSERT_FALSE(selection.empty());
    auto beneath = windowBeneath({250, 150, 400, 300});   // white
    ASSERT_TRUE(showAt(firstBox));
    const Rect area{firstBox.x - 2, firstBox.y - 2, firstBox.width + 4, firstBox.height + 4};
    auto looksRight = [&] {
        Shot shot(x(), area);
        const int middleRow = int(area.height / 2);
        return shot.near(2, middleRow, selection) && shot.near(int(area.width) - 3, middleRow, selection) &&
               shot.near(int(area.width / 2), 2, selection) &&
               shot.near(int(area.width / 2), middleRow, "#ffffff") && shot.near(1, middleRow, "#ffffff");
    };
    EXPECT_TRUE(runMainContextUntil(looksRight))
        << "the band does not show as an edge over the window beneath";
}
