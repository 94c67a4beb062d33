// What the x86 kernels of the IR1 codec share: the walk over a stream's blocks.
//
// Every block begins at a multiple of 6 bytes, and the bit that says how long it is stands at the
// same place in each 6-byte slot. So these bits are taken out of all slots, whether a block begins
// there or not, and a table says for 8 of them at once where blocks begin: nothing waits for the
// length of the block before.
//
// Procedures with instructions beyond the common ones say so in a target attribute, so that no
// inline procedure of the library is ever compiled for a processor that may not be there.
#pragma once

#include "movie/ir1_kernels.h"

#include <array>

namespace movie {

// The kernels of a level, or null when this processor (or this build) lacks what they need.
[[nodiscard]] const ir1_kernels *ir1_sse4_kernels();
[[nodiscard]] const ir1_kernels *ir1_avx2_kernels();
[[nodiscard]] const ir1_kernels *ir1_avx512_kernels();

// Those of AVX2 with every picture stored past the caches that can be, for tests.
[[nodiscard]] const ir1_kernels *ir1_avx2_bypassing_kernels();

// ---- Decoding ----------------------------------------------------------------------------------

// The first word of a block as it is loaded, the stream's byte order left as it is.
inline constexpr int ir1_loaded_kind_bit = 23;
// The bits of the mask in it that belong to the leftmost pixel of each row.
inline constexpr int ir1_loaded_left_column = 0x1111;
// Turns 8 colour words to native byte order, each low colour before its high one.
inline constexpr std::array<char, 16> ir1_low_high{3,  2,  1, 0, 7,  6,  5,  4,
                                                   11, 10, 9, 8, 15, 14, 13, 12};
// Anding this with ir1_low_high repeats a flat block's two colours for all four quadrants.
inline constexpr char ir1_flat_pair = 3;

// Where a kernel writes: the top row of a block's four, and the way down to the next.
struct ir1_block_row {
    std::uint32_t *top = nullptr;
    std::ptrdiff_t down = 0; // words, negative: rows are stored bottom-up
};

// Writes `count` blocks side by side, by arithmetic colours. From each start ir1_detailed_bytes
// bytes can be read, whatever the block's kind.
using ir1_write_call = void (*)(const std::uint8_t *blocks, const std::uint32_t *starts, int count,
                                ir1_block_row row);

// A picture to decode: what decode_blocks of ir1_kernels is given.
struct ir1_decode_job {
    const ir1_colours &colours;
    std::span<const std::uint8_t> blocks;
    std::span<std::uint32_t> image;
    int width = 0;
    int height = 0;
};

// decode_blocks of ir1_kernels by such a procedure; with a table that arithmetic does not know, by
// the plain kernels (gathering words from a table is no faster). Needs SSE4.1.
[[nodiscard]] std::int64_t ir1_decode_by_starts(ir1_write_call write, const ir1_decode_job &job);

// Whether a picture's rows are aligned as 32-byte stores need, from the second block on at the
// latest: what storing past the caches takes.
[[nodiscard]] bool ir1_can_bypass_caches(std::span<const std::uint32_t> image, int width);

// Whether a picture is better stored so: it can be, it would not stay in the caches anyway, and the
// processor is of a make whose cores are good at it. On others such stores wait so long that
// ordinary ones, announced a little ahead, take two thirds of their time even into cold memory.
[[nodiscard]] bool ir1_better_bypasses_caches(std::span<const std::uint32_t> image, int width);

// Announces a store some way ahead of one at `to`, as far as is good for a row's next lines to
// be there when their turn comes. May lie beyond the picture: nothing is read or written.
inline void ir1_announce_stores(const std::uint32_t *to) {
    constexpr std::uintptr_t ahead = 512; // bytes
    const std::uintptr_t place = reinterpret_cast<std::uintptr_t>(to) + ahead;
    // A number until here: a pointer must not go where this may.
    __builtin_prefetch(reinterpret_cast<const void *>(place), 1, 3); // NOLINT(*-no-int-to-ptr)
}

// ---- Encoding ----------------------------------------------------------------------------------

// (sum / count) >> 3 for sums of `count` bytes is sum x reciprocal >> 16, and then >> shift.
constexpr bool ir1_gives_means(unsigned count, unsigned reciprocal, unsigned shift) {
    for (unsigned sum = 0; sum <= 255 * count; ++sum) {
        if (sum * reciprocal >> 16U >> shift != sum / count >> 3U) {
            return false;
        }
    }
    return true;
}

// For a quadrant's counts, 1 to 4, without a shift; count 0 gives black.
inline constexpr std::array<std::int16_t, 5> ir1_quadrant_reciprocals{0, 8192, 4096, 2731, 2048};
static_assert(ir1_gives_means(1, 8192, 0) && ir1_gives_means(2, 4096, 0) &&
              ir1_gives_means(3, 2731, 0) && ir1_gives_means(4, 2048, 0));

// For a block's counts, from 1 on, with their bytes apart.
inline constexpr int ir1_block_mean_shift = 2;
struct ir1_reciprocal_bytes {
    std::array<std::uint8_t, 16> low{};
    std::array<std::uint8_t, 16> high{};
};
inline constexpr ir1_reciprocal_bytes ir1_block_reciprocals = [] {
    ir1_reciprocal_bytes bytes;
    for (unsigned count = 1; count <= bytes.low.size(); ++count) {
        const unsigned reciprocal = (32768 + count - 1) / count;
        bytes.low[count - 1] = static_cast<std::uint8_t>(reciprocal & 0xFFU);
        bytes.high[count - 1] = static_cast<std::uint8_t>(reciprocal >> 8U);
    }
    return bytes;
}();
static_assert([] {
    for (unsigned i = 0; i < ir1_block_reciprocals.low.size(); ++i) {
        const unsigned reciprocal =
            ir1_block_reciprocals.high[i] * 256U + ir1_block_reciprocals.low[i];
        if (!ir1_gives_means(i + 1, reciprocal, ir1_block_mean_shift)) {
            return false;
        }
    }
    return true;
}());

} // namespace movie
