// reel join: makes one movie of several, without compressing anything again.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace reel {

struct join_options {
    std::vector<std::string> files; // in playing order
    std::string output;             // may be one of them
    std::optional<int> rate;        // frames per second; the first movie's when not given
    bool keep_going = false;        // damaged frames become missing ones
};

// Returns the program's exit status; see run_splice.
[[nodiscard]] int run_join(const join_options &options);

} // namespace reel
