#pragma once
#include "platform/WindowServer.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace marrowleaf {

// One desktop of a display, with its kind (0 for an ordinary desktop).
struct SpaceEntry {
    SpaceId id = 0;
    std::int64_t type = 0;

    bool operator==(const SpaceEntry&) const = default;
};

// A display's desktops as the window server lists them, left to right.
struct DisplaySpaces {
    std::string display;              // the display's UUID; empty when unknown
    std::vector<SpaceEntry> spaces;   // every desktop, full-screen ones included
    SpaceId current = 0;              // the desktop shown now; 0 when unknown

    // The ordinary desktops, in order: the ones a user counts as "desktop 1, 2…".
    std::vector<SpaceId> userSpaces() const;

    bool operator==(const DisplaySpaces&) const = default;
};

// The system's model of the desktops of every display: which desktops each has,
// which one each shows, and which desktop a window is on. The model changes
// only in `update()`; a failed update keeps the last good one.
struct Spaces {
    // Re-reads every display's desktops from the window server.
    static void update();
    // Back to the state before the first update, for a newly installed platform.
    static void reset();

    // Every display, in the window server's order; empty before the first update.
    static const std::vector<DisplaySpaces>& displays();
    // The desktop each display shows now (0 for a display that did not say).
    static const std::set<SpaceId>& active();

    // The first display with that UUID, compared without regard to case.
    static std::optional<DisplaySpaces> display(std::string_view uuid);
    // The kind of the first desktop with that id, across all displays.
    static std::optional<std::int64_t> typeOf(SpaceId space);
    // Every desktop the window is on, shown or not.
    static std::vector<SpaceId> spacesForWindow(WindowNumber window);
    // Puts the window on exactly `space`; `done` hears true when the window
    // server reports it there and then lists it on that desktop and no other.
    static void move(WindowNumber window, SpaceId space, WindowServer::Moved done);
};

}
