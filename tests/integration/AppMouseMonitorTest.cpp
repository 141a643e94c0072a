// The left button in the program's own note windows, seen before the page
// gets it: real clicks and drags through the X server (xdotool) on note
// windows of the shared test desk.
#include "integration/MouseEventPrint.h"
#include "integration/NotePage.h"

#include "platform/linux/GdkAppMouseMonitor.h"
#include "platform/linux/XcbConnection.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

constexpr Rect noteFrame{300, 200, 260, 220};
constexpr Point inNote{400, 300};

class AppMouse : public NotePage {
protected:
    // Made after the desk, gone before the next test: GTK dispatches alone again.
    GdkAppMouseMonitor monitor;
    std::vector<MouseEvent> seen;
    MouseAnswer pressAnswer = MouseAnswer::pass;

    void SetUp() override {
        monitor.start([this](const MouseEvent& event) {
            seen.push_back(event);
            return event.kind == MouseEvent::Kind::press ? pressAnswer : MouseAnswer::pass;
        });
    }

    Point pointerNow() {
        XConnection& x = desk.session.x();
        XcbReply<xcb_query_pointer_reply_t> pointer(
            xcb_query_pointer_reply(x.get(), xcb_query_pointer(x.get(), x.root()), nullptr));
        return pointer ? Point{double(pointer->root_x), double(pointer->root_y)} : Point{-1, -1};
    }

    void moveTo(Point to) {
        xdotool({"mousemove", std::to_string(int(to.x)), std::to_string(int(to.y))});
        ASSERT_TRUE(runMainContextUntil([&] { return pointerNow() == to; })) << "the pointer never got to " << to;
    }

    bool waitForEvents(std::size_t count) {
        return runMainContextUntil([&] { return seen.size() >= count; });
    }

    // GDK may fold several steps into the latest one; the latest is what counts.
    bool waitForDragTo(Point to) {
        return runMainContextUntil([&] {
            return !seen.empty() && seen.back() == MouseEvent{MouseEvent::Kind::drag, to, 0};
        });
    }

    // Where in the page each press the page gets from now on lands.
    void recordPagePresses(StickyController& note) {
        evaluate(view(note), "window.pressesSeen = [];"
                             "document.addEventListener('mousedown', e => window.pressesSeen.push(e.clientX), true);"
                             "true");
    }
    json pagePresses(StickyController& note) { return evaluate(view(note), "window.pressesSeen").value_or(json()); }
};

}

TEST_F(AppMouse, aPressADragAndTheReleaseInANoteAreReportedInScreenCoordinates) {
    openShown("x", recordAt(noteFrame));
    moveTo(inNote);

    xdotool({"mousedown", "1"});
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_EQ(seen[0], (MouseEvent{MouseEvent::Kind::press, inNote, 0}));

    xdotool({"mousemove", "450", "340"});
    EXPECT_TRUE(waitForDragTo({450, 340}));
    // The steps keep coming once the pointer has left the note.
    xdotool({"mousemove", "800", "600"});
    EXPECT_TRUE(waitForDragTo({800, 600}));

    xdotool({"mouseup", "1"});
    ASSERT_TRUE(runMainContextUntil([&] { return seen.back().kind == MouseEvent::Kind::release; }));
    EXPECT_EQ(seen.back(), (MouseEvent{MouseEvent::Kind::release, {800, 600}, 0}));
}

TEST_F(AppMouse, theModifiersHeldWithAPressAreReported) {
    openShown("x", recordAt(noteFrame));
    moveTo(inNote);
    xdotool({"keydown", "shift", "keydown", "ctrl", "click", "1", "keyup", "ctrl", "keyup", "shift"});
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_EQ(seen[0], (MouseEvent{MouseEvent::Kind::press, inNote, MouseModifiers::shift | MouseModifiers::control}));
}

TEST_F(AppMouse, aSwallowedPressNeverReachesThePage) {
    StickyController& note = openShown("x", recordAt(noteFrame));
    recordPagePresses(note);
    moveTo(inNote);
    pressAnswer = MouseAnswer::swallow;
    xdotool({"click", "1"});
    ASSERT_TRUE(waitForEvents(2));

    // A press let through a little to the right reaches the page; had the
    // first one reached it, the page would have heard that one before.
    const Point passed{inNote.x + 20, inNote.y};
    moveTo(passed);
    pressAnswer = MouseAnswer::pass;
    xdotool({"click", "1"});
    const json passedOnly = json::array({passed.x - noteFrame.x});
    ASSERT_TRUE(runMainContextUntil([&] { return !pagePresses(note).empty(); })) << "the page got no press at all";
    EXPECT_EQ(pagePresses(note), passedOnly);
}

TEST_F(AppMouse, aPressInAnotherWindowOfTheProgramIsNotReported) {
    openShown("x", recordAt(noteFrame));
    GtkWidget* other = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_move(GTK_WINDOW(other), 700, 100);
    gtk_window_set_default_size(GTK_WINDOW(other), 200, 150);
    gtk_widget_show(other);
    const auto otherWindow = static_cast<xcb_window_t>(GDK_WINDOW_XID(gtk_widget_get_window(other)));
    ASSERT_TRUE(runMainContextUntil([&] { return xWindowState(desk.session.x(), otherWindow).viewable; }));
    const Rect shown = xWindowState(desk.session.x(), otherWindow).frame;

    moveTo(shown.centre());
    xdotool({"click", "1"});
    moveTo(inNote);   // the note's click comes after the other window's, had that been reported
    xdotool({"click", "1"});
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_EQ(seen[0], (MouseEvent{MouseEvent::Kind::press, inNote, 0}));
    EXPECT_EQ(seen[1].kind, MouseEvent::Kind::release);
    gtk_widget_destroy(other);
}
