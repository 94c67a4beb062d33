#include "toolkit/events/key_table.h"

#include <array>
#include <cstddef>

namespace toolkit {
namespace {

using namespace gl; // a table of devices is read more easily without their namespace

struct key_entry {
    device key;
    char plain;
    char shifted;
};

constexpr char letter_a = 'a';
constexpr char letter_z = 'z';

constexpr auto backspace = static_cast<char>(backspace_character);
constexpr auto tab = static_cast<char>(tab_character);
constexpr auto carriage_return = static_cast<char>(return_character);
constexpr auto escape = static_cast<char>(escape_character);

constexpr key_entry keys[] = {
    {AKEY, 'a', 'A'},
    {BKEY, 'b', 'B'},
    {CKEY, 'c', 'C'},
    {DKEY, 'd', 'D'},
    {EKEY, 'e', 'E'},
    {FKEY, 'f', 'F'},
    {GKEY, 'g', 'G'},
    {HKEY, 'h', 'H'},
    {IKEY, 'i', 'I'},
    {JKEY, 'j', 'J'},
    {KKEY, 'k', 'K'},
    {LKEY, 'l', 'L'},
    {MKEY, 'm', 'M'},
    {NKEY, 'n', 'N'},
    {OKEY, 'o', 'O'},
    {PKEY, 'p', 'P'},
    {QKEY, 'q', 'Q'},
    {RKEY, 'r', 'R'},
    {SKEY, 's', 'S'},
    {TKEY, 't', 'T'},
    {UKEY, 'u', 'U'},
    {VKEY, 'v', 'V'},
    {WKEY, 'w', 'W'},
    {XKEY, 'x', 'X'},
    {YKEY, 'y', 'Y'},
    {ZKEY, 'z', 'Z'},
    {ZEROKEY, '0', ')'},
    {ONEKEY, '1', '!'},
    {TWOKEY, '2', '@'},
    {THREEKEY, '3', '#'},
    {FOURKEY, '4', '$'},
    {FIVEKEY, '5', '%'},
    {SIXKEY, '6', '^'},
    {SEVENKEY, '7', '&'},
    {EIGHTKEY, '8', '*'},
    {NINEKEY, '9', '('},
    {SEMICOLONKEY, ';', ':'},
    {PERIODKEY, '.', '>'},
    {COMMAKEY, ',', '<'},
    {QUOTEKEY, '\'', '"'},
    {ACCENTGRAVEKEY, '`', '~'},
    {MINUSKEY, '-', '_'},
    {VIRGULEKEY, '/', '?'},
    {BACKSLASHKEY, '\\', '|'},
    {EQUALKEY, '=', '+'},
    {LEFTBRACKETKEY, '[', '{'},
    {RIGHTBRACKETKEY, ']', '}'},
    {ESCKEY, escape, escape},
    {TABKEY, tab, tab},
    {RETKEY, carriage_return, carriage_return},
    {LINEFEEDKEY, carriage_return, carriage_return},
    {SPACEKEY, ' ', ' '},
    {BACKSPACEKEY, backspace, backspace},
    {DELKEY, backspace, backspace},
    {PAD0, '0', '0'},
    {PAD1, '1', '1'},
    {PAD2, '2', '2'},
    {PAD3, '3', '3'},
    {PAD4, '4', '4'},
    {PAD5, '5', '5'},
    {PAD6, '6', '6'},
    {PAD7, '7', '7'},
    {PAD8, '8', '8'},
    {PAD9, '9', '9'},
    {PADPERIOD, '.', '.'},
    {PADENTER, carriage_return, carriage_return},
    {PADVIRGULEKEY, '/', '/'},
    {PADASTERKEY, '*', '*'},
    {PADPLUSKEY, '+', '+'},
    {PADMINUS, '-', '-'},
};

using key_index = std::array<key_entry, last_button_device + 1>;

constexpr key_index index_by_device() {
    key_index index{};
    for (const key_entry &entry : keys)
        index[static_cast<std::size_t>(entry.key)] = entry;
    return index;
}
constexpr key_index by_device = index_by_device();

constexpr modifier_key modifiers[] = {
    {LEFTALTKEY, alt_bit, left_alt_pressed, left_alt_released},
    {RIGHTALTKEY, alt_bit, right_alt_pressed, right_alt_released},
    {LEFTCTRLKEY, ctrl_bit, left_ctrl_pressed, left_ctrl_released},
    {RIGHTCTRLKEY, ctrl_bit, right_ctrl_pressed, right_ctrl_released},
    {LEFTSHIFTKEY, shift_bit, left_shift_pressed, left_shift_released},
    {RIGHTSHIFTKEY, shift_bit, right_shift_pressed, right_shift_released},
};

struct editing_key {
    device key;
    std::int16_t value;
};
constexpr editing_key editing_keys[] = {
    {LEFTARROWKEY, left_arrow_pressed},
    {RIGHTARROWKEY, right_arrow_pressed},
    {UPARROWKEY, up_arrow_pressed},
    {DOWNARROWKEY, down_arrow_pressed},
    {HOMEKEY, home_pressed},
    {ENDKEY, end_pressed},
    {PAGEUPKEY, page_up_pressed},
    {PAGEDOWNKEY, page_down_pressed},
    {DELKEY, delete_pressed},
};

constexpr mouse_button buttons[mouse_button_count] = {
    {LEFTMOUSE, 'a', 'A', 'D'},
    {MIDDLEMOUSE, 'b', 'B', 'E'},
    {RIGHTMOUSE, 'c', 'C', 'F'},
};

// TIMER0 stands last: it is the one that gl_input_init does not queue.
// clang-format off
constexpr device devices[] = {
    LEFTALTKEY, RIGHTALTKEY, F10KEY, F11KEY, F12KEY,
    MOUSEX, MOUSEY, RIGHTMOUSE, MIDDLEMOUSE, LEFTMOUSE,
    RIGHTSHIFTKEY, LEFTSHIFTKEY, RIGHTCTRLKEY, LEFTCTRLKEY, ESCKEY,
    AKEY, BKEY, CKEY, DKEY, EKEY, FKEY, GKEY, HKEY, IKEY, JKEY, KKEY, LKEY, MKEY,
    NKEY, OKEY, PKEY, QKEY, RKEY, SKEY, TKEY, UKEY, VKEY, WKEY, XKEY, YKEY, ZKEY,
    ZEROKEY, ONEKEY, TWOKEY, THREEKEY, FOURKEY, FIVEKEY, SIXKEY, SEVENKEY, EIGHTKEY, NINEKEY,
    RETKEY, SPACEKEY, TABKEY, LINEFEEDKEY, BACKSPACEKEY, DELKEY,
    SEMICOLONKEY, PERIODKEY, COMMAKEY, QUOTEKEY, ACCENTGRAVEKEY, MINUSKEY, VIRGULEKEY,
    BACKSLASHKEY, EQUALKEY, LEFTBRACKETKEY, RIGHTBRACKETKEY,
    PAD0, PAD1, PAD2, PAD3, PAD4, PAD5, PAD6, PAD7, PAD8, PAD9, PADPERIOD, PADENTER,
    PADVIRGULEKEY, PADASTERKEY, PADPLUSKEY, PADMINUS,
    TIMER1, CAPSLOCKKEY, WINSHUT, WINQUIT, QFULL,
    LEFTARROWKEY, DOWNARROWKEY, RIGHTARROWKEY, UPARROWKEY,
    WINFREEZE, WINTHAW, INPUTCHANGE,
    WHEELUP, WHEELDOWN,
    HOMEKEY, ENDKEY, PAGEUPKEY, PAGEDOWNKEY, PASTED,
    TIMER0,
};
// clang-format on

} // namespace

int key_character(device d, bool shift, bool caps_lock) {
    if (d < 0 || d > last_button_device)
        return 0;
    const key_entry &entry = by_device[static_cast<std::size_t>(d)];
    const bool is_letter = entry.plain >= letter_a && entry.plain <= letter_z;
    return shift || (caps_lock && is_letter) ? entry.shifted : entry.plain;
}

std::int16_t editing_key_value(device d) {
    for (const editing_key &each : editing_keys) {
        if (each.key == d)
            return each.value;
    }
    return 0;
}

std::span<const modifier_key> modifier_keys() {
    return modifiers;
}

const modifier_key *find_modifier_key(device d) {
    for (const modifier_key &key : modifiers) {
        if (key.device == d)
            return &key;
    }
    return nullptr;
}

std::span<const mouse_button, mouse_button_count> mouse_buttons() {
    return buttons;
}

int find_mouse_button(device d) {
    for (std::size_t i = 0; i < std::size(buttons); ++i) {
        if (buttons[i].device == d)
            return static_cast<int>(i);
    }
    return -1;
}

std::span<const device> input_devices() {
    return queueable_devices().first(std::size(devices) - 1);
}

std::span<const device> queueable_devices() {
    return devices;
}

} // namespace toolkit
