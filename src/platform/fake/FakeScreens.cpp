#include "platform/fake/FakeScreens.h"

namespace marrowleaf {

namespace {

constexpr double topBarHeight = 25;

}

Screen FakeScreens::display(std::uint32_t id, std::string uuid, Rect frame, std::optional<Rect> visible) {
    const Rect usable = visible.value_or(
        Rect{frame.x, frame.y + topBarHeight, frame.width, frame.height - topBarHeight});
    return Screen{id, std::move(uuid), frame, usable};
}

void FakeScreens::change(std::vector<Screen> now) {
    screens = std::move(now);
    changes.emit();
}

}
