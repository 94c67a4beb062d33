// The things that the codec is timed on: clips, kernels, places to write to, and FFmpeg's codec
// with the same pictures.
//
//   bench::workbench bench;
//   bench::prepare(bench, "share/demo.reel");     // clips, and FFmpeg's form of them
//   bench::check_all(bench);                      // every variant does the same work
//   // then time what is in bench.subjects with each of bench.levels
#pragma once

#include "bench/clips.h"
#include "bench/msvideo1.h"
#include "movie/ir1_kernels.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace bench {

inline constexpr std::size_t cold_bytes = 160'000'000; // several times what the caches hold

// One clip, with all that timing it needs.
struct subject {
    clip pictures;
    std::vector<packet_owner> packets;      // the same blocks for FFmpeg's decoder
    std::vector<frame_owner> ffmpeg_frames; // the same pictures for its encoder
    msvideo1_decoder decoder;
    msvideo1_encoder encoder;
};

struct workbench {
    movie::ir1_table colours;
    std::vector<const movie::ir1_kernels *> levels; // that this processor runs, slowest first
    std::vector<subject> subjects;
    page_words hot;                   // a picture of any clip: always the same place
    page_words cold;                  // cold_bytes: taken in turn, so never in a cache
    std::vector<std::uint8_t> packed; // room for any clip's frame
};

// Returns 0, or -1 after a message.
[[nodiscard]] int prepare(workbench &bench, const char *movie_name);

// Whether all levels give the plain kernels' pixels and bytes, and FFmpeg the same pictures, for
// every frame. Returns 0, or -1 after a message that names the clip, the frame and the variant.
[[nodiscard]] int check_all(workbench &bench);

// The blocks of a frame: its stream without the head.
[[nodiscard]] std::span<const std::uint8_t> frame_blocks(const clip &pictures, std::size_t index);

// The picture-sized places in the cold memory, in turn.
[[nodiscard]] std::span<std::uint32_t> cold_place(const workbench &bench, const clip &pictures,
                                                  std::size_t turn);

// Writes past the caches, as fast as the machine can: what a decoder into cold memory is measured
// with. Where the processor has no such stores, an ordinary fill. The place begins on 16 bytes and
// its size is a multiple of 4 words.
void fill_streaming(std::span<std::uint32_t> place, std::uint32_t word);

} // namespace bench
