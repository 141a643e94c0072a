#pragma once
#include "platform/WindowServer.h"
#include "platform/fake/FakeSignal.h"

#include <map>

namespace marrowleaf {

// A window server whose description of the displays the test writes by hand.
// Windows live on the desktops listed in `windowSpaces`; a move puts the window
// on its target alone unless the test says where it ends up instead.
class FakeWindowServer : public WindowServer {
public:
    struct Move {
        WindowNumber window;
        SpaceId space;
        bool operator==(const Move&) const = default;
    };

    std::optional<std::vector<DisplayDescription>> describeDisplays() const override;
    SpaceId focusedSpace() const override { return focused; }
    std::vector<SpaceId> spacesOfWindow(WindowNumber window) const override;
    void putWindowOnSpace(WindowNumber window, SpaceId space, Moved moved) override;
    std::unique_ptr<Subscription> watchActiveSpace(Handler handler) override {
        return activeChanges.subscribe(std::move(handler));
    }

    // Desktops shared by every display, as on an X11 desktop: ids 1…count,
    // ordinary kind, each display showing `current`; `focused` follows it.
    void shareDesktops(const std::vector<std::string>& displayUUIDs, int count, SpaceId current);
    // Shows `space` on every display that lists it, focuses it and tells the subscribers.
    void switchTo(SpaceId space);
    // Switches, unless `refuseSwitches` is set; every request is kept in `shown`.
    void showSpace(SpaceId space) override;
    std::vector<WindowNumber> frontToBack() const override { return stacking; }
    // The window order a test sets, the frontmost first.
    std::vector<WindowNumber> stacking;
    bool refuseSwitches = false;
    std::vector<SpaceId> shown;
    void emitActiveSpaceChange() { activeChanges.emit(); }
    std::size_t watcherCount() const { return activeChanges.subscriberCount(); }

    std::vector<DisplayDescription> description;
    // While set, asking for the description fails, as when the server is gone.
    bool failDescription = false;
    SpaceId focused = 0;
    std::map<WindowNumber, std::vector<SpaceId>> windowSpaces;
    // When set, a move leaves the window on these desktops instead of its target.
    std::optional<std::vector<SpaceId>> spacesAfterMove;
    // Every move asked for, in order.
    std::vector<Move> moves;
    // While set, moves are not answered until the test calls `answerMoves`,
    // as a window manager that is slow to manage new windows.
    bool holdMoves = false;
    // Answers every move held so far: the windows go where a move would put them, or stay.
    void answerMoves(bool move);
    std::size_t heldMoves() const { return held.size(); }

private:
    FakeSignal activeChanges;
    std::vector<std::pair<Move, Moved>> held;

    bool settle(const Move& move);
};

}
