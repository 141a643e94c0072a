#pragma once
#include "platform/Accessibility.h"

#include <utility>
#include <vector>

namespace marrowleaf {

// A desktop laid out as regions: the first region that contains a point says
// what is there; everywhere else is `elsewhere`. Trusted and bare by default.
class FakeAccessibility : public Accessibility {
public:
    bool trusted() const override { return isTrusted; }
    DesktopHit whatIsAt(Point point) const override;
    std::optional<Rect> trashTarget() const override { return trash; }

    bool isTrusted = true;
    std::vector<std::pair<Rect, DesktopHit>> regions;
    DesktopHit elsewhere = DesktopHit::bareDesktop;
    std::optional<Rect> trash;
    // Every point asked about, in order.
    mutable std::vector<Point> asked;
};

}
