// What the x86 kernels of the IR1 codec share: the walk over a stream's blocks.
//
// Every block begins at a multiple of 6 bytes, and the bit that says how long it is stands at the
// same place in each 6-byte slot. Taking that bit out of 64 slots at once leaves a walk over the
// bits of one register, instead of a load for each block that waits for the load before it.
//
// Procedures with instructions beyond the common ones say so in a target attribute, so that no
// inline procedure of the library is ever compiled for a processor that may not be there.
#pragma once

#include "movie/ir1_kernels.h"

#include <array>

namespace movie {

// The kernels of a level, or null when this processor (or this build) lacks what they need.
[[nodiscard]] const ir1_kernels *ir1_avx2_kernels();
[[nodiscard]] const ir1_kernels *ir1_avx512_kernels();

// For each pixel of a block, top left first: its group's low colour among a block's colour words,
// by kind (flat, detailed); and its bit in the mask as it is loaded, the stream's byte order left
// as it is. The high colour stands just before the low one.
struct ir1_pixel_tables {
    alignas(64) std::array<std::array<std::int32_t, 16>, 2> low{};
    alignas(64) std::array<std::int32_t, 16> bit{};
};
inline constexpr ir1_pixel_tables ir1_pixels = [] {
    ir1_pixel_tables t;
    for (std::size_t p = 0; p < 16; ++p) {
        const std::size_t quadrant = p / 8 * 2 + p % 4 / 2;
        t.low[0][p] = 1;
        t.low[1][p] = static_cast<std::int32_t>(2 * quadrant + 1);
        t.bit[p] = 1 << (p < 8 ? p + 8 : p - 8);
    }
    return t;
}();

// Where a kernel writes: the top row of a block's four, and the way down to the next.
struct ir1_block_row {
    std::uint32_t *top = nullptr;
    std::ptrdiff_t down = 0; // words, negative: rows are stored bottom-up
};

// Writes `count` blocks side by side. From each start ir1_detailed_bytes bytes can be read,
// whatever the block's kind.
using ir1_write_call = void (*)(const ir1_colours &colours, const std::uint8_t *blocks,
                                const std::uint32_t *starts, int count, ir1_block_row row);

// decode_blocks of ir1_kernels by such a procedure. Needs AVX2 and BMI2.
[[nodiscard]] std::int64_t ir1_decode_by_starts(ir1_write_call write, const ir1_colours &colours,
                                                std::span<const std::uint8_t> blocks,
                                                std::span<std::uint32_t> image, int width,
                                                int height);

// Whether a picture is better stored past the caches: it would not stay in them anyway, and its
// rows are aligned as such stores need.
[[nodiscard]] bool ir1_bypasses_caches(std::span<const std::uint32_t> image);

} // namespace movie
