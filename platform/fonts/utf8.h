// Reading UTF-8 of any kind, valid or not.
//
//   while (!text.empty())
//       draw(fm::next_letter(&text));
#pragma once

#include <string>
#include <string_view>

namespace fm {

inline constexpr char32_t replacement_letter = 0xFFFD;

// Takes the next letter off the text, which is not empty. A byte that does not begin a valid
// sequence (also overlong forms, surrogates and what lies beyond the last code) is taken off alone
// and gives replacement_letter; so is a control character, which could not be seen otherwise.
[[nodiscard]] char32_t next_letter(std::string_view *text);

// Whether a byte can only stand inside of a letter's bytes, behind the first.
[[nodiscard]] constexpr bool is_continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// The letter of a code of Latin-1 (0 .. 255): one byte, or two from 128 on.
[[nodiscard]] std::string latin_letter(int code);

} // namespace fm
