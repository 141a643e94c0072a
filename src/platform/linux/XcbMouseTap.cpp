#include "platform/linux/XcbMouseTap.h"

#include "platform/linux/XcbConnection.h"
#include "shell/Log.h"

#include <X11/keysym.h>
#include <glib.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace marrowleaf {

namespace {

constexpr xcb_button_t leftButton = 1;
constexpr int modifierCount = 8;
constexpr std::uint16_t superBit = XCB_MOD_MASK_4;
constexpr std::uint32_t rawEvents = XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                                    XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
                                    XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
// What the grab reports while it is active: the press that starts it, the
// steps of a swallowed press and its release.
constexpr std::uint16_t grabbedEvents =
    XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_BUTTON_MOTION;
// Just below the X connection's own source: the main loop turns to it only
// once every event already read from the server has been delivered.
constexpr int afterDeliveredEvents = G_PRIORITY_DEFAULT + 1;

struct KeySymbolsFree {
    void operator()(xcb_key_symbols_t* table) const { xcb_key_symbols_free(table); }
};
using KeySymbols = std::unique_ptr<xcb_key_symbols_t, KeySymbolsFree>;

// The modifier bit that a key giving `keysym` sets; 0 when none does.
std::uint16_t modifierOf(xcb_key_symbols_t* symbols, const xcb_get_modifier_mapping_reply_t& map,
                         xcb_keysym_t keysym) {
    XcbReply<xcb_keycode_t> codes(xcb_key_symbols_get_keycode(symbols, keysym));
    if (!codes) return 0;
    const xcb_keycode_t* table = xcb_get_modifier_mapping_keycodes(&map);
    const int perModifier = map.keycodes_per_modifier;
    for (int modifier = 0; modifier < modifierCount; ++modifier)
        for (int i = 0; i < perModifier; ++i) {
            const xcb_keycode_t code = table[modifier * perModifier + i];
            for (const xcb_keycode_t* key = codes.get(); code != 0 && *key != XCB_NO_SYMBOL; ++key)
                if (*key == code) return static_cast<std::uint16_t>(1u << modifier);
        }
    return 0;
}

}

XcbMouseTap::XcbMouseTap(XcbConnection& connection) : x(connection) {}

XcbMouseTap::~XcbMouseTap() {
    if (awaitedCheck) g_source_remove(awaitedCheck);
    events.reset();
    if (!watching || !x.connected()) return;
    selectRawEvents(0);
    ungrab(grabbed);
    // A passive grab let go of stays active until the button is up.
    if (swallowedHeld) xcb_ungrab_pointer(x.get(), XCB_CURRENT_TIME);
    xcb_flush(x.get());
}

bool XcbMouseTap::start(Handler newHandler) {
    if (watching) return true;
    if (!x.connected() || !inputExtensionUsable()) return false;
    modifierMap = readModifierMap();
    const auto variants = altVariants();
    if (!grab(variants)) return false;
    if (!selectRawEvents(rawEvents)) {
        ungrab(variants);
        return false;
    }
    grabbed = variants;
    handler = std::move(newHandler);
    events = x.watchEach([this](const xcb_generic_event_t& event) { return wanted(event); },
                         [this](const xcb_generic_event_t& event) { onEvent(event); });
    watching = true;
    return true;
}

// ---------------------------------------------------------------- setting up

// XInput 2.2 on a real X server: under Xwayland the desktop and its clicks
// belong to the Wayland compositor, and only X windows' events would be seen.
bool XcbMouseTap::inputExtensionUsable() {
    const auto opcode = x.desktopInputOpcode();
    if (!opcode) return false;
    inputOpcode = *opcode;
    return true;
}

XcbMouseTap::ModifierMap XcbMouseTap::readModifierMap() const {
    ModifierMap map;
    KeySymbols symbols(xcb_key_symbols_alloc(x.get()));
    XcbReply<xcb_get_modifier_mapping_reply_t> reply(
        xcb_get_modifier_mapping_reply(x.get(), xcb_get_modifier_mapping(x.get()), nullptr));
    if (!symbols || !reply) {
        map.locks = {XCB_MOD_MASK_LOCK};
        return map;
    }
    for (xcb_keysym_t alt : {XK_Alt_L, XK_Alt_R}) {
        if (const auto bit = modifierOf(symbols.get(), *reply, alt)) {
            map.alt = bit;
            break;
        }
    }
    for (const std::uint16_t lock : {std::uint16_t{XCB_MOD_MASK_LOCK}, modifierOf(symbols.get(), *reply, XK_Num_Lock),
                                     modifierOf(symbols.get(), *reply, XK_Scroll_Lock)})
        if (lock != 0 && lock != map.alt && std::ranges::find(map.locks, lock) == map.locks.end())
            map.locks.push_back(lock);
    return map;
}

// Alt alone and with every combination of the lock modifiers.
std::vector<std::uint16_t> XcbMouseTap::altVariants() const {
    const auto& locks = modifierMap.locks;
    std::vector<std::uint16_t> variants;
    for (unsigned subset = 0; subset < (1u << locks.size()); ++subset) {
        std::uint16_t variant = modifierMap.alt;
        for (std::size_t i = 0; i < locks.size(); ++i)
            if (subset & (1u << i)) variant |= locks[i];
        variants.push_back(variant);
    }
    return variants;
}

// All of the variants, or none: another program's grab of any one of them
// (BadAccess) releases the ones taken.
bool XcbMouseTap::grab(const std::vector<std::uint16_t>& variants) {
    std::vector<xcb_void_cookie_t> asked;
    for (const auto variant : variants)
        asked.push_back(xcb_grab_button_checked(x.get(), 0, x.root(), grabbedEvents, XCB_GRAB_MODE_SYNC,
                                                XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, leftButton, variant));
    bool refused = false;
    for (const auto cookie : asked) {
        XcbReply<xcb_generic_error_t> error(xcb_request_check(x.get(), cookie));
        refused = refused || error;
    }
    if (refused) ungrab(variants);
    return !refused;
}

// Only this connection's grabs go: another program's grab of the same button stays.
void XcbMouseTap::ungrab(const std::vector<std::uint16_t>& variants) {
    for (const auto variant : variants)
        xcb_ungrab_button(x.get(), leftButton, x.root(), variant);
    // Once the server has answered, a program that asks for the button next is not refused.
    roundTrip();
}

bool XcbMouseTap::selectRawEvents(std::uint32_t mask) {
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t bits;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, mask};
    XcbReply<xcb_generic_error_t> error(
        xcb_request_check(x.get(), xcb_input_xi_select_events_checked(x.get(), x.root(), 1, &selection.head)));
    return !error;
}

void XcbMouseTap::roundTrip() {
    XcbReply<xcb_get_input_focus_reply_t> answer(
        xcb_get_input_focus_reply(x.get(), xcb_get_input_focus(x.get()), nullptr));
}

// ---------------------------------------------------------------- reporting

std::uint32_t XcbMouseTap::mouseModifiers(std::uint16_t state) const {
    std::uint32_t modifiers = 0;
    if (state & XCB_MOD_MASK_SHIFT) modifiers |= MouseModifiers::shift;
    if (state & XCB_MOD_MASK_CONTROL) modifiers |= MouseModifiers::control;
    if (state & modifierMap.alt) modifiers |= MouseModifiers::alt;
    if (state & superBit) modifiers |= MouseModifiers::super;
    return modifiers;
}

std::optional<XcbMouseTap::PointerState> XcbMouseTap::pointer() {
    XcbReply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(x.get(), xcb_query_pointer(x.get(), x.root()), nullptr));
    if (!reply) return std::nullopt;
    return PointerState{{static_cast<double>(reply->root_x), static_cast<double>(reply->root_y)}, reply->mask};
}

MouseAnswer XcbMouseTap::report(const MouseEvent& event) {
    lastPoint = event.point;
    return handler ? handler(event) : MouseAnswer::pass;
}

// Raw motion also comes from wheels and from steps too small to move the
// pointer a whole pixel: a step that leaves the pointer where it was is none.
void XcbMouseTap::reportStep(Point point, std::uint16_t state) {
    if (lastPoint && *lastPoint == point) return;
    report({MouseEvent::Kind::drag, point, mouseModifiers(state)});
}

void XcbMouseTap::reportAwaitedOnceDelivered() {
    if (awaitedCheck) return;
    awaitedCheck = g_idle_add_full(
        afterDeliveredEvents,
        +[](gpointer tap) -> gboolean {
            auto* self = static_cast<XcbMouseTap*>(tap);
            self->awaitedCheck = 0;
            self->reportAwaited();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}

void XcbMouseTap::reportAwaited() {
    if (!awaited) return;
    const AwaitedPress press = *awaited;
    awaited.reset();
    reportedByRaw = press.time;
    report(press.event);
}

// ---------------------------------------------------------------- events

bool XcbMouseTap::wanted(const xcb_generic_event_t& event) const {
    switch (XcbConnection::eventType(event)) {
    case XCB_GE_GENERIC: {
        const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
        return generic.extension == inputOpcode &&
               (generic.event_type == XCB_INPUT_RAW_BUTTON_PRESS ||
                generic.event_type == XCB_INPUT_RAW_BUTTON_RELEASE || generic.event_type == XCB_INPUT_RAW_MOTION);
    }
    case XCB_BUTTON_PRESS:
    case XCB_BUTTON_RELEASE:
        return reinterpret_cast<const xcb_button_press_event_t&>(event).event == x.root();
    case XCB_MOTION_NOTIFY:
        return reinterpret_cast<const xcb_motion_notify_event_t&>(event).event == x.root();
    case XCB_MAPPING_NOTIFY:
        return true;
    default:
        return false;
    }
}

void XcbMouseTap::onEvent(const xcb_generic_event_t& event) {
    switch (XcbConnection::eventType(event)) {
    case XCB_GE_GENERIC: {
        const auto& raw = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
        if (raw.event_type == XCB_INPUT_RAW_MOTION) onRawMotion();
        else if (raw.detail != leftButton) return;
        else if (raw.event_type == XCB_INPUT_RAW_BUTTON_PRESS) onRawPress(raw.time);
        else onRawRelease();
        return;
    }
    case XCB_BUTTON_PRESS:
        onGrabbedPress(reinterpret_cast<const xcb_button_press_event_t&>(event));
        return;
    case XCB_BUTTON_RELEASE:
        onGrabbedRelease(reinterpret_cast<const xcb_button_release_event_t&>(event));
        return;
    case XCB_MOTION_NOTIFY:
        onGrabbedMotion(reinterpret_cast<const xcb_motion_notify_event_t&>(event));
        return;
    case XCB_MAPPING_NOTIFY: {
        const auto& change = reinterpret_cast<const xcb_mapping_notify_event_t&>(event);
        if (change.request == XCB_MAPPING_MODIFIER || change.request == XCB_MAPPING_KEYBOARD)
            onModifierMapChange();
        return;
    }
    }
}

// A press the grab takes reaches us twice: as a raw event and as the grab's
// ButtonPress, both stamped with the press's server time. Only the grab's
// copy can be answered, so it is the one reported; whichever copy comes
// second finds the first one's time and is not reported again.
//
// The server sends the raw copy first, and both before it answers the
// pointer query made here, so once the query is answered the grab's copy, if
// any, has been read from the connection, in this batch or in XCB's queue
// for the next. The raw press waits until the main loop has delivered both;
// if no grab's copy came by then (the press had other modifiers, or another
// program held the pointer), it is reported as seen. A later raw event of
// the same batch reports it at once, so the order always holds.
void XcbMouseTap::onRawPress(xcb_timestamp_t time) {
    if (swallowedHeld) return;
    reportAwaited();
    buttonHeld = true;
    if (reportedByGrab == time) {
        reportedByGrab.reset();
        return;
    }
    const auto now = pointer();
    if (!now) return;
    awaited = AwaitedPress{time, {MouseEvent::Kind::press, now->point, mouseModifiers(now->state)}};
    lastPoint = now->point;
    reportAwaitedOnceDelivered();
}

void XcbMouseTap::onRawMotion() {
    if (swallowedHeld || !buttonHeld) return;
    reportAwaited();
    if (const auto now = pointer()) reportStep(now->point, now->state);
}

void XcbMouseTap::onRawRelease() {
    if (swallowedHeld || !buttonHeld) return;
    reportAwaited();
    buttonHeld = false;
    const auto now = pointer();
    if (!now) return;
    report({MouseEvent::Kind::release, now->point, mouseModifiers(now->state)});
}

void XcbMouseTap::onGrabbedPress(const xcb_button_press_event_t& press) {
    if (press.detail != leftButton) return;
    const bool seenAlready = reportedByRaw == press.time;
    if (awaited && awaited->time == press.time) {
        awaited.reset();
    } else {
        reportAwaited();
        if (!seenAlready) reportedByGrab = press.time;
    }
    buttonHeld = true;
    if (seenAlready) {
        // Reported as a plain press already: it passes, as plain presses do.
        reportedByRaw.reset();
        answerGrab(MouseAnswer::pass);
        return;
    }
    const MouseEvent event{MouseEvent::Kind::press, {double(press.root_x), double(press.root_y)},
                           mouseModifiers(press.state)};
    MouseAnswer answer = MouseAnswer::pass;
    try {
        answer = report(event);
    } catch (...) {
        // The whole desktop's pointer stays frozen until the press is answered.
        answerGrab(MouseAnswer::pass);
        throw;
    }
    answerGrab(answer);
}

void XcbMouseTap::answerGrab(MouseAnswer answer) {
    swallowedHeld = answer == MouseAnswer::swallow;
    xcb_allow_events(x.get(), swallowedHeld ? XCB_ALLOW_ASYNC_POINTER : XCB_ALLOW_REPLAY_POINTER,
                     XCB_CURRENT_TIME);
    xcb_flush(x.get());
}

void XcbMouseTap::onGrabbedMotion(const xcb_motion_notify_event_t& motion) {
    if (!swallowedHeld) return;
    reportStep({double(motion.root_x), double(motion.root_y)}, motion.state);
}

void XcbMouseTap::onGrabbedRelease(const xcb_button_release_event_t& release) {
    if (!swallowedHeld || release.detail != leftButton) return;
    swallowedHeld = false;
    buttonHeld = false;
    report({MouseEvent::Kind::release, {double(release.root_x), double(release.root_y)},
            mouseModifiers(release.state)});
}

// A new modifier map may put Alt or a lock on other bits: the grab follows,
// so the Alt-click keeps working whatever lock is on.
void XcbMouseTap::onModifierMapChange() {
    if (!x.connected()) return;
    modifierMap = readModifierMap();
    const auto variants = altVariants();
    if (variants == grabbed) return;
    ungrab(grabbed);
    grabbed.clear();
    if (grab(variants)) {
        grabbed = variants;
        return;
    }
    Log::error("can't grab Alt+click again after the keyboard map changed: another program holds it");
}

}
