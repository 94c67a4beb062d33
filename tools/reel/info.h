// reel info: what movies are like, from their tables and the heads of their chunks. No picture is
// read: the number of detailed blocks follows from the size of a picture's data.
#pragma once

#include "tools/reel/frame_pattern.h"

#include <optional>
#include <string>
#include <vector>

namespace reel {

struct info_options {
    std::vector<std::string> files;
    bool json = false;
    bool list = false;                     // a line for each frame too
    std::optional<frame_selection> frames; // that the list has, from 0; all when not given
};

// Writes some lines about each file, or one JSON array with an object for each, on standard
// output. Returns the program's exit status: failed when a file cannot be opened.
[[nodiscard]] int run_info(const info_options &options);

} // namespace reel
