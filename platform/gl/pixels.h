// Rectangles of pixels: to the current window and back.
//
//   gl::rectzoom(2, 2);
//   gl::lrectwrite(10, 145, 10 + 640 - 1, 145 + 480 - 1, picture);   // fills 1280 x 960 pixels
//   gl::rectzoom(1, 1);
//
// Rows run from the bottom up, pixels from left to right, packed: 0xAABBGGRR words in an RGB
// window, indices in a colour-map window. Coordinates as in drawing.h; corners are inclusive.
#pragma once

#include <cstdint>
#include <span>

namespace gl {

inline constexpr float max_rectzoom = 256.0F;

// The size at which rectangles are written from now on: each pixel becomes x by y pixels; below 1
// pixels are left out. Values are brought into 1/256 .. 256; not-a-number counts as 1.
void rectzoom(float x, float y);

// Writes the rectangle of x2 - x1 + 1 by y2 - y1 + 1 pixels with its lower left corner at x1, y1.
// What falls outside the window or its box is clipped. Nothing is written when `pixels` is too
// short for the rectangle, or it is empty.
void lrectwrite(int x1, int y1, int x2, int y2, std::span<const std::uint32_t> pixels);

// Reads pixels from the buffer that is shown (the back one when drawing goes there alone). What
// lies outside the window reads as 0. Returns the number of words stored; 0 when `pixels` is too
// short. Not affected by rectzoom.
std::int64_t lrectread(int x1, int y1, int x2, int y2, std::span<std::uint32_t> pixels);

// Reads n pixels to the right from the place set with cmov2i, which moves behind them. Returns
// the number of words stored.
int readpixels(int n, std::span<std::uint32_t> pixels);

// Copies a rectangle of the window to another place in it; overlapping ones come out right.
void rectcopy(int x1, int y1, int x2, int y2, int to_x, int to_y);

} // namespace gl
