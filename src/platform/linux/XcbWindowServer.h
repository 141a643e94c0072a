#pragma once
#include "platform/WindowServer.h"
#include "platform/linux/XcbDesktopMoves.h"

#include <xcb/xcb.h>

#include <map>

namespace marrowleaf {

class XcbConnection;
class XcbScreens;

// The window manager's desktops (EWMH), which every monitor shares: each
// monitor lists the same desktops, desktop index + 1 as the id, and shows the
// current one, except the monitor whose focused window is full screen, which
// shows a full-screen desktop of its own. Windows are put on a desktop with
// the _NET_WM_DESKTOP request to the window manager (`XcbDesktopMoves`).
class XcbWindowServer : public WindowServer {
public:
    // Full-screen desktops are numbered from here, one per monitor index: no
    // desktop number (32 bits in EWMH) reaches it.
    static constexpr SpaceId fullScreenSpaceBase = SpaceId{1} << 32;

    XcbWindowServer(XcbConnection& connection, const XcbScreens& screens);
    ~XcbWindowServer() override;
    XcbWindowServer(const XcbWindowServer&) = delete;
    XcbWindowServer& operator=(const XcbWindowServer&) = delete;

    std::optional<std::vector<DisplayDescription>> describeDisplays() const override;
    SpaceId focusedSpace() const override;
    std::vector<SpaceId> spacesOfWindow(WindowNumber window) const override;
    void putWindowOnSpace(WindowNumber window, SpaceId space, Moved moved) override;
    void showSpace(SpaceId space) override;
    // The current desktop changed, or the focused window (or whether it is full screen).
    std::unique_ptr<Subscription> watchActiveSpace(Handler handler) override;
    // The window manager's stacking list of the windows it manages, reversed.
    std::vector<WindowNumber> frontToBack() const override;

private:
    struct Desktops;

    XcbConnection& x;
    const XcbScreens& screens;
    xcb_window_t activeWindow = XCB_NONE;
    std::unique_ptr<Subscription> activeWatch;
    XcbDesktopMoves moves;

    Desktops readDesktops() const;
    void followActiveWindow();
    bool isActiveSpaceChange(const xcb_generic_event_t& event) const;
};

}
