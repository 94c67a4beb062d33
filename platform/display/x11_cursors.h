// The pointer's shapes, from the server's own cursor font; each is made when first needed.
#pragma once

#include "platform/display/display.h"

#include <xcb/xcb.h>

namespace display::x11 {

[[nodiscard]] xcb_cursor_t find_cursor(cursor_shape shape);

// For a connection that ends: the server frees the cursors, we forget them.
void forget_cursors();

} // namespace display::x11
