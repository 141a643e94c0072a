#include "registry/Stickies.h"

#include "geometry/Geo.h"
#include "geometry/Snap.h"
#include "geometry/Spaces.h"
#include "input/HUD.h"
#include "platform/Clock.h"
#include "platform/NoteWindow.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"
#include "storage/Store.h"

#include <algorithm>
#include <cmath>

namespace marrowleaf {

namespace {

// A new note takes the look of a note at most this far from where it is made.
constexpr double templateReach = 250;
// Where a new note's top-left corner goes relative to the pointer or a click.
constexpr double belowPointer = 20;
constexpr double leftOfClick = 12;
// A note made from the menu sits a third of the way down the screen.
constexpr double screenTopShare = 3;

// From the point to the rectangle: 0 inside, else to its nearest edge.
double distance(Point point, const Rect& rect) {
    const double dx = std::max({rect.minX() - point.x, 0.0, point.x - rect.maxX()});
    const double dy = std::max({rect.minY() - point.y, 0.0, point.y - rect.maxY()});
    return std::hypot(dx, dy);
}

Point origin(Stickies::Placement placement, Point mouse, const Stickies::Template& look,
             const Rect& visible) {
    switch (placement) {
    case Stickies::Placement::mouse:
        return {mouse.x - look.width / 2, mouse.y - belowPointer};
    case Stickies::Placement::desktopClick:
        return {mouse.x - leftOfClick, mouse.y - belowPointer};
    case Stickies::Placement::screen:
        break;
    }
    return {visible.minX() + (visible.width - look.width) / 2,
            visible.minY() + (visible.height - look.height) / screenTopShare};
}

}

bool Stickies::isHidden(const std::string& key) const {
    auto found = state.hidden.find(key);
    return found != state.hidden.end() && found->second;
}

bool Stickies::hiddenHere(const Location& location) const { return isHidden(location.key()); }

std::optional<Stickies::Location> Stickies::currentLocation() { return Locations::current(); }

std::optional<Stickies::Location> Stickies::resolve(const Record& record) {
    return Locations::resolve(record);
}

StickyController* Stickies::controller(const std::string& id) const {
    auto found = open.find(id);
    return found == open.end() ? nullptr : found->second.get();
}

std::vector<Stickies::Listed> Stickies::here() {
    const Geo::Held screens;
    std::vector<Listed> notes;
    const auto location = currentLocation();
    if (!location) return notes;
    const double now = Platform::clock().now();
    // `open` is ordered by id, which for made notes is the order they were made in.
    for (const auto& [id, controller] : open) {
        auto found = state.stickies.find(id);
        if (found == state.stickies.end()) continue;
        const Record& record = found->second;
        if (record.snoozeUntil && now < *record.snoozeUntil) continue;
        const auto where = resolve(record);
        if (!where || !Geo::sameUUID(where->screen, location->screen) || where->desktop != location->desktop)
            continue;
        notes.push_back({id, title(controller->content)});
    }
    return notes;
}

Stickies::Template Stickies::templateFor(Point point) {
    const Geo::Held screens;
    Template look{newColor, newWidth, newHeight};
    const auto screen = Geo::screenContaining(point);
    if (!screen) return look;
    double best = templateReach;
    for (const auto& [id, controller] : open) {
        if (!onScreen(*controller)) continue;
        auto found = state.stickies.find(id);
        if (found == state.stickies.end()) continue;
        const Rect frame = controller->window().frame();
        if (!Geo::sameUUID(Geo::screenFor(frame).uuid, screen->uuid)) continue;
        const double away = distance(point, frame.inset(windowMargin));
        if (away >= best) continue;   // a tie keeps the earlier note
        best = away;
        look = {found->second.color, frame.width, frame.height};
    }
    return look;
}

std::vector<Rect> Stickies::neighbours(const std::set<std::string>& excluding) {
    const Geo::Held screens;
    std::vector<Rect> frames;
    for (const auto& [id, controller] : open)
        if (!excluding.count(id) && onScreen(*controller)) frames.push_back(controller->window().frame());
    return frames;
}

void Stickies::newSticky(Placement placement) {
    const Geo::Held screens;
    const auto location = currentLocation();
    if (!location) {
        HUD::show("📝 Stickies live on desktops, not full-screen apps", messageSeconds);
        return;
    }
    const Point mouse = Geo::mouse();
    const Template look = templateFor(mouse);
    const Screen screen = Geo::mouseScreen();
    const Point corner = origin(placement, mouse, look, screen.visibleFrame);
    Rect frame = Geo::clamp({corner.x, corner.y, look.width, look.height}, screen, windowMargin);
    if (placement != Placement::screen) {
        std::vector<Rect> nearby;
        for (const Rect& other : neighbours({}))
            if (Geo::sameUUID(Geo::screenFor(other).uuid, screen.uuid)) nearby.push_back(other);
        frame = Geo::clamp(Snap::move(frame, nearby, screen.visibleFrame), screen, windowMargin);
    }

    const std::string id = Store::newId();
    Record record;
    record.screen = location->screen;
    record.desktop = location->desktop;
    record.color = look.color;
    record.frame = Frame::of(frame);
    state.stickies[id] = record;
    // A note made on a desktop whose notes are hidden shows them again.
    state.hidden.erase(location->key());
    Store::write(id, "");
    Store::saveState(state);
    openSticky(id, "", true);
    refresh();
    later(newFocusDelay, [this, id] {
        auto* note = controller(id);
        if (!note) return;
        Platform::workspace().activate();
        note->window().orderFront();
        note->window().focus();
    });
}

}
