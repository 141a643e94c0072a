#pragma once
#include "geometry/Rect.h"
#include "platform/Subscription.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace marrowleaf {

// One display as the desktop reports it. All rectangles are in the global
// top-left space, in points.
struct Screen {
    // The platform's numeric id of the display. It may change when displays are
    // re-plugged or reordered; the UUID is what notes remember.
    std::uint32_t id = 0;
    // A stable UUID text for the display (same display, same text across
    // re-plugging and restarts); empty when the platform cannot name it.
    std::string uuid;
    // The whole display.
    Rect frame;
    // The part of the display that windows may use: the frame less panels,
    // docks and bars that reserve space at its edges.
    Rect visibleFrame;

    bool operator==(const Screen&) const = default;
};

// The displays attached now and the pointer over them.
class Screens {
public:
    using Handler = std::function<void()>;
    virtual ~Screens() = default;

    // Every display, the primary one first, then the others in the platform's
    // order. Read afresh on each call; empty only when no display is attached.
    virtual std::vector<Screen> all() const = 0;
    // The pointer's location now.
    virtual Point pointer() const = 0;
    // The display that holds the keyboard focus (the focused window's display),
    // when the platform can tell.
    virtual std::optional<Screen> focused() const = 0;
    // Calls `handler` after displays were added, removed, moved or resized, or
    // their visible frame changed. Several changes may arrive as one call.
    virtual std::unique_ptr<Subscription> watchChanges(Handler handler) = 0;
};

}
