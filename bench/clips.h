// The pictures that the codec is timed with: made from the demo's frames, the same ones each time.
//
//   std::vector<bench::clip> clips;
//   if (bench::make_clips("share/demo.reel", clips) != 0) ...   // reported
//   clips[0].frames[0].get();                                   // width x height words
//   clips[0].packed[0];                                         // the same, compressed
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace bench {

inline constexpr int clip_threshold = 12;     // as reel encode has it by default
inline constexpr std::size_t clip_frames = 8; // of 1920x1080: more than a cache holds
inline constexpr int full_width = 1920;       // pixels, of most clips
inline constexpr int full_height = 1080;      // pixels
inline constexpr std::size_t page_bytes = 4096;

struct memory_freer {
    void operator()(std::uint32_t *words) const { std::free(words); }
};
// Words that begin on a page, as those of a display's frame do.
using page_words = std::unique_ptr<std::uint32_t[], memory_freer>;

// `count` words, written once so that their pages are there. Ends the program when there is no
// memory.
[[nodiscard]] page_words make_page_words(std::size_t count);

struct clip {
    std::string name;
    int width = 0;                                 // pixels
    int height = 0;                                // pixels
    std::vector<page_words> frames;                // empty for clips that are only decoded
    std::vector<std::vector<std::uint8_t>> packed; // by the plain kernels
    double detailed = 0;                           // share of the blocks, 0 .. 1
};

[[nodiscard]] std::size_t count_words(const clip &pictures);

// The words of one frame.
[[nodiscard]] std::span<const std::uint32_t> frame_words(const clip &pictures, std::size_t index);

// Makes all clips from the movie's frames. Returns 0, or -1 after a message.
[[nodiscard]] int make_clips(const char *movie_name, std::vector<clip> &clips);

} // namespace bench
