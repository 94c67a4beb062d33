// All levels of codec kernels on the same input: any difference ends the program.
//
//   agree::decode(stream, most_pixels);              // by arithmetic and through a foreign table
//   agree::encode(image, 12, 8, threshold);          // and its blocks decoded again
#pragma once

#include "movie/ir1_kernels.h"
#include "movie/ir1_x86.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

namespace agree {

inline const std::vector<const movie::ir1_kernels *> &fast_kernels() {
    static const std::vector<const movie::ir1_kernels *> all = [] {
        std::vector<const movie::ir1_kernels *> list{
            movie::ir1_sse4_kernels(), movie::ir1_avx2_kernels(),
            movie::ir1_avx2_bypassing_kernels(), movie::ir1_avx512_kernels()};
        std::erase(list, nullptr);
        return list;
    }();
    return all;
}

inline const movie::ir1_colours &own_table() {
    static const movie::ir1_table table = movie::IR1_init_tables();
    return *table;
}

inline const movie::ir1_colours &foreign_table() {
    static const movie::ir1_colours table = [] {
        movie::ir1_colours colours;
        std::ranges::generate(colours, std::mt19937(1));
        return colours;
    }();
    return table;
}

inline void decode(const movie::ir1_colours &colours, std::span<const std::uint8_t> blocks,
                   movie::ir1_size size) {
    const auto pixels =
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
    std::vector<std::uint32_t> expected(pixels, 1);
    const auto used = movie::ir1_scalar_kernels().decode_blocks(colours, blocks, expected,
                                                                size.width, size.height);
    for (const movie::ir1_kernels *fast : fast_kernels()) {
        std::vector<std::uint32_t> image(pixels, 1);
        if (fast->decode_blocks(colours, blocks, image, size.width, size.height) != used ||
            image != expected)
            std::abort();
    }
}

// A stream with its head; one without a sound head, or of a larger picture, is left alone.
inline void decode(std::span<const std::uint8_t> stream, std::int64_t most_pixels) {
    movie::ir1_size size;
    if (movie::ir1_read_size(stream, &size) != 0 ||
        std::int64_t{size.width} * size.height > most_pixels)
        return;
    const auto blocks = stream.subspan(movie::ir1_header_bytes);
    decode(own_table(), blocks, size);
    decode(foreign_table(), blocks, size);
}

inline void encode(std::span<const std::uint32_t> image, int width, int height, int threshold) {
    const std::size_t room = movie::ir1_worst_case(width, height) - movie::ir1_header_bytes;
    std::vector<std::uint8_t> expected(room);
    expected.resize(
        movie::ir1_scalar_kernels().encode_blocks(image, width, height, expected, threshold));
    for (const movie::ir1_kernels *fast : fast_kernels()) {
        std::vector<std::uint8_t> blocks(room);
        blocks.resize(fast->encode_blocks(image, width, height, blocks, threshold));
        if (blocks != expected)
            std::abort();
    }
    expected.shrink_to_fit();
    decode(own_table(), expected,
           {width - width % movie::ir1_block_size, height - height % movie::ir1_block_size});
}

} // namespace agree
