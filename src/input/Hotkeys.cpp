#include "input/Hotkeys.h"

#include "platform/MainQueue.h"
#include "platform/Platform.h"
#include "shell/Log.h"

#include <string>
#include <utility>

namespace marrowleaf {

Hotkeys& Hotkeys::shared() {
    static Hotkeys instance;
    return instance;
}

void Hotkeys::install(Actions keys) {
    Platform::hotkeySource().setPressHandler([this](HotkeyId id) { pressed(id); });
    registerKey(newStickyKey, modifiers, std::move(keys.newSticky));
    registerKey(toggleKey, modifiers, std::move(keys.toggleHere));
    registerKey(searchKey, modifiers, std::move(keys.search));
}

HotkeyId Hotkeys::registerKey(char key, std::uint32_t keyModifiers, Action action) {
    const auto id = static_cast<HotkeyId>(actions.size() + 1);
    actions[id] = std::move(action);
    const HotkeyRegistration answer = Platform::hotkeySource().registerKey(key, keyModifiers, id);
    if (!answer.registered())
        Log::error("hotkey " + std::to_string(answer.keyCode) + " unavailable (" +
                   std::to_string(answer.status) + ")");
    refs.push_back(answer.registered() ? std::optional(answer.keyCode) : std::nullopt);
    return id;
}

// The desktop may report a press while other work is under way; the action
// waits for its own turn on the main queue, so two quick presses are two runs.
void Hotkeys::pressed(HotkeyId id) {
    Platform::mainQueue().post([this, id] {
        auto known = actions.find(id);
        if (known != actions.end() && known->second) known->second();
    });
}

}
