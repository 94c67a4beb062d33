#include "movie/ir1.h"

#include "movie/ir1_kernels.h"

#include <algorithm>
#include <new>

namespace movie {

namespace {

// Blocks along a side of `pixels`; none for what the format can not hold below 0.
std::size_t blocks_along(int pixels) {
    return static_cast<std::size_t>(std::max(pixels, 0) / ir1_block_size);
}

std::size_t pixel_count(int width, int height) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

bool is_codable(int size) {
    return size >= 0 && size <= ir1_max_dimension;
}

void put_size(std::span<std::uint8_t> to, std::size_t at, int pixels) {
    const auto value = static_cast<unsigned>(pixels - pixels % ir1_block_size);
    to[at] = static_cast<std::uint8_t>(value >> 8U);
    to[at + 1] = static_cast<std::uint8_t>(value & 0xFFU);
}

// A side's coded size, or -1 when it is none.
int get_size(std::span<const std::uint8_t> from, std::size_t at) {
    const int value = from[at] << 8 | from[at + 1];
    return value <= ir1_max_dimension && value % ir1_block_size == 0 ? value : -1;
}

ir1_colours make_colours() {
    ir1_colours colours;
    std::size_t i = 0;
    for (std::uint32_t red = 0; red < 32; ++red) {
        for (std::uint32_t green = 0; green < 32; ++green) {
            for (std::uint32_t blue = 0; blue < 32; ++blue) {
                colours[i++] = blue << 19U | green << 11U | red << 3U;
            }
        }
    }
    colours.computed = true;
    return colours;
}

} // namespace

ir1_table IR1_init_tables() {
    static const ir1_colours colours = make_colours(); // opening many movies only copies it
    try {
        return std::make_shared<ir1_colours>(colours);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

std::size_t ir1_worst_case(int width, int height) {
    return ir1_header_bytes + blocks_along(width) * blocks_along(height) * ir1_detailed_bytes;
}

std::int64_t IR1_compress(std::span<const std::uint32_t> image, int width, int height,
                          std::span<std::uint8_t> packed, int threshold) {
    if (!is_codable(width) || !is_codable(height) || image.size() < pixel_count(width, height) ||
        packed.size() < ir1_worst_case(width, height)) {
        return -1;
    }
    put_size(packed, 0, width);
    put_size(packed, 2, height);
    const auto blocks = packed.subspan(ir1_header_bytes);
    const std::size_t used =
        ir1_active_kernels().encode_blocks(image, width, height, blocks, threshold);
    return static_cast<std::int64_t>(ir1_header_bytes + used);
}

int ir1_read_size(std::span<const std::uint8_t> packed, ir1_size *size) {
    if (packed.size() < ir1_header_bytes) {
        return -1;
    }
    const ir1_size coded{get_size(packed, 0), get_size(packed, 2)};
    if (coded.width < 0 || coded.height < 0) {
        return -1;
    }
    *size = coded;
    return 0;
}

int IR1_decompress(const ir1_colours &colours, std::span<const std::uint8_t> packed,
                   std::span<std::uint32_t> image) {
    ir1_size size;
    if (ir1_read_size(packed, &size) != 0 || image.size() < pixel_count(size.width, size.height)) {
        return -1;
    }
    const auto blocks = packed.subspan(ir1_header_bytes);
    const std::int64_t used =
        ir1_active_kernels().decode_blocks(colours, blocks, image, size.width, size.height);
    return used < 0 ? -1 : 0;
}

int ir1_begin_strips(std::span<const std::uint8_t> packed, ir1_strips *left) {
    ir1_size size;
    if (ir1_read_size(packed, &size) != 0) {
        return -1;
    }
    *left = {packed.subspan(ir1_header_bytes), size.width, size.height};
    return 0;
}

int ir1_next_strip(const ir1_colours &colours, ir1_strips &left, int rows,
                   std::span<std::uint32_t> strip) {
    if (rows < 0 || rows > left.rows || rows % ir1_block_size != 0 ||
        strip.size() < pixel_count(left.width, rows)) {
        return -1;
    }
    const std::int64_t used =
        ir1_active_kernels().decode_blocks(colours, left.blocks, strip, left.width, rows);
    if (used < 0) {
        return -1;
    }
    left.blocks = left.blocks.subspan(static_cast<std::size_t>(used));
    left.rows -= rows;
    return 0;
}

} // namespace movie
