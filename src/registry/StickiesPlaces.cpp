#include "registry/Stickies.h"

namespace marrowleaf {

bool Stickies::isHidden(const std::string& key) const {
    auto found = state.hidden.find(key);
    return found != state.hidden.end() && found->second;
}

bool Stickies::hiddenHere(const Location& location) const { return isHidden(location.key()); }

std::optional<Stickies::Location> Stickies::currentLocation() { return Locations::current(); }

std::optional<Stickies::Location> Stickies::resolve(const Record& record) { return Locations::resolve(record); }

StickyController* Stickies::controller(const std::string& id) const {
    auto found = open.find(id);
    return found == open.end() ? nullptr : found->second.get();
}

}
