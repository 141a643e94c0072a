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

void FakeWindowServer::putWindowOnSpace(WindowNumber window, SpaceId space, Moved moved) {
    moves.push_back({window, space});
    if (holdMoves) {
        for (auto it = held.begin(); it != held.end();) {
            if (it->first.window != window) {
                ++it;
                continue;
            }
            auto overtaken = std::move(it->second);
            it = held.erase(it);
            overtaken(false);
        }
        held.emplace_back(Move{window, space}, std::move(moved));
        return;
    }
    moved(settle({window, space}));
}

bool FakeWindowServer::settle(const Move& move) {
    windowSpaces[move.window] = spacesAfterMove.value_or(std::vector<SpaceId>{move.space});
    const auto& now = windowSpaces[move.window];
    return now.size() == 1 && now.front() == move.space;
}

void FakeWindowServer::answerMoves(bool move) {
    auto answering = std::move(held);
    held.clear();
    for (auto& [request, moved] : answering)
        moved(move && settle(request));
}

void FakeWindowServer::shareDesktops(const std::vector<std::string>& displayUUIDs, int count,
                                     SpaceId current) {
    std::vector<SpaceDescription> spaces;
    for (int index = 1; index <= count; ++index) {
        spaces.push_back({static_cast<SpaceId>(index), std::nullopt, ordinaryType});
    }
    description.clear();
    for (const auto& uuid : displayUUIDs)
        description.push_back({uuid, spaces, current});
    focused = current;
}

void FakeWindowServer::showSpace(SpaceId space) {
    shown.push_back(space);
    if (!refuseSwitches) switchTo(space);
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
