#include "movie/ir1_kernels.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace movie {

namespace {

constexpr std::size_t quadrants = 4;
constexpr unsigned detailed_flag = 0x8000; // in a block's first colour word
constexpr unsigned colour_mask = 0x7FFF;

// The four rows of a block, top row first, at the left end of the picture.
template <typename pixel> std::array<pixel *, 4> block_rows(pixel *image, int width, int bottom) {
    const std::ptrdiff_t stride = width;
    pixel *row = image + stride * bottom;
    return {row + 3 * stride, row + 2 * stride, row + stride, row};
}

// ---- Decoding ----------------------------------------------------------------------------------

unsigned get_word(const std::uint8_t *from) {
    return static_cast<unsigned>(from[0]) << 8U | from[1];
}

// Two neighbouring pixels as they lie in memory: the masks are used up two bits at a time, with
// one load and one store for each and no branch.
using pixel_pair = std::uint64_t;

pixel_pair join(std::uint32_t left, std::uint32_t right) {
    return std::bit_cast<pixel_pair>(std::array{left, right});
}

// All that a group's two colours can make of two neighbouring pixels, by their mask bits (bit 0
// is the left one).
using group_pairs = std::array<pixel_pair, 4>;

group_pairs read_group(const ir1_colours &colours, const std::uint8_t *words) {
    const std::uint32_t high = colours[get_word(words) & colour_mask];
    const std::uint32_t low = colours[get_word(words + 2) & colour_mask];
    return {join(low, low), join(high, low), join(low, high), join(high, high)};
}

void put_row(std::uint32_t *row, unsigned nibble, const group_pairs &left,
             const group_pairs &right) {
    std::memcpy(row, &left[nibble & 3U], sizeof(pixel_pair));
    std::memcpy(row + 2, &right[nibble >> 2U & 3U], sizeof(pixel_pair));
}

// Writes one block from its groups: the four quadrants', or four times the block's.
void put_block(const std::array<std::uint32_t *, 4> &rows, std::ptrdiff_t x, unsigned mask,
               const group_pairs &top_left, const group_pairs &top_right,
               const group_pairs &bottom_left, const group_pairs &bottom_right) {
    put_row(rows[0] + x, mask, top_left, top_right);
    put_row(rows[1] + x, mask >> 4U, top_left, top_right);
    put_row(rows[2] + x, mask >> 8U, bottom_left, bottom_right);
    put_row(rows[3] + x, mask >> 12U, bottom_left, bottom_right);
}

std::int64_t decode_blocks(const ir1_colours &colours, std::span<const std::uint8_t> blocks,
                           std::span<std::uint32_t> image, int width, int height) {
    const std::uint8_t *at = blocks.data();
    std::size_t left = blocks.size();
    for (int bottom = height - ir1_block_size; bottom >= 0; bottom -= ir1_block_size) {
        const auto rows = block_rows(image.data(), width, bottom);
        for (std::ptrdiff_t x = 0; x < width; x += ir1_block_size) {
            if (left < ir1_flat_bytes) {
                return -1;
            }
            const unsigned mask = get_word(at);
            std::size_t used = ir1_flat_bytes;
            if ((get_word(at + 2) & detailed_flag) == 0) {
                const group_pairs group = read_group(colours, at + 2);
                put_block(rows, x, mask, group, group, group, group);
            } else {
                used = ir1_detailed_bytes;
                if (left < used) {
                    return -1;
                }
                put_block(rows, x, mask, read_group(colours, at + 2), read_group(colours, at + 6),
                          read_group(colours, at + 10), read_group(colours, at + 14));
            }
            at += used;
            left -= used;
        }
    }
    return static_cast<std::int64_t>(blocks.size() - left);
}

// ---- Encoding ----------------------------------------------------------------------------------

// Sums over pixels, four 16-bit lanes in one word so that one addition serves all: red lowest,
// then green, blue and the number of pixels. A block's 16 x 255 fits its lane.
using lane_sums = std::uint64_t;
constexpr unsigned lane_bits = 16;

lane_sums spread_lanes(std::uint32_t pixel) {
    const lane_sums word = pixel;
    return (word & 0xFFU) | (word & 0xFF00U) << 8U | (word & 0xFF0000U) << 16U |
           lane_sums{1} << (3 * lane_bits);
}

int luminance(std::uint32_t pixel) {
    return static_cast<int>(
        (79 * (pixel & 0xFFU) + 156 * (pixel >> 8U & 0xFFU) + 21 * (pixel >> 16U & 0xFFU)) >> 8U);
}

// A mean's top five bits, (sum / count) >> 3, without a division: sum x reciprocal >> 20. An
// empty group (count 0) comes out black.
constexpr unsigned reciprocal_bits = 20;
constexpr std::array<unsigned, 17> reciprocals = [] {
    std::array<unsigned, 17> table{};
    for (unsigned count = 1; count < table.size(); ++count) {
        table[count] = ((1U << reciprocal_bits) / 8 + count - 1) / count;
    }
    return table;
}();

constexpr bool reciprocals_are_exact() {
    for (unsigned count = 1; count < reciprocals.size(); ++count) {
        for (unsigned sum = 0; sum <= 255 * count; ++sum) {
            if (sum * reciprocals[count] >> reciprocal_bits != sum / count >> 3U) {
                return false;
            }
        }
    }
    return true;
}
static_assert(reciprocals_are_exact());

unsigned mean_colour(lane_sums sums) {
    const unsigned reciprocal = reciprocals[sums >> (3 * lane_bits)];
    const auto mean = [&](unsigned lane) {
        return (static_cast<unsigned>(sums >> (lane * lane_bits)) & 0xFFFFU) * reciprocal >>
               reciprocal_bits;
    };
    return mean(0) << 10U | mean(1) << 5U | mean(2);
}

// One block of the picture, its pixels numbered from the top left in rows.
struct block {
    std::array<int, 16> luminances;
    std::array<lane_sums, 16> lanes;
};

block read_block(const std::array<const std::uint32_t *, 4> &rows, std::ptrdiff_t x) {
    block pixels; // filled below, and too hot to be cleared first
    for (std::size_t p = 0; p < 16; ++p) {
        const std::uint32_t pixel = rows[p / 4][x + static_cast<std::ptrdiff_t>(p % 4)];
        pixels.luminances[p] = luminance(pixel);
        pixels.lanes[p] = spread_lanes(pixel);
    }
    return pixels;
}

// The pixels of each quadrant.
constexpr std::array<std::array<std::size_t, 4>, quadrants> quadrant_pixels{
    {{0, 1, 4, 5}, {2, 3, 6, 7}, {8, 9, 12, 13}, {10, 11, 14, 15}}};

// What classifying a block's pixels gives: the mask, and each quadrant's sums.
struct block_groups {
    unsigned mask = 0;
    std::array<lane_sums, quadrants> high{};
    std::array<lane_sums, quadrants> low{};
};

block_groups classify(const block &pixels, const std::array<int, quadrants> &levels) {
    block_groups groups;
    for (std::size_t q = 0; q < quadrants; ++q) {
        for (const std::size_t p : quadrant_pixels[q]) {
            const bool is_high = pixels.luminances[p] >= levels[q];
            const lane_sums in_high = pixels.lanes[p] & (lane_sums{0} - lane_sums{is_high});
            groups.mask |= static_cast<unsigned>(is_high) << p;
            groups.high[q] += in_high;
            groups.low[q] += pixels.lanes[p] - in_high;
        }
    }
    return groups;
}

std::uint8_t *put_word(std::uint8_t *to, unsigned word) {
    to[0] = static_cast<std::uint8_t>(word >> 8U);
    to[1] = static_cast<std::uint8_t>(word & 0xFFU);
    return to + 2;
}

std::uint8_t *encode_block(const block &pixels, int threshold, std::uint8_t *to) {
    std::array<int, quadrants> levels{};
    for (std::size_t q = 0; q < quadrants; ++q) {
        for (const std::size_t p : quadrant_pixels[q]) {
            levels[q] += pixels.luminances[p];
        }
    }
    const auto [least, most] =
        std::minmax_element(pixels.luminances.begin(), pixels.luminances.end());
    if (*most - *least > threshold) {
        for (int &level : levels) {
            level /= 4;
        }
        const block_groups groups = classify(pixels, levels);
        to = put_word(to, groups.mask);
        unsigned flag = detailed_flag;
        for (std::size_t q = 0; q < quadrants; ++q) {
            to = put_word(to, mean_colour(groups.high[q]) | flag);
            to = put_word(to, mean_colour(groups.low[q]));
            flag = 0;
        }
        return to;
    }
    levels.fill((levels[0] + levels[1] + levels[2] + levels[3]) / 16);
    const block_groups groups = classify(pixels, levels);
    const auto whole = [](const std::array<lane_sums, quadrants> &sums) {
        return sums[0] + sums[1] + sums[2] + sums[3];
    };
    to = put_word(to, groups.mask);
    to = put_word(to, mean_colour(whole(groups.high)));
    return put_word(to, mean_colour(whole(groups.low)));
}

std::size_t encode_blocks(std::span<const std::uint32_t> image, int width, int height,
                          std::span<std::uint8_t> blocks, int threshold) {
    std::uint8_t *to = blocks.data();
    const int columns = width - width % ir1_block_size;
    const int top = height - height % ir1_block_size;
    for (int bottom = top - ir1_block_size; bottom >= 0; bottom -= ir1_block_size) {
        const auto rows = block_rows(image.data(), width, bottom);
        for (std::ptrdiff_t x = 0; x < columns; x += ir1_block_size) {
            to = encode_block(read_block(rows, x), threshold, to);
        }
    }
    return static_cast<std::size_t>(to - blocks.data());
}

} // namespace

const ir1_kernels &ir1_scalar_kernels() {
    static constexpr ir1_kernels kernels{"scalar", decode_blocks, encode_blocks};
    return kernels;
}

} // namespace movie
