#include "platform/gl/key_devices.h"

#include "platform/display/display.h"

#include <array>

namespace gl {
namespace {

struct key_pair {
    int code;
    device dev;
};

constexpr std::array letters{AKEY, BKEY, CKEY, DKEY, EKEY, FKEY, GKEY, HKEY, IKEY,
                             JKEY, KKEY, LKEY, MKEY, NKEY, OKEY, PKEY, QKEY, RKEY,
                             SKEY, TKEY, UKEY, VKEY, WKEY, XKEY, YKEY, ZKEY};
constexpr std::array digits{ZEROKEY, ONEKEY, TWOKEY,   THREEKEY, FOURKEY,
                            FIVEKEY, SIXKEY, SEVENKEY, EIGHTKEY, NINEKEY};
constexpr std::array pad_digits{PAD0, PAD1, PAD2, PAD3, PAD4, PAD5, PAD6, PAD7, PAD8, PAD9};

// Keys in no order of their own.
constexpr std::array others{
    key_pair{' ', SPACEKEY},
    key_pair{';', SEMICOLONKEY},
    key_pair{'.', PERIODKEY},
    key_pair{',', COMMAKEY},
    key_pair{'\'', QUOTEKEY},
    key_pair{'`', ACCENTGRAVEKEY},
    key_pair{'-', MINUSKEY},
    key_pair{'/', VIRGULEKEY},
    key_pair{'\\', BACKSLASHKEY},
    key_pair{'=', EQUALKEY},
    key_pair{'[', LEFTBRACKETKEY},
    key_pair{']', RIGHTBRACKETKEY},
    key_pair{display::key_backspace, BACKSPACEKEY},
    key_pair{display::key_tab, TABKEY},
    key_pair{display::key_linefeed, LINEFEEDKEY},
    key_pair{display::key_return, RETKEY},
    key_pair{display::key_pause, PAUSEKEY},
    key_pair{display::key_scroll_lock, SCROLLLOCKKEY},
    key_pair{display::key_escape, ESCKEY},
    key_pair{display::key_home, HOMEKEY},
    key_pair{display::key_left, LEFTARROWKEY},
    key_pair{display::key_up, UPARROWKEY},
    key_pair{display::key_right, RIGHTARROWKEY},
    key_pair{display::key_down, DOWNARROWKEY},
    key_pair{display::key_page_up, PAGEUPKEY},
    key_pair{display::key_page_down, PAGEDOWNKEY},
    key_pair{display::key_end, ENDKEY},
    key_pair{display::key_print, PRINTSCREENKEY},
    key_pair{display::key_insert, INSERTKEY},
    key_pair{display::key_num_lock, NUMLOCKKEY},
    key_pair{display::key_pad_enter, PADENTER},
    key_pair{display::key_pad_multiply, PADASTERKEY},
    key_pair{display::key_pad_add, PADPLUSKEY},
    key_pair{display::key_pad_subtract, PADMINUS},
    key_pair{display::key_pad_decimal, PADPERIOD},
    key_pair{display::key_pad_divide, PADVIRGULEKEY},
    key_pair{display::key_shift_left, LEFTSHIFTKEY},
    key_pair{display::key_shift_right, RIGHTSHIFTKEY},
    key_pair{display::key_control_left, LEFTCTRLKEY},
    key_pair{display::key_control_right, RIGHTCTRLKEY},
    key_pair{display::key_caps_lock, CAPSLOCKKEY},
    key_pair{display::key_alt_left, LEFTALTKEY},
    key_pair{display::key_alt_right, RIGHTALTKEY},
    key_pair{display::key_delete, DELKEY},
};

// Element i of a run of codes that begins at first, or NULLDEV outside it.
template <typename Devices> device in_run(const Devices &devices, int first, int code) {
    const int i = code - first;
    return i >= 0 && i < static_cast<int>(devices.size()) ? devices[static_cast<std::size_t>(i)]
                                                          : NULLDEV;
}

} // namespace

device key_device(int code) {
    if (const device d = in_run(letters, 'a', code); d != NULLDEV)
        return d;
    if (const device d = in_run(digits, '0', code); d != NULLDEV)
        return d;
    if (const device d = in_run(pad_digits, display::key_pad_0, code); d != NULLDEV)
        return d;
    if (code >= display::key_f1 && code <= display::key_f1 + (F12KEY - F1KEY))
        return F1KEY + (code - display::key_f1);
    for (const key_pair &pair : others)
        if (pair.code == code)
            return pair.dev;
    return NULLDEV;
}

device button_device(int button) {
    constexpr std::array buttons{LEFTMOUSE, MIDDLEMOUSE, RIGHTMOUSE, WHEELUP,
                                 WHEELDOWN, WHEELLEFT,   WHEELRIGHT};
    return in_run(buttons, display::button_left, button);
}

bool is_wheel(device d) {
    return d >= WHEELUP && d <= WHEELRIGHT;
}

} // namespace gl
