// The five faces of the program's texts, as far as somebody has chosen other ones than the
// built-in ones. Set before system_init; read when the fonts are loaded.
//
//   toolkit::gl_set_font_names_table({{{"Sans", 8.0F}, {"Sans", 10.0F}, ...}});
//   if (const toolkit::font_names *chosen = toolkit::gl_inq_font_names_table()) ...
#pragma once

#include <array>
#include <string>

namespace toolkit {

inline constexpr int font_role_count = 5; // small, normal 1, normal 2, bold, bold italic
inline constexpr std::array<int, font_role_count> font_role_slots{0, 1, 7, 9, 11};
inline constexpr std::size_t max_font_name = 31; // characters of a name that are kept

struct font_choice {
    std::string name;
    float size = 0.0F; // points, more than 0
};

// In the order of font_role_slots.
using font_names = std::array<font_choice, font_role_count>;

// From now on these faces are loaded instead of the built-in ones. Keeps a copy; names are cut
// to max_font_name characters.
void gl_set_font_names_table(const font_names &names);

// The faces that were set, or null when none were.
[[nodiscard]] const font_names *gl_inq_font_names_table();

} // namespace toolkit
