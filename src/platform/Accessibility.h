#pragma once
#include "geometry/Rect.h"

#include <optional>

namespace marrowleaf {

// What lies on screen at a point, as far as the desktop can tell.
enum class DesktopHit {
    unknown,             // the probe failed, found nothing, or gave up before it could tell
    bareDesktop,         // the bare root: no window at all over the wallpaper there
    desktopBackground,   // the background a desktop program draws, between its icons
    desktopIcon,         // an icon on the desktop, its picture or its name label
    window,              // another program's window, panel, menu or bar, even one that shows the wallpaper
    ownWindow,           // one of this program's windows, transparent margins included
};

// Probes of what other programs show on the desktop. Both are synchronous and
// must answer within a few milliseconds: a desktop click may be held up until
// `whatIsAt` returns.
class Accessibility {
public:
    virtual ~Accessibility() = default;

    // Whether the desktop features may look at the desktop and its clicks now
    // (on X11: the session has the input extension and the desktop-click grab).
    virtual bool trusted() const = 0;
    // What the user would click at `point` (global top-left points).
    virtual DesktopHit whatIsAt(Point point) const = 0;
    // The frame of the target that deletes the notes dropped on it, in global
    // top-left points; nothing when no such target is on screen.
    virtual std::optional<Rect> trashTarget() const = 0;
};

}
