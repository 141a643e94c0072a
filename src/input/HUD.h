#pragma once
#include <string>

namespace marrowleaf {

// The one way to report a command's result without a window: a short message
// low in the middle of the display under the pointer. A new message replaces
// the one on screen at once.
struct HUD {
    static void show(const std::string& text, double seconds);

    static constexpr double fadeIn = 0.12;
    static constexpr double fadeOut = 0.25;
    static constexpr double horizontalPadding = 28;
    static constexpr double verticalPadding = 16;
    // The pill's bottom edge stands this share of the display's height above its bottom.
    static constexpr double heightAboveBottom = 0.22;

    // Forgets the pill on screen (tests start each case from nothing).
    static void reset();
};

}
