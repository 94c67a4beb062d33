// What the keys and buttons of the keyboard (US layout) and mouse mean, and which devices the
// toolkit queues.
//
//   for (gl::device d : input_devices()) gl::qdevice(d);
//   if (const modifier_key *key = find_modifier_key(d)) ...
//   if (int c = key_character(d, shift, caps_lock)) ...
#pragma once

#include "platform/gl/devices.h"
#include "toolkit/events/input_types.h"

#include <cstdint>
#include <span>

namespace toolkit {

// --- characters ----------------------------------------------------------------------------------

inline constexpr int backspace_character = 8; // of Delete too, while nobody edits
inline constexpr int tab_character = 9;
inline constexpr int return_character = 13; // of Line Feed and the pad's Enter too
inline constexpr int escape_character = 27;

// The values of the editing keys in keyboard events, presses only, while somebody takes them: see
// take_arrow_keys (event_input.h).
inline constexpr std::int16_t left_arrow_pressed = 1012;
inline constexpr std::int16_t right_arrow_pressed = 1013;
inline constexpr std::int16_t up_arrow_pressed = 1014;
inline constexpr std::int16_t down_arrow_pressed = 1015;
inline constexpr std::int16_t home_pressed = 1016;
inline constexpr std::int16_t end_pressed = 1017;
inline constexpr std::int16_t page_up_pressed = 1018;
inline constexpr std::int16_t page_down_pressed = 1019;
inline constexpr std::int16_t delete_pressed = 1020;

// The value of an editing key; 0 for other keys.
[[nodiscard]] std::int16_t editing_key_value(gl::device d);
[[nodiscard]] constexpr bool is_editing_key(int value) {
    return value >= left_arrow_pressed && value <= delete_pressed;
}

// The character that a key types, or 0 when it types none. Letters are upper case with shift or
// caps lock, or both; other keys give their shifted character with shift; the pad, Space and the
// control characters do not change.
[[nodiscard]] int key_character(gl::device d, bool shift, bool caps_lock);

// --- modifiers -----------------------------------------------------------------------------------

// Bits of the modifier word; each belongs to a pair of keys.
inline constexpr std::uint32_t alt_bit = 1;
inline constexpr std::uint32_t ctrl_bit = 2;
inline constexpr std::uint32_t shift_bit = 4;

// The values of modifier keys in keyboard events.
inline constexpr std::int16_t left_alt_pressed = 1000;
inline constexpr std::int16_t left_alt_released = 1001;
inline constexpr std::int16_t right_alt_pressed = 1002;
inline constexpr std::int16_t right_alt_released = 1003;
inline constexpr std::int16_t left_ctrl_pressed = 1004;
inline constexpr std::int16_t left_ctrl_released = 1005;
inline constexpr std::int16_t right_ctrl_pressed = 1006;
inline constexpr std::int16_t right_ctrl_released = 1007;
inline constexpr std::int16_t left_shift_pressed = 1008;
inline constexpr std::int16_t left_shift_released = 1009;
inline constexpr std::int16_t right_shift_pressed = 1010;
inline constexpr std::int16_t right_shift_released = 1011;

struct modifier_key {
    gl::device device;
    std::uint32_t bit;
    std::int16_t pressed;
    std::int16_t released;
};
[[nodiscard]] std::span<const modifier_key> modifier_keys();
[[nodiscard]] const modifier_key *find_modifier_key(gl::device d); // null: it is none

// --- buttons -------------------------------------------------------------------------------------

// The values of button events.
struct mouse_button {
    gl::device device;
    char pressed;
    char released;
    char double_clicked;
};

// The left, middle and right button: a b c pressed, A B C released, D E F double-clicked.
[[nodiscard]] std::span<const mouse_button, mouse_button_count> mouse_buttons();

// The place of a button in that list, or -1.
[[nodiscard]] int find_mouse_button(gl::device d);

// A turn of the wheel by one notch. It has no release and no double click.
inline constexpr char wheel_turned_up = 'u';
inline constexpr char wheel_turned_down = 'd';

// --- devices -------------------------------------------------------------------------------------

// What gl_input_init queues, in its order.
[[nodiscard]] std::span<const gl::device> input_devices();

// The same and TIMER0: whatever the toolkit may have queued on its own account. (TIMER2 and TIMER3
// belong to who registered their functions, REDRAW is always queued.)
[[nodiscard]] std::span<const gl::device> queueable_devices();

} // namespace toolkit
