#include "movie/ir1_x86.h"

#if defined(__x86_64__)

#include <algorithm>
#include <array>
#include <cstring>
#include <smmintrin.h>

namespace movie {

namespace {

// What every procedure here says.
#define IR1_TARGET __attribute__((target("sse4.1")))
#define IR1_INLINE __attribute__((target("sse4.1"), always_inline)) inline

IR1_INLINE __m128i load(const void *from) {
    return _mm_loadu_si128(static_cast<const __m128i *>(from));
}

// ---- Decoding ----------------------------------------------------------------------------------

// Pixel words of the top-left and top-right quadrants, low and high each, and of the bottom ones.
struct quadrant_colours {
    __m128i top, bottom;
};

IR1_INLINE quadrant_colours read_colours(const std::uint8_t *block) {
    const __m128i words = load(block + 2);
    // The first byte's top bit, in every byte.
    const __m128i zero = _mm_setzero_si128();
    const __m128i detailed = _mm_cmpgt_epi8(zero, _mm_shuffle_epi8(words, zero));
    const __m128i use = _mm_or_si128(detailed, _mm_set1_epi8(ir1_flat_pair));
    const __m128i order = load(ir1_low_high.data());
    const __m128i colour = _mm_shuffle_epi8(words, _mm_and_si128(order, use));
    const __m128i low_byte = _mm_set1_epi16(0xF8);
    const __m128i high_byte = _mm_slli_epi16(low_byte, 8);
    const __m128i red = _mm_and_si128(_mm_srli_epi16(colour, 7), low_byte);
    const __m128i green = _mm_and_si128(_mm_slli_epi16(colour, 6), high_byte);
    const __m128i blue = _mm_and_si128(_mm_slli_epi16(colour, 3), low_byte);
    const __m128i red_green = _mm_or_si128(red, green);
    return {_mm_unpacklo_epi16(red_green, blue), _mm_unpackhi_epi16(red_green, blue)};
}

// For the mask bits of a row, which bytes of its quadrants' colours make its pixels.
struct row_controls {
    alignas(16) std::array<std::array<std::uint8_t, 16>, 16> by_bits{};
};
constexpr row_controls controls = [] {
    row_controls t;
    for (std::size_t bits = 0; bits < t.by_bits.size(); ++bits) {
        for (std::size_t i = 0; i < t.by_bits[bits].size(); ++i) {
            const std::size_t column = i / 4;
            const std::size_t colour = column / 2 * 2 + (bits >> column & 1U);
            t.by_bits[bits][i] = static_cast<std::uint8_t>(4 * colour + i % 4);
        }
    }
    return t;
}();

IR1_INLINE __m128i pick(__m128i colours, unsigned bits) {
    return _mm_shuffle_epi8(colours, load(controls.by_bits[bits].data()));
}

struct block_rows {
    __m128i row[ir1_block_size];
};

IR1_INLINE block_rows expand_block(const std::uint8_t *block) {
    const quadrant_colours colours = read_colours(block);
    const unsigned upper = block[1];
    const unsigned lower = block[0];
    return {{pick(colours.top, upper & 0xFU), pick(colours.top, upper >> 4U),
             pick(colours.bottom, lower & 0xFU), pick(colours.bottom, lower >> 4U)}};
}

IR1_INLINE void store(std::uint32_t *to, __m128i four) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to), four);
}

// Two blocks at a time: stores side by side are cheaper than one below the other.
IR1_TARGET void write_blocks(const std::uint8_t *blocks, const std::uint32_t *starts, int count,
                             ir1_block_row row) {
    const std::array<std::uint32_t *, ir1_block_size> rows{
        row.top, row.top + row.down, row.top + 2 * row.down, row.top + 3 * row.down};
    int i = 0;
    for (; i + 1 < count; i += 2) {
        const block_rows left = expand_block(blocks + starts[i]);
        const block_rows right = expand_block(blocks + starts[i + 1]);
        for (std::size_t r = 0; r < rows.size(); ++r) {
            std::uint32_t *to = rows[r] + std::ptrdiff_t{ir1_block_size} * i;
            ir1_announce_stores(to);
            store(to, left.row[r]);
            store(to + ir1_block_size, right.row[r]);
        }
    }
    if (i < count) {
        const block_rows last = expand_block(blocks + starts[i]);
        for (std::size_t r = 0; r < rows.size(); ++r) {
            store(rows[r] + std::ptrdiff_t{ir1_block_size} * i, last.row[r]);
        }
    }
}

std::int64_t decode_blocks(const ir1_colours &colours, std::span<const std::uint8_t> blocks,
                           std::span<std::uint32_t> image, int width, int height) {
    return ir1_decode_by_starts(write_blocks, {colours, blocks, image, width, height});
}

// ---- Encoding ----------------------------------------------------------------------------------

using vector = __m128i;
constexpr int lanes = 1;
#define V(name) _mm_##name
#define V_BITS(name) _mm_##name##_si128

IR1_INLINE vector every_lane(__m128i lane) {
    return lane;
}

IR1_INLINE __m128i first_lane(vector only) {
    return only;
}

[[maybe_unused]] IR1_INLINE __m128i last_lane(vector only) {
    return only;
}

#include "movie/ir1_encode_kernel.h"
#undef V
#undef V_BITS

IR1_TARGET std::size_t encode_blocks(std::span<const std::uint32_t> image, int width, int height,
                                     std::span<std::uint8_t> blocks, int threshold) {
    return encode_rows(image, width, height, blocks, threshold);
}

#undef IR1_TARGET
#undef IR1_INLINE

constexpr ir1_kernels kernels{"sse4", decode_blocks, encode_blocks};

} // namespace

const ir1_kernels *ir1_sse4_kernels() {
    return __builtin_cpu_supports("sse4.1") != 0 ? &kernels : nullptr;
}

} // namespace movie

#endif
