#include "registry/Stickies.h"

#include "geometry/Geo.h"
#include "geometry/Spaces.h"
#include "input/HUD.h"
#include "platform/Clock.h"
#include "platform/NoteWindow.h"
#include "platform/Platform.h"
#include "storage/Store.h"

#include <algorithm>

namespace marrowleaf {

void Stickies::checkSnoozes() {
    const double now = Platform::clock().now();
    std::vector<std::string> woken;
    for (auto& [id, record] : state.stickies) {
        if (!record.snoozeUntil || *record.snoozeUntil > now) continue;
        record.snoozeUntil.reset();
        record.snoozeLabel.reset();
        woken.push_back(id);
    }
    if (woken.empty()) return;
    Store::saveState(state);
    refresh();
    for (const auto& id : woken) {
        auto controller = open.find(id);
        if (controller != open.end() && onScreen(*controller->second)) controller->second->sendFlash();
        const std::string text = controller != open.end() ? controller->second->content : "";
        HUD::show("📝 Sticky is back: " + title(text), backSeconds);
    }
}

std::vector<Stickies::Snoozed> Stickies::snoozed() {
    const Geo::Held screens;
    const double now = Platform::clock().now();
    struct Entry {
        Snoozed item;
        double until;
    };
    std::vector<Entry> entries;
    for (const auto& [id, record] : state.stickies) {
        const double until = record.snoozeUntil.value_or(0);
        if (until <= now) continue;
        auto controller = open.find(id);
        const std::string text = controller != open.end() ? controller->second->content : "";
        entries.push_back({{id, title(text), record.snoozeLabel.value_or("later")}, until});
    }
    std::ranges::stable_sort(entries, {}, &Entry::until);
    std::vector<Snoozed> items;
    for (auto& entry : entries)
        items.push_back(std::move(entry.item));
    return items;
}

void Stickies::unsnooze(const std::string& id) {
    auto record = state.stickies.find(id);
    if (record == state.stickies.end()) return;
    record->second.snoozeUntil.reset();
    record->second.snoozeLabel.reset();
    Store::saveState(state);
    jump(id, true);
}

void Stickies::front(const std::string& id) {
    refresh();
    auto controller = open.find(id);
    if (controller == open.end()) return;
    controller->second->loadPage();
    if (controller->second->visible) controller->second->window().focus();
}

}
