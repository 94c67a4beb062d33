#include "tools/reel/painting.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>

namespace reel {

namespace {

constexpr int channels = 3;
constexpr std::uint32_t colour_bits = 0xFFFFFF;

using colour_sum = std::array<std::uint64_t, channels>;

std::size_t word_at(const image_buffer &picture, int x, int y) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
           static_cast<std::size_t>(x);
}

void add_weighted(colour_sum &sum, std::uint32_t word, std::uint64_t weight) {
    for (std::size_t i = 0; i < channels; ++i)
        sum[i] += weight * (word >> (8 * i) & 0xFF);
}

// Spreads a row over sums.size() columns. Lengths are counted so that both rows are
// from.size() x sums.size() long: a pixel of the old one has the length sums.size(), each column
// the length from.size().
void resample_row(std::span<const std::uint32_t> from, std::span<colour_sum> sums) {
    const std::uint64_t in_length = sums.size();
    const std::uint64_t out_length = from.size();
    std::size_t x = 0;
    std::uint64_t room = out_length; // left in column x
    for (const std::uint32_t word : from) {
        std::uint64_t rest = in_length;
        while (rest >= room) {
            add_weighted(sums[x], word, room);
            rest -= room;
            room = out_length;
            if (++x == sums.size())
                return;
        }
        if (rest > 0)
            add_weighted(sums[x], word, rest);
        room -= rest;
    }
}

std::uint32_t mean_word(const colour_sum &sum, std::uint64_t total) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < channels; ++i)
        word |= static_cast<std::uint32_t>((sum[i] + total / 2) / total) << (8 * i);
    return word;
}

} // namespace

image_buffer make_picture(int width, int height, std::uint32_t colour) {
    image_buffer made;
    made.width = width;
    made.height = height;
    made.words.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), colour);
    return made;
}

void fill_rectangle(image_buffer &picture, int x, int y, int width, int height,
                    std::uint32_t colour) {
    const int left = std::max(x, 0);
    const int right = std::min(x + width, picture.width);
    for (int row = std::max(y, 0); row < std::min(y + height, picture.height); ++row)
        if (left < right)
            std::fill_n(picture.words.begin() +
                            static_cast<std::ptrdiff_t>(word_at(picture, left, row)),
                        right - left, colour);
}

void draw_line(image_buffer &picture, int x, int y, int to_x, int to_y, std::uint32_t colour) {
    const int steps = std::max(std::abs(to_x - x), std::abs(to_y - y));
    for (std::int64_t i = 0; i <= steps; ++i) {
        const auto part = [&](int from, int to) {
            return from + static_cast<int>(steps > 0 ? (to - from) * i / steps : 0);
        };
        fill_rectangle(picture, part(x, to_x), part(y, to_y), 1, 1, colour);
    }
}

void copy_picture(const image_buffer &picture, int x, int y, image_buffer &into) {
    const int left = std::max(x, 0);
    const int right = std::min(x + picture.width, into.width);
    for (int row = std::max(y, 0); row < std::min(y + picture.height, into.height); ++row)
        for (int column = left; column < right; ++column)
            into.words[word_at(into, column, row)] =
                picture.words[word_at(picture, column - x, row - y)] & colour_bits;
}

void resample_picture(const image_buffer &picture, int width, int height, image_buffer &made) {
    made = make_picture(width, height, 0);
    const auto columns = static_cast<std::size_t>(width);
    const std::uint64_t total = std::uint64_t{static_cast<std::uint32_t>(picture.width)} *
                                static_cast<std::uint32_t>(picture.height);
    std::vector<colour_sum> row_sums(columns);
    std::vector<colour_sum> sums(columns);
    int y = 0;
    int room = picture.height; // left in row y, counted as in resample_row
    for (int row = 0; row < picture.height; ++row) {
        std::fill(row_sums.begin(), row_sums.end(), colour_sum{});
        resample_row(
            std::span(picture.words)
                .subspan(word_at(picture, 0, row), static_cast<std::size_t>(picture.width)),
            row_sums);
        for (int rest = height; rest > 0 && y < height;) {
            const int taken = std::min(rest, room);
            for (std::size_t x = 0; x < columns; ++x)
                for (std::size_t i = 0; i < channels; ++i)
                    sums[x][i] += row_sums[x][i] * static_cast<std::uint64_t>(taken);
            rest -= taken;
            room -= taken;
            if (room > 0)
                continue;
            std::transform(sums.begin(), sums.end(),
                           made.words.begin() + static_cast<std::ptrdiff_t>(word_at(made, 0, y)),
                           [total](const colour_sum &sum) { return mean_word(sum, total); });
            std::fill(sums.begin(), sums.end(), colour_sum{});
            room = picture.height;
            ++y;
        }
    }
}

} // namespace reel
