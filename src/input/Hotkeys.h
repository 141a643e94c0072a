#pragma once
#include "platform/HotkeySource.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace marrowleaf {

// Three keyboard shortcuts that work whichever program has the keyboard:
// Ctrl+Alt+N makes a note under the pointer, Ctrl+Alt+S hides or shows the
// notes of the desktop in front, Ctrl+Alt+L opens the search panel. A
// combination another program holds is logged and does nothing; the others
// work all the same. Each press runs its action later, as a main-queue task
// of its own.
class Hotkeys {
public:
    using Action = std::function<void()>;

    // What the three keys do. The application passes the registry's
    // operations; an empty action makes its key do nothing.
    struct Actions {
        Action newSticky;
        Action toggleHere;
        Action search;
    };

    static Hotkeys& shared();

    // Starts hearing presses, then registers Ctrl+Alt+N, S and L in that
    // order, as ids 1, 2 and 3. Once per process: nothing unregisters them.
    void install(Actions keys);
    // Gives the combination the next id (one more than the actions held),
    // keeps `action` under it before asking the desktop, so it stays even
    // when the desktop refuses, and registers it. Returns the id.
    HotkeyId registerKey(char key, std::uint32_t modifiers, Action action);

    // One entry per registration asked for, in order: the key code the
    // desktop took, or absent where it refused.
    const std::vector<std::optional<std::uint32_t>>& registered() const { return refs; }
    bool hasAction(HotkeyId id) const { return actions.contains(id); }

    static constexpr std::uint32_t modifiers = HotkeyModifiers::control | HotkeyModifiers::alt;
    static constexpr char newStickyKey = 'N';
    static constexpr char toggleKey = 'S';
    static constexpr char searchKey = 'L';

private:
    std::vector<std::optional<std::uint32_t>> refs;
    std::map<HotkeyId, Action> actions;

    void pressed(HotkeyId id);
};

}
