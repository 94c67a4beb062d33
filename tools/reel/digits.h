// Numbers drawn into pictures, in letters of our own: digits, ':' and '-'; all else is a blank.
//
//   draw_digits(picture, 10, 20, "0042", 2, 0xD0D0D0);   // twice the size, from (10, 20) up
#pragma once

#include "tools/reel/painting.h"

#include <cstdint>
#include <string_view>

namespace reel {

inline constexpr int digits_height = 11; // pixels, at scale 1

// In pixels.
[[nodiscard]] int digits_width(std::string_view text, int scale);

// Draws where the picture is; the rest is cut off. Colours are as those of the picture.
void draw_digits(image_buffer &picture, int x, int y, std::string_view text, int scale,
                 std::uint32_t colour);

} // namespace reel
