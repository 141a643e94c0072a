#include "registry/Stickies.h"

#include "geometry/Spaces.h"
#include "input/HUD.h"
#include "platform/Clock.h"
#include "platform/NoteWindow.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"
#include "storage/Store.h"

namespace marrowleaf {

void Stickies::toggleHere() {
    const auto location = currentLocation();
    if (!location) return;
    const std::string key = location->key();
    if (isHidden(key))
        state.hidden.erase(key);
    else
        state.hidden[key] = true;
    Store::saveState(state);
    refresh();
    HUD::show(isHidden(key) ? "📝 Stickies hidden" : "📝 Stickies shown", messageSeconds);
}

void Stickies::jump(const std::string& id, bool flash) {
    auto record = state.stickies.find(id);
    if (record == state.stickies.end()) return;
    const auto where = resolve(record->second);
    if (!where) return;
    // Saved with the next change of state.
    state.hidden.erase(where->key());
    refresh();
    StickyController* note = controller(id);
    if (!note) return;
    note->loadPage();
    if (!Spaces::active().count(where->space)) {
        // Its desktop is not in front: go there, and finish once it is.
        pendingJump = Jump{id, flash};
        Platform::windowServer().showSpace(where->space);
        return;
    }
    finishJump(*note, flash);
}

void Stickies::finishJump(StickyController& note, bool flash) {
    pendingJump.reset();
    if (onScreen(note)) {
        Platform::workspace().activate();
        note.window().orderFront();
        note.window().focus();
    }
    if (!flash) return;
    later(flashDelay, [this, id = note.id] {
        if (auto* flashed = controller(id)) flashed->sendFlash();
    });
}

void Stickies::finishPendingJump() {
    if (!pendingJump) return;
    const Jump jump = *pendingJump;
    pendingJump.reset();
    StickyController* note = controller(jump.id);
    if (note && onScreen(*note)) finishJump(*note, jump.flash);
}

void Stickies::pick(const std::string& id) {
    auto record = state.stickies.find(id);
    if (record == state.stickies.end()) return;
    if (record->second.snoozeUntil.value_or(0) > Platform::clock().now())
        unsnooze(id);
    else
        jump(id, false);
}

}
