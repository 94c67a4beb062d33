// Text in boxes, clipped to them.
//
//   draw_text_box(box, font_slot_bold, "Cancel", look::normal);          // in the middle
//   draw_text_left_box(box, font_slot_normal_1, name, look::disabled);   // from the left
//
// Slots are those of the font table (toolkit/graphics/fonts.h); texts are UTF-8. A line stands in
// the middle of a box's height by its font's height, so that texts of one slot line up. A text
// that is too wide for its box ends in an ellipsis.
#pragma once

#include "toolkit/demons/boxes.h"
#include "toolkit/graphics/screen_box.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace toolkit {

inline constexpr int text_margin = 6; // between a box's left edge and its text, pixels

// The text, or as much of its beginning as fits into so many pixels, with an ellipsis behind.
[[nodiscard]] std::string fit_text(int slot, std::string_view text, int width);

// A line of text with its lower left corner at a point, in the text colour of a state.
void draw_text(int x, int y, int slot, std::string_view text, look state = look::normal);

// A line in the middle of a box, or text_margin from its left edge.
void draw_text_box(const screen_box &box, int slot, std::string_view text,
                   look state = look::normal);
void draw_text_left_box(const screen_box &box, int slot, std::string_view text,
                        look state = look::normal);

// A line at a point whose bytes begin .. end - 1 are marked, as a selection is: places inside a
// character count as its beginning, those behind the text as its end. Without any, nothing is
// marked.
void draw_text_with_hilite(int x, int y, int slot, std::string_view text, std::size_t begin,
                           std::size_t end);

// The same, of which only what lies in the box is seen; the clip box of before is put back.
void draw_text_with_hilite_save_clipped(const screen_box &box, int x, int y, int slot,
                                        std::string_view text, std::size_t begin, std::size_t end);

// Only pixels of the box from now on, until the matching reset.
void set_clip_box(const screen_box &box);
void reset_clip_box();

} // namespace toolkit
