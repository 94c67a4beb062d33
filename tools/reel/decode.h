// reel decode: writes a movie's frames as image files or as a video.
#pragma once

#include "tools/reel/frame_pattern.h"

#include <optional>
#include <string>

namespace reel {

struct decode_options {
    std::string file;
    std::string output;                    // a pattern, for a single frame any image name; a video
    std::optional<frame_selection> frames; // from 0; all when not given
    std::string codec;       // of a video, see video_io.h; empty: what its name stands for
    std::optional<int> rate; // of a video, frames per second; the movie's when not given
};

// Writes the frames in the format that the output's extension tells. Files that exist are
// replaced, each by a complete one. Returns the program's exit status: failed when a frame could
// not be shown or a file not written.
//
// Images have their frames' numbers. A frame that cannot be shown is reported and left out, and
// the rest, if there is any, is written; a file that cannot be written ends the run.
//
// A video is made when the extension is that of one (mp4, mov, mkv, webm, avi) or a codec is
// given. It has a picture for each frame: where one cannot be shown, which is reported, the
// picture before stays, or it is black before the first. With the codec cram, which is that of
// avi, the pictures are the movie's own blocks and lose nothing.
[[nodiscard]] int run_decode(const decode_options &options);

} // namespace reel
