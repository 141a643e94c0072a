#include "registry/Stickies.h"

#include "geometry/Spaces.h"
#include "platform/NoteWindow.h"
#include "platform/Platform.h"
#include "platform/WindowServer.h"

#include <algorithm>

namespace marrowleaf {

namespace {

Stickies::Part partAt(Rect body, Point point, double buttonsWidth) {
    if (point.y <= body.y + Stickies::dragStripHeight && point.x < body.maxX() - buttonsWidth)
        return Stickies::Part::drag;
    if (point.y > body.y + Stickies::dragStripHeight && point.x >= body.maxX() - Stickies::gripSize &&
        point.y >= body.maxY() - Stickies::gripSize)
        return Stickies::Part::resize;
    return Stickies::Part::body;
}

}

std::optional<Stickies::Hit> Stickies::hitTest(Point point) {
    std::vector<WindowNumber> order = Platform::windowServer().frontToBack();
    std::vector<Hit> hits;
    std::vector<WindowNumber> hitWindows;
    for (const auto& [id, controller] : open) {
        if (!onScreen(*controller)) continue;
        const Rect body = controller->window().frame().inset(windowMargin);
        if (!body.contains(point)) continue;
        hits.push_back({id, partAt(body, point, controller->buttonsWidth)});
        hitWindows.push_back(controller->window().windowNumber());
    }
    if (hits.empty()) return std::nullopt;
    // The frontmost in the window order wins; a note missing from the order
    // loses to any that is in it, and among those the first found wins.
    std::size_t best = 0;
    auto rank = [&](std::size_t i) {
        auto at = std::ranges::find(order, hitWindows[i]);
        return at == order.end() ? order.size() : static_cast<std::size_t>(at - order.begin());
    };
    for (std::size_t i = 1; i < hits.size(); ++i)
        if (rank(i) < rank(best)) best = i;
    return hits[best];
}

void Stickies::select(Rect box) {
    for (const auto& [id, controller] : open) {
        if (!onScreen(*controller)) continue;
        const Rect body = controller->window().frame().inset(windowMargin);
        setSelected(id, body.intersects(box));
    }
}

void Stickies::setSelected(const std::string& id, bool on) {
    auto controller = open.find(id);
    if (on && !selected.count(id)) {
        selected.insert(id);
        if (controller != open.end()) controller->second->sendSelected(true);
    } else if (!on && selected.count(id)) {
        selected.erase(id);
        if (controller != open.end()) controller->second->sendSelected(false);
    }
}

void Stickies::clearSelection() {
    for (const auto& id : selected) {
        if (auto controller = open.find(id); controller != open.end())
            controller->second->sendSelected(false);
    }
    selected.clear();
}

}
