#pragma once
#include "platform/Subscription.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace marrowleaf {

// A desktop's id as the window server names it; 0 means unknown.
using SpaceId = std::uint64_t;
// A top-level window's number as the window server names it (the note window's
// `windowNumber`).
using WindowNumber = std::int64_t;

// One desktop of a display, with every field as the window server gave it:
// absent fields are left empty rather than guessed, so the reader decides the
// fallbacks in one place.
struct SpaceDescription {
    std::optional<SpaceId> managedSpaceId;   // the desktop's id
    std::optional<SpaceId> id64;             // an older name for the id, read when the first is absent
    std::optional<std::int64_t> type;        // 0 or absent: an ordinary desktop; anything else, e.g. full screen

    bool operator==(const SpaceDescription&) const = default;
};

// One display's desktops, in the order the user sees them (left to right).
struct DisplayDescription {
    // The display's UUID text (as `Screen::uuid`), or `mainDisplay` when all
    // displays share one set of desktops; empty when absent.
    std::string identifier;
    std::vector<SpaceDescription> spaces;
    // The id of the desktop the display is showing now, when known.
    std::optional<SpaceId> currentSpace;

    bool operator==(const DisplayDescription&) const = default;
};

// The window server's desktops and which desktop each window is on.
class WindowServer {
public:
    using Handler = std::function<void()>;
    virtual ~WindowServer() = default;

    // The identifier of the display that stands for all displays when they
    // share one set of desktops; the reader replaces it with the primary
    // display's UUID.
    static constexpr const char* mainDisplay = "Main";
    // The desktop kind of an ordinary desktop. A display whose focused window
    // is full screen shows a desktop of another kind (`fullScreenType`).
    static constexpr std::int64_t ordinaryType = 0;
    static constexpr std::int64_t fullScreenType = 4;

    // Every display with its desktops, in the window server's order. Nothing
    // when the window server could not be asked or gave no usable answer.
    virtual std::optional<std::vector<DisplayDescription>> describeDisplays() const = 0;
    // The desktop that has the keyboard focus now (a full-screen desktop when a
    // full-screen window is focused); 0 when unknown.
    virtual SpaceId focusedSpace() const = 0;
    // Every desktop the window is on, shown or not, in any order; empty when the
    // window is unknown or on none. A window on all desktops lists them all.
    virtual std::vector<SpaceId> spacesOfWindow(WindowNumber window) const = 0;
    // The window server's answer to a move: whether it put the window there.
    using Moved = std::function<void(bool moved)>;
    // Asks the window server to put the window on `space` and on no other
    // desktop, and answers through `moved`, once: true when the window server
    // itself reports the window there (never our own word for it), false when
    // it has not after a bounded wait and retries. The answer may come at once
    // or later, from the main queue. A second request for a window overtakes
    // the first, which is answered false. No answer comes after the window
    // server is gone.
    virtual void putWindowOnSpace(WindowNumber window, SpaceId space, Moved moved) = 0;
    // Asks the window server to bring an ordinary desktop to the front; a
    // change it makes is announced to `watchActiveSpace` as usual.
    virtual void showSpace(SpaceId space) = 0;
    // The top-level windows on screen, the frontmost first, ours and other
    // programs'; empty when the window server cannot tell.
    virtual std::vector<WindowNumber> frontToBack() const = 0;
    // Calls `handler` after the focused or a shown desktop changed.
    virtual std::unique_ptr<Subscription> watchActiveSpace(Handler handler) = 0;
};

}
