#include "platform/fake/FakeWindowServer.h"

namespace marrowleaf {

std::optional<std::vector<DisplayDescription>> FakeWindowServer::describeDisplays() const {
    if (failDescription) return std::nullopt;
    return description;
}

std::vector<SpaceId> FakeWindowServer::spacesOfWindow(WindowNumber window) const {
    auto found = windowSpaces.find(window);
    if (found == windowSpaces.end()) return {};
    return found->second;
}

void FakeWindowServer::putWindowOnSpace(WindowNumber window, SpaceId space) {
    moves.push_back({window, space});
    windowSpaces[window] = spacesAfterMove.value_or(std::vector<SpaceId>{space});
}

void FakeWindowServer::shareDesktops(const std::vector<std::string>& displayUUIDs, int count, SpaceId current) {
    std::vector<SpaceDescription> spaces;
    for (int index = 1; index <= count; ++index) {
        spaces.push_back({static_cast<SpaceId>(index), std::nullopt, ordinaryType});
    }
    description.clear();
    for (const auto& uuid : displayUUIDs) description.push_back({uuid, spaces, current});
    focused = current;
}

void FakeWindowServer::switchTo(SpaceId space) {
    for (auto& display : description) {
        for (const auto& entry : display.spaces) {
            if (entry.managedSpaceId == space || (!entry.managedSpaceId && entry.id64 == space)) {
                display.currentSpace = space;
            }
        }
    }
    focused = space;
    activeChanges.emit();
}

}
