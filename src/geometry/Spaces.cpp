#include "geometry/Spaces.h"

#include "geometry/Geo.h"
#include "platform/Platform.h"
#include "shell/Log.h"

#include <string>

namespace marrowleaf {

namespace {

struct Model {
    std::vector<DisplaySpaces> displays;
    std::set<SpaceId> active;
    bool lastUpdateFailed = false;
};

Model& model() {
    static Model shared;
    return shared;
}

SpaceEntry readSpace(const SpaceDescription& space) {
    const SpaceId id = space.managedSpaceId.value_or(space.id64.value_or(0));
    return {id, space.type.value_or(WindowServer::ordinaryType)};
}

DisplaySpaces readDisplay(const DisplayDescription& description) {
    DisplaySpaces display;
    display.display = description.identifier;
    // Displays that share one set of desktops are described once, as "Main".
    if (display.display == WindowServer::mainDisplay) display.display = Geo::primaryUUID();
    for (const auto& space : description.spaces)
        display.spaces.push_back(readSpace(space));
    display.current = description.currentSpace.value_or(0);
    return display;
}

}

std::vector<SpaceId> DisplaySpaces::userSpaces() const {
    std::vector<SpaceId> ordinary;
    for (const auto& space : spaces) {
        if (space.type == WindowServer::ordinaryType) ordinary.push_back(space.id);
    }
    return ordinary;
}

void Spaces::update() {
    auto description = Platform::windowServer().describeDisplays();
    Model& shared = model();
    if (!description) {
        // Said once per outage: refreshes ask many times a second while dragging.
        if (!shared.lastUpdateFailed)
            Log::error("can't read the desktops from the window server; keeping the last known ones");
        shared.lastUpdateFailed = true;
        return;
    }
    shared.lastUpdateFailed = false;
    std::vector<DisplaySpaces> displays;
    std::set<SpaceId> active;
    for (const auto& entry : *description) {
        displays.push_back(readDisplay(entry));
        active.insert(displays.back().current);
    }
    shared.displays = std::move(displays);
    shared.active = std::move(active);
}

void Spaces::reset() { model() = Model{}; }

const std::vector<DisplaySpaces>& Spaces::displays() { return model().displays; }

const std::set<SpaceId>& Spaces::active() { return model().active; }

std::optional<DisplaySpaces> Spaces::display(std::string_view uuid) {
    for (const auto& display : model().displays) {
        if (Geo::sameUUID(display.display, uuid)) return display;
    }
    return std::nullopt;
}

std::optional<std::int64_t> Spaces::typeOf(SpaceId space) {
    for (const auto& display : model().displays) {
        for (const auto& entry : display.spaces) {
            if (entry.id == space) return entry.type;
        }
    }
    return std::nullopt;
}

std::vector<SpaceId> Spaces::spacesForWindow(WindowNumber window) {
    return Platform::windowServer().spacesOfWindow(window);
}

void Spaces::move(WindowNumber window, SpaceId space, WindowServer::Moved done) {
    if (space == 0) {
        Log::error("can't move window " + std::to_string(window) + " to an unknown desktop");
        done(false);
        return;
    }
    Platform::windowServer().putWindowOnSpace(window, space,
                                              [window, space, done = std::move(done)](bool moved) {
                                                  // The window server's own listing has the last word.
                                                  const auto after = spacesForWindow(window);
                                                  done(moved && after.size() == 1 && after.front() == space);
                                              });
}

}
