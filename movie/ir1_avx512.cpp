#include "movie/ir1_x86.h"

#if defined(__x86_64__)

#include <algorithm>
#include <array>
#include <cstring>
#include <immintrin.h>

namespace movie {

namespace {

#define IR1_AVX512 __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl")))
#define IR1_INLINE                                                                                 \
    __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl"), always_inline)) inline

// Four blocks at a time, one in each 128-bit lane, so that a row's lines are stored whole. The
// steps are those of the level below.
constexpr int lanes = 4;
using four_blocks = std::array<const std::uint8_t *, lanes>;

IR1_INLINE __m512i every_lane(__m128i lane) {
    return _mm512_broadcast_i32x4(lane);
}

// The first four bytes of each block, repeated in its lane.
IR1_INLINE __m512i read_heads(const four_blocks &from) {
    std::array<std::int32_t, lanes> head{};
    for (std::size_t i = 0; i < head.size(); ++i) {
        std::memcpy(&head[i], from[i], sizeof head[i]);
    }
    __m512i heads = _mm512_set1_epi32(head[0]);
    heads = _mm512_mask_set1_epi32(heads, 0x00F0, head[1]);
    heads = _mm512_mask_set1_epi32(heads, 0x0F00, head[2]);
    return _mm512_mask_set1_epi32(heads, 0xF000, head[3]);
}

// The colour words behind the masks.
IR1_INLINE __m512i read_colours(const four_blocks &from) {
    const auto words = [&from](std::size_t i) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(from[i] + 2));
    };
    const __m256i left = _mm256_inserti128_si256(_mm256_castsi128_si256(words(0)), words(1), 1);
    const __m256i right = _mm256_inserti128_si256(_mm256_castsi128_si256(words(2)), words(3), 1);
    return _mm512_inserti64x4(_mm512_castsi256_si512(left), right, 1);
}

struct quadrant_colours {
    __m512i top, bottom;
};

IR1_INLINE quadrant_colours expand_colours(__m512i words, __mmask16 detailed) {
    const __m128i order = _mm_loadu_si128(reinterpret_cast<const __m128i *>(ir1_low_high.data()));
    const __m128i pair = _mm_and_si128(order, _mm_set1_epi8(ir1_flat_pair));
    const __m512i colour = _mm512_shuffle_epi8(
        words, _mm512_mask_mov_epi32(every_lane(pair), detailed, every_lane(order)));
    const __m512i low_byte = _mm512_set1_epi16(0xF8);
    const __m512i high_byte = _mm512_slli_epi16(low_byte, 8);
    const __m512i green = _mm512_and_si512(_mm512_slli_epi16(colour, 6), high_byte);
    constexpr int and_or = 0xEA; // (a & b) | c
    const __m512i red_green =
        _mm512_ternarylogic_epi32(_mm512_srli_epi16(colour, 7), low_byte, green, and_or);
    const __m512i blue = _mm512_and_si512(_mm512_slli_epi16(colour, 3), low_byte);
    return {_mm512_unpacklo_epi16(red_green, blue), _mm512_unpackhi_epi16(red_green, blue)};
}

IR1_INLINE __m512i place_colours(__m512i heads) {
    const __m512i column = _mm512_srlv_epi32(heads, every_lane(_mm_setr_epi32(0, 1, 2, 3)));
    constexpr int right = 2 * ir1_loaded_left_column;
    constexpr int and_or = 0xEA;
    return _mm512_ternarylogic_epi32(column, _mm512_set1_epi32(ir1_loaded_left_column),
                                     every_lane(_mm_setr_epi32(0, 0, right, right)), and_or);
}

IR1_INLINE __m512i pick(__m512i colours, __m512i places) {
    return _mm512_castps_si512(_mm512_permutevar_ps(_mm512_castsi512_ps(colours), places));
}

struct block_rows {
    __m512i row[ir1_block_size];
};

IR1_INLINE block_rows expand_four(const four_blocks &from) {
    const __m512i heads = read_heads(from);
    const __mmask16 detailed =
        _mm512_test_epi32_mask(heads, _mm512_set1_epi32(1 << ir1_loaded_kind_bit));
    const quadrant_colours colours = expand_colours(read_colours(from), detailed);
    const __m512i places = place_colours(heads);
    return {{pick(colours.top, _mm512_srli_epi32(places, 8)),
             pick(colours.top, _mm512_srli_epi32(places, 12)), pick(colours.bottom, places),
             pick(colours.bottom, _mm512_srli_epi32(places, 4))}};
}

// The first 1 to 4 blocks from `starts` on.
IR1_AVX512 void write_some(const std::uint8_t *blocks, const std::uint32_t *starts, int count,
                           ir1_block_row row) {
    four_blocks from{};
    for (int i = 0; i < lanes; ++i) {
        from[static_cast<std::size_t>(i)] = blocks + starts[std::min(i, count - 1)];
    }
    const block_rows four = expand_four(from);
    const auto pixels = static_cast<__mmask16>((1U << (ir1_block_size * count)) - 1);
    std::uint32_t *to = row.top;
    for (const __m512i &pixel_row : four.row) {
        _mm512_mask_storeu_epi32(to, pixels, pixel_row);
        to += row.down;
    }
}

IR1_AVX512 void write_blocks(const std::uint8_t *blocks, const std::uint32_t *starts, int count,
                             ir1_block_row row) {
    constexpr std::uintptr_t alignment = sizeof(__m512i);
    constexpr std::uintptr_t block_row_bytes = ir1_block_size * sizeof(std::uint32_t);
    const std::uintptr_t past = reinterpret_cast<std::uintptr_t>(row.top) % alignment;
    const auto to_line = static_cast<int>((alignment - past) % alignment / block_row_bytes);
    int i = std::min(to_line, count);
    if (i > 0) {
        write_some(blocks, starts, i, row);
    }
    const std::array<std::uint32_t *, ir1_block_size> rows{
        row.top, row.top + row.down, row.top + 2 * row.down, row.top + 3 * row.down};
    for (; i + lanes <= count; i += lanes) {
        const std::uint32_t *at = starts + i;
        const block_rows four =
            expand_four({blocks + at[0], blocks + at[1], blocks + at[2], blocks + at[3]});
        for (std::size_t r = 0; r < rows.size(); ++r) {
            std::uint32_t *to = rows[r] + std::ptrdiff_t{ir1_block_size} * i;
            ir1_announce_stores(to);
            _mm512_storeu_si512(to, four.row[r]);
        }
    }
    if (i < count) {
        write_some(blocks, starts + i, count - i,
                   {row.top + std::ptrdiff_t{ir1_block_size} * i, row.down});
    }
}

#undef IR1_AVX512
#undef IR1_INLINE

// Pictures that bypass the caches are as well off with the level below.
std::int64_t decode_blocks(const ir1_colours &colours, std::span<const std::uint8_t> blocks,
                           std::span<std::uint32_t> image, int width, int height) {
    if (ir1_better_bypasses_caches(image, width)) {
        return ir1_avx2_kernels()->decode_blocks(colours, blocks, image, width, height);
    }
    return ir1_decode_by_starts(write_blocks, {colours, blocks, image, width, height});
}

std::size_t encode_blocks(std::span<const std::uint32_t> image, int width, int height,
                          std::span<std::uint8_t> blocks, int threshold) {
    return ir1_avx2_kernels()->encode_blocks(image, width, height, blocks, threshold);
}

constexpr ir1_kernels kernels{"avx512", decode_blocks, encode_blocks};

} // namespace

const ir1_kernels *ir1_avx512_kernels() {
    const bool runs = __builtin_cpu_supports("avx512f") != 0 &&
                      __builtin_cpu_supports("avx512bw") != 0 &&
                      __builtin_cpu_supports("avx512dq") != 0 &&
                      __builtin_cpu_supports("avx512vl") != 0 && ir1_avx2_kernels() != nullptr;
    return runs ? &kernels : nullptr;
}

} // namespace movie

#endif
