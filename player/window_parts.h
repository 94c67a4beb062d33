// What the player's windows have in common: parts that a routine draws, exact sizes, and pictures.
#pragma once

#include "player/window_layout.h"
#include "toolkit/demons/generic_demons.h"

#include <span>

namespace player {

// The screen without what desktops keep of it.
[[nodiscard]] extent screen_size();

// The design's length that comes out as so many pixels on this screen; scaled: toolkit::scale_x or
// scale_y. For calls that take the design's pixels.
[[nodiscard]] int design_length(int pixels, int (*scaled)(int));

// A demon of the window that a routine draws; null: nothing is drawn.
toolkit::demon *add_part(toolkit::demon *window, toolkit::draw_routine draw);

// Puts a widget of a window to a box of the window; null widgets and windows are ignored.
void place_part(const toolkit::demon *window, toolkit::demon *widget,
                const toolkit::screen_box &at);

// The toolkit's id of a demon's own window that is open, or no_window.
[[nodiscard]] int open_window_id(const toolkit::demon *window);

// Makes it current, in screen coordinates. False when it is not open.
bool make_window_current(const toolkit::demon *window);

// The size that the desktop has given it; nothing when it is not open.
[[nodiscard]] extent real_window_size(const toolkit::demon *window);

// Says which version this is; the windows' keystroke calls it.
void tell_version(toolkit::word unused);

// Between the two, coordinates are those of the current window, and a picture's pixels are drawn
// `zoom` as large.
void begin_picture(float zoom);
void end_picture();

} // namespace player
