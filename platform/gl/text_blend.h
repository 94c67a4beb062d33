// Putting the pictures of letters into the current window.
//
//   gl::cmov2i(10, 20);
//   gl::blend_coverage({pixels, 6, 9, 6}, 1, 0);   // 6 x 9 pixels, their lower left at 11, 20
//   gl::move_text(8);                              // the next letter starts at 18, 20
//
// A letter is drawn in the current colour: in an RGB window mixed with what is there as much as its
// coverage says; in a colour-map window and in the overlay, where nothing lies between two indices,
// wherever at least coverage_threshold of a pixel is covered. Write mask and box (scrmask) hold.
#pragma once

#include <cstdint>

namespace gl {

// How much of each pixel is covered, 0 .. 255; rows from the top down, `stride` bytes apart. The
// caller's own; only read during the call.
struct coverage {
    const std::uint8_t *pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;
};

inline constexpr int coverage_threshold = 110; // a little below half: thin strokes stay whole

// Draws with the lower left pixel dx to the right of the character position and dy above it.
// Without a current window nothing happens.
void blend_coverage(const coverage &letter, int dx, int dy);

// Moves the character position along its row, in window pixels.
void move_text(int dx);

} // namespace gl
