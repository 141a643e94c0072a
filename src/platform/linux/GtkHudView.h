#pragma once
#include "platform/HudView.h"

namespace marrowleaf {

// Message pills as small override-redirect GTK windows: the window manager
// never manages them, so they show on every desktop and over full-screen
// windows, and an empty input shape lets clicks through.
class GtkHudView : public HudView {
public:
    Size textSize(const std::string& text) override;
    std::unique_ptr<HudPill> makePill(const std::string& text, Rect frame, Size padding) override;
};

}
