#include "platform/fake/FakeAccessibility.h"

namespace marrowleaf {

DesktopHit FakeAccessibility::whatIsAt(Point point) const {
    asked.push_back(point);
    for (const auto& [area, hit] : regions) {
        if (area.contains(point)) return hit;
    }
    return elsewhere;
}

}
