// New movies from the frames of others, as they are stored: nothing is compressed again, so nothing
// is lost.
//
//   splice_options options;
//   options.output = "both.reel";
//   return run_splice({{"a.reel", {}}, {"b.reel", {{{10, 20}, 2}}}}, options);
//
// A frame that shows the picture of one before it, which is not taken along or now stands further
// away, gets that picture's data. The same data twice in a row becomes a repeat. Bytes of a chunk
// that no reader uses are left out.
#pragma once

#include "tools/reel/frame_pattern.h"

#include <optional>
#include <string>
#include <vector>

namespace reel {

struct splice_part {
    std::string file;
    std::optional<frame_selection> frames; // counted from 0; all when not given
};

struct splice_options {
    const char *verb = "copying"; // for the progress line
    std::string output;           // may be one of the parts
    std::optional<int> rate;      // frames per second; the first part's when not given
    bool keep_going = false;      // damaged frames become missing ones
};

// Puts the parts' frames one after the other. Frames that are missing in a part stay missing, and
// a note says so. Returns the program's exit status; failed, after a report and without a trace:
// a part cannot be opened, has other sizes than the first or not the frames wanted, a frame is
// damaged (unless to be kept going), or the result would be larger than a movie file can be.
[[nodiscard]] int run_splice(const std::vector<splice_part> &parts, const splice_options &options);

} // namespace reel
