#include "platform/linux/XcbHotkeySource.h"

#include "platform/linux/XcbConnection.h"
#include "shell/Log.h"

#include <X11/keysym.h>
#include <xcb/xcb_keysyms.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace marrowleaf {

namespace {

// The eight modifier bits of a key event's state; the rest are buttons.
constexpr std::uint16_t modifierBits = 0xff;
constexpr int modifierCount = 8;

// The keysym a portable key name stands for: letters as their lower-case
// keysym (the one the key gives unshifted), digits as themselves.
std::optional<std::uint32_t> keysymOf(char key) {
    if (key >= 'A' && key <= 'Z') return XK_a + static_cast<std::uint32_t>(key - 'A');
    if (key >= 'a' && key <= 'z') return XK_a + static_cast<std::uint32_t>(key - 'a');
    if (key >= '0' && key <= '9') return XK_0 + static_cast<std::uint32_t>(key - '0');
    return std::nullopt;
}

}

void XcbHotkeySource::KeySymbolsFree::operator()(xcb_key_symbols_t* table) const {
    if (table) xcb_key_symbols_free(table);
}

XcbHotkeySource::XcbHotkeySource(XcbConnection& connection) : x(connection) {
    if (!x.connected()) return;
    symbols.reset(xcb_key_symbols_alloc(x.get()));
    modifierMap = readModifierMap();
    events = x.watchEach(
        [](const xcb_generic_event_t& event) {
            const auto type = XcbConnection::eventType(event);
            return type == XCB_KEY_PRESS || type == XCB_MAPPING_NOTIFY;
        },
        [this](const xcb_generic_event_t& event) { onEvent(event); });
}

XcbHotkeySource::~XcbHotkeySource() {
    events.reset();
    if (!x.connected()) return;
    for (const auto& hotkey : hotkeys)
        if (hotkey.status == 0) release(hotkey);
    xcb_flush(x.get());
}

void XcbHotkeySource::setPressHandler(PressHandler handler) { pressed = std::move(handler); }

HotkeyRegistration XcbHotkeySource::registerKey(char key, std::uint32_t modifiers, HotkeyId id) {
    const auto keysym = keysymOf(key);
    if (!keysym) return {0, noSuchKey};
    Hotkey hotkey;
    hotkey.id = id;
    hotkey.keysym = *keysym;
    hotkey.modifiers = modifiers;
    plan(hotkey);
    hotkey.status = grab(hotkey);
    const HotkeyRegistration answer{hotkey.codes.empty() ? 0u : hotkey.codes.front(), hotkey.status};
    // Kept even when refused: a later keyboard map may give the name a key that is free.
    hotkeys.push_back(std::move(hotkey));
    return answer;
}

XcbHotkeySource::ModifierMap XcbHotkeySource::readModifierMap() {
    ModifierMap map;
    XcbReply<xcb_get_modifier_mapping_reply_t> reply(
        xcb_get_modifier_mapping_reply(x.get(), xcb_get_modifier_mapping(x.get()), nullptr));
    if (!reply) {
        map.locks = {XCB_MOD_MASK_LOCK};
        return map;
    }
    const xcb_keycode_t* table = xcb_get_modifier_mapping_keycodes(reply.get());
    const int perModifier = reply->keycodes_per_modifier;
    // The modifier bit a key with `keysym` sets; 0 when no key with it is a modifier.
    auto modifierOf = [&](std::uint32_t keysym) -> std::uint16_t {
        const auto codes = keyCodesOf(keysym);
        for (int modifier = 0; modifier < modifierCount; ++modifier) {
            for (int i = 0; i < perModifier; ++i) {
                const xcb_keycode_t code = table[modifier * perModifier + i];
                if (code != 0 && std::ranges::find(codes, code) != codes.end())
                    return static_cast<std::uint16_t>(1u << modifier);
            }
        }
        return 0;
    };
    for (std::uint32_t alt : {XK_Alt_L, XK_Alt_R, XK_Meta_L}) {
        if (const auto bit = modifierOf(alt)) {
            map.alt = bit;
            break;
        }
    }
    for (std::uint16_t lock :
         {std::uint16_t{XCB_MOD_MASK_LOCK}, modifierOf(XK_Num_Lock), modifierOf(XK_Scroll_Lock)})
        if (lock != 0 && std::ranges::find(map.locks, lock) == map.locks.end()) map.locks.push_back(lock);
    return map;
}

std::vector<xcb_keycode_t> XcbHotkeySource::keyCodesOf(std::uint32_t keysym) {
    std::vector<xcb_keycode_t> codes;
    if (!symbols) return codes;
    XcbReply<xcb_keycode_t> found(xcb_key_symbols_get_keycode(symbols.get(), keysym));
    for (const xcb_keycode_t* code = found.get(); code && *code != XCB_NO_SYMBOL; ++code)
        codes.push_back(*code);
    return codes;
}

std::uint16_t XcbHotkeySource::xModifiers(std::uint32_t modifiers) const {
    std::uint16_t mask = 0;
    if (modifiers & HotkeyModifiers::control) mask |= XCB_MOD_MASK_CONTROL;
    if (modifiers & HotkeyModifiers::alt) mask |= modifierMap.alt;
    if (modifiers & HotkeyModifiers::shift) mask |= XCB_MOD_MASK_SHIFT;
    return mask;
}

// `mask` alone and with every combination of the locks that it does not hold itself.
std::vector<std::uint16_t> XcbHotkeySource::variantsOf(std::uint16_t mask) const {
    std::vector<std::uint16_t> locks;
    for (auto lock : modifierMap.locks)
        if ((lock & mask) == 0) locks.push_back(lock);
    std::vector<std::uint16_t> variants;
    for (unsigned subset = 0; subset < (1u << locks.size()); ++subset) {
        std::uint16_t variant = mask;
        for (std::size_t i = 0; i < locks.size(); ++i)
            if (subset & (1u << i)) variant |= locks[i];
        variants.push_back(variant);
    }
    return variants;
}

void XcbHotkeySource::plan(Hotkey& hotkey) {
    hotkey.codes = keyCodesOf(hotkey.keysym);
    hotkey.mask = xModifiers(hotkey.modifiers);
    hotkey.variants = variantsOf(hotkey.mask);
}

int XcbHotkeySource::grab(Hotkey& hotkey) {
    if (!x.connected()) return noServer;
    if (hotkey.codes.empty()) return noSuchKey;
    std::vector<xcb_void_cookie_t> grabs;
    for (const auto code : hotkey.codes)
        for (const auto variant : hotkey.variants)
            grabs.push_back(xcb_grab_key_checked(x.get(), 0, x.root(), variant, code, XCB_GRAB_MODE_ASYNC,
                                                 XCB_GRAB_MODE_ASYNC));
    // One round trip answers them all.
    int status = 0;
    for (const auto cookie : grabs) {
        XcbReply<xcb_generic_error_t> error(xcb_request_check(x.get(), cookie));
        if (error && status == 0) status = error->error_code;
    }
    if (status != 0) release(hotkey);
    return status;
}

// Releases only this connection's grabs: another program's grab of the same key stays.
void XcbHotkeySource::release(const Hotkey& hotkey) {
    for (const auto code : hotkey.codes)
        for (const auto variant : hotkey.variants)
            xcb_ungrab_key(x.get(), code, x.root(), variant);
    // A round trip: once it is back the server has let go of the keys, so a
    // program that asks for one next is not refused.
    free(xcb_get_input_focus_reply(x.get(), xcb_get_input_focus(x.get()), nullptr));
}

void XcbHotkeySource::onEvent(const xcb_generic_event_t& event) {
    const auto type = XcbConnection::eventType(event);
    if (type == XCB_MAPPING_NOTIFY) {
        const auto& change = reinterpret_cast<const xcb_mapping_notify_event_t&>(event);
        if (change.request == XCB_MAPPING_KEYBOARD || change.request == XCB_MAPPING_MODIFIER)
            onMappingChange();
    } else if (type == XCB_KEY_PRESS) {
        onKeyPress(reinterpret_cast<const xcb_key_press_event_t&>(event));
    }
}

// A key whose codes and lock modifiers stayed as they were keeps its grabs
// untouched, so a press is never missed while the map changes around it.
void XcbHotkeySource::onMappingChange() {
    if (!x.connected()) return;
    symbols.reset(xcb_key_symbols_alloc(x.get()));
    modifierMap = readModifierMap();
    for (auto& hotkey : hotkeys) {
        Hotkey planned = hotkey;
        plan(planned);
        if (planned.codes == hotkey.codes && planned.variants == hotkey.variants) continue;
        if (hotkey.status == 0) release(hotkey);
        const bool wasRegistered = hotkey.status == 0;
        const xcb_keycode_t previousCode = hotkey.codes.empty() ? 0 : hotkey.codes.front();
        hotkey = std::move(planned);
        hotkey.status = grab(hotkey);
        const xcb_keycode_t code = hotkey.codes.empty() ? 0 : hotkey.codes.front();
        if (hotkey.status != 0 && (wasRegistered || code != previousCode))
            Log::error("hotkey " + std::to_string(code) + " unavailable (" + std::to_string(hotkey.status) +
                       ")");
        else if (hotkey.status == 0 && code != previousCode)
            Log::info("hotkey " + std::to_string(previousCode) + " is key code " + std::to_string(code) +
                      " in the new keyboard map");
    }
    xcb_flush(x.get());
}

void XcbHotkeySource::onKeyPress(const xcb_key_press_event_t& press) {
    if (press.event != x.root() || !pressed) return;
    const std::uint16_t held = press.state & modifierBits;
    for (const auto& hotkey : hotkeys) {
        if (hotkey.status != 0) continue;
        if (std::ranges::find(hotkey.codes, press.detail) == hotkey.codes.end()) continue;
        if (std::ranges::find(hotkey.variants, held) == hotkey.variants.end()) continue;
        pressed(hotkey.id);
        return;
    }
}

}
