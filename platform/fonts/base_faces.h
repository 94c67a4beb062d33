// The 35 classic PostScript faces, and the faces that are made to the same widths.
//
//   for (std::string_view name : fm::equivalents_of("Helvetica-Bold")) ...   // "NimbusSans-Bold"
#pragma once

#include <span>
#include <string_view>

namespace fm {

inline constexpr int base_face_count = 35;

// PostScript names of faces whose letters have the widths of the classic face's, the closest in
// look first; empty when `name` is not one of the 35.
[[nodiscard]] std::span<const std::string_view> equivalents_of(std::string_view name);

// The classic names, in the order of their families.
[[nodiscard]] std::string_view base_face_name(int index); // 0 .. base_face_count - 1

} // namespace fm
