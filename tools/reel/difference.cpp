#include "tools/reel/difference.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace reel {

namespace {

constexpr std::uint32_t colour_bits = 0xFFFFFF;
constexpr int channels = 3;
constexpr int levels = 256;
constexpr std::size_t run_pixels = 16384; // whose squared errors fit 32 bits: 3 x 255 x 255 each
constexpr double strongest_share = 0.05;  // of the samples that differ: they may turn white
constexpr std::uint32_t ground = 0x303030;
constexpr int gap = 8; // pixels between pictures side by side

std::span<const std::uint32_t> row_of(const image_buffer &picture, int y, int width) {
    return std::span(picture.words)
        .subspan(static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width),
                 static_cast<std::size_t>(width));
}

int channel(std::uint32_t word, int index) {
    return static_cast<int>(word >> (8 * index) & 0xFF);
}

// A run of at most run_pixels. The loop has no branches, so that it is done many pixels at a time.
void measure_run(std::span<const std::uint32_t> a, std::span<const std::uint32_t> b,
                 picture_difference &found) {
    std::uint32_t squares = 0;
    std::uint32_t pixels = 0;
    int greatest = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const std::uint32_t one = a[i];
        const std::uint32_t other = b[i];
        pixels += ((one ^ other) & colour_bits) != 0 ? 1U : 0U;
        const int red = std::abs(channel(one, 0) - channel(other, 0));
        const int green = std::abs(channel(one, 1) - channel(other, 1));
        const int blue = std::abs(channel(one, 2) - channel(other, 2));
        squares += static_cast<std::uint32_t>(red * red + green * green + blue * blue);
        greatest = std::max(greatest, std::max(red, std::max(green, blue)));
    }
    found.squared_error += squares;
    found.pixels += pixels;
    found.greatest = std::max(found.greatest, greatest);
}

// Copies the part of a picture into another one with its lower left corner at (x, y).
void place(const image_buffer &picture, const picture_part &part, int x, int y,
           image_buffer &made) {
    for (int row = 0; row < part.height; ++row)
        std::transform(row_of(picture, row, part.width).begin(),
                       row_of(picture, row, part.width).end(),
                       made.words.begin() + std::ptrdiff_t{y + row} * made.width + x,
                       [](std::uint32_t word) { return word & colour_bits; });
}

std::uint32_t amplified(std::uint32_t one, std::uint32_t other, int gain) {
    std::uint32_t word = 0;
    for (int i = 0; i < channels; ++i) {
        const int value = gain * std::abs(channel(one, i) - channel(other, i));
        word |= static_cast<std::uint32_t>(std::min(value, levels - 1)) << (8 * i);
    }
    return word;
}

void place_difference(const image_buffer &a, const image_buffer &b, const picture_part &part,
                      int gain, int x, image_buffer &made) {
    for (int row = 0; row < part.height; ++row)
        std::transform(
            row_of(a, row, part.width).begin(), row_of(a, row, part.width).end(),
            row_of(b, row, part.width).begin(),
            made.words.begin() + std::ptrdiff_t{row} * made.width + x,
            [gain](std::uint32_t one, std::uint32_t other) { return amplified(one, other, gain); });
}

} // namespace

void measure_difference(const image_buffer &a, const image_buffer &b, const picture_part &part,
                        picture_difference &found) {
    found = {};
    found.samples = std::int64_t{channels} * part.width * part.height;
    for (int y = 0; y < part.height; ++y) {
        auto one = row_of(a, y, part.width);
        auto other = row_of(b, y, part.width);
        if (std::equal(one.begin(), one.end(), other.begin()))
            continue; // quicker than to measure
        while (!one.empty()) {
            const std::size_t n = std::min(one.size(), run_pixels);
            measure_run(one.first(n), other.first(n), found);
            one = one.subspan(n);
            other = other.subspan(n);
        }
    }
}

double psnr(std::uint64_t squared_error, std::int64_t samples) {
    if (squared_error == 0)
        return std::numeric_limits<double>::infinity();
    constexpr double peak = levels - 1;
    return 10 * std::log10(peak * peak * static_cast<double>(samples) /
                           static_cast<double>(squared_error));
}

double root_mean_square(std::uint64_t squared_error, std::int64_t samples) {
    return samples > 0
               ? std::sqrt(static_cast<double>(squared_error) / static_cast<double>(samples))
               : 0;
}

int choose_gain(const image_buffer &a, const image_buffer &b, const picture_part &part) {
    std::array<std::int64_t, levels> counts{};
    std::int64_t differing = 0;
    for (int y = 0; y < part.height; ++y) {
        const auto one = row_of(a, y, part.width);
        const auto other = row_of(b, y, part.width);
        for (std::size_t x = 0; x < one.size(); ++x)
            for (int i = 0; i < channels; ++i)
                ++counts[static_cast<std::size_t>(
                    std::abs(channel(one[x], i) - channel(other[x], i)))];
    }
    for (std::size_t level = 1; level < counts.size(); ++level)
        differing += counts[level];
    int strong = levels - 1; // all but the strongest few are not above this
    auto above = static_cast<std::int64_t>(strongest_share * static_cast<double>(differing));
    while (strong > 0 && (above -= counts[static_cast<std::size_t>(strong)]) >= 0)
        --strong;
    int gain = 1;
    while (strong > 0 && 2 * gain * strong < levels && 2 * gain <= max_gain)
        gain *= 2;
    return gain;
}

int paint_difference(const image_buffer &a, const image_buffer &b, const picture_part &part,
                     int gain, bool alone, image_buffer &made) {
    const bool beside =
        alone || 3 * std::int64_t{part.width} + std::int64_t{2} * gap <= image_max_side;
    const int across = alone || !beside ? 1 : 3;
    const int along = alone || beside ? 1 : 3;
    const std::int64_t width = std::int64_t{across} * (part.width + gap) - gap;
    const std::int64_t height = std::int64_t{along} * (part.height + gap) - gap;
    if (width > image_max_side || height > image_max_side)
        return -1;
    made.width = static_cast<int>(width);
    made.height = static_cast<int>(height);
    made.words.assign(static_cast<std::size_t>(width * height), ground);
    place_difference(a, b, part, gain, beside && !alone ? 2 * (part.width + gap) : 0, made);
    if (alone)
        return 0;
    place(a, part, 0, beside ? 0 : 2 * (part.height + gap), made);
    place(b, part, beside ? part.width + gap : 0, beside ? 0 : part.height + gap, made);
    return 0;
}

} // namespace reel
