#pragma once
#include "geometry/Rect.h"
#include "geometry/Size.h"

#include <memory>
#include <string>

namespace marrowleaf {

// One message pill on screen: dark, rounded, translucent, one line of white
// text. It never takes focus and clicks pass through it; it shows on every
// desktop and over full-screen windows.
class HudPill {
public:
    virtual ~HudPill() = default;
    // Maps the pill at alpha 0 and animates it to 1.
    virtual void fadeIn(double seconds) = 0;
    // Animates to alpha 0, then hides the pill.
    virtual void fadeOut(double seconds) = 0;
    // Hides the pill at once, without a fade.
    virtual void orderOut() = 0;
};

// Makes message pills.
class HudView {
public:
    virtual ~HudView() = default;
    // The size of `text` set in the message font (17 points, medium weight).
    virtual Size textSize(const std::string& text) = 0;
    // A hidden pill at `frame` with the text centred, `padding` from the sides.
    virtual std::unique_ptr<HudPill> makePill(const std::string& text, Rect frame, Size padding) = 0;
};

}
