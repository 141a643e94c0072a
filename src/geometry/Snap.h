#pragma once
#include "geometry/Rect.h"

#include <span>

namespace marrowleaf {

// Pulls a note being moved or resized onto nearby preferred positions:
// a margin from the screen's usable edges, neighbours' edges and centres,
// or a place right beside a neighbour. Pure functions; all rectangles top-left.
struct Snap {
    // Keeps the size; may change the origin. Each axis snaps on its own.
    static Rect move(Rect proposed, std::span<const Rect> neighbours, Rect screen);
    // Keeps the top-left corner; may move the right and bottom edges.
    static Rect resize(Rect proposed, std::span<const Rect> neighbours, Rect screen);

    static constexpr double screenMargin = 14;
    // The transparent margin of a note window, taken off the screen margin so
    // the visible body, not the window, sits `screenMargin` inside.
    static constexpr double marginAllowance = 6;
    // A note placed beside another overlaps its window frame by this much, so
    // the two visible bodies stay 2 × 6 − 2 = 10 points apart.
    static constexpr double overlap = 2;
    // A neighbour offers positions on one axis only when it is closer than
    // this on the other axis.
    static constexpr double reach = 120;
    static constexpr double distance = 12.001;   // strictly closer than this snaps
    static constexpr double minimumWidth = 170;
    static constexpr double minimumHeight = 110;
};

}
