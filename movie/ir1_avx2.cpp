#include "movie/ir1_x86.h"

#if defined(__x86_64__)

#include <algorithm>
#include <array>
#include <cstring>
#include <immintrin.h>

namespace movie {

namespace {

// Short names for what every procedure here says.
#define IR1_AVX2 __attribute__((target("avx2")))
#define IR1_AVX2_INLINE __attribute__((target("avx2"), always_inline)) inline

IR1_AVX2_INLINE __m256i both_lanes(__m128i lane) {
    return _mm256_broadcastsi128_si256(lane);
}

IR1_AVX2_INLINE __m256i load(const void *from) {
    return _mm256_loadu_si256(static_cast<const __m256i *>(from));
}

// ---- Decoding ----------------------------------------------------------------------------------

// Eight colour words to eight pixel words, as the table of IR1_init_tables has them.
IR1_AVX2_INLINE __m256i expand(__m256i colour) {
    const __m256i red = _mm256_srli_epi32(_mm256_and_si256(colour, _mm256_set1_epi32(0x7C00)), 7);
    const __m256i green = _mm256_slli_epi32(_mm256_and_si256(colour, _mm256_set1_epi32(0x03E0)), 6);
    const __m256i blue = _mm256_slli_epi32(_mm256_and_si256(colour, _mm256_set1_epi32(0x001F)), 19);
    return _mm256_or_si256(_mm256_or_si256(red, green), blue);
}

template <bool computed>
IR1_AVX2_INLINE __m256i read_colours(const ir1_colours &colours, const std::uint8_t *block) {
    const __m128i swap = _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
    const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i *>(block + 2));
    const __m256i colour = _mm256_cvtepu16_epi32(_mm_shuffle_epi8(words, swap));
    if constexpr (computed) {
        return expand(colour);
    }
    return _mm256_i32gather_epi32(reinterpret_cast<const int *>(colours.data()),
                                  _mm256_and_si256(colour, _mm256_set1_epi32(0x7FFF)), 4);
}

template <bool streaming> IR1_AVX2_INLINE void store(std::uint32_t *to, __m128i four) {
    if constexpr (streaming) {
        _mm_stream_si128(reinterpret_cast<__m128i *>(to), four);
    } else {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(to), four);
    }
}

// Two rows: eight pixels, each the colour that its mask bit picks.
IR1_AVX2_INLINE __m256i pick(__m256i colour, __m256i mask, const std::int32_t *low,
                             const std::int32_t *bit) {
    const __m256i bits = load(bit);
    const __m256i is_high = _mm256_cmpeq_epi32(_mm256_and_si256(mask, bits), bits); // 0 or -1
    return _mm256_permutevar8x32_epi32(colour, _mm256_add_epi32(load(low), is_high));
}

template <bool computed, bool streaming>
IR1_AVX2 void write_blocks(const ir1_colours &colours, const std::uint8_t *blocks,
                           const std::uint32_t *starts, int count, ir1_block_row row) {
    std::uint32_t *first = row.top;
    std::uint32_t *second = first + row.down;
    std::uint32_t *third = second + row.down;
    std::uint32_t *fourth = third + row.down;
    for (int i = 0; i < count; ++i) {
        const std::uint8_t *block = blocks + starts[i];
        const __m256i colour = read_colours<computed>(colours, block);
        std::int32_t word = 0;
        std::memcpy(&word, block, sizeof word);
        const __m256i mask = _mm256_set1_epi32(word);
        const std::int32_t *low = ir1_pixels.low[block[2] >> 7U].data();
        const __m256i upper = pick(colour, mask, low, ir1_pixels.bit.data());
        const __m256i lower = pick(colour, mask, low + 8, ir1_pixels.bit.data() + 8);
        const std::ptrdiff_t x = std::ptrdiff_t{ir1_block_size} * i;
        store<streaming>(first + x, _mm256_castsi256_si128(upper));
        store<streaming>(second + x, _mm256_extracti128_si256(upper, 1));
        store<streaming>(third + x, _mm256_castsi256_si128(lower));
        store<streaming>(fourth + x, _mm256_extracti128_si256(lower, 1));
    }
}

std::int64_t decode_blocks(const ir1_colours &colours, std::span<const std::uint8_t> blocks,
                           std::span<std::uint32_t> image, int width, int height) {
    const auto decode_by = [&](ir1_write_call write) {
        return ir1_decode_by_starts(write, colours, blocks, image, width, height);
    };
    if (!ir1_bypasses_caches(image)) {
        return decode_by(colours.computed ? write_blocks<true, false> : write_blocks<false, false>);
    }
    const std::int64_t used =
        decode_by(colours.computed ? write_blocks<true, true> : write_blocks<false, true>);
    _mm_sfence();
    return used;
}

// ---- Encoding ----------------------------------------------------------------------------------
//
// Two blocks at a time, one in each 128-bit lane, both kinds worked out and one of them kept: there
// is no branch that noise could mislead. Within a lane pixels stand in quadrant order: the four of
// the top-left quadrant, then top-right, bottom-left, bottom-right.

// The sums of each quadrant's four bytes.
IR1_AVX2_INLINE __m256i quadrant_sums(__m256i bytes) {
    return _mm256_madd_epi16(_mm256_maddubs_epi16(bytes, _mm256_set1_epi8(1)),
                             _mm256_set1_epi16(1));
}

struct channel_planes {
    __m256i red, green, blue; // a byte for each pixel
};

// Four pixels of a row (in each lane) with their channels apart.
IR1_AVX2_INLINE __m256i split_row(const std::uint32_t *row) {
    return _mm256_shuffle_epi8(
        load(row), both_lanes(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15)));
}

IR1_AVX2_INLINE channel_planes read_planes(const std::uint32_t *top, std::ptrdiff_t down) {
    const __m256i row0 = split_row(top);
    const __m256i row1 = split_row(top + down);
    const __m256i row2 = split_row(top + 2 * down);
    const __m256i row3 = split_row(top + 3 * down);
    const __m256i upper = _mm256_unpacklo_epi16(row0, row1);
    const __m256i lower = _mm256_unpacklo_epi16(row2, row3);
    return {_mm256_unpacklo_epi64(upper, lower), _mm256_unpackhi_epi64(upper, lower),
            _mm256_unpacklo_epi64(_mm256_unpackhi_epi16(row0, row1),
                                  _mm256_unpackhi_epi16(row2, row3))};
}

// 256 times the luminance of 16-bit channels; it just fits.
IR1_AVX2_INLINE __m256i weigh(__m256i red, __m256i green, __m256i blue) {
    const __m256i warm = _mm256_add_epi16(_mm256_mullo_epi16(red, _mm256_set1_epi16(79)),
                                          _mm256_mullo_epi16(green, _mm256_set1_epi16(156)));
    return _mm256_add_epi16(warm, _mm256_mullo_epi16(blue, _mm256_set1_epi16(21)));
}

IR1_AVX2_INLINE __m256i luminances(const channel_planes &p) {
    const __m256i low = _mm256_set1_epi16(0xFF);
    const __m256i even = weigh(_mm256_and_si256(p.red, low), _mm256_and_si256(p.green, low),
                               _mm256_and_si256(p.blue, low));
    const __m256i odd = weigh(_mm256_srli_epi16(p.red, 8), _mm256_srli_epi16(p.green, 8),
                              _mm256_srli_epi16(p.blue, 8));
    return _mm256_or_si256(_mm256_srli_epi16(even, 8), _mm256_andnot_si256(low, odd));
}

// All ones in the lanes of detailed blocks. The limit is the threshold + 255.
IR1_AVX2_INLINE __m256i detailed_lanes(__m256i luminance, __m256i limit) {
    const __m256i turned = _mm256_shuffle_epi32(luminance, 0x4E); // halves exchanged
    const __m256i most = _mm256_max_epu8(luminance, turned);
    const __m256i least = _mm256_min_epu8(luminance, turned);
    // The least are found as the most of what is left to 255.
    __m256i found = _mm256_blend_epi32(most, _mm256_xor_si256(least, _mm256_set1_epi8(-1)), 0xCC);
    found = _mm256_max_epu8(found, _mm256_srli_epi64(found, 32));
    found = _mm256_max_epu8(found, _mm256_srli_epi64(found, 16));
    found = _mm256_max_epu8(found, _mm256_srli_epi64(found, 8));
    found = _mm256_and_si256(found, _mm256_set1_epi32(0xFF));
    const __m256i spread_and_255 =
        _mm256_add_epi32(_mm256_shuffle_epi32(found, 0x00), _mm256_shuffle_epi32(found, 0xAA));
    return _mm256_cmpgt_epi32(spread_and_255, limit);
}

// All ones in the bytes of high pixels.
IR1_AVX2_INLINE __m256i high_pixels(__m256i luminance, __m256i detailed) {
    const __m256i sums = quadrant_sums(luminance);
    __m256i total = _mm256_add_epi32(sums, _mm256_shuffle_epi32(sums, 0x4E));
    total = _mm256_add_epi32(total, _mm256_shuffle_epi32(total, 0xB1));
    const __m256i level =
        _mm256_blendv_epi8(_mm256_srli_epi32(total, 4), _mm256_srli_epi32(sums, 2), detailed);
    const __m256i levels = _mm256_shuffle_epi8(
        level, both_lanes(_mm_setr_epi8(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12)));
    return _mm256_cmpeq_epi8(_mm256_max_epu8(luminance, levels), luminance);
}

// 16-bit values for each quadrant's high pixels, then each quadrant's low ones.
struct group_sums {
    __m256i red, green, blue, count;
};

IR1_AVX2_INLINE __m256i split_sums(__m256i plane, __m256i high) {
    const __m256i sums = quadrant_sums(_mm256_and_si256(plane, high));
    return _mm256_packus_epi32(sums, _mm256_sub_epi32(quadrant_sums(plane), sums));
}

IR1_AVX2_INLINE group_sums sum_groups(const channel_planes &p, __m256i high) {
    return {split_sums(p.red, high), split_sums(p.green, high), split_sums(p.blue, high),
            split_sums(_mm256_set1_epi8(1), high)};
}

// (sum / count) >> 3 for counts 1 to 4 is sum x ceil(8192 / count) >> 16; count 0 gives black.
constexpr std::array<unsigned, 5> quadrant_reciprocals{0, 8192, 4096, 2731, 2048};
static_assert([] {
    for (unsigned n = 1; n < quadrant_reciprocals.size(); ++n) {
        for (unsigned sum = 0; sum <= 255 * n; ++sum) {
            if (sum * quadrant_reciprocals[n] >> 16U != sum / n >> 3U) {
                return false;
            }
        }
    }
    return true;
}());

// The eight colour words of a detailed block, in the stream's order and byte order.
IR1_AVX2_INLINE __m256i detailed_colours(const group_sums &g) {
    const __m256i bytes = _mm256_add_epi16(_mm256_mullo_epi16(g.count, _mm256_set1_epi16(0x0202)),
                                           _mm256_set1_epi16(0x0100));
    const __m256i reciprocal =
        _mm256_shuffle_epi8(both_lanes(_mm_setr_epi16(0, 8192, 4096, 2731, 2048, 0, 0, 0)), bytes);
    const __m256i red = _mm256_mulhi_epu16(g.red, reciprocal);
    const __m256i green = _mm256_mulhi_epu16(g.green, reciprocal);
    const __m256i blue = _mm256_mulhi_epu16(g.blue, reciprocal);
    const __m256i words = _mm256_or_si256(
        _mm256_or_si256(_mm256_slli_epi16(red, 10), _mm256_slli_epi16(green, 5)), blue);
    const __m256i flag = both_lanes(_mm_setr_epi16(-0x8000, 0, 0, 0, 0, 0, 0, 0));
    return _mm256_shuffle_epi8(
        _mm256_or_si256(words, flag),
        both_lanes(_mm_setr_epi8(1, 0, 9, 8, 3, 2, 11, 10, 5, 4, 13, 12, 7, 6, 15, 14)));
}

// (sum / count) >> 3 of whole blocks, by an eighth of 1 / count. The half that is added keeps a
// whole quotient from being rounded below itself, and is too little to reach the next one.
IR1_AVX2_INLINE __m256i whole_means(__m256i sums, __m256 eighths) {
    return _mm256_cvttps_epi32(
        _mm256_mul_ps(_mm256_add_ps(_mm256_cvtepi32_ps(sums), _mm256_set1_ps(0.5F)), eighths));
}

// The two colour words of a flat block, likewise.
IR1_AVX2_INLINE __m256i flat_colours(const group_sums &g) {
    const __m256i one = _mm256_set1_epi16(1);
    const auto sum_up = [one](__m256i a, __m256i b) IR1_AVX2 {
        return _mm256_madd_epi16(
            _mm256_packus_epi32(_mm256_madd_epi16(a, one), _mm256_madd_epi16(b, one)), one);
    };
    const __m256i red_green = sum_up(g.red, g.green);   // high, low red; high, low green
    const __m256i blue_count = sum_up(g.blue, g.count); // high, low blue; counts
    const __m256i counts =
        _mm256_max_epi32(_mm256_shuffle_epi32(blue_count, 0xEE), _mm256_set1_epi32(1));
    const __m256 eighths = _mm256_div_ps(_mm256_set1_ps(0.125F), _mm256_cvtepi32_ps(counts));
    const __m256i placed = _mm256_sllv_epi32(whole_means(red_green, eighths),
                                             both_lanes(_mm_setr_epi32(10, 10, 5, 5)));
    const __m256i words =
        _mm256_or_si256(_mm256_or_si256(placed, _mm256_shuffle_epi32(placed, 0x4E)),
                        whole_means(blue_count, eighths));
    return _mm256_shuffle_epi8(words, both_lanes(_mm_setr_epi8(1, 0, 5, 4, -1, -1, -1, -1, -1, -1,
                                                               -1, -1, -1, -1, -1, -1)));
}

// Writes a block; the bytes beyond a flat one are overwritten by what follows.
IR1_AVX2_INLINE std::uint8_t *put_block(std::uint8_t *to, unsigned mask, __m128i words,
                                        bool detailed) {
    to[0] = static_cast<std::uint8_t>(mask >> 8U);
    to[1] = static_cast<std::uint8_t>(mask & 0xFFU);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to + 2), words);
    return to + (detailed ? ir1_detailed_bytes : ir1_flat_bytes);
}

// Encodes the block at top, and the one to its right if there are two.
IR1_AVX2_INLINE std::uint8_t *encode_pair(const std::uint32_t *top, std::ptrdiff_t down,
                                          __m256i limit, bool two, std::uint8_t *to) {
    const channel_planes planes = read_planes(top, down);
    const __m256i luminance = luminances(planes);
    const __m256i detailed = detailed_lanes(luminance, limit);
    const __m256i high = high_pixels(luminance, detailed);
    const group_sums sums = sum_groups(planes, high);
    const __m256i words = _mm256_blendv_epi8(flat_colours(sums), detailed_colours(sums), detailed);
    const __m256i in_rows = _mm256_shuffle_epi8(
        high, both_lanes(_mm_setr_epi8(0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15)));
    const auto masks = static_cast<unsigned>(_mm256_movemask_epi8(in_rows));
    const auto kinds = static_cast<unsigned>(_mm256_movemask_epi8(detailed));
    to = put_block(to, masks & 0xFFFFU, _mm256_castsi256_si128(words), (kinds & 1U) != 0);
    if (two) {
        to = put_block(to, masks >> 16U, _mm256_extracti128_si256(words, 1), kinds >> 31U != 0);
    }
    return to;
}

IR1_AVX2 std::size_t encode_blocks(std::span<const std::uint32_t> image, int width, int height,
                                   std::span<std::uint8_t> blocks, int threshold) {
    constexpr std::ptrdiff_t pair = std::ptrdiff_t{2} * ir1_block_size; // pixels
    const __m256i limit = _mm256_set1_epi32(std::clamp(threshold, -1, 255) + 255);
    const std::ptrdiff_t stride = width;
    const std::ptrdiff_t columns = width - width % ir1_block_size;
    std::uint8_t *to = blocks.data();
    for (int top = height - height % ir1_block_size - 1; top > 0; top -= ir1_block_size) {
        const std::uint32_t *row = image.data() + stride * top;
        std::ptrdiff_t x = 0;
        for (; x + pair <= columns; x += pair) {
            to = encode_pair(row + x, -stride, limit, true, to);
        }
        if (x < columns) { // a last block alone; beside it may be the end of the picture
            std::array<std::uint32_t, pair * ir1_block_size> copy{};
            for (std::ptrdiff_t r = 0; r < ir1_block_size; ++r) {
                std::memcpy(copy.data() + pair * r, row + x - stride * r,
                            ir1_block_size * sizeof(std::uint32_t));
            }
            to = encode_pair(copy.data(), pair, limit, false, to);
        }
    }
    return static_cast<std::size_t>(to - blocks.data());
}

#undef IR1_AVX2
#undef IR1_AVX2_INLINE

constexpr ir1_kernels kernels{"avx2", decode_blocks, encode_blocks};

} // namespace

const ir1_kernels *ir1_avx2_kernels() {
    const bool runs = __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi2") != 0;
    return runs ? &kernels : nullptr;
}

} // namespace movie

#endif
