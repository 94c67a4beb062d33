// reel decode: writes a movie's frames as image files.
#pragma once

#include "tools/reel/frame_pattern.h"

#include <optional>
#include <string>

namespace reel {

struct decode_options {
    std::string file;
    std::string output;                    // a pattern; for a single frame any image name
    std::optional<frame_selection> frames; // from 0; all when not given
};

// Writes each frame in the format that the pattern's extension tells, under its number. Files that
// exist are replaced, each by a complete one. A frame that cannot be shown is reported and left
// out, and the rest is written; a file that cannot be written ends the run. Returns the program's
// exit status: failed when a frame was left out or a file not written.
[[nodiscard]] int run_decode(const decode_options &options);

} // namespace reel
