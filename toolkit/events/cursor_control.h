// Moving the cursor, and keeping it in a box.
//
//   gl_set_mouse_box(100, 100, 640, 480);         // lower left corner, width, height
//   gl_constrain_mouse();                         // the cursor stays in there
//   ...
//   gl_unconstrain_mouse();
//
// Coordinates: pixels from the screen's lower left corner.
#pragma once

#include "toolkit/events/input_types.h"

namespace toolkit {

// Moves the cursor, not beyond the screen nor a box that constrains it.
void gl_set_valuator(int x, int y);

// Where the cursor is now. Either pointer may be null.
void gl_get_valuator(std::int16_t *x, std::int16_t *y);

// The box that gl_constrain_mouse keeps the cursor in: x .. x + width - 1, y .. y + height - 1.
// A box without area holds nothing back. At the start: the whole screen.
void gl_set_mouse_box(int x, int y, int width, int height);

// Moves the cursor into the box now, and back into it whenever gl_event_get sees it outside.
void gl_constrain_mouse();
void gl_unconstrain_mouse();

// Moves the cursor to the nearest place in the box, if it is constrained and outside.
void pull_cursor_into_box();

// The place in the box nearest to p; p itself while the cursor is not constrained.
[[nodiscard]] screen_point constrain_cursor(screen_point p);

// Switches the cursor speed setting between 1 and 10: any value but 1 becomes 1. The setting is
// kept for who asks; the desktop moves the cursor.
void gl_toggle_cursor_speed();
[[nodiscard]] int inq_cursor_speed();

} // namespace toolkit
