// The kinds of frame sources behind frame_source.h; open_source chooses among them.
#pragma once

#include "tools/reel/frame_source.h"

#include <cstdint>
#include <string>
#include <vector>

namespace reel {

// What messages call the input that has no name.
inline constexpr const char *standard_input_name = "standard input";

// Each fills a source. Returns 0, or -1 as open_source.
[[nodiscard]] int open_images(const std::vector<std::string> &inputs, const source_options &options,
                              frame_source &source, std::string *fault);
[[nodiscard]] int open_movie(const std::string &path, const source_options &options,
                             frame_source &source, std::string *fault);
[[nodiscard]] int open_video(const std::string &path, const source_options &options,
                             frame_source &source, std::string *fault);
[[nodiscard]] int open_raw_pixels(const source_options &options, frame_source &source,
                                  std::string *fault);

// The frames that the positions of a source stand for.
struct chosen_frames {
    std::int64_t first = 0;
    std::int64_t step = 1;
    std::int64_t count = -1; // positions; -1: not known
};

// The frame at a position, counted from 0.
[[nodiscard]] inline std::int64_t frame_of(const chosen_frames &chosen, std::int64_t position) {
    return chosen.first + position * chosen.step;
}

// Numbers the pictures of a source whose frames count from 0 and whose description is there: fills
// count, first_number, number_step and name_of, and `chosen` with the same. `total` is how many
// there are, or -1 when that is not known; then a source that is asked for certain frames has to
// fail when it ends before them. Returns 0, or -1 with the reason in *fault when there are no such
// frames.
[[nodiscard]] int choose_positions(const source_options &options, std::int64_t total,
                                   frame_source &source, chosen_frames &chosen, std::string *fault);

// "film.mp4 (frame 7)"
[[nodiscard]] std::string name_frame(const std::string &description, std::int64_t number);

} // namespace reel
