// Pixel orders, rows and strides; and sizing, against an average computed the long way.
#include "link/frame_pixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace render_link {

namespace {

// A pixel that tells its place: red is x, green y from the top.
struct test_pixel {
    std::uint8_t red, green, blue, alpha;
};
test_pixel pixel_at(int x, int y) {
    return {static_cast<std::uint8_t>(x + 1), static_cast<std::uint8_t>(y + 1), 0xB0, 0xA5};
}

// The parts of a pixel in an order, by their names.
std::vector<std::uint8_t> bytes_of(const test_pixel &p, const char *order) {
    std::vector<std::uint8_t> bytes;
    for (; *order != '\0'; ++order)
        bytes.push_back(*order == 'R'   ? p.red
                        : *order == 'G' ? p.green
                        : *order == 'B' ? p.blue
                                        : p.alpha);
    return bytes;
}

double area_average(const std::vector<std::uint32_t> &from, const frame_size &size,
                    const frame_size &to, int x, int y, int part) {
    const double across = static_cast<double>(size.width) / to.width;
    const double along = static_cast<double>(size.height) / to.height;
    double sum = 0;
    for (int row = 0; row < size.height; ++row)
        for (int column = 0; column < size.width; ++column) {
            const double width = std::min((x + 1) * across, column + 1.0) -
                                 std::max(x * across, static_cast<double>(column));
            const double height = std::min((y + 1) * along, row + 1.0) -
                                  std::max(y * along, static_cast<double>(row));
            if (width > 0 && height > 0)
                sum += width * height *
                       (from[static_cast<std::size_t>(row * size.width + column)] >> (8 * part) &
                        0xFF);
        }
    return sum / (across * along);
}

} // namespace

TEST(FramePixels, EveryOrderRowsAndStride) {
    const char *const orders[] = {"RGBA", "BGRA", "ABGR", "ARGB", "RGB", "BGR"};
    constexpr frame_size size{5, 3};
    for (int order = REEL_LINK_RGBA; order <= REEL_LINK_BGR; ++order)
        for (const int rows : {REEL_LINK_TOP_FIRST, REEL_LINK_BOTTOM_FIRST})
            for (const int gap : {0, 7}) {
                for (const bool is_downward : {false, true}) { // in memory
                    SCOPED_TRACE(std::string(orders[order]) + " rows " + std::to_string(rows) +
                                 " gap " + std::to_string(gap) + " down " +
                                 std::to_string(is_downward));
                    const long bytes = static_cast<long>(std::string(orders[order]).size());
                    const long row_bytes = size.width * bytes + gap;
                    // Just as large as it must be: the sanitizer sees what goes beyond.
                    std::vector<std::uint8_t> memory(
                        static_cast<std::size_t>(row_bytes * size.height - gap));
                    for (int y = 0; y < size.height; ++y) {
                        const int nth = rows == REEL_LINK_TOP_FIRST ? y : size.height - 1 - y;
                        const int place = is_downward ? size.height - 1 - nth : nth;
                        for (int x = 0; x < size.width; ++x) {
                            const auto pixel = bytes_of(pixel_at(x, y), orders[order]);
                            std::copy(pixel.begin(), pixel.end(),
                                      memory.begin() + place * row_bytes + x * bytes);
                        }
                    }
                    const long first = is_downward ? (size.height - 1) * row_bytes : 0;
                    const long stride = is_downward ? -row_bytes : gap == 0 ? 0 : row_bytes;
                    const reel_link_picture picture = {memory.data() + first, stride, order, rows};
                    ASSERT_EQ(check_picture(picture, size.width), nullptr);
                    std::vector<std::uint32_t> words(size.words());
                    write_frame(picture, size, nullptr, {}, words);
                    for (int y = 0; y < size.height; ++y)
                        for (int x = 0; x < size.width; ++x) {
                            const test_pixel p = pixel_at(x, y);
                            const std::uint32_t alpha = bytes == 4 ? p.alpha : 0xFFU;
                            const auto at = (size.height - 1 - y) * size.width + x;
                            EXPECT_EQ(
                                words[static_cast<std::size_t>(at)],
                                static_cast<std::uint32_t>(p.red | p.green << 8 | p.blue << 16) |
                                    alpha << 24);
                        }
                }
            }
}

TEST(FramePixels, WrongPicturesAreFound) {
    const std::uint8_t byte = 0;
    const reel_link_picture wrong[] = {
        {nullptr, 0, REEL_LINK_RGB, 0},
        {&byte, 0, -1, 0},
        {&byte, 0, 6, 0},
        {&byte, 0, REEL_LINK_RGB, 2},
        {&byte, 29, REEL_LINK_RGB, 0},
        {&byte, -39, REEL_LINK_BGRA, 0},
    };
    for (const reel_link_picture &picture : wrong)
        EXPECT_NE(check_picture(picture, 10), nullptr);
    EXPECT_EQ(check_picture({&byte, 30, REEL_LINK_RGB, 0}, 10), nullptr);
    EXPECT_EQ(check_picture({&byte, -40, REEL_LINK_BGRA, 1}, 10), nullptr);
}

TEST(FramePixels, SizedByTheAverageOfTheArea) {
    std::mt19937 random(7);
    const frame_size sizes[][2] = {{{8, 6}, {4, 3}}, {{7, 5}, {3, 2}},    {{20, 15}, {19, 14}},
                                   {{5, 4}, {9, 7}}, {{1, 9}, {1, 2}},    {{100, 3}, {1, 1}},
                                   {{3, 3}, {3, 7}}, {{32, 24}, {9, 15}}, {{300, 2}, {7, 1}}};
    for (const auto &[size, to] : sizes) {
        SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height) + " to " +
                     std::to_string(to.width) + "x" + std::to_string(to.height));
        frame_scaler scaler;
        ASSERT_EQ(set_scaler(scaler, size.width, size.height, to.width, to.height), 0);
        std::vector<std::uint32_t> line(static_cast<std::size_t>(size.width));
        for (int picture = 0; picture < 3; ++picture) { // the scaler serves again and again
            std::vector<std::uint32_t> from(size.words());
            for (std::uint32_t &word : from) // the last one is white: no sum is too large
                word = picture == 2 ? 0xFFFFFFFFU : static_cast<std::uint32_t>(random());
            std::vector<std::uint32_t> words(to.words());
            write_frame({from.data(), 0, REEL_LINK_RGBA, REEL_LINK_BOTTOM_FIRST}, size, &scaler,
                        line, words);
            for (int y = 0; y < to.height; ++y)
                for (int x = 0; x < to.width; ++x)
                    for (int part = 0; part < 4; ++part) {
                        const double wanted = area_average(from, size, to, x, y, part);
                        const auto word = words[static_cast<std::size_t>(y * to.width + x)];
                        const double got = word >> (8 * part) & 0xFF;
                        ASSERT_NEAR(got, wanted, picture == 2 ? 1e-6 : 0.6) << x << " " << y;
                    }
        }
    }
}

} // namespace render_link
