// The pointer's shapes that the toolkit has drawn for itself.
//
//   gl_init_cursors();                             // gl_win_open does it
//   gl_set_cursor(cursor_crossed);                 // over the current window
#pragma once

namespace toolkit {

inline constexpr int cursor_plain = 1;   // an arrow: where a demon draws a cursor of its own
inline constexpr int cursor_crossed = 2; // a fine cross, open in the middle: the usual one
inline constexpr int cursor_busy = 3;    // an hourglass

// Defines the shapes, once per process and display.
void gl_init_cursors();

// The pointer looks like this over the current window from now on. Other numbers are ignored.
void gl_set_cursor(int shape);

// The display that knew the shapes has been given back.
void gl_forget_cursors();

} // namespace toolkit
