// reel encode: makes a movie from image files.
#pragma once

#include "tools/reel/frame_pattern.h"

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
    std::vector<std::string> inputs;       // files, folders, patterns
    std::string output;                    // the movie
    int rate = default_rate;               // 1 .. max_rate
    int threshold = default_threshold;     // min_threshold .. max_threshold
    std::optional<frame_selection> frames; // all when not given
};

// Returns the program's exit status. What went wrong is reported on standard error and leaves
// nothing behind; an existing movie is replaced only by a complete one.
[[nodiscard]] int run_encode(const encode_options &options);

} // namespace reel
