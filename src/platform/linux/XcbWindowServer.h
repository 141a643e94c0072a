#pragma once
#include "platform/WindowServer.h"

#include <xcb/xcb.h>

#include <map>

namespace marrowleaf {

class XcbConnection;
class XcbScreens;

// The window manager's desktops (EWMH), which every monitor shares: each
// monitor lists the same desktops, desktop index + 1 as the id, and shows the
// current one, except the monitor whose focused window is full screen, which
// shows a full-screen desktop of its own. Windows are put on a desktop with
// the _NET_WM_DESKTOP request to the window manager.
class XcbWindowServer : public WindowServer {
public:
    // Full-screen desktops are numbered from here, one per monitor index: no
    // desktop number (32 bits in EWMH) reaches it.
    static constexpr SpaceId fullScreenSpaceBase = SpaceId{1} << 32;
    // How long `putWindowOnSpace` waits for the window manager to move the window.
    static constexpr double moveTimeoutSeconds = 0.3;

    XcbWindowServer(XcbConnection& connection, const XcbScreens& screens);
    ~XcbWindowServer() override;
    XcbWindowServer(const XcbWindowServer&) = delete;
    XcbWindowServer& operator=(const XcbWindowServer&) = delete;

    std::optional<std::vector<DisplayDescription>> describeDisplays() const override;
    SpaceId focusedSpace() const override;
    std::vector<SpaceId> spacesOfWindow(WindowNumber window) const override;
    void putWindowOnSpace(WindowNumber window, SpaceId space) override;
    // The current desktop changed, or the focused window (or whether it is full screen).
    std::unique_ptr<Subscription> watchActiveSpace(Handler handler) override;

private:
    struct Desktops;

    XcbConnection& x;
    const XcbScreens& screens;
    xcb_window_t activeWindow = XCB_NONE;
    std::unique_ptr<Subscription> activeWatch;
    // Windows put on a desktop (0-based) before the window manager had them.
    std::map<xcb_window_t, std::uint32_t> awaitingManager;
    std::unique_ptr<Subscription> managedWatch;

    Desktops readDesktops() const;
    void followActiveWindow();
    bool isActiveSpaceChange(const xcb_generic_event_t& event) const;
    bool isManaged(xcb_window_t window) const;
    // Sends the window manager the request to put a window on a desktop (0-based).
    void requestDesktop(xcb_window_t window, std::uint32_t index);
    bool isManagedChange(const xcb_generic_event_t& event) const;
    void askAgainOnceManaged();
};

}
