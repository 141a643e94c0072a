#include "registry/Stickies.h"

#include "input/HUD.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"
#include "storage/Store.h"
#include "window/PageNames.h"

#include <cmath>
#include <map>
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
    using Handler = void (Stickies::*)(StickyController&, const nlohmann::json&);
    static const std::map<std::string, Handler> handlers{
        {page::message::save, &Stickies::handleSave},
        {page::message::focus, &Stickies::handleFocus},
        {page::message::bar, &Stickies::handleBar},
        {page::message::clearSelection, &Stickies::handleClearSelection},
        {page::message::color, &Stickies::handleColor},
        {page::message::pin, &Stickies::handlePin},
        {page::message::snooze, &Stickies::handleSnooze},
        {page::message::close, &Stickies::handleClose},
        {page::message::link, &Stickies::handleLink},
        {page::message::copy, &Stickies::handleCopy},
        {page::message::paste, &Stickies::handlePaste},
        {page::message::conflict, &Stickies::handleConflict},
    };
    // Types are matched exactly: "Save" is not "save".
    if (auto found = handlers.find(type); found != handlers.end()) (this->*found->second)(controller, body);
}

void Stickies::handleFocus(StickyController& controller, const nlohmann::json&) {
    controller.window().focus();
}

void Stickies::handleBar(StickyController& controller, const nlohmann::json& body) {
    if (auto width = numberAt(body, page::field::width)) controller.buttonsWidth = *width;
    // Every page reports its buttons once it runs.
    pages.started(controller.id);
}

void Stickies::handleClearSelection(StickyController&, const nlohmann::json&) { clearSelection(); }

void Stickies::handleClose(StickyController& controller, const nlohmann::json&) {
    // Not inside the page's own callback: the window and page go away with the note.
    const std::string id = controller.id;
    later(0, [this, id] { deleteNotes({id}, false); });
}

void Stickies::handleSave(StickyController& controller, const nlohmann::json& body) {
    auto text = textAt(body, page::field::text);
    if (!text) return;
    // A page that had not yet seen the text last read from disk sends what the
    // file no longer holds: the file wins.
    if (auto seen = numberAt(body, page::field::version); seen && *seen < controller.contentVersion) return;
    writeNote(controller, *text);
}

void Stickies::handleColor(StickyController& controller, const nlohmann::json& body) {
    auto name = textAt(body, page::field::name);
    auto record = state.stickies.find(controller.id);
    if (!name || record == state.stickies.end()) return;
    record->second.color = *name;
    Store::saveState(state);
    controller.sendColor(StickyColor::named(*name));
}

void Stickies::handlePin(StickyController& controller, const nlohmann::json&) {
    auto record = state.stickies.find(controller.id);
    if (record == state.stickies.end()) return;
    const bool pinned = !record->second.pinned.value_or(false);
    record->second.pinned = pinned;
    controller.window().setLevel(StickyController::level(pinned));
    Store::saveState(state);
}

void Stickies::handleSnooze(StickyController& controller, const nlohmann::json& body) {
    auto at = numberAt(body, page::field::at);
    auto record = state.stickies.find(controller.id);
    if (!at || !std::isfinite(*at) || record == state.stickies.end()) return;
    const auto label = textAt(body, page::field::label);
    record->second.snoozeUntil = std::floor(*at / 1000);
    record->second.snoozeLabel = label;
    Store::saveState(state);
    refresh();
    HUD::show("😴 Snoozed until " + label.value_or("later"), messageSeconds);
}

void Stickies::handleLink(StickyController&, const nlohmann::json& body) {
    if (auto url = textAt(body, page::field::url)) Platform::workspace().openURL(*url);
}

void Stickies::handleCopy(StickyController&, const nlohmann::json& body) {
    if (auto text = textAt(body, page::field::copied)) Platform::pasteboard().setText(*text);
}

void Stickies::handlePaste(StickyController& controller, const nlohmann::json&) {
    const std::string id = controller.id;
    Platform::pasteboard().requestText([this, id](std::optional<std::string> text) {
        auto found = open.find(id);   // the note may be gone by the time the clipboard answers
        if (text && found != open.end()) found->second->sendPaste(*text);
    });
}

void Stickies::handleConflict(StickyController& controller, const nlohmann::json& body) {
    const auto choice = textAt(body, page::field::choice);
    if (!choice || !controller.copyOf) return;
    // Not inside the page's own callback: the copy's window goes with it.
    const std::string id = controller.id;
    if (*choice == page::choice::keep)
        later(0, [this, id] { keepConflictCopy(id); });
    else if (*choice == page::choice::dismiss)
        later(0, [this, id] { dismissConflictCopy(id); });
}

}
