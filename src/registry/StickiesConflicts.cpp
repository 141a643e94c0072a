#include "registry/Stickies.h"

#include "registry/ConflictCopies.h"
#include "shell/Log.h"
#include "storage/Store.h"

namespace marrowleaf {

std::optional<std::string> Stickies::conflictOriginal(const std::string& id) const {
    auto original = ConflictCopies::originalOf(id);
    if (!original || !Store::exists(*original)) return std::nullopt;
    return original;
}

Record Stickies::makeRecordForNewFile(const std::string& id) {
    const auto original = conflictOriginal(id);
    const auto found = original ? state.stickies.find(*original) : state.stickies.end();
    if (found == state.stickies.end()) return makeRecordForStrayFile();
    // Beside its original, so the two are seen together.
    const Record& beside = found->second;
    Record record;
    record.screen = beside.screen;
    record.desktop = beside.desktop;
    record.color = beside.color;
    record.frame = beside.frame;
    record.frame.x += ConflictCopies::offset;
    record.frame.y += ConflictCopies::offset;
    return record;
}

void Stickies::updateConflictBanners() {
    for (auto& [id, controller] : open) {
        if (!controller->copyOf) continue;
        if (!Store::exists(*controller->copyOf)) {
            // Without its original a copy is an ordinary note.
            controller->sendConflict(std::nullopt);
            continue;
        }
        const StickyController* original = this->controller(*controller->copyOf);
        const auto text = original ? std::optional(original->content) : Store::read(*controller->copyOf);
        if (text) controller->sendConflict(title(*text));
    }
}

void Stickies::keepConflictCopy(const std::string& id) {
    StickyController* copy = controller(id);
    if (!copy || !copy->copyOf) return;
    const std::string originalId = *copy->copyOf;
    StickyController* original = controller(originalId);
    if (!original) return;
    const std::string text = copy->content;
    const std::string previous = original->content;
    deleteNotes({id}, false);
    // A copy that could not go to the trash leaves the original as it was.
    if (controller(id)) return;
    Log::info("the conflicting copy " + id + Store::noteExtension + " replaced the text of " + originalId +
              Store::noteExtension);
    writeNote(*original, text);
    pushContent(*original, text);
    lastReplaced = {originalId, previous};
}

void Stickies::dismissConflictCopy(const std::string& id) {
    StickyController* copy = controller(id);
    if (!copy || !copy->copyOf) return;
    deleteNotes({id}, false);
}

}
