#include "platform/linux/AtspiDesktopIcons.h"

#include "shell/Log.h"

#include <atspi/atspi.h>

#include <cmath>

namespace marrowleaf {

namespace {

// A desktop program that hangs holds a desktop click this long at most.
constexpr gint callTimeoutMilliseconds = 250;
constexpr gint noStartupGrace = -1;
// How long a desktop program that is not on AT-SPI is left alone before it is looked for again.
constexpr std::int64_t retryMicroseconds = 2'000'000;
// Containers nested deeper than this under the desktop window are not searched for icons.
constexpr int descentLimit = 4;
// AT-SPI and X may round a window's corner differently.
constexpr double sameAreaSlack = 1;

// Roles of what holds icons rather than being one: the point is on the
// background unless something inside them is under it. Anything else under
// the point (icon, list item, label, image, text, or a role the desktop
// program left unknown) is an icon or part of one.
bool isContainer(AtspiRole role) {
    switch (role) {
    case ATSPI_ROLE_WINDOW:
    case ATSPI_ROLE_FRAME:
    case ATSPI_ROLE_DESKTOP_FRAME:
    case ATSPI_ROLE_ROOT_PANE:
    case ATSPI_ROLE_LAYERED_PANE:
    case ATSPI_ROLE_SCROLL_PANE:
    case ATSPI_ROLE_VIEWPORT:
    case ATSPI_ROLE_FILLER:
    case ATSPI_ROLE_PANEL:
    case ATSPI_ROLE_CANVAS:
    case ATSPI_ROLE_DRAWING_AREA:
    case ATSPI_ROLE_LIST:
    case ATSPI_ROLE_LIST_BOX:
    case ATSPI_ROLE_TABLE:
    case ATSPI_ROLE_TREE:
    case ATSPI_ROLE_TREE_TABLE:
    case ATSPI_ROLE_SECTION:
    case ATSPI_ROLE_GROUPING:
        return true;
    default:
        return false;
    }
}

bool sameArea(const AtspiRect& extents, Rect area) {
    return std::abs(extents.x - area.x) <= sameAreaSlack && std::abs(extents.y - area.y) <= sameAreaSlack &&
           std::abs(extents.width - area.width) <= sameAreaSlack &&
           std::abs(extents.height - area.height) <= sameAreaSlack;
}

bool holds(const AtspiRect& extents, Point point) {
    return Rect{static_cast<double>(extents.x), static_cast<double>(extents.y),
                static_cast<double>(extents.width), static_cast<double>(extents.height)}
        .contains(point);
}

// The accessible at `point` among `parent`'s children; nothing when none is,
// with `error` set when the program failed to answer.
AtspiAccessible* childAt(AtspiAccessible* parent, Point point, GError** error) {
    AtspiComponent* component = atspi_accessible_get_component_iface(parent);
    if (!component) return nullptr;
    AtspiAccessible* hit = atspi_component_get_accessible_at_point(
        component, static_cast<gint>(std::lround(point.x)), static_cast<gint>(std::lround(point.y)),
        ATSPI_COORD_TYPE_SCREEN, error);
    g_object_unref(component);
    return hit;
}

}

AtspiDesktopIcons::~AtspiDesktopIcons() { forget(); }

void AtspiDesktopIcons::forget() {
    g_clear_object(&frame);
    g_clear_object(&app);
    appPid = 0;
}

void AtspiDesktopIcons::reportFailure(const char* what, const char* message) {
    // Once per outage: the desktop click asks on every press.
    if (!reportedFailure)
        Log::error(std::string("can't ") + what + " over AT-SPI: " + (message ? message : "no answer"));
    reportedFailure = true;
}

bool AtspiDesktopIcons::connect() {
    if (bus == Bus::untried) {
        const int status = atspi_init();
        constexpr int alreadyInitialised = 1;
        bus = status == 0 || status == alreadyInitialised ? Bus::available : Bus::unavailable;
        if (bus == Bus::available)
            atspi_set_timeout(callTimeoutMilliseconds, noStartupGrace);
        else
            reportFailure("reach the accessibility bus", "atspi_init failed");
    }
    return bus == Bus::available;
}

DesktopHit AtspiDesktopIcons::at(pid_t pid, Rect window, Point point) {
    if (!connect()) return DesktopHit::desktopBackground;
    const bool known = frame && pid == appPid && window == frameArea;
    if (!known) {
        if (pid == missedPid && g_get_monotonic_time() < retryAt) return DesktopHit::desktopBackground;
        if (!lookUp(pid, window, point)) {
            missedPid = pid;
            retryAt = g_get_monotonic_time() + retryMicroseconds;
            return DesktopHit::desktopBackground;
        }
    }
    return hitTest(point);
}

bool AtspiDesktopIcons::lookUp(pid_t pid, Rect window, Point point) {
    forget();
    app = findApplication(pid);
    if (!app) return false;
    frame = findDesktopWindow(window, point);
    if (!frame) {
        forget();
        return false;
    }
    appPid = pid;
    frameArea = window;
    missedPid = 0;
    return true;
}

AtspiAccessible* AtspiDesktopIcons::findApplication(pid_t pid) {
    AtspiAccessible* desktop = atspi_get_desktop(0);
    if (!desktop) return nullptr;
    AtspiAccessible* found = nullptr;
    const gint count = atspi_accessible_get_child_count(desktop, nullptr);
    for (gint i = 0; i < count && !found; ++i) {
        AtspiAccessible* candidate = atspi_accessible_get_child_at_index(desktop, i, nullptr);
        if (!candidate) continue;
        if (atspi_accessible_get_process_id(candidate, nullptr) == static_cast<guint>(pid))
            found = candidate;
        else
            g_object_unref(candidate);
    }
    g_object_unref(desktop);
    return found;
}

// The application's top-level accessible that covers the same area as the
// desktop window, else the first that holds the point.
AtspiAccessible* AtspiDesktopIcons::findDesktopWindow(Rect window, Point point) {
    AtspiAccessible* holding = nullptr;
    AtspiAccessible* same = nullptr;
    const gint count = atspi_accessible_get_child_count(app, nullptr);
    for (gint i = 0; i < count && !same; ++i) {
        AtspiAccessible* candidate = atspi_accessible_get_child_at_index(app, i, nullptr);
        if (!candidate) continue;
        AtspiComponent* component = atspi_accessible_get_component_iface(candidate);
        AtspiRect* extents =
            component ? atspi_component_get_extents(component, ATSPI_COORD_TYPE_SCREEN, nullptr) : nullptr;
        if (component) g_object_unref(component);
        if (extents && sameArea(*extents, window))
            same = candidate;
        else if (extents && !holding && holds(*extents, point))
            holding = candidate;
        else
            g_object_unref(candidate);
        g_free(extents);
    }
    if (same) {
        if (holding) g_object_unref(holding);
        return same;
    }
    return holding;
}

DesktopHit AtspiDesktopIcons::hitTest(Point point) {
    auto* container = static_cast<AtspiAccessible*>(g_object_ref(frame));
    DesktopHit answer = DesktopHit::desktopBackground;
    for (int depth = 0; depth < descentLimit; ++depth) {
        GError* error = nullptr;
        AtspiAccessible* hit = childAt(container, point, &error);
        if (error) {
            reportFailure("ask the desktop for its icons", error->message);
            g_error_free(error);
            if (hit) g_object_unref(hit);
            answer = DesktopHit::unknown;
            break;
        }
        reportedFailure = false;
        const bool background = !hit || hit == container;
        if (background || !isContainer(atspi_accessible_get_role(hit, nullptr))) {
            if (hit) g_object_unref(hit);
            answer = background ? DesktopHit::desktopBackground : DesktopHit::desktopIcon;
            break;
        }
        g_object_unref(container);
        container = hit;
    }
    g_object_unref(container);
    if (answer == DesktopHit::unknown) forget();
    return answer;
}

}
