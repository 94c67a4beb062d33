// The pointer's shapes: from the server's own cursor font, each made when first needed, or drawn by
// the program.
#pragma once

#include "platform/display/display.h"

#include <xcb/xcb.h>

namespace display::x11 {

[[nodiscard]] xcb_cursor_t find_cursor(cursor_shape shape);

// Replaces the look of a shape, for whoever asks for it from now on.
void define_cursor(cursor_shape shape, const cursor_picture &picture);

// For a connection that ends: the server frees the cursors, we forget them.
void forget_cursors();

} // namespace display::x11
