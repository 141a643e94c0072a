#pragma once
#include "geometry/Rect.h"
#include "platform/MouseTap.h"
#include "platform/WindowServer.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace marrowleaf {

class Stickies;
class Subscription;

// Moves and resizes notes with the left button in their own windows: the
// header strip moves a note (with every selected note when it is selected),
// the bottom-right grip resizes it, both snapping unless Ctrl is held.
// Shift-click on a header toggles the note's selection. While notes move, a
// trash target shows; notes released over it are deleted.
class StickyDrag {
public:
    enum class Kind { move, resize };

    struct Drag {
        std::string id;
        Kind kind = Kind::move;
        Point start;
        std::map<std::string, Rect> frames;
        std::set<std::string> group;
        bool moved = false;
        bool overTrash = false;
        // The desktops in front when it began: another in front cancels it.
        std::set<SpaceId> spaces;
    };

    static StickyDrag& shared();

    explicit StickyDrag(Stickies& registry);
    ~StickyDrag();
    StickyDrag(const StickyDrag&) = delete;
    StickyDrag& operator=(const StickyDrag&) = delete;

    // Watches the program's own windows, and cancels a drag when the desktop
    // in front changes. Once; later calls do nothing.
    void start();
    MouseAnswer handle(const MouseEvent& event);

    void begin(const std::string& id, Kind kind, Point point);
    // `free` moves without snapping.
    void dragTo(Point point, bool free);
    // `drop` is a release; otherwise the drag is cancelled.
    void end(bool drop);

    bool inProgress() const { return current.has_value(); }
    const std::optional<Drag>& drag() const { return current; }
    // Whether a note is being moved or resized anywhere in the program: the
    // registry leaves window levels alone meanwhile, and the desktop draws
    // no selection box.
    static bool anyInProgress();

    static constexpr double deadZone = 3;
    static constexpr double trashLookupSeconds = 0.2;
    static constexpr double minWidth = 170;
    static constexpr double minHeight = 110;
    // The trash target: a circle this wide, this far above the bottom of the
    // pointer's work area.
    static constexpr double trashSize = 72;
    static constexpr double trashMargin = 24;

    // Where the trash target shows for a pointer on a display with this work area.
    static Rect trashTargetFrame(Rect workArea);

private:
    Stickies& registry;
    std::optional<Drag> current;
    std::optional<Rect> trash;
    double trashAt = 0;
    bool targetShown = false;
    std::unique_ptr<Subscription> spaceWatch;
    // Lets the mouse monitor, which outlives any test's instance, call nothing once this is gone.
    std::shared_ptr<StickyDrag*> self = std::make_shared<StickyDrag*>(this);
    // The instance whose drag is under way; there is one in the program.
    static inline const StickyDrag* dragging = nullptr;

    MouseAnswer pressed(const MouseEvent& event);
    void setDrag(std::optional<Drag> drag);
    void spacesChanged();
    bool leftDeadZone(Drag& drag, Point point);
    void resizeTo(const Drag& drag, double dx, double dy, bool free);
    void moveTo(const Drag& drag, double dx, double dy, bool free);
    void updateTrash(Drag& drag, Point point);
    void showTrashTarget(Point point);
    void hideTrashTarget();
    void liftGroup(const Drag& drag);
    void restoreLevels(const Drag& drag);
    void sendTrash(const Drag& drag, bool on);
    void setFrame(const std::string& id, Rect frame);
};

}
