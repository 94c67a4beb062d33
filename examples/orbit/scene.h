// A few spheres on a checkered floor, and a camera that goes round them once: something to render
// that takes its time.
//
//   orbit::render_row(view, y, row);             // y from the top
#pragma once

#include <cstdint>
#include <span>

namespace orbit {

struct view {
    int width = 0; // pixels
    int height = 0;
    double turn = 0; // of the camera, 0 to 1 for once round
};

inline constexpr int bytes_per_pixel = 3; // red, green, blue

// Renders a row into width * bytes_per_pixel bytes.
void render_row(const view &camera, int y, std::span<std::uint8_t> row);

} // namespace orbit
