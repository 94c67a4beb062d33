// Values as people type them: on and off, whole numbers, angles; and what a typed text is.
//
//   float angle = 0;
//   if (degstring_to_rad("90", &angle) != 0)       // pi / 2
//       ...
//   char text[value_text_size];
//   val_to_intstring(12.9F, text);                 // "12"
//
// Readers return 255 and store the value, or return 0 and store nothing when the text holds none.
// Writers cut to the buffer and always close it. Numbers are read as far as they go, blanks before
// them are skipped, and the decimal point is "." everywhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace toolkit {

inline constexpr std::size_t value_text_size = 32; // of any value below, with the closing zero

// Toward zero; what 32 bits can not hold stays at their ends, not-a-number is 0.
[[nodiscard]] std::int32_t truncate_to_int(double value);

// A decimal integer (brought into 32 bits) or real at the beginning of the text: 255, or 0.
int read_int(std::string_view text, std::int32_t *value);
int read_float(std::string_view text, float *value);

// "OFF" is 0 and "ON" is 1. Only the second character counts: F or f there is off, all else on.
int boolstring_to_val(std::string_view text, float *value);
void val_to_boolstring(float value, std::span<char> buffer);

// Values beyond 9999999 are taken as 10000000, on both sides of zero.
int intstring_to_val(std::string_view text, float *value);
void val_to_intstring(float value, std::span<char> buffer);

// Degrees in the text, radians in the value.
int degstring_to_rad(std::string_view text, float *value);
void rad_to_degstring(float value, std::span<char> buffer);

// 255 or 0. A name is one word at least that begins no number. A vector is a text from which
// exactly one number can be read, not three.
[[nodiscard]] int is_an_int(std::string_view text);
[[nodiscard]] int is_a_float(std::string_view text);
[[nodiscard]] int is_a_vector(std::string_view text);
[[nodiscard]] int is_a_name(std::string_view text);

} // namespace toolkit
