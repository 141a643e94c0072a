#pragma once
#include "platform/HotkeySource.h"

#include <map>
#include <utility>
#include <vector>

namespace marrowleaf {

// Hot keys on a keyboard that exists only in memory: records each
// registration, refuses the combinations a test says another program holds,
// and lets a test press a registered one.
class FakeHotkeySource : public HotkeySource {
public:
    struct Registered {
        char key = 0;
        std::uint32_t modifiers = 0;
        HotkeyId id = 0;
        HotkeyRegistration answer;
    };

    void setPressHandler(PressHandler handler) override { pressed = std::move(handler); }
    HotkeyRegistration registerKey(char key, std::uint32_t modifiers, HotkeyId id) override;

    // Key codes the fake keyboard gives each name: the name's character code.
    static std::uint32_t keyCodeOf(char key) { return static_cast<unsigned char>(key); }

    // Another program holds `key`: its registration answers `status`.
    void refuse(char key, int status) { taken[key] = status; }
    // A press of the combination registered as `id`, delivered as the desktop
    // would deliver it: at once, to the press handler. An id no successful
    // registration gave is pressed all the same, as a stray event would be.
    void press(HotkeyId id);
    bool hasPressHandler() const { return static_cast<bool>(pressed); }

    // Every registration asked for, in order, refused ones included.
    std::vector<Registered> registrations;

private:
    PressHandler pressed;
    std::map<char, int> taken;
};

}
