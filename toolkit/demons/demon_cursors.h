// The cursors that demons show: the screen's own shape, and what a demon draws itself.
#pragma once

#include "toolkit/demons/demons.h"

namespace toolkit {

// What the pointer has done to the demon.
enum class cursor_mode { left = 0, entered = 1, moved = 2 };

// Draws, moves or erases the demon's own cursor at a point of the screen, and chooses the shape of
// the pointer: crossed for demons with x_cursor, plain for others. nullcur and x_cursor draw
// nothing.
void demon_cursor(demon *self, screen_point at, cursor_mode mode);

void x_cursor(display_object *self, screen_point at);     // the pointer's own shape
void big_x_cursor(display_object *self, screen_point at); // a large slanted cross
void erase_big_x_cursor(display_object *self, screen_point at);
void xhair_cursor(display_object *self, screen_point at); // one pixel inside the box's edges
void erase_xhair_cursor(display_object *self, screen_point at);

} // namespace toolkit
