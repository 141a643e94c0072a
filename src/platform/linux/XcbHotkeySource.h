#pragma once
#include "platform/HotkeySource.h"
#include "platform/Subscription.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <vector>

typedef struct _XCBKeySymbols xcb_key_symbols_t;

namespace marrowleaf {

class XcbConnection;

// Hot keys as passive key grabs on the root window. A key name becomes the
// key codes that give its keysym in the current keyboard map; each is
// grabbed once for every combination of the lock modifiers (CapsLock,
// NumLock's modifier and ScrollLock's when the modifier map holds them), so
// the keys work whatever lock is on. Another program's grab of the same
// combination is seen at once, as the X error of that grab (BadAccess). When
// the keyboard or modifier map changes, keys whose codes or lock modifiers
// changed are released and grabbed again.
class XcbHotkeySource : public HotkeySource {
public:
    // Statuses that are not X errors.
    static constexpr int noSuchKey = -1;   // no key of the keyboard map gives that name
    static constexpr int noServer = -2;    // the X server can't be reached

    explicit XcbHotkeySource(XcbConnection& connection);
    ~XcbHotkeySource() override;
    XcbHotkeySource(const XcbHotkeySource&) = delete;
    XcbHotkeySource& operator=(const XcbHotkeySource&) = delete;

    void setPressHandler(PressHandler handler) override;
    // The key code answered is the first of the key's codes in the keyboard
    // map; the status, the first X error one of its grabs met.
    HotkeyRegistration registerKey(char key, std::uint32_t modifiers, HotkeyId id) override;

private:
    struct KeySymbolsFree {
        void operator()(xcb_key_symbols_t* symbols) const;
    };
    // The lock modifiers and the Alt modifier, as the modifier map has them now.
    struct ModifierMap {
        std::uint16_t alt = XCB_MOD_MASK_1;
        std::vector<std::uint16_t> locks;
    };
    // One registered combination and the grabs that stand for it now.
    struct Hotkey {
        HotkeyId id = 0;
        std::uint32_t keysym = 0;
        std::uint32_t modifiers = 0;           // portable modifiers, as registered
        std::vector<xcb_keycode_t> codes;      // grabbed now
        std::uint16_t mask = 0;                // the X modifiers, locks left out
        std::vector<std::uint16_t> variants;   // `mask` with each combination of locks
        int status = 0;
    };

    XcbConnection& x;
    std::unique_ptr<xcb_key_symbols_t, KeySymbolsFree> symbols;
    ModifierMap modifierMap;
    std::vector<Hotkey> hotkeys;
    PressHandler pressed;
    std::unique_ptr<Subscription> events;

    ModifierMap readModifierMap();
    std::vector<xcb_keycode_t> keyCodesOf(std::uint32_t keysym);
    std::uint16_t xModifiers(std::uint32_t modifiers) const;
    std::vector<std::uint16_t> variantsOf(std::uint16_t mask) const;
    // Fills in the codes and modifier variants the current maps give the combination.
    void plan(Hotkey& hotkey);
    // Grabs every code of `hotkey` with every variant; on any error releases
    // what it took, so the combination is either wholly ours or not at all.
    int grab(Hotkey& hotkey);
    void release(const Hotkey& hotkey);
    void onEvent(const xcb_generic_event_t& event);
    void onMappingChange();
    void onKeyPress(const xcb_key_press_event_t& press);
};

}
