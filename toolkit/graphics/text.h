// Text in the current window, in the current colour, from a slot of the font table (fonts.h).
//
// A place names the lower left corner of the text's line, not the baseline: the line is as high as
// its font (text of any kind from one slot lines up), and letters with descenders stay above y.
//
//   const toolkit::text_size size = toolkit::gl_inq_text_extent(slot, text);     // in a box:
//   const toolkit::text_shift shift = toolkit::gl_inq_text_offset(slot, text);
//   toolkit::gl_draw_text(box.x + (box.width - size.width) / 2 - shift.x,
//                         box.y + (box.height - size.height) / 2 - shift.y, slot, text);
#pragma once

#include "toolkit/graphics/fonts.h"

#include <string_view>

namespace toolkit {

// Draws a line of UTF-8 text and makes the slot current. Coordinates as in platform/gl; those that
// a 16-bit number can not hold are brought to its ends.
void gl_draw_text(int x, int y, int slot, std::string_view text);

// The smallest box that holds the text's line (its width by the height of the font) and every
// pixel that is drawn: slanted letters may lean out of the line at the sides, letters from other
// faces at the top or bottom. A text without letters has no width, but the height of the font.
[[nodiscard]] text_size gl_inq_text_extent(int slot, std::string_view text);

// How far the text moves the character position: what is added up along a line. For the room that a
// text needs, take its extent.
[[nodiscard]] int gl_inq_text_width(int slot, std::string_view text);

// Where that box begins, from the place given to gl_draw_text: 0 or less in both directions.
struct text_shift {
    int x = 0;
    int y = 0;
};
[[nodiscard]] text_shift gl_inq_text_offset(int slot, std::string_view text);

// The height of a line in this slot: what centres all texts of one slot alike.
[[nodiscard]] int gl_inq_font_y_extent(int slot);

} // namespace toolkit
