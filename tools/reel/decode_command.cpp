#include "tools/reel/commands.h"
#include "tools/reel/decode.h"

#include <memory>

namespace reel {

command_runner describe_decode(CLI::App &app) {
    const auto options = std::make_shared<decode_options>();
    app.add_option("file", options->file, "The movie")->required()->type_name("FILE");
    app.add_option("-o,--output", options->output,
                   "Image files to write, with a place for the frame number (####, %04d, @@@@); "
                   "the extension tells the format")
        ->required()
        ->type_name("PATTERN");
    add_frames_option(app, options->frames, "Only these frames, counted from 0");
    app.footer("Example:\n  reel decode shot.reel -o frames/shot.####.png --frames 0-23");
    return [options] { return run_decode(*options); };
}

} // namespace reel
