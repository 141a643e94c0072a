// The note window on the X server: its kind, frame, order, focus and the first click.
#include "integration/NotePage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace marrowleaf;
using namespace marrowleaf::testing;
namespace fs = std::filesystem;

// ---------------------------------------------------------------- the note window

TEST_F(NotePage, isAn32BitUndecoratedWindowOutOfTaskBarsAndPagers) {
    StickyController& note = openShown("x");
    XConnection& x = desk.session.x();
    EXPECT_EQ(xWindowState(x, xid(note)).depth, 32);
    EXPECT_TRUE(hasAtom(x, xid(note), "_NET_WM_STATE", "_NET_WM_STATE_SKIP_TASKBAR"));
    EXPECT_TRUE(hasAtom(x, xid(note), "_NET_WM_STATE", "_NET_WM_STATE_SKIP_PAGER"));
    auto motif = x.cardinals(xid(note), "_MOTIF_WM_HINTS");
    ASSERT_TRUE(motif && motif->size() >= 3);
    EXPECT_TRUE((*motif)[0] & 2u);   // decorations given…
    EXPECT_EQ((*motif)[2], 0u);      // …and there are none
}

TEST_F(NotePage, hasItsWindowNumberBeforeItIsFirstShown) {
    StickyController& note = openLoaded("x");
    ASSERT_NE(note.window().windowNumber(), 0);
    const auto state = xWindowState(desk.session.x(), xid(note));
    EXPECT_TRUE(state.exists);
    EXPECT_FALSE(state.viewable);
}

TEST_F(NotePage, showsAtItsFrameAndMovesWhenTheFrameIsSet) {
    StickyController& note = openShown("x", recordAt({300, 200, 280, 240}));
    EXPECT_EQ(xWindowState(desk.session.x(), xid(note)).frame, (Rect{300, 200, 280, 240}));
    note.window().setFrame({420, 260, 300, 250});
    EXPECT_EQ(note.window().frame(), (Rect{420, 260, 300, 250}));
    EXPECT_TRUE(runMainContextUntil([&] {
        return xWindowState(desk.session.x(), xid(note)).frame == Rect{420, 260, 300, 250};
    }));
    settle(100ms);
    EXPECT_EQ(note.window().frame(), (Rect{420, 260, 300, 250}));
}

TEST_F(NotePage, keepsTheFrameAskedForWhileTheWindowManagerPlacesTheWindow) {
    StickyController& note = openLoaded("x", recordAt({340, 230, 260, 220}));
    note.window().orderFront();
    std::vector<Rect> seen;
    runMainContextUntil(
        [&] {
            seen.push_back(note.window().frame());
            return false;
        },
        600ms);
    EXPECT_TRUE(xWindowState(desk.session.x(), xid(note)).viewable);
    for (const Rect& frame : seen)
        ASSERT_EQ(frame, (Rect{340, 230, 260, 220}));
}

TEST_F(NotePage, ordersOutAndBackIn) {
    StickyController& note = openShown("x");
    note.window().orderOut();
    EXPECT_TRUE(runMainContextUntil([&] { return !xWindowState(desk.session.x(), xid(note)).viewable; }));
    EXPECT_TRUE(show(note));
}

TEST_F(NotePage, closingHidesTheWindowWithoutDestroyingIt) {
    StickyController& note = openShown("x");
    const auto number = note.window().windowNumber();
    note.close();
    EXPECT_TRUE(runMainContextUntil([&] { return !xWindowState(desk.session.x(), xid(note)).viewable; }));
    settle(100ms);
    EXPECT_TRUE(xWindowState(desk.session.x(), static_cast<xcb_window_t>(number)).exists);
    EXPECT_EQ(note.window().windowNumber(), number);
}

TEST_F(NotePage, aPinnedNoteStaysAboveOtherWindows) {
    StickyController& pinned = openShown("x", recordAt({200, 150, 260, 220}, "yellow", true));
    StickyController& plain = openShown("y", recordAt({500, 150, 260, 220}));
    XConnection& x = desk.session.x();
    EXPECT_TRUE(hasAtom(x, xid(pinned), "_NET_WM_STATE", "_NET_WM_STATE_ABOVE"));
    EXPECT_FALSE(hasAtom(x, xid(plain), "_NET_WM_STATE", "_NET_WM_STATE_ABOVE"));
    pinned.window().setLevel(WindowLevel::normal);
    EXPECT_TRUE(runMainContextUntil(
        [&] { return !hasAtom(x, xid(pinned), "_NET_WM_STATE", "_NET_WM_STATE_ABOVE"); }));
    EXPECT_EQ(pinned.window().level(), WindowLevel::normal);
}

TEST_F(NotePage, aDraggedNoteIsKeptAboveAndRaisedOverTheOthers) {
    StickyController& dragged = openShown("x", recordAt({200, 150, 260, 220}));
    StickyController& pinned = openShown("y", recordAt({300, 200, 260, 220}, "yellow", true));
    XConnection& x = desk.session.x();
    dragged.window().setLevel(StickyController::levelDrag);
    EXPECT_TRUE(runMainContextUntil([&] {
        auto stacking = x.rootCardinals("_NET_CLIENT_LIST_STACKING");
        return hasAtom(x, xid(dragged), "_NET_WM_STATE", "_NET_WM_STATE_ABOVE") && stacking &&
               !stacking->empty() && stacking->back() == xid(dragged);
    }));
    (void)pinned;
}

TEST_F(NotePage, alphaZeroMakesTheWindowFullyTransparent) {
    StickyController& note = openShown("x");
    XConnection& x = desk.session.x();
    note.window().setAlpha(0);
    EXPECT_TRUE(runMainContextUntil([&] {
        auto opacity = x.cardinals(xid(note), "_NET_WM_WINDOW_OPACITY");
        return opacity && !opacity->empty() && (*opacity)[0] == 0;
    }));
    note.window().setAlpha(1);
    EXPECT_TRUE(runMainContextUntil([&] {
        auto opacity = x.cardinals(xid(note), "_NET_WM_WINDOW_OPACITY");
        return !opacity || opacity->empty() || (*opacity)[0] == 0xffffffffu;
    }));
}

// ---------------------------------------------------------------- focus and the first click

TEST_F(NotePage, focusMakesTheNoteTheActiveWindowAndTypingReachesThePage) {
    StickyController& note = openShown("", defaultRecord(), true);
    EXPECT_TRUE(focus(note));
    type("abc");
    key("Escape");
    EXPECT_TRUE(waitForSave("abc"));
}

TEST_F(NotePage, theFirstClickOnANoteOfABackgroundApplicationActivatesItAndReachesThePage) {
    StickyController& note = openShown("hello");
    ChildProcess::Options otherProgram;
    otherProgram.argv = {"xmessage", "-geometry", "+700+500", "another program"};
    otherProgram.environment = inheritedEnvironment(desk.session.environment());
    ChildProcess other(otherProgram);
    xcb_window_t otherWindow = XCB_NONE;
    ASSERT_TRUE(runMainContextUntil([&] {
        otherWindow = activeWindow();
        auto windowClass =
            otherWindow == XCB_NONE ? std::nullopt : desk.session.x().text(otherWindow, "WM_CLASS");
        return windowClass && windowClass->find("xmessage") != std::string::npos;
    })) << "the other program did not take the focus";
    received.clear();
    ASSERT_TRUE(click(note, selector(element::view)));
    EXPECT_TRUE(runMainContextUntil([&] { return activeWindow() == xid(note); }))
        << "active " << activeWindow() << ", note " << xid(note) << ", other " << otherWindow;
    EXPECT_TRUE(waitForMessage(page::message::focus));
    EXPECT_TRUE(
        runMainContextUntil([&] { return run(note, "document.activeElement.id") == element::editor; }));
}
