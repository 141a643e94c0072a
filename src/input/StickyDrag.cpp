#include "input/StickyDrag.h"

#include "geometry/AX.h"
#include "geometry/Geo.h"
#include "geometry/Snap.h"
#include "geometry/Spaces.h"
#include "platform/Accessibility.h"
#include "platform/Clock.h"
#include "platform/Platform.h"
#include "platform/Subscription.h"
#include "platform/WindowServer.h"
#include "registry/Stickies.h"

#include <algorithm>
#include <cmath>

namespace marrowleaf {

namespace {

Rect offset(Rect frame, double dx, double dy) { return {frame.x + dx, frame.y + dy, frame.width, frame.height}; }

// The grabbed note first, then the rest of the group.
std::vector<std::string> groupIds(const StickyDrag::Drag& drag) {
    std::vector<std::string> ids{drag.id};
    for (const auto& id : drag.group)
        if (id != drag.id) ids.push_back(id);
    return ids;
}

}

StickyDrag& StickyDrag::shared() {
    static StickyDrag* instance = new StickyDrag(Stickies::shared());   // lives for the process
    return *instance;
}

StickyDrag::StickyDrag(Stickies& registry) : registry(registry) {}

StickyDrag::~StickyDrag() {
    *self = nullptr;
    if (dragging == this) dragging = nullptr;
}

bool StickyDrag::anyInProgress() { return dragging && dragging->inProgress(); }

void StickyDrag::start() {
    if (spaceWatch) return;
    std::weak_ptr<StickyDrag*> weak = self;
    Platform::appMouseMonitor().start([weak](const MouseEvent& event) {
        auto alive = weak.lock();
        return alive && *alive ? (*alive)->handle(event) : MouseAnswer::pass;
    });
    spaceWatch = Platform::windowServer().watchActiveSpace([weak] {
        auto alive = weak.lock();
        if (alive && *alive) (*alive)->spacesChanged();
    });
}

MouseAnswer StickyDrag::handle(const MouseEvent& event) {
    switch (event.kind) {
    case MouseEvent::Kind::drag:
        if (current) dragTo(event.point, (event.modifiers & MouseModifiers::control) != 0);
        return MouseAnswer::pass;
    case MouseEvent::Kind::release:
        if (current) end(true);
        return MouseAnswer::pass;
    case MouseEvent::Kind::press: return pressed(event);
    }
    return MouseAnswer::pass;
}

// Only presses in note windows get here.
MouseAnswer StickyDrag::pressed(const MouseEvent& event) {
    // A drag whose release never came is dropped without deleting anything.
    end(false);
    Spaces::update();
    const auto hit = registry.hitTest(event.point);
    if (!hit) return MouseAnswer::pass;
    switch (hit->part) {
    case Stickies::Part::resize: begin(hit->id, Kind::resize, event.point); return MouseAnswer::pass;
    case Stickies::Part::drag:
        if (event.modifiers & MouseModifiers::shift) {
            registry.setSelected(hit->id, !registry.selection().count(hit->id));
            return MouseAnswer::swallow;
        }
        begin(hit->id, Kind::move, event.point);
        return MouseAnswer::pass;
    case Stickies::Part::body: return MouseAnswer::pass;
    }
    return MouseAnswer::pass;
}

// The window server also reports a change when only the focused window
// changed (lifting a note above everything can do that): only another
// desktop in front cancels the drag.
void StickyDrag::spacesChanged() {
    if (!current) return;
    Spaces::update();
    if (Spaces::active() != current->spaces) end(false);
}

void StickyDrag::begin(const std::string& id, Kind kind, Point point) {
    Drag drag;
    drag.spaces = Spaces::active();
    drag.id = id;
    drag.kind = kind;
    drag.start = point;
    drag.group = {id};
    if (kind == Kind::move) {
        if (registry.selection().count(id))
            drag.group = registry.selection();
        else
            registry.clearSelection();
    }
    for (const auto& member : drag.group)
        if (auto* note = registry.controller(member)) drag.frames[member] = note->window().frame();
    setDrag(std::move(drag));
}

void StickyDrag::dragTo(Point point, bool free) {
    if (!current) return;
    Drag& drag = *current;
    const double dx = point.x - drag.start.x;
    const double dy = point.y - drag.start.y;
    if (!drag.moved && !leftDeadZone(drag, point)) return;
    if (!drag.frames.count(drag.id)) return;
    const Geo::Held screens;
    if (drag.kind == Kind::resize) {
        resizeTo(drag, dx, dy, free);
        return;
    }
    moveTo(drag, dx, dy, free);
    updateTrash(drag, point);
}

void StickyDrag::end(bool drop) {
    if (!current) return;
    const Drag drag = std::move(*current);
    setDrag(std::nullopt);
    hideTrashTarget();
    if (!drag.moved) return;
    if (drag.kind == Kind::move) restoreLevels(drag);
    const std::vector<std::string> ids = groupIds(drag);
    if (drag.overTrash && drop) {
        registry.deleteNotes(ids, true);
        return;
    }
    if (drag.overTrash) sendTrash(drag, false);
    registry.commitFrames(ids);
}

Rect StickyDrag::trashTargetFrame(Rect workArea) {
    return {workArea.midX() - trashSize / 2, workArea.maxY() - trashMargin - trashSize, trashSize, trashSize};
}

void StickyDrag::setDrag(std::optional<Drag> drag) {
    current = std::move(drag);
    if (current)
        dragging = this;
    else if (dragging == this)
        dragging = nullptr;
}

bool StickyDrag::leftDeadZone(Drag& drag, Point point) {
    if (std::abs(point.x - drag.start.x) < deadZone && std::abs(point.y - drag.start.y) < deadZone) return false;
    drag.moved = true;
    if (drag.kind == Kind::move) {
        liftGroup(drag);
        showTrashTarget(point);
    }
    return true;
}

void StickyDrag::resizeTo(const Drag& drag, double dx, double dy, bool free) {
    const Rect start = drag.frames.at(drag.id);
    Rect frame{start.x, start.y, std::max(start.width + dx, minWidth), std::max(start.height + dy, minHeight)};
    if (!free) {
        const std::vector<Rect> others = registry.neighbours({drag.id});
        frame = Snap::resize(frame, others, Geo::screenFor(frame).visibleFrame);
    }
    setFrame(drag.id, frame);
}

// The grabbed note snaps; the rest of the group follows it by the same
// correction, so the group keeps its shape.
void StickyDrag::moveTo(const Drag& drag, double dx, double dy, bool free) {
    const Rect proposed = offset(drag.frames.at(drag.id), dx, dy);
    double snapX = 0;
    double snapY = 0;
    if (!free) {
        const std::vector<Rect> others = registry.neighbours(drag.group);
        const Rect snapped = Snap::move(proposed, others, Geo::screenFor(proposed).visibleFrame);
        snapX = snapped.minX() - proposed.minX();
        snapY = snapped.minY() - proposed.minY();
    }
    for (const auto& [id, start] : drag.frames)
        setFrame(id, offset(start, dx + snapX, dy + snapY));
}

// The pointer, not the notes, decides whether they are over the trash.
void StickyDrag::updateTrash(Drag& drag, Point point) {
    const double now = Platform::clock().now();
    if (now - trashAt > trashLookupSeconds) {
        trash = AX::trashFrame();
        trashAt = now;
    }
    const bool over = trash && trash->contains(point);
    if (over == drag.overTrash) return;
    drag.overTrash = over;
    if (targetShown) Platform::trashTargetView().setLit(over);
    sendTrash(drag, over);
}

void StickyDrag::showTrashTarget(Point point) {
    if (!Platform::accessibility().trusted()) return;
    const Screen screen = Geo::screenFor({point.x, point.y, 0, 0});
    Platform::trashTargetView().show(trashTargetFrame(screen.visibleFrame));
    targetShown = true;
    // The target may stand elsewhere than during the last drag: look again.
    trashAt = 0;
}

void StickyDrag::hideTrashTarget() {
    if (!targetShown) return;
    Platform::trashTargetView().hide();
    targetShown = false;
}

void StickyDrag::liftGroup(const Drag& drag) {
    for (const auto& id : drag.group)
        if (auto* note = registry.controller(id); note) note->window().setLevel(StickyController::levelDrag);
}

void StickyDrag::restoreLevels(const Drag& drag) {
    const auto& records = registry.appState().stickies;
    for (const auto& id : drag.group) {
        auto* note = registry.controller(id);
        if (!note) continue;
        auto record = records.find(id);
        const bool pinned = record != records.end() && record->second.pinned.value_or(false);
        note->window().setLevel(StickyController::level(pinned));
    }
}

void StickyDrag::sendTrash(const Drag& drag, bool on) {
    for (const auto& id : drag.group)
        if (auto* note = registry.controller(id)) note->sendTrash(on);
}

void StickyDrag::setFrame(const std::string& id, Rect frame) {
    if (auto* note = registry.controller(id)) note->window().setFrame(frame);
}

}
