// The welcome window on the X server: what it says, its size, and its keys.
#include "integration/NotePage.h"
#include "menubar/Permissions.h"
#include "platform/linux/GtkWelcomeView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace marrowleaf;
using namespace marrowleaf::testing;
using ::testing::Contains;

namespace {

class Welcome : public ::testing::Test {
protected:
    NoteDesk& desk = NoteDesk::get();
    GtkWelcomeView view{std::filesystem::path(MARROWLEAF_BINARY).parent_path() / "Resources" / "icons"};
    const WelcomeContent content = Permissions::welcomeContent();
    int allows = 0, laters = 0, footers = 0;

    void TearDown() override {
        view.close();
        settle(50ms);
    }

    WelcomeActions actions() {
        WelcomeActions a;
        a.allow = [this] { ++allows; };
        a.later = [this] {
            ++laters;
            view.close();
        };
        a.footer = [this] { ++footers; };
        return a;
    }

    XConnection& x() { return desk.session.x(); }
    xcb_window_t xid() {
        GdkWindow* window = view.widget() ? gtk_widget_get_window(view.widget()) : nullptr;
        return window ? static_cast<xcb_window_t>(gdk_x11_window_get_xid(window)) : XCB_NONE;
    }
    xcb_window_t activeWindow() {
        auto active = x().rootCardinals("_NET_ACTIVE_WINDOW");
        return active && !active->empty() ? (*active)[0] : XCB_NONE;
    }
    // Shows the window and waits until it is on screen with the keyboard.
    bool showWithKeyboard() {
        view.show(content, actions());
        return runMainContextUntil([&] { return xWindowState(x(), xid()).viewable && activeWindow() == xid(); });
    }
    void key(const std::string& keys) {
        const auto result = desk.session.run({"xdotool", "key", keys});
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }
};

void collectLabels(GtkWidget* widget, std::vector<GtkLabel*>& labels) {
    if (GTK_IS_LABEL(widget)) labels.push_back(GTK_LABEL(widget));
    if (!GTK_IS_CONTAINER(widget)) return;
    gtk_container_forall(
        GTK_CONTAINER(widget),
        [](GtkWidget* child, gpointer data) { collectLabels(child, *static_cast<std::vector<GtkLabel*>*>(data)); },
        &labels);
}

// Every label of the window: its text as a person reads it, and its markup.
std::vector<GtkLabel*> labelsOf(GtkWidget* window) {
    std::vector<GtkLabel*> labels;
    collectLabels(window, labels);
    return labels;
}

std::vector<std::string> textsOf(GtkWidget* window) {
    std::vector<std::string> texts;
    for (GtkLabel* label : labelsOf(window))
        texts.emplace_back(gtk_label_get_text(label));
    return texts;
}

std::vector<std::string> markupsOf(GtkWidget* window) {
    std::vector<std::string> markups;
    for (GtkLabel* label : labelsOf(window))
        markups.emplace_back(gtk_label_get_label(label));
    return markups;
}

GtkWidget* buttonLabelled(GtkWidget* window, const std::string& text) {
    for (GtkLabel* label : labelsOf(window)) {
        GtkWidget* parent = gtk_widget_get_parent(GTK_WIDGET(label));
        if (text == gtk_label_get_text(label) && GTK_IS_BUTTON(parent)) return parent;
    }
    return nullptr;
}

}

TEST_F(Welcome, showsEveryTextOfTheWelcome) {
    ASSERT_TRUE(showWithKeyboard());
    const auto texts = textsOf(view.widget());
    EXPECT_THAT(texts, Contains("Welcome to Marrowleaf"));
    EXPECT_THAT(texts, Contains("Optional: desktop features"));
    EXPECT_THAT(texts,
                Contains("To Alt-click the desktop for a new sticky, drag a box to select stickies, and drop "
                         "stickies on the trash, Marrowleaf needs an X11 session. It only looks at mouse clicks "
                         "on the desktop and never reads what you type."));
    EXPECT_THAT(texts, Contains("Choose an X11 session at the login screen to turn them on. Meanwhile your "
                                "desktop's keyboard settings can bind marrowleaf --new, --toggle and --search to "
                                "keys."));
    for (const auto& row : content.keys) {
        EXPECT_THAT(texts, Contains(row.keys));
        EXPECT_THAT(texts, Contains(row.description));
    }
    EXPECT_TRUE(buttonLabelled(view.widget(), "Free, always."));
    EXPECT_TRUE(buttonLabelled(view.widget(), "Later"));
    EXPECT_TRUE(buttonLabelled(view.widget(), "Learn More\u2026"));
}

TEST_F(Welcome, theExplanationsBoldPartsAreBoldAndTheKeysToo) {
    ASSERT_TRUE(showWithKeyboard());
    const auto markups = markupsOf(view.widget());
    EXPECT_THAT(markups, Contains(::testing::HasSubstr("needs an <b>X11 session</b>.")));
    EXPECT_THAT(markups, Contains("<b>Ctrl+Alt+N</b>"));
}

TEST_F(Welcome, isATitledWindow440PixelsWideCentredOnTheScreen) {
    ASSERT_TRUE(showWithKeyboard());
    EXPECT_EQ(x().text(xid(), "_NET_WM_NAME"), "Welcome to Marrowleaf");
    const Rect frame = xWindowState(x(), xid()).frame;
    EXPECT_EQ(frame.width, GtkWelcomeView::width);
    EXPECT_NEAR(frame.midX(), desk.session.options().width / 2.0, 2);
    EXPECT_NEAR(frame.midY(), desk.session.options().height / 2.0, 40);   // the title bar is above it
}

TEST_F(Welcome, escapePressesLater) {
    ASSERT_TRUE(showWithKeyboard());
    const xcb_window_t window = xid();
    key("Escape");
    EXPECT_TRUE(runMainContextUntil([&] { return laters == 1 && !view.isOpen(); }));
    EXPECT_TRUE(runMainContextUntil([&] { return !xWindowState(x(), window).viewable; }));
    EXPECT_EQ(allows, 0);
}

TEST_F(Welcome, returnPressesLearnMore) {
    ASSERT_TRUE(showWithKeyboard());
    key("Return");
    EXPECT_TRUE(runMainContextUntil([&] { return allows == 1; }));
    EXPECT_EQ(laters, 0);
    EXPECT_TRUE(view.isOpen());
}

TEST_F(Welcome, theFooterIsAButtonWithItsOwnAction) {
    ASSERT_TRUE(showWithKeyboard());
    GtkWidget* footer = buttonLabelled(view.widget(), "Free, always.");
    ASSERT_TRUE(footer);
    gtk_button_clicked(GTK_BUTTON(footer));
    EXPECT_EQ(footers, 1);
    EXPECT_EQ(allows + laters, 0);
}

TEST_F(Welcome, closingItFromTheTitleBarKeepsItAndShowingItAgainBringsTheSameWindowForward) {
    ASSERT_TRUE(showWithKeyboard());
    const xcb_window_t window = xid();
    const auto closed = desk.session.run({"wmctrl", "-i", "-c", std::to_string(window)});
    ASSERT_EQ(closed.exitCode, 0) << closed.err;
    EXPECT_TRUE(runMainContextUntil([&] { return !view.isOpen() && !xWindowState(x(), window).viewable; }));
    EXPECT_TRUE(xWindowState(x(), window).exists);

    ASSERT_TRUE(showWithKeyboard());
    EXPECT_EQ(xid(), window);
}

TEST_F(Welcome, showingItWhileItIsOpenKeepsOneWindow) {
    ASSERT_TRUE(showWithKeyboard());
    const xcb_window_t window = xid();
    ASSERT_TRUE(showWithKeyboard());
    EXPECT_EQ(xid(), window);
}
