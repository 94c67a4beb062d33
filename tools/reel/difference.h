// How much two pictures differ, in numbers and to look at.
//
//   picture_part part = {640, 480};
//   picture_difference found;
//   measure_difference(a, b, part, found);
//   double decibels = psnr(found.squared_error, found.samples);     // infinite when equal
//   paint_difference(a, b, part, choose_gain(a, b, part), false, made);
//
// Pictures are words 0xAABBGGRR, rows bottom-up. They may differ in size: what is compared is the
// part at the bottom left that both have.
#pragma once

#include "tools/reel/image_io.h"

#include <array>
#include <cstdint>

namespace reel {

inline constexpr int max_gain = 255;

struct picture_part {
    int width = 0;  // pixels
    int height = 0; // pixels
};

struct picture_difference {
    std::int64_t samples = 0;        // three for each pixel
    std::uint64_t squared_error = 0; // over all samples
    std::int64_t pixels = 0;         // that differ
    int greatest = 0;                // difference of a sample, 0 .. 255
};

void measure_difference(const image_buffer &a, const image_buffer &b, const picture_part &part,
                        picture_difference &found);

// Decibels over 8-bit samples; infinite without an error.
[[nodiscard]] double psnr(std::uint64_t squared_error, std::int64_t samples);

// Of samples; 0 when there are none.
[[nodiscard]] double root_mean_square(std::uint64_t squared_error, std::int64_t samples);

// By what to multiply the differences so that they can be seen: a power of two that leaves all
// but the strongest few of them below white. 1 when there is none.
[[nodiscard]] int choose_gain(const image_buffer &a, const image_buffer &b,
                              const picture_part &part);

// Makes a picture of the absolute differences, multiplied, on black.
//   alone  nothing else; otherwise a, b and the difference stand side by side (one above the other
//          where that would be too wide for an image)
// Returns 0, or -1 when such a picture would be too large.
[[nodiscard]] int paint_difference(const image_buffer &a, const image_buffer &b,
                                   const picture_part &part, int gain, bool alone,
                                   image_buffer &made);

} // namespace reel
