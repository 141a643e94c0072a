#pragma once
#include "platform/Accessibility.h"

#include <xcb/xcb.h>

#include <functional>
#include <memory>
#include <sys/types.h>
#include <unistd.h>

namespace marrowleaf {

class AtspiDesktopIcons;
class XcbConnection;

// What lies on the X screen at a point: the top-level window there in
// stacking order, unmapped ones skipped. No window is the bare root; a desktop
// program's window (_NET_WM_WINDOW_TYPE_DESKTOP) is its background, unless the
// program shows an icon there over AT-SPI. Windows of `ownProcess` (by
// _NET_WM_PID) are ours, whatever their type.
class XcbAccessibility : public Accessibility {
public:
    explicit XcbAccessibility(XcbConnection& connection, pid_t ownProcess = getpid());
    ~XcbAccessibility() override;
    XcbAccessibility(const XcbAccessibility&) = delete;
    XcbAccessibility& operator=(const XcbAccessibility&) = delete;

    // An X session (not Xwayland) with XInput 2.2, which the desktop clicks need.
    bool trusted() const override;
    DesktopHit whatIsAt(Point point) const override;
    // Where the trash target stands, as `setTrashTarget`'s answer says.
    std::optional<Rect> trashTarget() const override;
    // Who knows where the trash target stands while it is shown.
    void setTrashTarget(std::function<std::optional<Rect>()> frame) { trashFrame = std::move(frame); }

private:
    struct TopLevel;

    XcbConnection& x;
    pid_t own;
    bool inputExtension = false;
    std::unique_ptr<AtspiDesktopIcons> icons;
    std::function<std::optional<Rect>()> trashFrame;

    std::optional<TopLevel> topLevelAt(Point point) const;
    xcb_window_t clientOf(xcb_window_t topLevel) const;
    bool checkTrust() const;
};

}
