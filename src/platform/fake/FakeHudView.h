#pragma once
#include "platform/HudView.h"

#include <memory>
#include <vector>

namespace marrowleaf {

// Message pills that only record what a person would have seen.
class FakeHudView : public HudView {
public:
    struct Pill {
        std::string text;
        Rect frame;
        Size padding;
        double fadeInSeconds = 0;
        double fadeOutSeconds = 0;
        bool shown = false;        // faded in and not yet hidden
        bool fadedOut = false;     // hidden by a fade
        bool orderedOut = false;   // hidden at once, without a fade
    };

    // Text measures 9 points a character and 20 high.
    Size textSize(const std::string& text) override { return {9.0 * static_cast<double>(text.size()), 20}; }
    std::unique_ptr<HudPill> makePill(const std::string& text, Rect frame, Size padding) override;

    // Every pill ever made, oldest first; entries outlive the pills themselves.
    std::vector<std::shared_ptr<Pill>> pills;
    // The pill on screen now, if any.
    const Pill* onScreen() const;
};

}
