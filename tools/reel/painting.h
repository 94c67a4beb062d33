// Painting into pictures in memory: words 0xAABBGGRR, rows bottom-up; x to the right, y up, both
// from the lower left corner. What is outside the picture is cut off.
//
//   image_buffer sheet = make_picture(1600, 900, 0x262626);
//   fill_rectangle(sheet, 10, 10, 320, 180, 0x1A1A1A);
//   resample_picture(photo, 320, 180, small);
//   copy_picture(small, 10, 10, sheet);
#pragma once

#include "tools/reel/image_io.h"

#include <cstdint>

namespace reel {

[[nodiscard]] image_buffer make_picture(int width, int height, std::uint32_t colour);

void fill_rectangle(image_buffer &picture, int x, int y, int width, int height,
                    std::uint32_t colour);

// A line one pixel thick from one pixel to another, both included.
void draw_line(image_buffer &picture, int x, int y, int to_x, int to_y, std::uint32_t colour);

// Puts a picture into another one with its lower left corner at (x, y).
void copy_picture(const image_buffer &picture, int x, int y, image_buffer &into);

// Makes a picture of another size: each pixel is the mean of the area that it covers. That is
// smooth where the picture becomes smaller, and leaves its pixels crisp where it becomes larger.
// All sides are 1 or more.
void resample_picture(const image_buffer &picture, int width, int height, image_buffer &made);

} // namespace reel
