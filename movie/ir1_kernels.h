// The inner loops of the IR1 codec, one table of function pointers. It starts with the plain
// versions, which define what is right; a faster version must give the same bytes and the same
// pixels for every input, hostile ones included.
//
//   const movie::ir1_kernels &k = movie::ir1_active_kernels();
//   k.decode_blocks(colours, blocks, image, 640, 480);
//
// Arguments reach a kernel already checked: sizes are multiples of 4 in 0 .. 32767 (decoding) and
// the spans are large enough as stated.
#pragma once

#include "movie/ir1.h"

namespace movie {

struct ir1_kernels {
    const char *name; // "scalar", ...: what PLAYER_CPU calls this level

    // Writes every complete block of `blocks` (the stream behind its head) into image
    // (width x height words). Returns the number of bytes consumed when all (width / 4) x
    // (height / 4) blocks were there, or -1 when the stream ended before.
    std::int64_t (*decode_blocks)(const ir1_colours &colours, std::span<const std::uint8_t> blocks,
                                  std::span<std::uint32_t> image, int width, int height);

    // Writes the blocks of image (rows of `width` words) into `blocks`, which holds the worst
    // case. Returns the number of bytes written.
    std::size_t (*encode_blocks)(std::span<const std::uint32_t> image, int width, int height,
                                 std::span<std::uint8_t> blocks, int threshold);
};

// The plain C++ kernels.
[[nodiscard]] const ir1_kernels &ir1_scalar_kernels();

// The best kernels that this processor runs and that do not pass a limit.
//   limit  "scalar", "sse4", "avx2" or "avx512"; a level without kernels of its own gives the best
//          below it. Null or empty: no limit. Anything else: likewise, after one line on standard
//          error.
[[nodiscard]] const ir1_kernels &ir1_best_kernels(const char *limit);

// The kernels that the codec uses: the best within the environment variable PLAYER_CPU, chosen
// once, at the first call.
[[nodiscard]] const ir1_kernels &ir1_active_kernels();

} // namespace movie
