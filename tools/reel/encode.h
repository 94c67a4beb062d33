// reel encode: makes a movie from images, a video, raw pixels or another movie.
#pragma once

#include "tools/reel/frame_source.h"
#include "tools/reel/picture_edit.h"

#include <optional>
#include <string>
#include <vector>

namespace reel {

inline constexpr int default_rate = 24;      // frames per second
inline constexpr int max_rate = 1000;        // frames per second
inline constexpr int default_threshold = 12; // luminance spread, 0 .. 255
inline constexpr int min_threshold = -1;     // every block detailed
inline constexpr int max_threshold = 255;    // every block flat

struct encode_options {
    std::vector<std::string> inputs; // files, folders, patterns; none for standard input
    std::string output;              // the movie
    source_options source;
    picture_edit edit;
    std::optional<int> rate;      // 1 .. max_rate; else the source's, or default_rate
    std::optional<int> threshold; // min_threshold .. max_threshold; else default_threshold
    int threads = 0;              // that compress; 0: as many as there are processors
};

// Pictures that are already coded as a movie codes them are copied as they are, unless an edit or
// a threshold is asked for. Returns the program's exit status. What went wrong is reported on
// standard error and leaves nothing behind; an existing movie is replaced only by a complete one.
[[nodiscard]] int run_encode(const encode_options &options);

} // namespace reel
