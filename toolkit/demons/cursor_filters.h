// Cursor filters: each raw place of the cursor goes through one before a demon sees it.
//
//   push_filter(dialog->box, dialog->window);      // the cursor stays in the box
//   ...
//   pop_filter();                                  // back to the box before, or to none
//
// Boxes are kept in a stack, of which the newest one counts. Places are pixels from the screen's
// lower left corner.
#pragma once

#include "toolkit/events/input_types.h"
#include "toolkit/graphics/screen_box.h"

#include <cstdint>

namespace toolkit {

using cursor_filter_function = void (*)(screen_point in, screen_point *out);

// The filter in use: null_filter, box_filter or one of the program's own; never null.
extern cursor_filter_function cursor_filter;

void null_filter(screen_point in, screen_point *out); // changes nothing

// The nearest place in the current box, and the real cursor goes there too, as far as 0 .. 1280 and
// 0 .. 1024. A place over another window than the box's is left alone; so is any when there is no
// box, or one without area.
void box_filter(screen_point in, screen_point *out);

// Pushes a box that belongs to a window (no_window: to none) and filters by it.
void push_filter(const screen_box &box, std::int32_t window);

// Back to the box before, or to null_filter after the last one. Returns 1, or 0 when there was no
// box: then nothing changes.
int pop_filter();

inline constexpr int filter_off = 0; // pops every box
inline constexpr int filter_box = 1; // pushes this one

// By kind, filter_...; others do nothing.
void set_filter(int kind, const screen_box &box, std::int32_t window);

} // namespace toolkit
