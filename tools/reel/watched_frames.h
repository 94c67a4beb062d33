// Which files are the frames that somebody is going to write.
//
//   watched_frames frames;
//   std::string fault;
//   if (understand_frames("out/shot####.png", frames, &fault) != 0) ...
//   std::printf("%s\n", frames.description.c_str());
//
// A folder is understood by the first image with a number that comes into it:
//
//   if (is_frame_name(name, extensions))
//       understand_folder(name, others, frames);      // now frames.known
#pragma once

#include "tools/reel/frame_pattern.h"

#include <string>
#include <string_view>
#include <vector>

namespace reel {

// Which files are frames: a pattern, or what a folder or an example file stands for.
struct watched_frames {
    frame_pattern pattern;   // complete once `known`
    bool known = false;      // a folder is understood when its first frame comes
    bool is_folder = false;  // the user has named a folder, not the frames in it
    std::string description; // "out/shot.####.png", "images in out/"
};

// Understands what the user has given: a pattern (####, @@@@, %04d), a folder, or one frame of a
// sequence, which need not be there yet; nor need the folder. A name that is not there is a folder
// when it ends with '/' or has no extension. Of several numbers in an example's name the one counts
// in which its neighbours differ, or else the last that looks like a frame number. Returns 0, or -1
// with *fault: several placeholders, a name without a number, neither a file nor a folder.
[[nodiscard]] int understand_frames(const std::string &text, watched_frames &frames,
                                    std::string *fault);

// Whether a file in a folder may be a frame: an image (by its extension, lower case without dot in
// `extensions`) with a number in its name, and none that is hidden, temporary or a thumbnail.
[[nodiscard]] bool is_frame_name(std::string_view name, const std::vector<std::string> &extensions);

// Completes the pattern by the first frame in a folder. `others` are names in the same folder; they
// tell which of several numbers counts.
void understand_folder(const std::string &name, const std::vector<std::string> &others,
                       watched_frames &frames);

} // namespace reel
