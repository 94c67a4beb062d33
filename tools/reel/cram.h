// Movie frames as Microsoft Video 1 frames of 16 bits ("CRAM"), which every player on every system
// opens, and back: the same picture to the last bit.
//
//   std::vector<std::uint8_t> packet;
//   cram_from_ir1(packed, packet);               // for an AVI file
//   ir1_from_cram(packet, 640, 480, stream);     // stream is again what packed was
//
// Both code 4 x 4 blocks by a mask and two or eight 15-bit colours; they differ in byte order, in
// the order of blocks, mask bits and quadrants, and in what is not allowed: the mask bit of a
// block's top right pixel must be 0, and some words mean that blocks are skipped.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace reel {

// Rewrites an IR1 stream as a frame, resizing packet. Returns 0, or -1 when the stream is not
// whole.
[[nodiscard]] int cram_from_ir1(std::span<const std::uint8_t> ir1,
                                std::vector<std::uint8_t> &packet);

// A frame that repeats the one before, of a picture of this size.
void make_cram_repeat(int width, int height, std::vector<std::uint8_t> &packet);

} // namespace reel
