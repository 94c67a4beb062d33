// A movie whose frames come in any order, some again, some never: kept under its name when it is
// finished.
//
//   kept_movie kept;
//   start_kept_movie("shot.reel", {640, 480, 24, 12, 48}, kept);
//   keep_frame(kept, 11, words);                       // frame 11, counted from 0
//   finish_kept_movie(kept);
#pragma once

#include "tools/reel/movie_writer.h"

namespace reel {

struct kept_movie {
    output_file file;
    movie::vf_movie film;
    std::vector<std::uint8_t> packed; // memory for one frame
    bool is_open = false;
};

// settings.count must be known; an existing file must have been checked (check_replaced). Returns 0,
// or -1 after a report.
[[nodiscard]] int start_kept_movie(const std::string &name, const movie_settings &settings,
                                   kept_movie &kept);

// Compresses a picture of the movie's size into its place; one that comes again replaces the one
// before. Returns 0, or -1 after a report: the movie is given up then.
[[nodiscard]] int keep_frame(kept_movie &kept, std::int64_t index,
                             std::span<const std::uint32_t> words);

// Returns 0, or -1 after a report.
[[nodiscard]] int finish_kept_movie(kept_movie &kept);

} // namespace reel
