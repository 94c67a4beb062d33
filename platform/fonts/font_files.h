// Which font files the system has: asked of fontconfig, and never believed blindly.
//
//   fm::read_font_files();
//   for (const fm::font_file &file : fm::files_named("NimbusSans-Bold")) ...  // the best one first
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fm {

struct font_file {
    std::string path;
    int index = 0;    // of the face in its file
    std::string name; // PostScript name, or the full one when it has none
};

// Reads the lists of the installed fonts, once; forget_font_files lets them go.
void read_font_files();
void forget_font_files();

// The outline faces with exactly this PostScript name; if there are none, those with this full
// name. Files that tell most about their letters come first.
[[nodiscard]] std::vector<font_file> files_named(std::string_view name);

// The installed face that has this letter and is closest to the one in `like`, in the order that
// the user's settings ask for. False when no face has it.
[[nodiscard]] bool find_file_with(char32_t letter, const font_file &like, font_file *found);

} // namespace fm
