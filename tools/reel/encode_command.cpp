#include "tools/reel/commands.h"
#include "tools/reel/encode.h"

#include <memory>

namespace reel {

command_runner describe_encode(CLI::App &app) {
    const auto options = std::make_shared<encode_options>();
    app.add_option("input", options->inputs,
                   "Image files, a folder, one frame of a numbered sequence, or a pattern "
                   "(shot.####.exr, shot.%04d.png, shot.@@@@.tif)")
        ->required()
        ->type_name("INPUT");
    app.add_option("-o,--output", options->output, "The movie to make")
        ->required()
        ->type_name("OUT.reel");
    app.add_option("--fps", options->rate, "Frames per second")
        ->check(whole_number(1, max_rate))
        ->capture_default_str();
    app.add_option("--threshold", options->threshold,
                   "Luminance spread, 0 to 255, above which a block is stored in detail; "
                   "-1: every block")
        ->check(whole_number(min_threshold, max_threshold))
        ->capture_default_str();
    add_frames_option(app, options->frames,
                      "Only these frames: the numbers in the names of a sequence, else positions "
                      "from 0");
    app.footer("Example:\n  reel encode --fps 25 -o shot.reel frames/shot.####.exr");
    return [options] { return run_encode(*options); };
}

} // namespace reel
