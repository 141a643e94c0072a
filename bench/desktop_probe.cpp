// Times the two probes a desktop click waits on while the pointer is held:
// Spaces::update() and AX::isDesktop(), 1,000 calls each, against the X
// display in $DISPLAY. Prints figures only; it judges nothing.
//
//   bench_desktop_probe [--icon x,y] [x,y ...]
//
// Each x,y is a point to probe (default: the first display's centre). With
// --icon, the desktop must first show an icon at that point (waited for up to
// 20 s), which is then probed too, so the figures include a desktop icon.

#include "geometry/AX.h"
#include "geometry/Spaces.h"
#include "platform/Platform.h"
#include "platform/linux/XcbAccessibility.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbScreens.h"
#include "platform/linux/XcbWindowServer.h"

#include <glib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

using namespace marrowleaf;

namespace {

constexpr int calls = 1000;
constexpr int warmUpCalls = 20;
constexpr auto iconWait = std::chrono::seconds(20);
constexpr auto iconPoll = std::chrono::milliseconds(100);

const char* describe(DesktopHit hit) {
    switch (hit) {
    case DesktopHit::unknown:
        return "unknown";
    case DesktopHit::bareDesktop:
        return "bare desktop";
    case DesktopHit::desktopBackground:
        return "desktop program's background";
    case DesktopHit::desktopIcon:
        return "desktop icon";
    case DesktopHit::window:
        return "window";
    case DesktopHit::ownWindow:
        return "own window";
    }
    return "?";
}

void time(const std::string& what, const std::function<void()>& call) {
    for (int i = 0; i < warmUpCalls; ++i)
        call();
    std::vector<double> milliseconds;
    milliseconds.reserve(calls);
    for (int i = 0; i < calls; ++i) {
        const auto start = std::chrono::steady_clock::now();
        call();
        milliseconds.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::ranges::sort(milliseconds);
    const double median = (milliseconds[calls / 2 - 1] + milliseconds[calls / 2]) / 2;
    std::printf("%-44s median %7.3f ms   worst %7.3f ms   (%d calls)\n", what.c_str(), median,
                milliseconds.back(), calls);
}

std::optional<Point> parsePoint(const char* text) {
    double x = 0, y = 0;
    if (std::sscanf(text, "%lf,%lf", &x, &y) == 2) return Point{x, y};
    std::fprintf(stderr, "ignoring \"%s\": a point is written x,y\n", text);
    return std::nullopt;
}

// Lets the desktop program come up: asks every 100 ms, running the main loop
// in between, until the point reads as an icon.
bool waitForIcon(const XcbAccessibility& accessibility, Point icon) {
    const auto deadline = std::chrono::steady_clock::now() + iconWait;
    while (std::chrono::steady_clock::now() < deadline) {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
        if (accessibility.whatIsAt(icon) == DesktopHit::desktopIcon) return true;
        g_usleep(std::chrono::duration_cast<std::chrono::microseconds>(iconPoll).count());
    }
    return false;
}

}

int main(int argc, char** argv) {
    XcbConnection connection;
    if (!connection.connected()) {
        std::fprintf(stderr, "can't connect to the X display in $DISPLAY\n");
        return 1;
    }
    XcbScreens screens(connection);
    XcbWindowServer windowServer(connection, screens);
    XcbAccessibility accessibility(connection);
    Platform::Services platform;
    platform.screens = &screens;
    platform.windowServer = &windowServer;
    platform.accessibility = &accessibility;
    Platform::install(platform);

    std::vector<Point> points;
    std::optional<Point> icon;
    for (int i = 1; i < argc; ++i) {
        const bool iconNext = std::string(argv[i]) == "--icon" && i + 1 < argc;
        auto point = parsePoint(argv[iconNext ? ++i : i]);
        if (!point) continue;
        if (iconNext) icon = point;
        points.push_back(*point);
    }
    if (points.empty() && !screens.all().empty()) points.push_back(screens.all().front().frame.centre());
    if (icon && !waitForIcon(accessibility, *icon))
        std::fprintf(stderr, "the desktop showed no icon at %g,%g within 20 s; timing it anyway\n", icon->x,
                     icon->y);

    std::printf("displays: %zu, trusted: %s\n", screens.all().size(), accessibility.trusted() ? "yes" : "no");
    Spaces::update();
    std::printf("desktops on the first display: %zu\n",
                Spaces::displays().empty() ? std::size_t{0} : Spaces::displays().front().spaces.size());
    time("Spaces::update()", [] { Spaces::update(); });
    for (Point p : points) {
        char label[96];
        std::snprintf(label, sizeof label, "AX::isDesktop(%g, %g) [%s]", p.x, p.y,
                      describe(accessibility.whatIsAt(p)));
        time(label, [p] { AX::isDesktop(p); });
    }
    return 0;
}
