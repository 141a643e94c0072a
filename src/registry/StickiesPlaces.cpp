#include "registry/Stickies.h"

#include "geometry/Geo.h"
#include "geometry/Spaces.h"

#include <algorithm>

namespace marrowleaf {

std::string Stickies::desktopKey(const std::string& screen, std::int64_t desktop) {
    return screen + ":" + std::to_string(desktop);
}

bool Stickies::isHidden(const std::string& key) const {
    auto found = state.hidden.find(key);
    return found != state.hidden.end() && found->second;
}

bool Stickies::hiddenHere(const Location& location) const {
    return isHidden(desktopKey(location.screen, location.desktop));
}

std::optional<Stickies::Location> Stickies::currentLocation() {
    Spaces::update();
    if (Geo::primaryUUID().empty() && !Geo::screenContaining(Geo::mouse())) return std::nullopt;
    const auto uuid = Geo::uuid(Geo::mouseScreen());
    if (!uuid) return std::nullopt;
    const auto display = Spaces::display(*uuid);
    if (!display) return std::nullopt;
    const auto users = display->userSpaces();
    const auto current = std::ranges::find(users, display->current);
    if (current == users.end()) return std::nullopt;   // a full-screen window is in front
    return Location{*uuid, static_cast<std::int64_t>(current - users.begin()) + 1, display->current};
}

std::optional<Stickies::Location> Stickies::resolve(const Record& record) {
    std::string uuid = Geo::primaryUUID();
    if (auto attached = Geo::screen(record.screen)) uuid = Geo::uuid(*attached).value_or(record.screen);
    const auto display = Spaces::display(uuid);
    if (!display) return std::nullopt;
    const auto users = display->userSpaces();
    if (users.empty()) return std::nullopt;
    const auto count = static_cast<std::int64_t>(users.size());
    const std::int64_t number = std::min(count, std::max<std::int64_t>(record.desktop, 1));
    return Location{uuid, number, users[static_cast<std::size_t>(number - 1)]};
}

}
