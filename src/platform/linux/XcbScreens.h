#pragma once
#include "platform/Screens.h"

#include <xcb/xcb.h>

namespace marrowleaf {

class XcbConnection;

// The X server's RandR monitors as displays: the primary one first, then the
// others in RandR order. Each is named by a UUID made from its EDID (or its
// connector's name when it has none). Its visible frame leaves out the space
// that panels reserve with struts at the edges of the X screen, worked out per
// monitor (the window manager's single work area is wrong with several).
// X11 coordinates are top-left already, so frames go out as the server gives them.
class XcbScreens : public Screens {
public:
    explicit XcbScreens(XcbConnection& connection);
    ~XcbScreens() override;
    XcbScreens(const XcbScreens&) = delete;
    XcbScreens& operator=(const XcbScreens&) = delete;

    std::vector<Screen> all() const override;
    Point pointer() const override;
    // The monitor under the centre of the active window.
    std::optional<Screen> focused() const override;
    // Monitors changed (RandR), or the panels' struts did (a client's strut,
    // the client list or the work area).
    std::unique_ptr<Subscription> watchChanges(Handler handler) override;

    // The displays without the panels: visible frames equal to the frames.
    // Cheaper than `all`, for callers that need only names and frames.
    std::vector<Screen> monitors() const;

private:
    XcbConnection& x;
    bool hasMonitors = false;       // RandR 1.5 or later
    std::uint8_t randrEvents = 0;   // RandR's first event code
    std::unique_ptr<Subscription> clientWatch;

    void followClients();
    bool isChange(const xcb_generic_event_t& event) const;
    std::vector<Screen> wholeScreen() const;
};

}
