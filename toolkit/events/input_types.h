// Small types that everything about input shares.
#pragma once

#include <cstdint>

namespace toolkit {

// A place on the screen: pixels from its lower left corner, x to the right, y up.
struct screen_point {
    std::int16_t x = 0;
    std::int16_t y = 0;
    bool operator==(const screen_point &) const = default;
};

// What gl_event_get delivers. The numbers are bits, so that a filter can name several.
inline constexpr std::int16_t input_nothing = 0;  // handled already; nothing to deliver
inline constexpr std::int16_t input_motion = 1;   // the cursor moved
inline constexpr std::int16_t input_keyboard = 2; // a character or modifier code
inline constexpr std::int16_t input_button = 4;   // a letter: see key_table.h
inline constexpr std::int16_t input_none = 8;     // the idle tick

inline constexpr int mouse_button_count = 3;

// What the toolkit's questions answer.
inline constexpr int answer_yes = 255;
inline constexpr int answer_no = 0;

} // namespace toolkit
