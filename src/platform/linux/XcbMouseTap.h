#pragma once
#include "platform/MouseTap.h"
#include "platform/Subscription.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace marrowleaf {

class XcbConnection;

// Left-button events of the whole X desktop.
//
// XInput 2.2 raw events selected on the root window show every press, step
// and release of the master pointer without taking them; they carry no
// position, so the pointer is asked where it is at each one.
//
// Alt+Button1 is grabbed synchronously on the root window, once for every
// combination of the lock modifiers. The server hands such a press to us
// first and freezes the pointer until we answer: AsyncPointer keeps the
// press and its release from everyone else, ReplayPointer lets the press go
// on as if we had never grabbed it (to the window manager's own Alt-drag, or
// the window under the pointer). While a swallowed press is held, the server
// sends us no raw events: its steps and its release come through the grab.
class XcbMouseTap : public MouseTap {
public:
    explicit XcbMouseTap(XcbConnection& connection);
    ~XcbMouseTap() override;
    XcbMouseTap(const XcbMouseTap&) = delete;
    XcbMouseTap& operator=(const XcbMouseTap&) = delete;

    bool start(Handler handler) override;
    bool started() const override { return watching; }

private:
    // The modifier bits the modifier map gives Alt and the lock keys now.
    struct ModifierMap {
        std::uint16_t alt = XCB_MOD_MASK_1;
        std::vector<std::uint16_t> locks;
    };
    struct PointerState {
        Point point;
        std::uint16_t state = 0;   // the X modifier and button mask
    };
    // A raw press held back until it is clear whether the grab took it too.
    struct AwaitedPress {
        xcb_timestamp_t time = 0;
        MouseEvent event;
    };

    XcbConnection& x;
    Handler handler;
    bool watching = false;
    std::unique_ptr<Subscription> events;
    std::uint8_t inputOpcode = 0;
    ModifierMap modifierMap;
    std::vector<std::uint16_t> grabbed;   // the Alt+Button1 variants held now

    bool buttonHeld = false;     // a left press was seen and not yet its release
    bool swallowedHeld = false;  // that press was swallowed: our grab is active
    std::optional<Point> lastPoint;
    std::optional<AwaitedPress> awaited;
    unsigned awaitedCheck = 0;   // the GLib source that reports it as plain
    // The server time of a press already reported through one path, so the
    // same press arriving through the other is not reported again.
    std::optional<xcb_timestamp_t> reportedByGrab;
    std::optional<xcb_timestamp_t> reportedByRaw;

    bool inputExtensionUsable();
    ModifierMap readModifierMap() const;
    std::vector<std::uint16_t> altVariants() const;
    bool grab(const std::vector<std::uint16_t>& variants);
    void ungrab(const std::vector<std::uint16_t>& variants);
    bool selectRawEvents(std::uint32_t mask);
    void roundTrip();

    std::uint32_t mouseModifiers(std::uint16_t state) const;
    std::optional<PointerState> pointer();
    MouseAnswer report(const MouseEvent& event);
    void reportStep(Point point, std::uint16_t state);
    void reportAwaited();
    void reportAwaitedOnceDelivered();

    bool wanted(const xcb_generic_event_t& event) const;
    void onEvent(const xcb_generic_event_t& event);
    void onRawPress(xcb_timestamp_t time);
    void onRawMotion();
    void onRawRelease();
    void onGrabbedPress(const xcb_button_press_event_t& press);
    void onGrabbedMotion(const xcb_motion_notify_event_t& motion);
    void onGrabbedRelease(const xcb_button_release_event_t& release);
    void answerGrab(MouseAnswer answer);
    void onModifierMapChange();
};

}
