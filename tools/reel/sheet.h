// reel sheet: a contact sheet, the pictures of a movie side by side with their numbers.
#pragma once

#include "tools/reel/frame_pattern.h"

#include <optional>
#include <string>
#include <vector>

namespace reel {

struct sheet_options {
    std::vector<std::string> inputs; // what open_source takes
    std::string output;              // an image
    std::optional<frame_selection> frames;
    int count = 0; // as in sheet_layout.h, these three
    int columns = 0;
    int width = 0;
};

// Returns the program's exit status: failed when there is no sheet, or when frames could not be
// shown; those are reported and their cells crossed out.
[[nodiscard]] int run_sheet(const sheet_options &options);

} // namespace reel
