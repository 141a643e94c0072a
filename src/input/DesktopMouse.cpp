#include "input/DesktopMouse.h"

#include "geometry/AX.h"
#include "input/StickyDrag.h"
#include "platform/MainQueue.h"
#include "platform/Platform.h"
#include "registry/Stickies.h"
#include "shell/Config.h"
#include "shell/Log.h"

#include <algorithm>
#include <cmath>

namespace marrowleaf {

namespace {

constexpr std::uint32_t watchedModifiers =
    MouseModifiers::shift | MouseModifiers::control | MouseModifiers::alt | MouseModifiers::super;

bool altAlone(std::uint32_t modifiers) { return (modifiers & watchedModifiers) == MouseModifiers::alt; }

// The box spanned by the press and the pointer, whichever way the pointer went.
Rect spanned(Point from, Point to) {
    return {std::min(from.x, to.x), std::min(from.y, to.y), std::abs(to.x - from.x), std::abs(to.y - from.y)};
}

}

DesktopMouse& DesktopMouse::shared() {
    static DesktopMouse* instance = new DesktopMouse(Stickies::shared());   // lives for the process
    return *instance;
}

DesktopMouse::DesktopMouse(Stickies& registry) : registry(registry) {}

DesktopMouse::~DesktopMouse() {
    *self = nullptr;
    hideBand();
}

bool DesktopMouse::start() {
    MouseTap& tap = Platform::mouseTap();
    if (tap.started()) return true;
    std::weak_ptr<DesktopMouse*> weak = self;
    const bool started = tap.start([weak](const MouseEvent& event) {
        auto alive = weak.lock();
        return alive && *alive ? (*alive)->handle(event) : MouseAnswer::pass;
    });
    if (!started) {
        // The permission poll asks again every few seconds; one line says it all.
        if (!failureLogged) Log::error(unavailableMessage);
        failureLogged = true;
        return false;
    }
    Log::info(startedMessage);
    return true;
}

MouseAnswer DesktopMouse::handle(const MouseEvent& event) {
    switch (event.kind) {
    case MouseEvent::Kind::release: return released();
    case MouseEvent::Kind::drag: return dragged(event);
    case MouseEvent::Kind::press: return pressed(event);
    }
    return MouseAnswer::pass;
}

MouseAnswer DesktopMouse::released() {
    pressStart = {};
    state = Press::none;
    hideBand();
    if (!swallowRelease) return MouseAnswer::pass;
    // The release after a swallowed Alt-click is swallowed too.
    swallowRelease = false;
    return MouseAnswer::swallow;
}

MouseAnswer DesktopMouse::dragged(const MouseEvent& event) {
    if (state != Press::onDesktop || StickyDrag::anyInProgress()) return MouseAnswer::pass;
    const Rect box = spanned(pressStart, event.point);
    registry.select(box);
    if (drawsBand) showBand(box);
    return MouseAnswer::pass;
}

MouseAnswer DesktopMouse::pressed(const MouseEvent& event) {
    pressStart = {};
    state = Press::none;
    drawsBand = false;
    hideBand();
    const Point point = event.point;
    // With no note on a desktop in front there is nothing to select or
    // make room beside, so the desktop keeps its clicks.
    if (!registry.anyOnScreen()) return MouseAnswer::pass;
    if (registry.hitTest(point)) return MouseAnswer::pass;
    if (altAlone(event.modifiers)) return altPressed(point);
    pressStart = point;
    state = Press::pending;
    checkDesktopLater(point);
    return MouseAnswer::pass;
}

// The pointer stays frozen until this answers, so the probe runs now.
MouseAnswer DesktopMouse::altPressed(Point point) {
    if (!Config::altClickEnabled() || !AX::isDesktop(point)) return MouseAnswer::pass;
    swallowRelease = true;
    std::weak_ptr<DesktopMouse*> weak = self;
    Platform::mainQueue().post([weak] {
        auto alive = weak.lock();
        if (alive && *alive) (*alive)->registry.newSticky(Stickies::Placement::desktopClick);
    });
    return MouseAnswer::swallow;
}

void DesktopMouse::checkDesktopLater(Point point) {
    std::weak_ptr<DesktopMouse*> weak = self;
    Platform::mainQueue().post([weak, point] {
        const DesktopHit hit = AX::whatIsAt(point);
        auto alive = weak.lock();
        if (alive && *alive) (*alive)->desktopChecked(point, hit);
    });
}

void DesktopMouse::desktopChecked(Point point, DesktopHit hit) {
    const bool onDesktop = AX::isDesktop(hit);
    // A check that comes back after the release, or after a newer press,
    // leaves the press state to whatever happened since.
    if (state != Press::none && pressStart == point) {
        state = onDesktop ? Press::onDesktop : Press::notDesktop;
        // A desktop program draws its own band over its background; a second
        // one on top would only hide it.
        drawsBand = hit == DesktopHit::bareDesktop;
    }
    if (onDesktop) registry.clearSelection();
}

void DesktopMouse::showBand(Rect box) {
    Platform::selectionBoxView().show(box);
    bandShown = true;
}

void DesktopMouse::hideBand() {
    if (!bandShown) return;
    Platform::selectionBoxView().hide();
    bandShown = false;
}

}
