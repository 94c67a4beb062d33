// IR1: the still-frame codec of a movie. Every 4 x 4 block of a picture becomes a 16-bit mask and
// two or eight 15-bit colours.
//
//   movie::ir1_table table = movie::IR1_init_tables();            // once per opened movie
//   auto n = movie::IR1_compress(image, 640, 480, packed, 12);    // bytes written, or -1
//   movie::IR1_decompress(*table, packed.first(n), image);        // 0, or -1: see below
//
// Picture in memory: 32-bit words 0xAABBGGRR in native byte order; rows bottom-up (row 0 is the
// bottom row), no padding between rows. Alpha is ignored when compressing, 0 after decompressing.
//
// Stream: 16-bit words, most significant byte first.
//
//   offset 0   coded width, a multiple of 4, signed 16-bit
//   offset 2   coded height, likewise
//   offset 4   (height / 4) x (width / 4) blocks, the TOP block row first, left to right
//
// A block is a mask word and 2 colour words (flat, 6 bytes) or 8 colour words (detailed, 18
// bytes); bit 15 of its first colour word, set, says detailed. Mask bit p belongs to the pixel in
// row p / 4 from the block's top and column p % 4 from its left; 1 takes the group's high colour,
// 0 its low one. The group is the whole block when flat, else the 2 x 2 quadrant: top-left,
// top-right, bottom-left, bottom-right, each with its high colour before its low one. A colour
// word holds red in bits 14-10, green in 9-5, blue in 4-0, the top 5 bits of each channel.
//
// A writer must not set bit 15 of any other colour word, nor code sizes that are not multiples
// of 4 or exceed ir1_max_dimension. Readers ignore bit 15 where it has no meaning.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace movie {

inline constexpr int ir1_block_size = 4;        // pixels along each side of a block
inline constexpr int ir1_max_dimension = 32767; // the stream's sizes are signed 16-bit
inline constexpr std::size_t ir1_header_bytes = 4;
inline constexpr std::size_t ir1_flat_bytes = 6;
inline constexpr std::size_t ir1_detailed_bytes = 18;
inline constexpr std::size_t ir1_colour_count = 32768;

// One pixel word for each 15-bit colour: each channel's 5 bits in the top of its byte, all other
// bits 0.
struct ir1_colours : std::array<std::uint32_t, ir1_colour_count> {
    // Set in the tables of IR1_init_tables: the words are what arithmetic gives, too, so that it
    // may take the place of looking them up. Whoever puts other words in clears it.
    bool computed = false;
};

// A movie and everyone who decodes from it share one table; it lives as long as anyone holds it.
using ir1_table = std::shared_ptr<const ir1_colours>;

// Makes a fresh expansion table. Null when there is no memory for it (128 KiB).
[[nodiscard]] ir1_table IR1_init_tables();

// The most bytes that a picture of width x height pixels can need; 4 when either is below 4.
[[nodiscard]] std::size_t ir1_worst_case(int width, int height);

// Compresses a picture.
//   image        at least width x height words
//   width,height pixels, 0 .. ir1_max_dimension; what is left over a multiple of 4 (columns at
//                the right, rows at the top) is not coded
//   packed       receives the stream; ir1_worst_case bytes always suffice
//   threshold    a block is detailed when its luminance spread (0 .. 255) is greater than this;
//                negative: every block is detailed
// Returns the number of bytes written, or -1 (and nothing written) when a size is out of range or
// image or packed is too small for it (packed is measured against the worst case).
[[nodiscard]] std::int64_t IR1_compress(std::span<const std::uint32_t> image, int width, int height,
                                        std::span<std::uint8_t> packed, int threshold);

struct ir1_size {
    int width = 0;  // pixels, as coded
    int height = 0; // pixels, as coded
};

// Reads the coded size from the head of a stream. Returns 0, or -1 (size untouched) when the
// stream is shorter than its head or a size is negative or not a multiple of 4.
[[nodiscard]] int ir1_read_size(std::span<const std::uint8_t> packed, ir1_size *size);

// Expands a stream; the coded width is the row length of the picture.
//   colours  the expansion table
//   packed   exactly the stream; bytes behind its last block are ignored
//   image    receives coded width x coded height words; nothing beyond them is touched
// Never reads outside packed nor writes outside image, whatever the bytes are. Returns 0, or -1:
// an unusable head or an image too small (nothing written), or a stream that ends too early (the
// blocks before its end are written, the others left as they were).
[[nodiscard]] int IR1_decompress(const ir1_colours &colours, std::span<const std::uint8_t> packed,
                                 std::span<std::uint32_t> image);

// The same in strips from the top of the picture down, for who has done with each strip while it is
// still in the processor's caches:
//
//   movie::ir1_strips left;
//   if (movie::ir1_begin_strips(packed, &left) == 0)
//       while (left.rows > 0)
//           if (movie::ir1_next_strip(*table, left, std::min(left.rows, 16), strip) != 0) ...
struct ir1_strips {
    std::span<const std::uint8_t> blocks; // not expanded yet
    int width = 0;                        // pixels, as coded
    int rows = 0;                         // that are left
};

// Returns as ir1_read_size does.
[[nodiscard]] int ir1_begin_strips(std::span<const std::uint8_t> packed, ir1_strips *left);

// Expands the next `rows` rows, a multiple of 4 of those that are left, into the first width x rows
// words of strip, their bottom row first. Returns 0; or -1: other rows or a strip too small
// (nothing is written), or the stream ends in them (`left` is as it was).
[[nodiscard]] int ir1_next_strip(const ir1_colours &colours, ir1_strips &left, int rows,
                                 std::span<std::uint32_t> strip);

} // namespace movie
