#include "tools/reel/commands.h"
#include "tools/reel/cut.h"
#include "tools/reel/encode.h"

#include <memory>

namespace reel {

namespace {

// The options as the command line fills them.
struct cut_arguments {
    cut_options options;
    std::optional<frame_selection> frames;
};

} // namespace

command_runner describe_cut(CLI::App &app) {
    const auto given = std::make_shared<cut_arguments>();
    app.add_option("file", given->options.file, "The movie")->required()->type_name("FILE");
    add_frames_option(app, given->frames, "The frames to take, counted from 0");
    app.get_option("--frames")->required();
    app.add_option("-o,--output", given->options.output, "The movie to make; may be the same one")
        ->required()
        ->type_name("OUT.reel");
    app.add_option("--fps", given->options.rate, "Frames per second; else those of the movie")
        ->check(whole_number(1, max_rate));
    app.add_flag("--keep-going", given->options.keep_going,
                 "Make damaged frames missing ones instead of giving up");
    app.footer("Nothing is compressed again.\n"
               "Example:\n  reel cut shot.reel --frames 24-71 -o middle.reel");
    return [given] {
        given->options.frames = given->frames.value();
        return run_cut(given->options);
    };
}

} // namespace reel
