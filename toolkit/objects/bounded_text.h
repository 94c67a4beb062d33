// Copying text into fields of fixed size.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace toolkit {

// Copies as much of the text as fits with its closing zero, never a part of a UTF-8 character, and
// fills the rest of the field with zeros. Returns the bytes copied. The text may lie in the field.
std::size_t copy_bounded(std::span<char> field, std::string_view text);

} // namespace toolkit
