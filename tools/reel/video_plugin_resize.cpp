// Pictures of another size, by Lanczos' filter of three lobes. libswscale is not asked: it shortens
// its filters where a picture is hardly larger than they are, so that small ones turn blocky.
#include "tools/reel/video_plugin.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace reel {

namespace {

constexpr double lobes = 3;
constexpr std::size_t channels = 4; // of a word; alpha comes along, as 0

// What one row or column of the new picture is made of: neighbours in the old one, each with a
// weight.
struct blend {
    std::size_t first = 0;
    std::size_t count = 0;
    std::size_t weights = 0; // where they are in the filter
};

struct filter {
    int size = 0;
    int new_size = 0;
    std::vector<blend> blends;
    std::vector<float> weights;
};

double sinc(double x) {
    return x == 0 ? 1 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

double lanczos(double x) {
    return std::abs(x) < lobes ? sinc(x) * sinc(x / lobes) : 0;
}

// Beyond the edges the picture goes on as it is there.
void add_blend(filter &made, int place, std::vector<double> &sums) {
    const double ratio = static_cast<double>(made.size) / made.new_size;
    const double stretch = std::max(1.0, ratio); // the filter covers what a pixel stands for
    const double centre = (place + 0.5) * ratio - 0.5;
    const auto low = static_cast<int>(std::ceil(centre - lobes * stretch));
    const auto high = static_cast<int>(std::floor(centre + lobes * stretch));
    const int first = std::clamp(low, 0, made.size - 1);
    const int last = std::clamp(high, first, made.size - 1);
    sums.assign(static_cast<std::size_t>(last) - static_cast<std::size_t>(first) + 1, 0);
    double total = 0;
    for (int i = low; i <= high; ++i) {
        const double weight = lanczos((i - centre) / stretch);
        sums[static_cast<std::size_t>(std::clamp(i, first, last) - first)] += weight;
        total += weight;
    }
    made.blends.push_back({static_cast<std::size_t>(first), sums.size(), made.weights.size()});
    for (const double sum : sums)
        made.weights.push_back(static_cast<float>(sum / total));
}

// Makes a filter ready; it stands as long as the sizes stay the same.
void prepare_filter(filter &made, int size, int new_size) {
    if (made.size == size && made.new_size == new_size)
        return;
    made = {};
    made.size = size;
    made.new_size = new_size;
    std::vector<double> sums;
    for (int place = 0; place < new_size; ++place)
        add_blend(made, place, sums);
}

// Channels that are worked on at once, in registers.
constexpr std::size_t strip = 16;

// Blends `count` channels of rows, each `stride` bytes from the next.
template <std::size_t count>
void blend_strip(const std::uint8_t *from, std::size_t stride, const float *weights,
                 std::size_t rows, float *to) {
    float sums[count] = {};
    for (std::size_t i = 0; i < rows; ++i, from += stride)
        for (std::size_t k = 0; k < count; ++k)
            sums[k] += weights[i] * static_cast<float>(from[k]);
    std::copy(sums, sums + count, to);
}

// Blends rows of a picture into one of floats.
void blend_rows(std::span<const std::uint32_t> words, std::size_t width, const blend &rows,
                const float *weights, std::vector<float> &made) {
    const auto part = words.subspan(rows.first * width, rows.count * width);
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(part.data());
    const std::size_t stride = width * channels;
    const float *own_weights = weights + rows.weights;
    std::size_t k = 0;
    for (; k + strip <= stride; k += strip)
        blend_strip<strip>(bytes + k, stride, own_weights, rows.count, &made[k]);
    for (; k < stride; k += channels)
        blend_strip<channels>(bytes + k, stride, own_weights, rows.count, &made[k]);
}

std::uint32_t to_byte(float value) {
    constexpr float half = 0.5F;
    return static_cast<std::uint32_t>(std::clamp(value + half, 0.0F, 255.0F + half));
}

// A pixel's channels, reckoned together.
using pixel_floats = float __attribute__((vector_size(channels * sizeof(float))));

// Blends neighbours in a row of floats.
std::uint32_t blend_pixels(const float *row, const blend &columns, const float *weights) {
    pixel_floats sums = {};
    const float *from = row + columns.first * channels;
    for (std::size_t i = 0; i < columns.count; ++i, from += channels) {
        pixel_floats pixel;
        std::memcpy(&pixel, from, sizeof pixel);
        sums += weights[columns.weights + i] * pixel;
    }
    return to_byte(sums[0]) | to_byte(sums[1]) << 8 | to_byte(sums[2]) << 16;
}

} // namespace

int resize_picture(std::span<const std::uint32_t> words, int width, int height, int new_width,
                   int new_height, std::vector<std::uint32_t> *made, std::string *fault) {
    if (width < 1 || height < 1 || new_width < 1 || new_height < 1 ||
        words.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
        *fault = "there are no pixels";
        return -1;
    }
    // Filters of each thread: several resize at once.
    thread_local filter across;
    thread_local filter along;
    thread_local std::vector<float> row;
    prepare_filter(across, width, new_width);
    prepare_filter(along, height, new_height);
    const auto columns = static_cast<std::size_t>(width);
    row.resize(columns * channels);
    made->resize(static_cast<std::size_t>(new_width) * static_cast<std::size_t>(new_height));
    std::uint32_t *to = made->data();
    for (const blend &rows : along.blends) {
        blend_rows(words, columns, rows, along.weights.data(), row);
        for (const blend &each : across.blends)
            *to++ = blend_pixels(row.data(), each, across.weights.data());
    }
    return 0;
}

} // namespace reel
