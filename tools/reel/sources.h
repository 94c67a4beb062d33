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

// Numbers the pictures of a source whose frames count from 0: fills count, first_number and
// number_step. `total` is how many there are, or -1 when that is not known; then a source that is
// asked for certain frames has to fail when it ends before them. Returns 0, or -1 with the reason
// in *fault when there are no such frames.
[[nodiscard]] int choose_positions(const source_options &options, std::int64_t total,
                                   frame_source &source, std::string *fault);

// "film.mp4 (frame 7)"
[[nodiscard]] std::string name_frame(const std::string &description, std::int64_t number);

} // namespace reel
