#include "geometry/Geo.h"

#include "geometry/Snap.h"
#include "platform/Platform.h"
#include "shell/Log.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace marrowleaf {

namespace {

struct Holding {
    int depth = 0;
    std::optional<std::vector<Screen>> screens;
};

Holding& holding() {
    static Holding shared;
    return shared;
}

std::vector<Screen> attached() {
    Holding& now = holding();
    if (now.depth == 0) return Platform::screens().all();
    if (!now.screens) now.screens = Platform::screens().all();
    return *now.screens;
}

// The focused display, else the primary one. A desktop always has a display;
// should it report none, an empty one keeps the caller safe.
Screen fallbackScreen() {
    if (auto focused = Platform::screens().focused()) return *focused;
    auto screens = attached();
    if (!screens.empty()) return screens.front();
    Log::error("can't find any display; using an empty one");
    return Screen{};
}

}

Geo::Held::Held() { ++holding().depth; }

Geo::Held::~Held() {
    if (--holding().depth == 0) holding().screens.reset();
}

std::optional<std::string> Geo::uuid(const Screen& screen) {
    if (screen.uuid.empty()) return std::nullopt;
    return screen.uuid;
}

std::string Geo::primaryUUID() {
    auto screens = attached();
    if (screens.empty()) return "";
    return uuid(screens.front()).value_or("");
}

bool Geo::sameUUID(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](unsigned char x, unsigned char y) {
        return std::tolower(x) == std::tolower(y);
    });
}

std::optional<Screen> Geo::screen(std::string_view wanted) {
    for (const auto& screen : attached()) {
        auto name = uuid(screen);
        if (name && sameUUID(*name, wanted)) return screen;
    }
    return std::nullopt;
}

std::optional<Screen> Geo::screenContaining(Point point) {
    for (const auto& screen : attached()) {
        if (screen.frame.contains(point)) return screen;
    }
    return std::nullopt;
}

Screen Geo::screenFor(Rect rect) {
    if (auto under = screenContaining(rect.centre())) return *under;
    return fallbackScreen();
}

Point Geo::mouse() { return Platform::screens().pointer(); }

Screen Geo::mouseScreen() {
    if (auto under = screenContaining(mouse())) return *under;
    return fallbackScreen();
}

Rect Geo::clamp(Rect rect, const Screen& screen, double inset) {
    return clamp(rect, screen.visibleFrame, inset);
}

namespace {

// Between the smallest note and the area's size; the area wins when it is smaller still.
double fitted(double size, double smallest, double room) {
    if (!std::isfinite(size)) size = smallest;
    return std::min(std::max(size, smallest), room);
}

double finiteOr(double value, double fallback) { return std::isfinite(value) ? value : fallback; }

}

Rect Geo::clamp(Rect rect, Rect visible, double inset) {
    const double width = fitted(rect.width, Snap::minimumWidth, visible.width);
    const double height = fitted(rect.height, Snap::minimumHeight, visible.height);
    rect.x = finiteOr(rect.x, visible.minX());
    rect.y = finiteOr(rect.y, visible.minY());
    // The far edge first and the near edge last: when the note cannot fit, its
    // top-left corner (where its header and text begin) is the part kept on screen.
    double x = std::min(rect.minX(), visible.maxX() - width + inset);
    x = std::max(x, visible.minX() - inset);
    double y = std::min(rect.minY(), visible.maxY() - height + inset);
    y = std::max(y, visible.minY() - inset);
    return {x, y, width, height};
}

}
