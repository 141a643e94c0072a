#pragma once
#include <cstdint>
#include <functional>

namespace marrowleaf {

using HotkeyId = std::uint32_t;

// The modifiers a hot key is held with, combined with `|`.
struct HotkeyModifiers {
    static constexpr std::uint32_t control = 1u << 0;
    static constexpr std::uint32_t alt = 1u << 1;
    static constexpr std::uint32_t shift = 1u << 2;
};

// What the desktop answered to a hot key's registration.
struct HotkeyRegistration {
    // The desktop's own code of the key it took the name to mean (on X11 the
    // key code of the current keyboard map); 0 when no key has that name.
    std::uint32_t keyCode = 0;
    // 0 when the combination is ours; else the desktop's reason it is not,
    // such as another program holding it.
    int status = 0;

    bool registered() const { return status == 0; }
    bool operator==(const HotkeyRegistration&) const = default;
};

// Key combinations that reach the program whichever program has the keyboard.
// A combination stays registered for the life of the source, and follows its
// key name to whichever key gives it when the keyboard map changes.
class HotkeySource {
public:
    using PressHandler = std::function<void(HotkeyId id)>;
    virtual ~HotkeySource() = default;

    // Who hears presses from now on: called on the main queue's thread, once
    // for each press of a registered combination, with the id it was registered under.
    virtual void setPressHandler(PressHandler handler) = 0;
    // Registers `key` (a portable key name: 'A'…'Z', '0'…'9') held with
    // `modifiers`, to be reported as `id`.
    virtual HotkeyRegistration registerKey(char key, std::uint32_t modifiers, HotkeyId id) = 0;
};

}
