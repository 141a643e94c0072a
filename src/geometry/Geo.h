#pragma once
#include "geometry/Rect.h"
#include "platform/Screens.h"

#include <optional>
#include <string>
#include <string_view>

namespace marrowleaf {

// Names displays and finds the display under a point or a rectangle. Keeps no
// state: every call reads the current screen list, unless a `Geo::Held` is
// alive. All geometry is in the
// global top-left space whose origin is the primary display's top-left corner.
struct Geo {
    // While one is alive, the calls below read the displays once and answer
    // from that list. One action asks about many notes, and each reading is a
    // trip to the desktop; the displays' changes reach the program through the
    // main loop anyway, so they can't be missed within one action. Nests.
    class Held {
    public:
        Held();
        ~Held();
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;
    };

    // The display's UUID text; nothing when the platform could not name it.
    static std::optional<std::string> uuid(const Screen& screen);
    // The primary display's UUID; empty when there is no display or no UUID.
    static std::string primaryUUID();
    // Display UUIDs are compared without regard to case.
    static bool sameUUID(std::string_view a, std::string_view b);

    // The first display, in platform order, with that UUID.
    static std::optional<Screen> screen(std::string_view uuid);
    // The first display, in platform order, whose whole frame holds the point
    // (left and top edges inclusive, right and bottom edges exclusive).
    static std::optional<Screen> screenContaining(Point point);
    // The display under the rectangle's centre, else the focused display, else
    // the primary one.
    static Screen screenFor(Rect rect);

    // The pointer's location.
    static Point mouse();
    // The display under the pointer, else the focused display, else the primary one.
    static Screen mouseScreen();

    // Keeps a note on a display's visible area: grows it to the smallest note
    // (a size that is no number counts as too small) and shrinks it to that
    // area if it is larger, then moves it inside, letting it hang over each
    // edge by up to `inset` points (a negative inset keeps it that far inside).
    // When it still cannot fit, its top-left corner stays on screen. A position
    // that is no number puts it at the area's top-left corner.
    static Rect clamp(Rect rect, const Screen& screen, double inset);
    static Rect clamp(Rect rect, Rect visibleArea, double inset);
};

}
