#pragma once
#include "geometry/Rect.h"
#include "platform/Accessibility.h"

#include <optional>

namespace marrowleaf {

// Asks the desktop what lies outside the application: whether a point is the
// bare desktop (an Alt-click there makes a note) and where the trash target is
// (notes dropped there are deleted). Every failure, and a desktop that does not
// let us look, reads as the negative answer.
struct AX {
    static bool isDesktop(Point point);
    // The bare root and a desktop program's background are both the desktop.
    static bool isDesktop(DesktopHit hit);
    // What lies at `point`; `unknown` when the desktop does not let us look.
    static DesktopHit whatIsAt(Point point);
    static std::optional<Rect> trashFrame();
};

}
