// Boxes, lines and circles in the toolkit's colours.
//
//   gl_set_draw_value(colour_drawing);
//   gl_draw_box(box);
//   gl_fill_box(inside(box, 1), colour_face);
//
// Drawing goes to the current window, in its coordinates: the screen's, as a rule (spaces.h). A
// colour is an index of the default colour map. In a colour-map window that index is drawn; in an
// RGB window the colour that the map has for it now, so that everything looks the same in both.
//
// A box without width or height draws nothing. Without a current window nothing happens.
#pragma once

#include "toolkit/graphics/screen_box.h"

namespace toolkit {

// --- colour --------------------------------------------------------------------------------------

// What is drawn with from now on. An index that the default map does not have is ignored.
void gl_set_draw_value(int index);

// 255 when the current window is in RGB mode, else 0.
[[nodiscard]] int gl_inq_color_mode();

// --- boxes ---------------------------------------------------------------------------------------

void gl_draw_box(const screen_box &box);            // its outermost pixels
void gl_fill_box(const screen_box &box, int index); // index is the drawing value then

// Filled with one colour and outlined with the other, which is the drawing value then.
void gl_outline_fill_box(const screen_box &box, int fill, int outline);

// A box `margin` pixels inside its edges on all sides; none when it is too small.
[[nodiscard]] screen_box inside(const screen_box &box, int margin);

// --- lines, points and circles -------------------------------------------------------------------

void gl_draw_line(int x1, int y1, int x2, int y2); // both ends are drawn
void gl_draw_point(int x, int y);
void gl_draw_circle(int x, int y, int radius);
void gl_fill_circle(int x, int y, int radius);

} // namespace toolkit
