#pragma once
// The keyboard of a test session as another X client sees it: key codes,
// modifiers and key grabs, through the harness's own connection.
#include "integration/Harness.h"
#include "platform/linux/XcbConnection.h"

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace marrowleaf::testing {

inline constexpr std::uint8_t badAccess = 10;              // the X error of a grab another client holds
inline constexpr std::uint16_t altMask = XCB_MOD_MASK_1;   // where Xvfb's keyboard map puts Alt
inline constexpr std::uint16_t ctrlAltMask = XCB_MOD_MASK_CONTROL | altMask;

// The keyboard as another X client sees it through the harness's connection,
// and as a person types on it (XTest).
class Keyboard {
public:
    explicit Keyboard(XConnection& x) : x(x), symbols(xcb_key_symbols_alloc(x.get())) {}
    ~Keyboard() { xcb_key_symbols_free(symbols); }
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    // The first key code that gives `keysym`; 0 when none does.
    xcb_keycode_t codeOf(xcb_keysym_t keysym) {
        marrowleaf::XcbReply<xcb_keycode_t> codes(xcb_key_symbols_get_keycode(symbols, keysym));
        return codes ? codes.get()[0] : 0;
    }

    // A key code no keysym is bound to, for moving a key there.
    xcb_keycode_t freeCode() {
        const xcb_setup_t* setup = xcb_get_setup(x.get());
        for (int code = setup->max_keycode; code >= setup->min_keycode; --code) {
            bool bound = false;
            for (int column = 0; column < 4 && !bound; ++column)
                bound = xcb_key_symbols_get_keysym(symbols, static_cast<xcb_keycode_t>(code), column) != 0;
            if (!bound) return static_cast<xcb_keycode_t>(code);
        }
        return 0;
    }

    // The modifier bit a key with `keysym` sets; 0 when it is no modifier.
    std::uint16_t modifierOf(xcb_keysym_t keysym) {
        const xcb_keycode_t key = codeOf(keysym);
        marrowleaf::XcbReply<xcb_get_modifier_mapping_reply_t> map(
            xcb_get_modifier_mapping_reply(x.get(), xcb_get_modifier_mapping(x.get()), nullptr));
        if (!map || key == 0) return 0;
        const xcb_keycode_t* table = xcb_get_modifier_mapping_keycodes(map.get());
        for (int modifier = 0; modifier < 8; ++modifier)
            for (int i = 0; i < map->keycodes_per_modifier; ++i)
                if (table[modifier * map->keycodes_per_modifier + i] == key) return 1u << modifier;
        return 0;
    }

    // The modifiers in effect now, locks included.
    std::uint16_t modifiersNow() {
        marrowleaf::XcbReply<xcb_query_pointer_reply_t> pointer(
            xcb_query_pointer_reply(x.get(), xcb_query_pointer(x.get(), x.root()), nullptr));
        return pointer ? pointer->mask & 0xff : 0;
    }

    // Presses the keys in order and lets go of them in the opposite order, as
    // one chord (Control_L, Alt_L, n is Ctrl+Alt+N). Returns once the server
    // has taken the presses, so a clock read just before is the press's time.
    void tap(std::initializer_list<xcb_keysym_t> keys) {
        std::vector<xcb_keycode_t> codes;
        for (xcb_keysym_t key : keys) codes.push_back(codeOf(key));
        for (xcb_keycode_t code : codes) fake(XCB_KEY_PRESS, code);
        for (auto code = codes.rbegin(); code != codes.rend(); ++code) fake(XCB_KEY_RELEASE, *code);
        marrowleaf::XcbReply<xcb_get_input_focus_reply_t> synced(
            xcb_get_input_focus_reply(x.get(), xcb_get_input_focus(x.get()), nullptr));
    }

    // Grabs a combination on the root as another program would; the X error code, or 0.
    int grab(xcb_keycode_t key, std::uint16_t modifiers) {
        marrowleaf::XcbReply<xcb_generic_error_t> error(
            xcb_request_check(x.get(), xcb_grab_key_checked(x.get(), 0, x.root(), modifiers, key,
                                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
        return error ? error->error_code : 0;
    }

private:
    XConnection& x;

    void fake(std::uint8_t type, xcb_keycode_t code) {
        xcb_test_fake_input(x.get(), type, code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    }

    xcb_key_symbols_t* symbols;
};

}
