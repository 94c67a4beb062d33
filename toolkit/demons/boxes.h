// Boxes as the toolkit draws them: plain, filled, outlined, bevelled, rounded; and with triangles.
//
//   draw_bn(box);                                  // a button's face
//   hilite_bn(box);                                // with the pointer on it
//   paint_button(box, look::disabled);
//
// In the current window, in the coordinates selected. All that has a highlight is drawn again to
// highlight it, so it looks the same in RGB and colour-map windows; xor_box alone turns pixels
// over. Boxes without width or height draw nothing; what does not fit into a small box is left out.
#pragma once

#include "toolkit/events/input_types.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/screen_box.h"

namespace toolkit {

// --- geometry ------------------------------------------------------------------------------------

// Whether the point is one of the box's pixels.
[[nodiscard]] bool in_box(const screen_box &box, screen_point point);

// Whether the boxes have a pixel in common.
[[nodiscard]] bool overlap_box(const screen_box &a, const screen_box &b);

// Prints "box: %d %d %d %d\n" on standard output.
void show_box(const screen_box &box);

// --- turning over --------------------------------------------------------------------------------

// Highlights a box of a colour-map window by setting the lowest bit of its pixels, or takes that
// back: what the corners' lowest bits together are not. Twice restores a box that holds even
// indices. The rectangle's far corner is at x + width, y + height. In RGB windows: nothing.
void xor_box(const screen_box &box);

// --- plain boxes ---------------------------------------------------------------------------------

void erase_box(const screen_box &box); // colour_background; colour_drawing is in force then
void fill_box_gray(const screen_box &box);
void fill_box_medium_gray(const screen_box &box);
void fill_box_light_gray(const screen_box &box);
void draw_box_dark_gray(const screen_box &box);  // the outline of a group
void erase_box_dark_gray(const screen_box &box); // its ground
void contrast_box(const screen_box &box);        // a frame that is seen on any ground

// --- boxes with states ---------------------------------------------------------------------------

enum class look { normal, hilited, pressed, disabled };

void paint_outlined_box(const screen_box &box, look state); // the outline alone
void paint_button(const screen_box &box, look state);
void paint_beveled_box(const screen_box &box, look state); // a raised panel; pressed: sunken
void paint_rounded_box(const screen_box &box, look state);

inline void draw_outlined_box(const screen_box &box) {
    paint_outlined_box(box, look::normal);
}
inline void hilite_outlined_box(const screen_box &box) {
    paint_outlined_box(box, look::hilited);
}
inline void dehilite_outlined_box(const screen_box &box) {
    paint_outlined_box(box, look::normal);
}
inline void draw_bn(const screen_box &box) {
    paint_button(box, look::normal);
}
inline void hilite_bn(const screen_box &box) {
    paint_button(box, look::hilited);
}
inline void dehilite_bn(const screen_box &box) {
    paint_button(box, look::normal);
}
inline void beveled_box(const screen_box &box) {
    paint_beveled_box(box, look::normal);
}
inline void hilite_beveled_box(const screen_box &box) {
    paint_beveled_box(box, look::hilited);
}
inline void dehilite_beveled_box(const screen_box &box) {
    paint_beveled_box(box, look::normal);
}
inline void rounded_box(const screen_box &box) {
    paint_rounded_box(box, look::normal);
}
inline void hilite_rounded_box(const screen_box &box) {
    paint_rounded_box(box, look::hilited);
}
inline void dehilite_rounded_box(const screen_box &box) {
    paint_rounded_box(box, look::normal);
}
void erase_rounded_box(const screen_box &box);

// --- triangles -----------------------------------------------------------------------------------

enum class direction { up, down, left, right };

// A triangle that points there, in the middle of the box.
void paint_triangle(const screen_box &box, direction to, look state);

inline void draw_up_tri(const screen_box &box) {
    paint_triangle(box, direction::up, look::normal);
}
inline void hilite_up_tri(const screen_box &box) {
    paint_triangle(box, direction::up, look::hilited);
}
inline void dehilite_up_tri(const screen_box &box) {
    paint_triangle(box, direction::up, look::normal);
}
inline void draw_down_tri(const screen_box &box) {
    paint_triangle(box, direction::down, look::normal);
}
inline void hilite_down_tri(const screen_box &box) {
    paint_triangle(box, direction::down, look::hilited);
}
inline void dehilite_down_tri(const screen_box &box) {
    paint_triangle(box, direction::down, look::normal);
}
inline void draw_left_tri(const screen_box &box) {
    paint_triangle(box, direction::left, look::normal);
}
inline void hilite_left_tri(const screen_box &box) {
    paint_triangle(box, direction::left, look::hilited);
}
inline void dehilite_left_tri(const screen_box &box) {
    paint_triangle(box, direction::left, look::normal);
}
inline void draw_right_tri(const screen_box &box) {
    paint_triangle(box, direction::right, look::normal);
}
inline void hilite_right_tri(const screen_box &box) {
    paint_triangle(box, direction::right, look::hilited);
}
inline void dehilite_right_tri(const screen_box &box) {
    paint_triangle(box, direction::right, look::normal);
}

} // namespace toolkit
