#include "movie/ir1_x86.h"

#if defined(__x86_64__)

#include <algorithm>
#include <array>
#include <cstring>
#include <immintrin.h>

namespace movie {

namespace {

// What every procedure here says.
#define IR1_TARGET __attribute__((target("avx2")))
#define IR1_INLINE __attribute__((target("avx2"), always_inline)) inline

IR1_INLINE __m256i every_lane(__m128i lane) {
    return _mm256_broadcastsi128_si256(lane);
}

IR1_INLINE __m128i first_lane(__m256i both) {
    return _mm256_castsi256_si128(both);
}

IR1_INLINE __m128i last_lane(__m256i both) {
    return _mm256_extracti128_si256(both, 1);
}

// ---- Decoding ----------------------------------------------------------------------------------
//
// Two blocks at a time, one in each 128-bit lane, so that a row's eight pixels are stored at once.

// The first four bytes of both blocks, each repeated in its lane.
IR1_INLINE __m256i read_heads(const std::uint8_t *left, const std::uint8_t *right) {
    std::int32_t a = 0;
    std::int32_t b = 0;
    std::memcpy(&a, left, sizeof a);
    std::memcpy(&b, right, sizeof b);
    return _mm256_blend_epi32(_mm256_set1_epi32(a), _mm256_set1_epi32(b), 0xF0);
}

// The colour words behind the masks of both blocks.
IR1_INLINE __m256i read_colours(const std::uint8_t *left, const std::uint8_t *right) {
    const auto at = [](const std::uint8_t *block) {
        return reinterpret_cast<const __m128i *>(block + 2);
    };
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(at(left))),
                                   _mm_loadu_si128(at(right)), 1);
}

// All ones in the lanes of detailed blocks.
IR1_INLINE __m256i detailed_heads(__m256i heads) {
    const __m256i kind = _mm256_set1_epi32(1 << ir1_loaded_kind_bit);
    return _mm256_cmpeq_epi32(_mm256_and_si256(heads, kind), kind);
}

// Pixel words of the top-left and top-right quadrants, low and high each, and of the bottom ones.
struct quadrant_colours {
    __m256i top, bottom;
};

IR1_INLINE quadrant_colours expand_colours(__m256i words, __m256i detailed) {
    const __m256i order =
        every_lane(_mm_loadu_si128(reinterpret_cast<const __m128i *>(ir1_low_high.data())));
    const __m256i use = _mm256_or_si256(detailed, _mm256_set1_epi8(ir1_flat_pair));
    const __m256i colour = _mm256_shuffle_epi8(words, _mm256_and_si256(order, use));
    const __m256i low_byte = _mm256_set1_epi16(0xF8);
    const __m256i high_byte = _mm256_slli_epi16(low_byte, 8);
    const __m256i red = _mm256_and_si256(_mm256_srli_epi16(colour, 7), low_byte);
    const __m256i green = _mm256_and_si256(_mm256_slli_epi16(colour, 6), high_byte);
    const __m256i blue = _mm256_and_si256(_mm256_slli_epi16(colour, 3), low_byte);
    const __m256i red_green = _mm256_or_si256(red, green);
    return {_mm256_unpacklo_epi16(red_green, blue), _mm256_unpackhi_epi16(red_green, blue)};
}

// For each column the places of its pixels' colours, two bits in every four: 4 bits from row to
// row, the third row lowest, as the mask was loaded.
IR1_INLINE __m256i place_colours(__m256i heads) {
    const __m256i column = _mm256_srlv_epi32(heads, every_lane(_mm_setr_epi32(0, 1, 2, 3)));
    const __m256i is_high = _mm256_and_si256(column, _mm256_set1_epi32(ir1_loaded_left_column));
    constexpr int right = 2 * ir1_loaded_left_column;
    return _mm256_or_si256(is_high, every_lane(_mm_setr_epi32(0, 0, right, right)));
}

IR1_INLINE __m256i pick(__m256i colours, __m256i places) {
    return _mm256_castps_si256(_mm256_permutevar_ps(_mm256_castsi256_ps(colours), places));
}

struct block_rows {
    __m256i row[ir1_block_size];
};

IR1_INLINE block_rows expand_pair(const std::uint8_t *left, const std::uint8_t *right) {
    const __m256i heads = read_heads(left, right);
    const quadrant_colours colours =
        expand_colours(read_colours(left, right), detailed_heads(heads));
    const __m256i places = place_colours(heads);
    return {{pick(colours.top, _mm256_srli_epi32(places, 8)),
             pick(colours.top, _mm256_srli_epi32(places, 12)), pick(colours.bottom, places),
             pick(colours.bottom, _mm256_srli_epi32(places, 4))}};
}

IR1_INLINE void store_one(std::uint32_t *to, const block_rows &rows, std::ptrdiff_t down) {
    for (const __m256i &row : rows.row) {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(to), first_lane(row));
        to += down;
    }
}

template <bool bypassing>
IR1_TARGET void write_blocks(const std::uint8_t *blocks, const std::uint32_t *starts, int count,
                             ir1_block_row row) {
    constexpr std::uintptr_t alignment = sizeof(__m256i);
    const std::array<std::uint32_t *, ir1_block_size> rows{
        row.top, row.top + row.down, row.top + 2 * row.down, row.top + 3 * row.down};
    const auto write_one = [&](int i) IR1_TARGET {
        const std::uint8_t *block = blocks + starts[i];
        store_one(row.top + std::ptrdiff_t{ir1_block_size} * i, expand_pair(block, block),
                  row.down);
    };
    int i = 0;
    if (count > 0 && reinterpret_cast<std::uintptr_t>(row.top) % alignment != 0) {
        write_one(i++); // the others are aligned then, if they can be
    }
    for (; i + 1 < count; i += 2) {
        const block_rows pair = expand_pair(blocks + starts[i], blocks + starts[i + 1]);
        for (std::size_t r = 0; r < rows.size(); ++r) {
            std::uint32_t *to = rows[r] + std::ptrdiff_t{ir1_block_size} * i;
            if constexpr (bypassing) {
                _mm256_stream_si256(reinterpret_cast<__m256i *>(to), pair.row[r]);
            } else {
                ir1_announce_stores(to);
                _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), pair.row[r]);
            }
        }
    }
    if (i < count) {
        write_one(i);
    }
}

std::int64_t decode_bypassing(const ir1_colours &colours, std::span<const std::uint8_t> blocks,
                              std::span<std::uint32_t> image, int width, int height) {
    const ir1_decode_job job{colours, blocks, image, width, height};
    if (!ir1_can_bypass_caches(image, width)) {
        return ir1_decode_by_starts(write_blocks<false>, job);
    }
    const std::int64_t used = ir1_decode_by_starts(write_blocks<true>, job);
    _mm_sfence();
    return used;
}

std::int64_t decode_blocks(const ir1_colours &colours, std::span<const std::uint8_t> blocks,
                           std::span<std::uint32_t> image, int width, int height) {
    if (ir1_better_bypasses_caches(image, width)) {
        return decode_bypassing(colours, blocks, image, width, height);
    }
    return ir1_decode_by_starts(write_blocks<false>, {colours, blocks, image, width, height});
}

// ---- Encoding ----------------------------------------------------------------------------------

using vector = __m256i;
constexpr int lanes = 2;
#define V(name) _mm256_##name
#define V_BITS(name) _mm256_##name##_si256
#include "movie/ir1_encode_kernel.h"
#undef V
#undef V_BITS

IR1_TARGET std::size_t encode_blocks(std::span<const std::uint32_t> image, int width, int height,
                                     std::span<std::uint8_t> blocks, int threshold) {
    return encode_rows(image, width, height, blocks, threshold);
}

#undef IR1_TARGET
#undef IR1_INLINE

constexpr ir1_kernels kernels{"avx2", decode_blocks, encode_blocks};
constexpr ir1_kernels bypassing_kernels{"avx2", decode_bypassing, encode_blocks};

} // namespace

const ir1_kernels *ir1_avx2_kernels() {
    return __builtin_cpu_supports("avx2") != 0 ? &kernels : nullptr;
}

const ir1_kernels *ir1_avx2_bypassing_kernels() {
    return ir1_avx2_kernels() != nullptr ? &bypassing_kernels : nullptr;
}

} // namespace movie

#endif
