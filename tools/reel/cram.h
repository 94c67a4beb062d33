// Movie frames as Microsoft Video 1 frames of 16 bits ("CRAM"), which every player on every system
// opens, and back: the same picture to the last bit.
//
//   std::vector<std::uint8_t> packet;
//   cram_from_ir1(packed, packet);               // for an AVI file
//   std::vector<std::uint8_t> stream;            // kept from frame to frame
//   ir1_from_cram(packet, 640, 480, stream);     // stream is again what packed was, byte for byte
//
// Both code 4 x 4 blocks by a mask and two or eight 15-bit colours; they differ in byte order, in
// the order of blocks, mask bits and quadrants, and in what is not allowed: the mask bit of a
// block's top right pixel must be 0, and some words mean that blocks are skipped.
//
// A block has fewer forms there than here, for instance one of a single colour has no mask. What
// is needed to tell which form a block had stands as notes behind the picture, where no player
// looks: 1 to 2 % of a packet. Notes never change a pixel, whatever is in them.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace reel {

// Whether an IR1 stream is of this size, of which both sides are multiples of 4, and has all its
// blocks.
[[nodiscard]] bool is_whole_ir1(std::span<const std::uint8_t> ir1, int width, int height);

// Rewrites an IR1 stream as a frame, resizing packet. Returns 0, or -1 when the stream is not
// whole.
[[nodiscard]] int cram_from_ir1(std::span<const std::uint8_t> ir1,
                                std::vector<std::uint8_t> &packet);

// A frame that repeats the one before, of a picture of this size.
void make_cram_repeat(int width, int height, std::vector<std::uint8_t> &packet);

// Rewrites a frame, anybody's, as an IR1 stream. Its picture is the frame's; where cram_from_ir1
// made the frame, the stream is the one that it was made from (but for bytes behind its last block
// and bits that have no meaning).
//   packet         whatever bytes; empty: a repeat
//   width, height  of the video in pixels; what is over a multiple of 4 does not count
//   ir1            before: the stream of the frame before, whose blocks stand where the packet
//                  skips some (black where it is no whole stream of this size); after: the stream
// Returns 0, or -1 with ir1 as it was: the packet ends before its picture, or the size is beyond
// what a stream can have or below one block.
[[nodiscard]] int ir1_from_cram(std::span<const std::uint8_t> packet, int width, int height,
                                std::vector<std::uint8_t> &ir1);

} // namespace reel
