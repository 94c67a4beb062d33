// The message that every demon method receives, and the codes of those that come from input. A
// code is also the number of the method slot that handles it.
#pragma once

#include "toolkit/events/input_types.h"

#include <cstdint>

namespace toolkit {

struct demon;

struct demon_message {
    std::uint32_t code = 0;      // msg_...
    screen_point point;          // where the pointer is, after the cursor filter
    std::uint16_t spare = 0;     // nobody fills or reads it
    std::uint16_t propagate = 0; // 255: siblings get the message too; 0: this demon only
    std::uint32_t value = 0;     // argument or result
    demon *picked = nullptr;     // the answer to a pick
    std::int16_t key = 0;        // a key's character or modifier code
};

inline constexpr std::uint32_t msg_none = 36; // the idle tick; also: nothing to deliver
inline constexpr std::uint32_t msg_left_up = 37;
inline constexpr std::uint32_t msg_left_down = 38;
inline constexpr std::uint32_t msg_middle_up = 39;
inline constexpr std::uint32_t msg_middle_down = 40;
inline constexpr std::uint32_t msg_right_up = 41;
inline constexpr std::uint32_t msg_right_down = 42;
inline constexpr std::uint32_t msg_pointer_moved = 45;
inline constexpr std::uint32_t msg_key = 48;
inline constexpr std::uint32_t msg_left_double = 56;
inline constexpr std::uint32_t msg_middle_double = 57;
inline constexpr std::uint32_t msg_right_double = 58;

} // namespace toolkit
