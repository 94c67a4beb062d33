// Raw pixels, as programs hand them over, made into pictures.
//
//   std::vector<std::uint32_t> words(640 * 480);
//   unpack_pixels(raw_format::rgb24, bytes, 640, 480, words);     // 640 * 480 * 3 bytes
//
// Bytes: rows top-down without padding. Words: as in image_io.h, rows bottom-up, alpha 0.
#pragma once

#include "tools/reel/frame_source.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace reel {

// 1, 3 or 4; 0 for what is no raw pixels.
[[nodiscard]] std::size_t bytes_per_pixel(raw_format format);

// Unpacks width x height pixels. Colours are multiplied by their alpha, where there is one.
//   bytes  exactly the picture
//   words  at least width x height
void unpack_pixels(raw_format format, std::span<const std::byte> bytes, int width, int height,
                   std::span<std::uint32_t> words);

// The same in plain C++, which defines what is right where the processor offers faster ways.
void unpack_pixels_plainly(raw_format format, std::span<const std::byte> bytes, int width,
                           int height, std::span<std::uint32_t> words);

} // namespace reel
