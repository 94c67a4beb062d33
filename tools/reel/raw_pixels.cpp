#include "tools/reel/raw_pixels.h"

#include <algorithm>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace reel {

namespace {

constexpr std::uint32_t alpha_mask = 0xFF000000;

// Where a pixel's channels stand among its bytes.
struct pixel_layout {
    std::size_t bytes = 0;
    std::size_t red = 0;
    std::size_t green = 0;
    std::size_t blue = 0;
    bool has_alpha = false; // in the last byte
};

pixel_layout layout_of(raw_format format) {
    switch (format) {
    case raw_format::rgb24:
        return {3, 0, 1, 2, false};
    case raw_format::bgr24:
        return {3, 2, 1, 0, false};
    case raw_format::rgba:
        return {4, 0, 1, 2, true};
    case raw_format::bgra:
        return {4, 2, 1, 0, true};
    case raw_format::gray8:
        return {1, 0, 0, 0, false};
    case raw_format::none:
    case raw_format::y4m:
        break;
    }
    return {};
}

// value * alpha / 255, rounded to the nearest.
std::uint32_t weigh(std::uint32_t value, std::uint32_t alpha) {
    const std::uint32_t product = value * alpha + 128;
    return (product + (product >> 8)) >> 8;
}

void unpack_row_plainly(const pixel_layout &layout, const std::uint8_t *in, std::size_t count,
                        std::uint32_t *out) {
    for (std::size_t i = 0; i < count; ++i, in += layout.bytes) {
        const std::uint32_t alpha = layout.has_alpha ? in[layout.bytes - 1] : 255;
        out[i] = weigh(in[layout.blue], alpha) << 16 | weigh(in[layout.green], alpha) << 8 |
                 weigh(in[layout.red], alpha);
    }
}

#if defined(__x86_64__)

constexpr std::size_t step_pixels = 4; // unpacked at once
constexpr std::size_t step_bytes = 16; // read at once

// The byte that each byte of four words comes from; 0x80: zero.
__attribute__((target("ssse3"))) __m128i shuffle_of(const pixel_layout &layout) {
    alignas(16) std::uint8_t control[step_bytes];
    for (std::size_t i = 0; i < step_pixels; ++i) {
        const std::size_t at = i * layout.bytes;
        control[4 * i] = static_cast<std::uint8_t>(at + layout.red);
        control[4 * i + 1] = static_cast<std::uint8_t>(at + layout.green);
        control[4 * i + 2] = static_cast<std::uint8_t>(at + layout.blue);
        control[4 * i + 3] = layout.has_alpha ? static_cast<std::uint8_t>(at + 3) : 0x80;
    }
    return _mm_load_si128(reinterpret_cast<const __m128i *>(control));
}

// Two words 0xAABBGGRR, widened to 16 bits a channel: each channel by its word's alpha.
__attribute__((target("ssse3"))) inline __m128i weigh_pair(__m128i wide) {
    const __m128i alpha =
        _mm_shuffle_epi8(wide, _mm_setr_epi8(6, -128, 6, -128, 6, -128, 6, -128, 14, -128, 14, -128,
                                             14, -128, 14, -128));
    const __m128i product = _mm_add_epi16(_mm_mullo_epi16(wide, alpha), _mm_set1_epi16(128));
    return _mm_srli_epi16(_mm_add_epi16(product, _mm_srli_epi16(product, 8)), 8);
}

__attribute__((target("ssse3"))) inline __m128i composite(__m128i words) {
    const __m128i opaque = _mm_set1_epi32(static_cast<int>(alpha_mask));
    if (_mm_movemask_epi8(_mm_cmpeq_epi32(_mm_and_si128(words, opaque), opaque)) != 0xFFFF) {
        const __m128i zero = _mm_setzero_si128();
        words = _mm_packus_epi16(weigh_pair(_mm_unpacklo_epi8(words, zero)),
                                 weigh_pair(_mm_unpackhi_epi8(words, zero)));
    }
    return _mm_andnot_si128(opaque, words);
}

// Unpacks pixels of a known layout, as far as reads stay inside the row. Returns how many.
template <std::size_t bytes, bool has_alpha>
__attribute__((target("ssse3"))) std::size_t unpack_as(__m128i shuffle, const std::uint8_t *in,
                                                       std::size_t count, std::uint32_t *out) {
    std::size_t done = 0;
    for (; done * bytes + step_bytes <= count * bytes; done += step_pixels) {
        __m128i words = _mm_shuffle_epi8(
            _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + done * bytes)), shuffle);
        if constexpr (has_alpha)
            words = composite(words);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + done), words);
    }
    return done;
}

__attribute__((target("ssse3"))) std::size_t unpack_row_ssse3(const pixel_layout &layout,
                                                              const std::uint8_t *in,
                                                              std::size_t count,
                                                              std::uint32_t *out) {
    const __m128i shuffle = shuffle_of(layout);
    if (layout.has_alpha)
        return unpack_as<4, true>(shuffle, in, count, out);
    return layout.bytes == 3 ? unpack_as<3, false>(shuffle, in, count, out)
                             : unpack_as<1, false>(shuffle, in, count, out);
}

bool has_ssse3() {
    static const bool answer = __builtin_cpu_supports("ssse3") != 0;
    return answer;
}

#endif

void unpack_row(const pixel_layout &layout, const std::uint8_t *in, std::size_t count,
                std::uint32_t *out) {
    std::size_t done = 0;
#if defined(__x86_64__)
    if (has_ssse3())
        done = unpack_row_ssse3(layout, in, count, out);
#endif
    unpack_row_plainly(layout, in + done * layout.bytes, count - done, out + done);
}

// Unpacks all rows by `row`, the last one first.
template <typename row_unpacker>
void unpack_rows(raw_format format, std::span<const std::byte> bytes, int width, int height,
                 std::span<std::uint32_t> words, row_unpacker row) {
    const pixel_layout layout = layout_of(format);
    const auto columns = static_cast<std::size_t>(width);
    const auto rows = static_cast<std::size_t>(height);
    const auto *in = reinterpret_cast<const std::uint8_t *>(bytes.data());
    for (std::size_t y = 0; y < rows; ++y)
        row(layout, in + y * columns * layout.bytes, columns,
            words.data() + (rows - 1 - y) * columns);
}

} // namespace

std::size_t bytes_per_pixel(raw_format format) {
    return layout_of(format).bytes;
}

void unpack_pixels(raw_format format, std::span<const std::byte> bytes, int width, int height,
                   std::span<std::uint32_t> words) {
    unpack_rows(format, bytes, width, height, words, unpack_row);
}

void unpack_pixels_plainly(raw_format format, std::span<const std::byte> bytes, int width,
                           int height, std::span<std::uint32_t> words) {
    unpack_rows(format, bytes, width, height, words, unpack_row_plainly);
}

} // namespace reel
