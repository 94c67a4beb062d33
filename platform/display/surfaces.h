// Blocks of pixels and the few ways they are copied; what both implementations have in common.
//
//   pixel_block b = make_block(640, 480);           // black; empty without memory
//   copy_bottom_left(b.view, other.view);
//
// Not for anything outside platform/display.
#pragma once

#include "platform/display/display.h"

#include <cstdlib>
#include <memory>

namespace display {

// The longest side of a window in device pixels: window systems count in 16 bits.
inline constexpr int longest_side = 32767;

struct free_memory {
    void operator()(void *block) const { std::free(block); }
};
template <class T> using malloced = std::unique_ptr<T, free_memory>;

// Pixels that belong to us, and a view of them. Moves; the pixels stay where they are.
struct pixel_block {
    malloced<std::uint32_t> memory;
    surface view;
};

// True when a window can have this size at `scale` device pixels to the pixel.
[[nodiscard]] bool is_possible_size(int width, int height, int scale);

// is_possible_size, and one line on standard error when it is not.
[[nodiscard]] bool check_window_size(rectangle rect, int scale);

// The one line for a window that there is no memory for.
void report_no_memory(int width, int height);

// rect with its sides, and its place, brought into the possible range.
[[nodiscard]] rectangle clamp_window_size(rectangle rect, int scale);

// A black block; view is empty when there is no memory. Sides 1 or more.
[[nodiscard]] pixel_block make_block(int width, int height);

// Copies area to the same place of another surface, clipped to both.
void copy_area(const surface &from, const surface &to, rectangle area);

// Copies what fits, the bottom left corners laid upon each other.
void copy_bottom_left(const surface &from, const surface &to);

// Writes each pixel of area as scale x scale pixels into `to`, which is scale times as large;
// clipped to `from`.
void expand_area(const surface &from, const surface &to, rectangle area, int scale);

} // namespace display
