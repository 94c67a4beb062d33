// reel verify: looks for everything that is wrong with movies.
#pragma once

#include <string>
#include <vector>

namespace reel {

struct verify_options {
    std::vector<std::string> files;
    bool json = false;
};

// Walks the table and decodes every frame. Findings go to standard output, one line each, with
// the frame, the file offset and what is wrong there; or as one JSON array with an object for each
// file. Remarks (chunks that share bytes, bytes
// that belong to no chunk, bytes behind a picture) are no failure. Returns the program's exit
// status: failed when a file cannot be opened or a frame cannot be shown.
[[nodiscard]] int run_verify(const verify_options &options);

} // namespace reel
