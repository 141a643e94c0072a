#include "input/HUD.h"

#include "geometry/Geo.h"
#include "platform/HudView.h"
#include "platform/MainQueue.h"
#include "platform/Platform.h"

#include <memory>
#include <optional>

namespace marrowleaf {

namespace {

std::unique_ptr<HudPill> window;
std::optional<TimerId> hideWork;

Rect pillFrame(Size text) {
    const Size pill{text.width + 2 * HUD::horizontalPadding, text.height + 2 * HUD::verticalPadding};
    const Rect screen = Geo::mouseScreen().frame;
    return {screen.midX() - pill.width / 2,
            screen.maxY() - HUD::heightAboveBottom * screen.height - pill.height, pill.width, pill.height};
}

}

void HUD::show(const std::string& text, double seconds) {
    if (hideWork) Platform::mainQueue().cancel(*hideWork);
    hideWork.reset();
    if (window) window->orderOut();

    HudView& view = Platform::hudView();
    const Rect frame = pillFrame(view.textSize(text));
    window = view.makePill(text, frame, {horizontalPadding, verticalPadding});
    window->fadeIn(fadeIn);

    // The hide only ever fades the pill it was made for: a newer message cancels it first.
    HudPill* shown = window.get();
    hideWork = Platform::mainQueue().after(seconds, [shown] {
        hideWork.reset();
        if (window.get() == shown) shown->fadeOut(fadeOut);
    });
}

void HUD::reset() {
    hideWork.reset();
    window.reset();
}

}
