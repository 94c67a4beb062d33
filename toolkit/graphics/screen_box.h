// A box on the screen: what every display object has, and what boxes are drawn with.
//
// Coordinates: pixels from the screen's lower left corner, x to the right, y up. The box covers
// the pixels x .. x + width - 1 and y .. y + height - 1; without width or height it covers none.
#pragma once

#include <cstdint>

namespace toolkit {

struct screen_box {
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::int16_t width = 0;
    std::int16_t height = 0;
    bool operator==(const screen_box &) const = default;
};

} // namespace toolkit
