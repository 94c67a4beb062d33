// Which image files make a movie.
//
//   frame_list list;
//   std::string fault;
//   if (find_frames({"shots/a.0001.exr"}, extensions, nullptr, list, &fault) != 0)
//       report("%s", fault.c_str());
//   for (const frame_file &frame : list.files) ...
#pragma once

#include "tools/reel/frame_pattern.h"

#include <cstdint>
#include <string>
#include <vector>

namespace reel {

struct frame_file {
    std::string path;
    std::int64_t number = 0; // from the name, or the position from 0
};

struct frame_list {
    std::vector<frame_file> files;  // in playing order
    std::string description;        // what matched: "shots/a.####.exr", "3 files"
    bool numbered = false;          // the numbers are those in the names of one sequence
    std::vector<std::string> notes; // what the user should know: files left out, odd orders
};

// Finds the images that `inputs` name. Each input is a file, a folder or a pattern; a file that
// exists is taken as a file even when its name looks like a pattern. A single file stands for the
// numbered sequence that it belongs to; a folder for the one sequence that it holds, or else for
// its unnumbered images in order of name.
//   extensions  of image files, in lower case without dot: what counts in a folder
//   chosen      frames wanted, or null for all; each of them must be there
// Returns 0, or -1 with the reason in *fault: no such file, nothing matches, several sequences in
// a folder, gaps or doubles in a sequence, frames that are wanted missing. A list of files is taken
// as given, for it may leave out frames on purpose: its gaps are noted only.
[[nodiscard]] int find_frames(const std::vector<std::string> &inputs,
                              const std::vector<std::string> &extensions,
                              const frame_selection *chosen, frame_list &list, std::string *fault);

} // namespace reel
