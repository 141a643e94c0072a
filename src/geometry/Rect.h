#pragma once
#include <iosfwd>

namespace marrowleaf {

// A point in the global top-left space: origin at the top-left corner of the
// primary display, x to the right, y downwards, in points.
struct Point {
    double x = 0;
    double y = 0;

    bool operator==(const Point&) const = default;
};

// A rectangle in the same space, given by its top-left corner and its size.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double minY() const { return y; }
    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    double midX() const { return x + width / 2; }
    double midY() const { return y + height / 2; }
    Point centre() const { return {midX(), midY()}; }

    // Minimum edges inclusive, maximum edges exclusive, so a point on the
    // shared edge of two side-by-side rectangles belongs to one of them only.
    bool contains(Point p) const { return p.x >= minX() && p.x < maxX() && p.y >= minY() && p.y < maxY(); }
    // Whether the two share some of their inside; rectangles that only touch
    // along an edge do not.
    bool intersects(const Rect& o) const {
        return minX() < o.maxX() && o.minX() < maxX() && minY() < o.maxY() && o.minY() < maxY();
    }
    // Shrinks by `d` on every side (grows when `d` is negative).
    Rect inset(double d) const { return {x + d, y + d, width - 2 * d, height - 2 * d}; }

    bool operator==(const Rect&) const = default;
};

// "(x, y) wxh" for log lines and test failures.
std::ostream& operator<<(std::ostream& out, Point p);
std::ostream& operator<<(std::ostream& out, const Rect& r);

}
