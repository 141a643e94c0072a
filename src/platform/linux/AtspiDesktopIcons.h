#pragma once
#include "geometry/Rect.h"
#include "platform/Accessibility.h"

#include <cstdint>
#include <sys/types.h>

typedef struct _AtspiAccessible AtspiAccessible;

namespace marrowleaf {

// Asks the program that draws the desktop, over AT-SPI, whether one of its
// icons lies under a point. The program's accessible and its desktop window
// are looked up once and kept while they keep answering; when the program is
// not on AT-SPI the look-up is tried again only after a while, so a probe of
// a desktop that shows no icons this way stays quick.
class AtspiDesktopIcons {
public:
    AtspiDesktopIcons() = default;
    ~AtspiDesktopIcons();
    AtspiDesktopIcons(const AtspiDesktopIcons&) = delete;
    AtspiDesktopIcons& operator=(const AtspiDesktopIcons&) = delete;

    // What the desktop window of process `pid`, covering `window` on screen,
    // shows at `point`: `desktopIcon` for an icon or its label, `desktopBackground`
    // for its background (or when the program tells nothing over AT-SPI), and
    // `unknown` when it was asked and failed to answer.
    DesktopHit at(pid_t pid, Rect window, Point point);

private:
    enum class Bus { untried, available, unavailable };

    Bus bus = Bus::untried;
    pid_t appPid = 0;
    Rect frameArea;
    AtspiAccessible* app = nullptr;
    AtspiAccessible* frame = nullptr;
    pid_t missedPid = 0;
    std::int64_t retryAt = 0;   // monotonic microseconds
    bool reportedFailure = false;

    bool connect();
    bool lookUp(pid_t pid, Rect window, Point point);
    AtspiAccessible* findApplication(pid_t pid);
    AtspiAccessible* findDesktopWindow(Rect window, Point point);
    DesktopHit hitTest(Point point);
    void forget();
    void reportFailure(const char* what, const char* message);
};

}
