#include "geometry/AX.h"

#include "platform/Accessibility.h"
#include "platform/Platform.h"

namespace marrowleaf {

bool AX::isDesktop(Point point) {
    const Accessibility& probes = Platform::accessibility();
    if (!probes.trusted()) return false;
    return probes.whatIsAt(point) == DesktopHit::bareDesktop;
}

std::optional<Rect> AX::trashFrame() {
    const Accessibility& probes = Platform::accessibility();
    if (!probes.trusted()) return std::nullopt;
    return probes.trashTarget();
}

}
