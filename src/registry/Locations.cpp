#include "registry/Locations.h"

#include "geometry/Geo.h"

#include <algorithm>

namespace marrowleaf {

std::string Location::key() const { return Locations::key(screen, desktop); }

std::string Locations::key(const std::string& screen, std::int64_t desktop) {
    return screen + ":" + std::to_string(desktop);
}

std::optional<std::int64_t> Locations::desktopNumber(const DisplaySpaces& display, SpaceId space) {
    const auto users = display.userSpaces();
    const auto found = std::ranges::find(users, space);
    if (found == users.end()) return std::nullopt;
    return static_cast<std::int64_t>(found - users.begin()) + 1;
}

std::optional<std::int64_t> Locations::desktopNumber(SpaceId space) {
    for (const auto& display : Spaces::displays())
        if (auto number = desktopNumber(display, space)) return number;
    return std::nullopt;
}

std::optional<Location> Locations::current() {
    Spaces::update();
    if (Geo::primaryUUID().empty() && !Geo::screenContaining(Geo::mouse())) return std::nullopt;
    const auto uuid = Geo::uuid(Geo::mouseScreen());
    if (!uuid) return std::nullopt;
    const auto display = Spaces::display(*uuid);
    if (!display) return std::nullopt;
    const auto number = desktopNumber(*display, display->current);
    if (!number) return std::nullopt;   // a full-screen window is in front
    return Location{*uuid, *number, display->current};
}

std::optional<Location> Locations::resolve(const Record& record) {
    std::string uuid = Geo::primaryUUID();
    if (auto attached = Geo::screen(record.screen)) uuid = Geo::uuid(*attached).value_or(record.screen);
    std::optional<DisplaySpaces> display = Spaces::display(uuid);
    if (!display && !Spaces::displays().empty()) display = Spaces::displays().front();
    if (!display) return std::nullopt;
    const auto users = display->userSpaces();
    if (users.empty()) return std::nullopt;
    const auto count = static_cast<std::int64_t>(users.size());
    const std::int64_t number = std::min(count, std::max<std::int64_t>(record.desktop, 1));
    return Location{uuid, number, users[static_cast<std::size_t>(number - 1)]};
}

}
