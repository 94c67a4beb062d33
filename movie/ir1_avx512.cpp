#include "movie/ir1_x86.h"

#if defined(__x86_64__)

#include <cstring>
#include <immintrin.h>

namespace movie {

namespace {

#define IR1_AVX512 __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,avx2,bmi2")))

// A block's eight colours as pixel words, as the table of IR1_init_tables has them.
IR1_AVX512 inline __m256i read_colours(const std::uint8_t *block) {
    const __m128i swap = _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
    const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i *>(block + 2));
    const __m256i colour = _mm256_cvtepu16_epi32(_mm_shuffle_epi8(words, swap));
    const __m256i red = _mm256_srli_epi32(_mm256_and_si256(colour, _mm256_set1_epi32(0x7C00)), 7);
    const __m256i green = _mm256_slli_epi32(_mm256_and_si256(colour, _mm256_set1_epi32(0x03E0)), 6);
    const __m256i blue = _mm256_slli_epi32(_mm256_and_si256(colour, _mm256_set1_epi32(0x001F)), 19);
    constexpr int any_of_three = 0xFE;
    return _mm256_ternarylogic_epi32(red, green, blue, any_of_three);
}

IR1_AVX512 void write_blocks(const ir1_colours & /*computed*/, const std::uint8_t *blocks,
                             const std::uint32_t *starts, int count, ir1_block_row row) {
    const __m512i bits = _mm512_load_si512(ir1_pixels.bit.data());
    const __m512i one = _mm512_set1_epi32(1);
    std::uint32_t *first = row.top;
    std::uint32_t *second = first + row.down;
    std::uint32_t *third = second + row.down;
    std::uint32_t *fourth = third + row.down;
    for (int i = 0; i < count; ++i) {
        const std::uint8_t *block = blocks + starts[i];
        std::int32_t word = 0;
        std::memcpy(&word, block, sizeof word);
        const __mmask16 is_high = _mm512_test_epi32_mask(_mm512_set1_epi32(word), bits);
        const __m512i low = _mm512_load_si512(ir1_pixels.low[block[2] >> 7U].data());
        const __m512i picked = _mm512_mask_sub_epi32(low, is_high, low, one);
        const __m512i block_pixels =
            _mm512_permutexvar_epi32(picked, _mm512_castsi256_si512(read_colours(block)));
        const std::ptrdiff_t x = std::ptrdiff_t{ir1_block_size} * i;
        const auto at = [x](std::uint32_t *to) { return reinterpret_cast<__m128i *>(to + x); };
        _mm_storeu_si128(at(first), _mm512_castsi512_si128(block_pixels));
        _mm_storeu_si128(at(second), _mm512_extracti32x4_epi32(block_pixels, 1));
        _mm_storeu_si128(at(third), _mm512_extracti32x4_epi32(block_pixels, 2));
        _mm_storeu_si128(at(fourth), _mm512_extracti32x4_epi32(block_pixels, 3));
    }
}

#undef IR1_AVX512

// A foreign table, and pictures too large for the caches, are as well off with the level below.
std::int64_t decode_blocks(const ir1_colours &colours, std::span<const std::uint8_t> blocks,
                           std::span<std::uint32_t> image, int width, int height) {
    if (!colours.computed || ir1_bypasses_caches(image)) {
        return ir1_avx2_kernels()->decode_blocks(colours, blocks, image, width, height);
    }
    return ir1_decode_by_starts(write_blocks, colours, blocks, image, width, height);
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
