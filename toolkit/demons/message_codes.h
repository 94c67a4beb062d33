// The messages of display objects and demons. A code is also the number of the method slot that
// answers it, so a message is sent by calling the slot of its code.
//
// The codes of the object model (destroy 1, edit 10, get name 12) are in toolkit/objects.
#pragma once

#include <cstdint>

namespace toolkit {

// --- display objects -----------------------------------------------------------------------------
inline constexpr std::uint32_t msg_init = 5;
inline constexpr std::uint32_t msg_draw = 19;
inline constexpr std::uint32_t msg_erase = 20;
inline constexpr std::uint32_t msg_hilite = 22;
inline constexpr std::uint32_t msg_dehilite = 23;
inline constexpr std::uint32_t msg_move = 24;
inline constexpr std::uint32_t msg_set_visibility = 27;
inline constexpr std::uint32_t msg_get_visibility = 28;

// --- widget values -------------------------------------------------------------------------------
inline constexpr std::uint32_t msg_set_value = 8;
inline constexpr std::uint32_t msg_get_value = 9;
inline constexpr std::uint32_t msg_update_value = 14;

// --- demons --------------------------------------------------------------------------------------
inline constexpr std::uint32_t msg_pick = 21;
inline constexpr std::uint32_t msg_none = 36; // the idle tick; also: nothing to deliver
inline constexpr std::uint32_t msg_left_up = 37;
inline constexpr std::uint32_t msg_left_down = 38;
inline constexpr std::uint32_t msg_middle_up = 39;
inline constexpr std::uint32_t msg_middle_down = 40;
inline constexpr std::uint32_t msg_right_up = 41;
inline constexpr std::uint32_t msg_right_down = 42;
inline constexpr std::uint32_t msg_box_in = 43;
inline constexpr std::uint32_t msg_box_out = 44;
inline constexpr std::uint32_t msg_pointer_moved = 45;
inline constexpr std::uint32_t msg_pop = 46;
inline constexpr std::uint32_t msg_push = 47;
inline constexpr std::uint32_t msg_key = 48;
inline constexpr std::uint32_t msg_add = 49;
inline constexpr std::uint32_t msg_delete = 50;
inline constexpr std::uint32_t msg_set_enable_input = 51;
inline constexpr std::uint32_t msg_get_enable_input = 52;
inline constexpr std::uint32_t msg_set_keyboard_client = 54;
inline constexpr std::uint32_t msg_get_keyboard_client = 55;
inline constexpr std::uint32_t msg_left_double = 56;
inline constexpr std::uint32_t msg_middle_double = 57;
inline constexpr std::uint32_t msg_right_double = 58;
inline constexpr std::uint32_t msg_wheel_up = 59; // by one notch
inline constexpr std::uint32_t msg_wheel_down = 60;

} // namespace toolkit
