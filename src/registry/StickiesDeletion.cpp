#include "registry/Stickies.h"

#include "input/HUD.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"
#include "storage/Store.h"

namespace marrowleaf {

void Stickies::deleteNotes(const std::vector<std::string>& ids, bool fromTrashDrop) {
    std::vector<std::pair<std::string, Record>> deleted;
    for (const auto& id : ids) {
        std::optional<Record> record;
        if (auto found = state.stickies.find(id); found != state.stickies.end()) record = found->second;
        // What the page typed last is on disk before the file goes to the trash.
        if (unsaved.holds(id)) unsaved.retry();
        closeController(id);
        selected.erase(id);
        Store::moveToTrash(id);
        if (record) {
            deleted.emplace_back(id, *record);
            state.stickies.erase(id);
        }
    }
    Store::saveState(state);
    lastDeleted = std::move(deleted);
    if (fromTrashDrop) Platform::sounds().playTrash();
    const std::string what =
        lastDeleted.size() == 1 ? "Sticky" : std::to_string(lastDeleted.size()) + " stickies";
    HUD::show("🗑  " + what + " deleted (undo from the menu bar)", messageSeconds);
}

void Stickies::undoDelete() {
    for (const auto& [id, record] : lastDeleted) {
        if (Store::restoreFromTrash(id)) state.stickies[id] = record;
    }
    lastDeleted.clear();
    Store::saveState(state);
    sync();
}

}
