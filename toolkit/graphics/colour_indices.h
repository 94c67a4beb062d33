// The toolkit's fixed colours, by index in the default colour map.
//
//   gl_set_draw_value(colour_text);
//   gl_fill_box(box, colour_face);
//   gl_fill_box(box, hilited(colour_face));       // under the pointer
//
// The look: neutral greys without tint, dark enough to stay out of the picture's way, the picture
// on a still darker one, and one accent colour for what is active.
//
// Every fixed colour is a pair: an even index, and the odd one behind it that is the same colour
// highlighted. In colour-map windows a box is highlighted by flipping the lowest bit-plane, so
// whatever is drawn in a box that can be highlighted uses even indices; flipping twice then
// restores every pixel. In RGB windows a highlight is drawn again with the odd indices.
#pragma once

#include <cstdint>

namespace toolkit {

// The highlighted form of a fixed colour.
[[nodiscard]] constexpr int hilited(int index) {
    return index | 1;
}

// --- the interface's greys and accents, 128 .. 159 -----------------------------------------------
inline constexpr int fixed_colours_first = 128;
inline constexpr int fixed_colours_count = 32;

inline constexpr int colour_black = 128;
inline constexpr int colour_background = 130;  // erased ground; a new window
inline constexpr int colour_drawing = 132;     // lines and outlines; in force after an erase
inline constexpr int colour_dark_gray = 134;   // ground of groups and containers
inline constexpr int colour_medium_gray = 136; // separators
inline constexpr int colour_gray = 138;        // marks, triangles, handles
inline constexpr int colour_light_gray = 140;  // handles that stand out
inline constexpr int colour_text = 142;
inline constexpr int colour_text_hilited = 143;  // also text on a plain band of the window
inline constexpr int colour_disabled_text = 144; // text and marks of what can not be chosen
inline constexpr int colour_white = 146;
inline constexpr int colour_accent = 148;         // what is active: chosen, playing, focused
inline constexpr int colour_accent_ground = 150;  // ground behind text that is active or selected
inline constexpr int colour_well = 152;           // sunken grounds: text fields, troughs
inline constexpr int colour_face = 154;           // a window's inside
inline constexpr int colour_picture_ground = 156; // around and behind the picture
inline constexpr int colour_progress = 158;       // the progress bar's pure red

// --- the bevel-button block, 160 .. 175 ----------------------------------------------------------
// gl_inquire_bevel_button_block() is the block's number; these are places in it.
inline constexpr int bevel_block_first = 160;
inline constexpr int bevel_block_count = 16;

inline constexpr int bevel_face = 0;
inline constexpr int bevel_light = 2;   // edge towards the light: left and top
inline constexpr int bevel_dark = 4;    // edge away from it: right and bottom
inline constexpr int bevel_outline = 6; // the line around
inline constexpr int bevel_text = 8;
inline constexpr int bevel_disabled_text = 10;
inline constexpr int bevel_pressed = 12; // face while pressed
inline constexpr int bevel_accent = 14;  // face or mark of what is switched on

// --- overlay -------------------------------------------------------------------------------------
inline constexpr int overlay_clear = 0;  // the picture shows through
inline constexpr int overlay_cursor = 1; // what demons draw for a cursor

} // namespace toolkit
