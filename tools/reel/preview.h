// The preview of a rendering: a renderer that is started or watched, the frames that it writes, and
// the player's window for its user.
//
//   preview_options options;
//   options.input = "out/shot####.png";
//   options.command = {"povray", "scene.ini"};
//   return run_preview(options);
#pragma once

#include "tools/reel/frame_source.h"
#include "tools/reel/renderer_process.h"

#include <optional>
#include <string>
#include <vector>

namespace reel {

// Exit statuses beside those of all commands and the renderer's own.
inline constexpr int exit_cancelled = 3; // by the user
inline constexpr int exit_missing = 4;   // the renderer ended well, but not all frames are there

struct preview_options {
    std::string input;                     // pattern, folder or example; empty with pixels
    std::vector<std::string> command;      // of the renderer; empty: one that runs already
    source_options pixels;                 // of standard input, if its format is not none
    std::optional<frame_selection> frames; // else what the renderer's command line says
    std::optional<int> rate;               // frames per second
    int threshold = 0;
    bool is_render = false; // the window of a final render
    bool without_window = false;
    bool keep_old = false; // frames from before the start count
    std::string output;    // the movie to keep; empty: none
    std::string player;    // empty: looked for
    ending_grace grace;
};

// Returns the program's exit status.
[[nodiscard]] int run_preview(const preview_options &options);

} // namespace reel
