// reel compare: how much two movies, sequences or videos differ.
#pragma once

#include "tools/reel/frame_pattern.h"

#include <optional>
#include <string>

namespace reel {

struct compare_options {
    std::string a;                         // what open_source takes
    std::string b;                         // likewise
    std::optional<frame_selection> frames; // by the numbers of a; all when not given
    bool list = false;                     // a line for each frame too
    bool json = false;
    std::optional<double> least_psnr; // decibels that every frame must reach
    bool must_be_identical = false;
    std::string output;                // an image, or a pattern for one of every frame; or empty
    std::optional<std::int64_t> frame; // whose picture to write; otherwise the worst one's
    int gain = 0;                      // 1 .. max_gain; 0: chosen
    bool alone = false;                // the difference without a and b beside it
};

// Frames are compared in order: the first of a with the first of b. Writes what was found on
// standard output. Returns the program's exit status: failed when the inputs could not be compared
// throughout (other sizes, frames missing, one longer than the other) or do not pass what was
// asked for.
[[nodiscard]] int run_compare(const compare_options &options);

} // namespace reel
