#include "registry/Stickies.h"

#include "input/HUD.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"
#include "storage/Store.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace marrowleaf {

namespace {

std::optional<std::string> textAt(const nlohmann::json& body, const char* key) {
    auto found = body.find(key);
    if (found == body.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

std::optional<double> numberAt(const nlohmann::json& body, const char* key) {
    auto found = body.find(key);
    if (found == body.end() || !found->is_number()) return std::nullopt;
    return found->get<double>();
}

}

void Stickies::handle(StickyController& controller, const std::string& type, const nlohmann::json& body) {
    if (type == "save") handleSave(controller, body);
    else if (type == "focus") controller.window().focus();
    else if (type == "bar") {
        if (auto width = numberAt(body, "w")) controller.buttonsWidth = *width;
    } else if (type == "clearSelection") clearSelection();
    else if (type == "color") handleColor(controller, body);
    else if (type == "pin") handlePin(controller);
    else if (type == "snooze") handleSnooze(controller, body);
    else if (type == "close") {
        // Not inside the page's own callback: the window and page go away with the note.
        const std::string id = controller.id;
        later(0, [this, id] { deleteNotes({id}, false); });
    } else if (type == "link") handleLink(body);
    else if (type == "copy") handleCopy(body);
    else if (type == "paste") handlePaste(controller);
}

void Stickies::handleSave(StickyController& controller, const nlohmann::json& body) {
    auto text = textAt(body, "c");
    if (!text) return;
    // A page that had not yet seen the text last read from disk sends what the
    // file no longer holds: the file wins.
    if (auto seen = numberAt(body, "v"); seen && *seen < controller.contentVersion) return;
    writeNote(controller, *text);
}

void Stickies::handleColor(StickyController& controller, const nlohmann::json& body) {
    auto name = textAt(body, "name");
    auto record = state.stickies.find(controller.id);
    if (!name || record == state.stickies.end()) return;
    record->second.color = *name;
    Store::saveState(state);
    controller.sendColor(StickyColor::named(*name));
}

void Stickies::handlePin(StickyController& controller) {
    auto record = state.stickies.find(controller.id);
    if (record == state.stickies.end()) return;
    const bool pinned = !record->second.pinned.value_or(false);
    record->second.pinned = pinned;
    controller.window().setLevel(StickyController::level(pinned));
    Store::saveState(state);
}

void Stickies::handleSnooze(StickyController& controller, const nlohmann::json& body) {
    auto at = numberAt(body, "at");
    auto record = state.stickies.find(controller.id);
    if (!at || !std::isfinite(*at) || record == state.stickies.end()) return;
    const auto label = textAt(body, "label");
    record->second.snoozeUntil = std::floor(*at / 1000);
    record->second.snoozeLabel = label;
    Store::saveState(state);
    refresh();
    HUD::show("😴 Snoozed until " + label.value_or("later"), messageSeconds);
}

void Stickies::handleLink(const nlohmann::json& body) {
    if (auto url = textAt(body, "url")) Platform::desktop().openURL(*url);
}

void Stickies::handleCopy(const nlohmann::json& body) {
    if (auto text = textAt(body, "text")) Platform::clipboard().setText(*text);
}

void Stickies::handlePaste(StickyController& controller) {
    const std::string id = controller.id;
    Platform::clipboard().requestText([this, id](std::optional<std::string> text) {
        auto found = open.find(id);   // the note may be gone by the time the clipboard answers
        if (text && found != open.end()) found->second->sendPaste(*text);
    });
}

}
