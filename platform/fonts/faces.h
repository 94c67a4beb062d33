// The open faces: FreeType's records of font files, each opened once.
//
//   const int face = fm::open_face(file);          // -1: the file is no good
//   fm::letter_place place;
//   if (fm::find_letter(face, U'g', &place)) ...   // in this face or another
//
// Only this folder's sources include this header.
#pragma once

#include "platform/fonts/font_files.h"

#include <ft2build.h>
#include FT_FREETYPE_H

namespace fm {

inline constexpr int max_named_faces = 64;
inline constexpr int max_stand_ins = 16; // faces that were opened for single letters

// Opens the face, or finds it open. Returns its number, or -1: FreeType can not read it, or
// max_named_faces are open.
[[nodiscard]] int open_face(const font_file &file);
void close_faces();

[[nodiscard]] FT_Face face_record(int face);
[[nodiscard]] const font_file &face_file(int face);

// Where a letter's picture is.
struct letter_place {
    int face = -1;
    unsigned index = 0;
};
// Looks in the face, then in what fontconfig offers in its place. False when there is none.
[[nodiscard]] bool find_letter(int face, char32_t letter, letter_place *place);

// Loads a letter's outline, fitted to the pixels of this size: stems are whole pixels wide and
// stand on whole pixels. False when it can not be loaded. The outline is in the face's own record.
[[nodiscard]] bool load_outline(const letter_place &place, int pixels);

} // namespace fm
