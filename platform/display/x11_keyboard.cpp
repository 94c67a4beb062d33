#include "platform/display/x11_keyboard.h"

#include "platform/display/display.h"
#include "platform/display/x11_connection.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

// A C header that uses a C++ word as a name.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit explicit_parts
#include <xcb/xkb.h>
#undef explicit
#ifdef __clang__
#pragma clang diagnostic pop
#endif

namespace display::x11 {
namespace {

template <auto release> struct releaser {
    template <class record> void operator()(record *r) const { release(r); }
};
using context_pointer = std::unique_ptr<xkb_context, releaser<xkb_context_unref>>;
using keymap_pointer = std::unique_ptr<xkb_keymap, releaser<xkb_keymap_unref>>;
using state_pointer = std::unique_ptr<xkb_state, releaser<xkb_state_unref>>;

struct keyboard {
    context_pointer context;
    keymap_pointer keymap;
    state_pointer state;
    std::int32_t device = 0;
    std::uint8_t first_event = 0;
    bool outdated = false;
};
keyboard keys;

// Symbols that stand for another one, or for themselves where the range is not plain.
struct symbol_code {
    xkb_keysym_t symbol;
    int code;
};
constexpr symbol_code symbol_codes[] = {
    {XKB_KEY_ISO_Left_Tab, key_tab},
    {XKB_KEY_ISO_Level3_Shift, key_alt_right},
    {XKB_KEY_Mode_switch, key_alt_right},
    {XKB_KEY_Meta_L, key_alt_left},
    {XKB_KEY_Meta_R, key_alt_right},
    {XKB_KEY_Sys_Req, key_print},
    {XKB_KEY_Break, key_pause},
    {XKB_KEY_KP_Insert, key_pad_0},
    {XKB_KEY_KP_End, key_pad_0 + 1},
    {XKB_KEY_KP_Down, key_pad_0 + 2},
    {XKB_KEY_KP_Next, key_pad_0 + 3},
    {XKB_KEY_KP_Left, key_pad_0 + 4},
    {XKB_KEY_KP_Begin, key_pad_0 + 5},
    {XKB_KEY_KP_Right, key_pad_0 + 6},
    {XKB_KEY_KP_Home, key_pad_0 + 7},
    {XKB_KEY_KP_Up, key_pad_0 + 8},
    {XKB_KEY_KP_Prior, key_pad_0 + 9},
    {XKB_KEY_KP_Delete, key_pad_decimal},
    {XKB_KEY_KP_Separator, key_pad_decimal},
    {XKB_KEY_KP_Equal, '='},
};

// Keys whose symbol is their code.
constexpr int same_codes[] = {
    key_backspace,   key_tab,          key_linefeed,      key_return,     key_pause,
    key_scroll_lock, key_escape,       key_home,          key_left,       key_up,
    key_right,       key_down,         key_page_up,       key_page_down,  key_end,
    key_print,       key_insert,       key_num_lock,      key_pad_enter,  key_pad_multiply,
    key_pad_add,     key_pad_subtract, key_pad_decimal,   key_pad_divide, key_shift_left,
    key_shift_right, key_control_left, key_control_right, key_caps_lock,  key_alt_left,
    key_alt_right,   key_delete,
};
constexpr std::string_view us_symbols = "abcdefghijklmnopqrstuvwxyz0123456789 `-=[]\\;',./";

constexpr int function_keys = 12;
constexpr int digits = 10;

// The rows of a US keyboard by the names that X gives their places: the row's name, then what
// stands on 01, 02, ...
struct key_row {
    std::string_view name;
    std::string_view symbols;
};
constexpr key_row key_rows[] = {
    {"AE", "1234567890-="},
    {"AD", "qwertyuiop[]"},
    {"AC", "asdfghjkl;'\\"},
    {"AB", "zxcvbnm,./"},
};

bool is_within(int code, int first, int count) {
    return code >= first && code < first + count;
}

// The code of a symbol that US keyboards have, or 0.
int code_of_symbol(xkb_keysym_t symbol) {
    for (const symbol_code &s : symbol_codes) {
        if (s.symbol == symbol) {
            return s.code;
        }
    }
    const int code = static_cast<int>(symbol);
    const bool plain =
        symbol < 0x80 && us_symbols.find(static_cast<char>(symbol)) != std::string_view::npos;
    if (plain || is_within(code, key_pad_0, digits) || is_within(code, key_f1, function_keys) ||
        std::find(std::begin(same_codes), std::end(same_codes), code) != std::end(same_codes)) {
        return code;
    }
    return 0;
}

// What stands at this key's place on a US keyboard, or 0.
int code_of_place(xkb_keycode_t key) {
    const char *text = xkb_keymap_key_get_name(keys.keymap.get(), key);
    const std::string_view name = text != nullptr ? text : "";
    if (name == "TLDE") {
        return '`';
    }
    if (name == "BKSL" || name == "LSGT") {
        return '\\';
    }
    constexpr std::size_t row_name = 2;
    if (name.size() != row_name + 2) {
        return 0;
    }
    for (const key_row &row : key_rows) {
        const int place = (name[2] - '0') * 10 + (name[3] - '0') - 1;
        if (name.substr(0, row_name) == row.name && place >= 0 &&
            place < static_cast<int>(row.symbols.size())) {
            return row.symbols[static_cast<std::size_t>(place)];
        }
    }
    return 0;
}

bool load_keymap() {
    keymap_pointer keymap(xkb_x11_keymap_new_from_device(keys.context.get(), xserver.xcb,
                                                         keys.device, XKB_KEYMAP_COMPILE_NO_FLAGS));
    state_pointer state(keymap ? xkb_state_new(keymap.get()) : nullptr);
    if (!state) {
        return false; // with an older keymap in place, that one goes on
    }
    keys.keymap = std::move(keymap);
    keys.state = std::move(state);
    return true;
}

void follow_keyboard() {
    constexpr std::uint16_t events =
        XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t parts =
        XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP |
        XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS | XCB_XKB_MAP_PART_VIRTUAL_MODS |
        XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
    constexpr std::uint16_t details = XCB_XKB_NKN_DETAIL_KEYCODES;
    xcb_xkb_select_events_details_t wanted{};
    wanted.affectNewKeyboard = details;
    wanted.newKeyboardDetails = details;
    const auto device = static_cast<xcb_xkb_device_spec_t>(keys.device);
    xcb_xkb_select_events_aux(xserver.xcb, device, events, 0, 0, parts, parts, &wanted);
    constexpr std::uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    xcb_xkb_per_client_flags_unchecked(xserver.xcb, device, flag, flag, 0, 0, 0);
}

} // namespace

bool open_keyboard() {
    keys.context.reset(xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
    if (keys.context && xkb_x11_setup_xkb_extension(xserver.xcb, XKB_X11_MIN_MAJOR_XKB_VERSION,
                                                    XKB_X11_MIN_MINOR_XKB_VERSION,
                                                    XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr,
                                                    nullptr, &keys.first_event, nullptr) != 0) {
        keys.device = xkb_x11_get_core_keyboard_device_id(xserver.xcb);
        if (keys.device >= 0) {
            follow_keyboard(); // before loading, or a change in between goes unseen
            if (load_keymap()) {
                return true;
            }
        }
    }
    std::fprintf(stderr, "display: can't read the keyboard's layout from the X server; it must "
                         "offer the XKEYBOARD extension and a keyboard\n");
    close_keyboard();
    return false;
}

void close_keyboard() {
    keys = keyboard{};
}

bool take_keyboard_event(const xcb_generic_event_t *e) {
    const int type = e->response_type & 0x7f;
    if (type == XCB_MAPPING_NOTIFY) {
        keys.outdated = true;
        return true;
    }
    if (type != keys.first_event) {
        return false;
    }
    keys.outdated = true; // only changes of the layout were asked for
    return true;
}

key_meaning read_key(xcb_keycode_t key, std::uint16_t state) {
    if (keys.outdated) {
        keys.outdated = false;
        (void)load_keymap();
    }
    constexpr std::uint16_t modifiers = 0xff;
    constexpr int group_shift = 13;
    constexpr std::uint16_t group_mask = 3;
    xkb_state_update_mask(keys.state.get(), state & modifiers, 0, 0,
                          static_cast<xkb_layout_index_t>((state >> group_shift) & group_mask), 0,
                          0);
    key_meaning meaning;
    const xkb_layout_index_t layout = xkb_state_key_get_layout(keys.state.get(), key);
    const xkb_keysym_t *symbols = nullptr;
    if (layout != XKB_LAYOUT_INVALID &&
        xkb_keymap_key_get_syms_by_level(keys.keymap.get(), key, layout, 0, &symbols) > 0) {
        meaning.code = code_of_symbol(symbols[0]);
    }
    if (meaning.code == 0) {
        meaning.code = code_of_place(key);
    }
    meaning.character = xkb_state_key_get_utf32(keys.state.get(), key);
    return meaning;
}

} // namespace display::x11
