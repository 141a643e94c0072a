#pragma once
#include "geometry/Rect.h"
#include "platform/Accessibility.h"
#include "platform/MouseTap.h"

#include <memory>

namespace marrowleaf {

class Stickies;

// The left button on the bare desktop: an Alt-click makes a note at the click
// (and neither the press nor its release reaches the desktop), a plain drag
// draws a box that selects the notes it touches (with a rubber band on the
// bare root; a desktop program draws its own), and a plain click clears the
// selection. Clicks on notes, and every click while no note is on screen,
// pass untouched.
class DesktopMouse {
public:
    static DesktopMouse& shared();

    explicit DesktopMouse(Stickies& registry);
    ~DesktopMouse();
    DesktopMouse(const DesktopMouse&) = delete;
    DesktopMouse& operator=(const DesktopMouse&) = delete;

    // Starts the desktop tap; whether it runs. Starting again once it runs
    // does nothing.
    bool start();
    MouseAnswer handle(const MouseEvent& event);

    enum class Press { none, pending, onDesktop, notDesktop };
    Press press() const { return state; }
    // Where the press being tracked began; (0, 0) when none is.
    Point pressPoint() const { return pressStart; }

    static constexpr const char* unavailableMessage =
        "event tap unavailable (no X11 session with XInput 2.2, or another program holds Alt+click)";
    static constexpr const char* startedMessage = "desktop mouse features on";

private:
    Stickies& registry;
    Press state = Press::none;
    Point pressStart;
    bool swallowRelease = false;
    bool drawsBand = false;   // the press being tracked lies on the bare root
    bool bandShown = false;
    bool failureLogged = false;
    // Lets a desktop check that finishes after this object is gone do nothing.
    std::shared_ptr<DesktopMouse*> self = std::make_shared<DesktopMouse*>(this);

    MouseAnswer pressed(const MouseEvent& event);
    MouseAnswer released();
    MouseAnswer dragged(const MouseEvent& event);
    MouseAnswer altPressed(Point point);
    void checkDesktopLater(Point point);
    void desktopChecked(Point point, DesktopHit hit);
    void showBand(Rect box);
    void hideBand();
};

}
