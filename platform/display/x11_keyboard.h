// What a key press means: its code on any keyboard, and the character it types.
//
//   if (!open_keyboard()) ...                        // has reported why
//   take_keyboard_event(e);                          // every event of the server
//   key_meaning m = read_key(press->detail, press->state);
//   close_keyboard();
#pragma once

#include <cstdint>
#include <xcb/xcb.h>

namespace display::x11 {

struct key_meaning {
    int code = 0;                // as in event::code; 0: a key that nobody can name
    std::uint32_t character = 0; // Unicode, 0: none
};

// Needs the connection. Switches phantom releases of repeating keys off and follows the keyboard
// from now on. Returns false after one line on standard error.
[[nodiscard]] bool open_keyboard();
void close_keyboard();

// True when e was about the keyboard itself (another layout): nobody else wants it.
[[nodiscard]] bool take_keyboard_event(const xcb_generic_event_t *e);

// key and state as in the server's event. The modifiers and the keyboard group are taken from the
// event, so that they are right for this key however late it is read.
[[nodiscard]] key_meaning read_key(xcb_keycode_t key, std::uint16_t state);

} // namespace display::x11
