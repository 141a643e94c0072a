#include "platform/fake/FakeHotkeySource.h"

namespace marrowleaf {

HotkeyRegistration FakeHotkeySource::registerKey(char key, std::uint32_t modifiers, HotkeyId id) {
    HotkeyRegistration answer{keyCodeOf(key), 0};
    if (auto holder = taken.find(key); holder != taken.end()) answer.status = holder->second;
    registrations.push_back({key, modifiers, id, answer});
    return answer;
}

void FakeHotkeySource::press(HotkeyId id) {
    if (pressed) pressed(id);
}

}
