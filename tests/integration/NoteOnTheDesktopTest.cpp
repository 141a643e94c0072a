// How a note looks on the desktop, with and without a compositor.
#include "integration/NotePage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace marrowleaf;
using namespace marrowleaf::testing;
namespace fs = std::filesystem;

// ---------------------------------------------------------------- how it looks on the desktop

namespace {

// Points of a note window, relative to its frame, and what they should show.
struct Probe {
    const char* where;
    double x, y;   // from the frame's left / top; negative counts from the right / bottom
    bool onNote;   // the note's body (else the desktop behind the margin)
};

const Probe probes[] = {
    {"top-left corner of the window", 1, 1, false},
    {"inside the rounded top-left corner of the note", 7, 7, false},
    {"left margin", 2, 110, false},
    {"right margin", -3, 110, false},
    {"bottom margin", 130, -1, false},
    {"bottom-right corner of the window", -2, -2, false},
    {"note body", 130, -24, true},
    {"note body near its left edge", 9, 150, true},
};

Point probePoint(const Probe& probe, Rect frame) {
    return {probe.x >= 0 ? frame.x + probe.x : frame.maxX() + probe.x,
            probe.y >= 0 ? frame.y + probe.y : frame.maxY() + probe.y};
}

}

class NoteOnTheDesktop : public NotePage {
protected:
    // Waits until the screen shows the note's body colour, and in its margin
    // what the bare desktop shows just beside the window.
    bool looksRight(StickyController& note, const std::string& bodyColour, std::string& failure) {
        const Rect frame = note.window().frame();
        const bool right = runMainContextUntil([&] {
            const std::string desktop = Shot(desk.session.x(), {frame.x - 3, frame.midY(), 1, 1}).at(0, 0);
            Shot shot(desk.session.x(), frame);
            failure.clear();
            for (const auto& probe : probes) {
                const Point p = probePoint(probe, Rect{0, 0, frame.width, frame.height});
                const std::string wanted = probe.onNote ? bodyColour : desktop;
                if (!shot.near(int(p.x), int(p.y), wanted))
                    failure += std::string(probe.where) + " shows " + shot.at(int(p.x), int(p.y)) + ", not " +
                               wanted + "; ";
            }
            return failure.empty();
        });
        if (!right) {
            std::ostringstream where;
            where << "(frame " << note.window().frame() << ", on the X server "
                  << xWindowState(desk.session.x(), xid(note)).frame << ") ";
            failure = where.str() + failure;
        }
        return right;
    }

    bool composited() { return gdk_screen_is_composited(gdk_screen_get_default()); }
};

TEST_F(NoteOnTheDesktop, withoutACompositorTheMarginShowsTheDesktopAndNotABlackFrame) {
    ASSERT_FALSE(composited());
    StickyController& note = openShown("A note on a plain X server");

    std::string failure;
    EXPECT_TRUE(looksRight(note, "#fff4a3", failure)) << failure;
}

TEST_F(NoteOnTheDesktop, withoutACompositorAClickInTheMarginDoesNotReachThePage) {
    ASSERT_FALSE(composited());
    StickyController& note = openShown("x");
    const Rect frame = note.window().frame();
    clickAt({frame.x + 2, frame.y + 110});
    settle(400ms);
    EXPECT_TRUE(messagesOfType(page::message::focus).empty());
    clickAt({frame.x + 40, frame.y + 110});
    EXPECT_TRUE(waitForMessage(page::message::focus));
}

TEST_F(NoteOnTheDesktop, underACompositorEveryColourShowsWithATransparentMargin) {
    ChildProcess::Options compositor;
    compositor.argv = {"xcompmgr"};
    compositor.environment = inheritedEnvironment(desk.session.environment());
    ChildProcess xcompmgr(compositor);
    ASSERT_TRUE(runMainContextUntil([&] { return composited(); })) << "xcompmgr did not start compositing";

    const std::vector<std::string> texts = {
        "# Groceries\n\n- [x] oat milk\n- [ ] coffee beans\n- [ ] lemons",
        "**Call Sam** about the\nweekend bike trip",
        "## Ideas\n\n1. Plant herbs\n2. Fix the bike\n3. Read *Dune*",
        "Standup at **10:30**\n\n> bring the numbers",
        "`git rebase -i HEAD~3`\n\nthen push with `--force-with-lease`",
        "Night mode\n\n[the docs](https://example.org/)",
    };
    const auto& palette = StickyColor::all();
    constexpr double width = 260, height = 220, gap = 24, left = 40, top = 40;
    for (std::size_t i = 0; i < palette.size(); ++i) {
        const Rect frame{left + (i % 3) * (width + gap), top + (i / 3) * (height + gap), width, height};
        openShown(texts[i], recordAt(frame, palette[i].name));
    }
    for (std::size_t i = 0; i < palette.size(); ++i) {
        std::string failure;
        EXPECT_TRUE(looksRight(*notes[i], palette[i].bg, failure)) << palette[i].name << ": " << failure;
    }
    // With MARROWLEAF_SCREENSHOTS set to a folder, the picture is kept there as
    // colors.png (docs/colors.png is made this way).
    if (const char* folder = std::getenv("MARROWLEAF_SCREENSHOTS")) {
        xdotool({"mousemove", "1", "1"});   // no note shows its hover look
        settle(500ms);
        Shot shot(desk.session.x(), {left - gap, top - gap, 3 * width + 4 * gap, 2 * height + 3 * gap});
        EXPECT_TRUE(shot.save(fs::path(folder) / "colors.png"));
    }
    notes.clear();
    xcompmgr.stop();
    EXPECT_TRUE(runMainContextUntil([&] { return !composited(); }));
}

TEST_F(NoteOnTheDesktop, whenTheCompositorGoesTheNoteIsShapedAgain) {
    ChildProcess::Options compositor;
    compositor.argv = {"xcompmgr"};
    compositor.environment = inheritedEnvironment(desk.session.environment());
    auto xcompmgr = std::make_unique<ChildProcess>(compositor);
    ASSERT_TRUE(runMainContextUntil([&] { return composited(); }));
    StickyController& note = openShown("x", recordAt({300, 200, 260, 220}, "blue"));
    std::string failure;
    EXPECT_TRUE(looksRight(note, "#cfe6ff", failure)) << failure;
    xcompmgr->stop();
    ASSERT_TRUE(runMainContextUntil([&] { return !composited(); }));
    EXPECT_TRUE(looksRight(note, "#cfe6ff", failure)) << failure;
}
