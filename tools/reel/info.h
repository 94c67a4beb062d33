// reel info: what movies are like, from their tables; nothing is decoded.
#pragma once

#include <string>
#include <vector>

namespace reel {

struct info_options {
    std::vector<std::string> files;
    bool json = false;
};

// Writes a few lines about each file, or one JSON array with an object for each, on standard
// output. Returns the program's exit status: failed when a file cannot be opened.
[[nodiscard]] int run_info(const info_options &options);

} // namespace reel
