#include "geometry/AX.h"

#include "platform/Platform.h"

namespace marrowleaf {

bool AX::isDesktop(Point point) { return isDesktop(whatIsAt(point)); }

bool AX::isDesktop(DesktopHit hit) {
    return hit == DesktopHit::bareDesktop || hit == DesktopHit::desktopBackground;
}

DesktopHit AX::whatIsAt(Point point) {
    const Accessibility& probes = Platform::accessibility();
    if (!probes.trusted()) return DesktopHit::unknown;
    return probes.whatIsAt(point);
}

std::optional<Rect> AX::trashFrame() {
    const Accessibility& probes = Platform::accessibility();
    if (!probes.trusted()) return std::nullopt;
    return probes.trashTarget();
}

}
