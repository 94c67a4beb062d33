// reel cut: takes frames out of a movie, without compressing anything again.
#pragma once

#include "tools/reel/frame_pattern.h"

#include <optional>
#include <string>

namespace reel {

struct cut_options {
    std::string file;
    std::string output;      // may be the file itself
    frame_selection frames;  // counted from 0
    std::optional<int> rate; // frames per second; the movie's when not given
    bool keep_going = false; // damaged frames become missing ones
};

// Returns the program's exit status; see run_splice.
[[nodiscard]] int run_cut(const cut_options &options);

} // namespace reel
