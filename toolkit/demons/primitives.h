// Routines for display objects that nothing else owns: those that do nothing, those that redraw,
// lines and points, and the cursors that a demon draws itself.
//
//   button->draw = draw_my_button;                 // looks at button->hilited
//   button->hilite = do_hilite_bn;
//   button->dehilite = do_dehilite_bn;
#pragma once

#include "toolkit/demons/boxes.h"
#include "toolkit/demons/display_object.h"

namespace toolkit {

void null_draw(display_object *self);

// Highlight and back for whatever has a face. In a colour-map window they turn the box over; in an
// RGB window they have the object drawn again by its own draw routine, which heeds `hilited`.
void do_hilite_bn(display_object *self);
void do_dehilite_bn(display_object *self);

// The look that an object's `hilited` asks for.
[[nodiscard]] inline look look_of(const display_object *self) {
    return self->hilited != 0 ? look::hilited : look::normal;
}

// --- at absolute coordinates, in the drawing value -----------------------------------------------

void move_abs(int x, int y); // where the next draw_abs begins
void draw_abs(int x, int y); // a line to here, where the next one begins
void draw_line_2d(int x1, int y1, int x2, int y2);
void draw_point(int x, int y);
void draw_circle(int x, int y, int radius);

// --- cursors -------------------------------------------------------------------------------------

// Draws an object's own cursor at a point, in the overlay planes of its window, so that the picture
// under it stays; the same routine type erases it.
using cursor_routine = void (*)(display_object *self, screen_point at);

void nullcur(display_object *self, screen_point at); // nothing
void boxcur(display_object *self, screen_point at);  // a small box around the point
void erase_boxcur(display_object *self, screen_point at);

} // namespace toolkit
