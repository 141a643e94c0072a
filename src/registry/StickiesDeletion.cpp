#include "registry/Stickies.h"

#include "input/HUD.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"
#include "shell/Log.h"
#include "storage/Store.h"

namespace marrowleaf {

namespace {

std::string notesCount(std::size_t count) { return count == 1 ? "a note" : std::to_string(count) + " notes"; }

}

void Stickies::deleteNotes(const std::vector<std::string>& ids, bool fromTrashDrop) {
    std::vector<std::pair<std::string, Record>> deleted;
    std::size_t kept = 0;
    lastReplaced.reset();
    for (const auto& id : ids) {
        std::optional<Record> record;
        if (auto found = state.stickies.find(id); found != state.stickies.end()) record = found->second;
        // What the page typed last is on disk before the file goes to the trash.
        if (unsaved.holds(id)) unsaved.retry();
        if (!trash(id)) {
            ++kept;
            continue;
        }
        closeController(id);
        selected.erase(id);
        if (record) {
            deleted.emplace_back(id, *record);
            state.stickies.erase(id);
        }
    }
    Store::saveState(state);
    lastDeleted = std::move(deleted);
    announceChange();
    if (fromTrashDrop) Platform::sounds().playTrash();
    if (kept > 0) {
        HUD::show("⚠️ Couldn't delete " + notesCount(kept), messageSeconds);
        return;
    }
    const std::string what =
        lastDeleted.size() == 1 ? "Sticky" : std::to_string(lastDeleted.size()) + " stickies";
    HUD::show("🗑  " + what + " deleted (undo from the menu bar)", messageSeconds);
}

// Whether the note's file is gone from the notes folder: moved to the trash, or
// not there to begin with. A file that stays keeps its note, or it would come
// back at the next sync as a stranger.
bool Stickies::trash(const std::string& id) {
    const auto moved = Store::moveToTrash(id);
    if (!moved.failed() || !Store::exists(id)) return true;
    Log::error("can't move " + id + " to the trash: " + moved.reason() + "; the note stays");
    return false;
}

void Stickies::undoDelete() {
    for (const auto& [id, record] : lastDeleted) {
        if (auto restored = Store::restoreFromTrash(id); restored.failed())
            Log::error("can't bring " + id + " back from the trash: " + restored.reason() +
                       "; it stays in the trash folder");
        else
            state.stickies[id] = record;
    }
    lastDeleted.clear();
    Store::saveState(state);
    if (lastReplaced) {
        const auto [id, text] = std::move(*lastReplaced);
        lastReplaced.reset();
        if (auto* original = controller(id)) {
            writeNote(*original, text);
            pushContent(*original, text);
        } else {
            Store::write(id, text);
        }
    }
    sync();
}

}
