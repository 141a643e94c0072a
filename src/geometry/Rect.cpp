#include "geometry/Rect.h"

#include <ostream>

namespace marrowleaf {

std::ostream& operator<<(std::ostream& out, Point p) { return out << "(" << p.x << ", " << p.y << ")"; }

std::ostream& operator<<(std::ostream& out, const Rect& r) {
    return out << "(" << r.x << ", " << r.y << ") " << r.width << "x" << r.height;
}

}
