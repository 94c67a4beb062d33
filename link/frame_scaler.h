// Sizes pictures by the average of the area that each new pixel covers, row by row.
//
//   frame_scaler scaler;
//   if (set_scaler(scaler, width, height, to_width, to_height) != 0) ...    // no memory
//   for (each row of the picture, from the first)
//       done += scale_row(scaler, row, where rows go + done * to_width);
//
// Pixels are 32-bit words of four parts, all sized alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace render_link {

// Which old pixels make a new one, along one side: from first on, each with its share. The shares
// of a new pixel add up to 1.
struct pixel_share {
    std::uint32_t first = 0;
    std::uint32_t begin = 0; // in shares
    std::uint32_t end = 0;
};

struct side_shares {
    std::vector<pixel_share> pixels; // one for each new pixel
    std::vector<float> shares;       // of old pixels, new pixel by new pixel
};

struct frame_scaler {
    side_shares across, along;
    std::vector<float> sums;   // of one new row: four parts for each old column
    std::uint32_t old_row = 0; // the next one that comes
    std::uint32_t new_row = 0; // the one that is being summed up
};

// Sides 1 to 32767. Returns 0, or -1 when there is no memory.
[[nodiscard]] int set_scaler(frame_scaler &scaler, int width, int height, int to_width,
                             int to_height);

// Takes the next row, and writes the new rows that it completes to `to` and on. After the last row
// the scaler is ready for the next picture. Returns how many rows were written: more than one only
// when pictures are enlarged.
[[nodiscard]] std::size_t scale_row(frame_scaler &scaler, std::span<const std::uint32_t> row,
                                    std::uint32_t *to);

} // namespace render_link
