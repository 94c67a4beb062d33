// Reading UTF-8 of any kind, valid or not.
//
//   while (!text.empty())
//       draw(fm::next_letter(&text));
#pragma once

#include <string_view>

namespace fm {

inline constexpr char32_t replacement_letter = 0xFFFD;

// Takes the next letter off the text, which is not empty. A byte that does not begin a valid
// sequence (also overlong forms, surrogates and what lies beyond the last code) is taken off alone
// and gives replacement_letter; so is a control character, which could not be seen otherwise.
[[nodiscard]] char32_t next_letter(std::string_view *text);

} // namespace fm
