#pragma once
#include "geometry/Rect.h"

#include <cstdint>
#include <functional>

namespace marrowleaf {

// The modifiers held with a mouse event, combined with `|`. Lock keys
// (Caps Lock, Num Lock) are never among them.
struct MouseModifiers {
    static constexpr std::uint32_t shift = 1u << 0;
    static constexpr std::uint32_t control = 1u << 1;
    static constexpr std::uint32_t alt = 1u << 2;
    static constexpr std::uint32_t super = 1u << 3;
};

// One left-button event: the press, each pointer step while the button is
// held, and the release.
struct MouseEvent {
    enum class Kind { press, drag, release };
    Kind kind = Kind::press;
    Point point;                   // global top-left points
    std::uint32_t modifiers = 0;   // `MouseModifiers`

    bool operator==(const MouseEvent&) const = default;
};

// What a watcher does with an event: lets it go on to its window, or takes it
// so that window never sees it.
enum class MouseAnswer { pass, swallow };

// Left-button events anywhere on the desktop, seen before the program under
// the pointer gets them.
class MouseTap {
public:
    using Handler = std::function<MouseAnswer(const MouseEvent& event)>;
    virtual ~MouseTap() = default;

    // Starts watching: `handler` is called on the main queue's thread for
    // every left-button event from now on. False, with nothing watched, when
    // the desktop does not let the program see its clicks now (no X11 session,
    // no XInput 2.2, or another program holds the Alt-click); it may be tried
    // again later. Once started, later calls return true and change nothing.
    //
    // Only a press held with Alt alone can be swallowed, and swallowing it
    // takes its release too; every other event is seen, never taken, and the
    // answer to it is ignored. The pointer is frozen until an Alt press is
    // answered, so the handler answers within a few milliseconds.
    virtual bool start(Handler handler) = 0;
    virtual bool started() const = 0;
};

// Left-button events in the program's own windows, before the window's page
// gets them.
class AppMouseMonitor {
public:
    using Handler = std::function<MouseAnswer(const MouseEvent& event)>;
    virtual ~AppMouseMonitor() = default;

    // `handler` is called on the main queue's thread for each press in a note
    // window, each pointer step while the button is held after such a press
    // (wherever the pointer is), and the release. A swallowed event never
    // reaches the page.
    virtual void start(Handler handler) = 0;
};

// The round target that deletes the notes dropped on it while notes are
// moved: above every window, on every desktop, letting clicks through.
class TrashTargetView {
public:
    virtual ~TrashTargetView() = default;
    // Shows the target in `frame` (global top-left points), not lit.
    virtual void show(Rect frame) = 0;
    // Lit while the pointer holds notes over it.
    virtual void setLit(bool lit) = 0;
    virtual void hide() = 0;
};

// The rubber band of a box dragged on the bare desktop: a translucent
// rectangle above every window, on every desktop, letting clicks through.
class SelectionBoxView {
public:
    virtual ~SelectionBoxView() = default;
    // Shows the band over `box` (global top-left points), or moves it there
    // when it is shown already; called at every pointer step.
    virtual void show(Rect box) = 0;
    virtual void hide() = 0;
};

}
