// A movie whose frames come in any order, some again, some never: kept under its name when it is
// finished.
//
//   kept_movie kept;
//   claim_kept_movie("shot.reel", kept);               // before anything is rendered for it
//   start_kept_movie({640, 480, 24, 12, 48}, kept);
//   keep_frame(kept, 11, words);                       // frame 11, counted from 0
//   finish_kept_movie(kept);
#pragma once

#include "tools/reel/movie_writer.h"

#include <optional>

namespace reel {

struct kept_movie {
    std::optional<output_file> file; // claimed and not finished; goes with its temporary file
    movie::vf_movie film;            // of whole blocks
    int width = 0;                   // of the pictures, pixels
    int height = 0;
    std::vector<std::uint8_t> packed; // memory for one frame
    bool is_open = false;
};

// Makes sure that a movie can be written under that name, which stays as it is until the movie is
// finished. Returns 0, or -1 after a report.
[[nodiscard]] int claim_kept_movie(const std::string &name, kept_movie &kept);

// settings.count must be known. Returns 0, or -1 after a report.
[[nodiscard]] int start_kept_movie(const movie_settings &settings, kept_movie &kept);

// Compresses a picture of the movie's size into its place; one that comes again replaces the one
// before. Returns 0, or -1 after a report: the movie is given up and
// removed then.
[[nodiscard]] int keep_frame(kept_movie &kept, std::int64_t index,
                             std::span<const std::uint32_t> words);

// Returns 0, or -1 after a report.
[[nodiscard]] int finish_kept_movie(kept_movie &kept);

} // namespace reel
