#pragma once
#include "geometry/Spaces.h"
#include "storage/Model.h"

#include <cstdint>
#include <optional>
#include <string>

namespace marrowleaf {

// Where a note lives, or where the user is now.
struct Location {
    std::string screen;         // the display's UUID
    std::int64_t desktop = 1;   // one-based among the display's ordinary desktops
    SpaceId space = 0;          // the window server's id of that desktop

    // The key of this desktop in the state's hidden flags.
    std::string key() const;
    bool operator==(const Location&) const = default;
};

// The one place that turns records, displays and desktop ids into locations.
struct Locations {
    // The display under the pointer and the desktop it shows; absent when no
    // display is known there or a full-screen window is in front.
    static std::optional<Location> current();
    // Where a record's note shows now: its own display, or the primary one when
    // that is not attached (or the first known one); its desktop number held to
    // the desktops that display has.
    static std::optional<Location> resolve(const Record& record);
    // The one-based number of a desktop among its display's ordinary desktops.
    static std::optional<std::int64_t> desktopNumber(const DisplaySpaces& display, SpaceId space);
    // The same, looked up on every display.
    static std::optional<std::int64_t> desktopNumber(SpaceId space);
    static std::string key(const std::string& screen, std::int64_t desktop);
};

}
