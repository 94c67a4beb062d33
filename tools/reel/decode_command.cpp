#include "tools/reel/commands.h"
#include "tools/reel/decode.h"
#include "tools/reel/encode.h"

#include <memory>

namespace reel {

command_runner describe_decode(CLI::App &app) {
    const auto options = std::make_shared<decode_options>();
    app.add_option("file", options->file, "The movie")->required()->type_name("FILE");
    app.add_option("-o,--output", options->output,
                   "Image files to write, with a place for the frame number (####, %04d, @@@@), or "
                   "a video (.mp4, .mov, .mkv, .webm, .avi); the extension tells the format. AVI "
                   "files lose nothing and play everywhere")
        ->required()
        ->type_name("OUT");
    app.add_option("--codec", options->codec,
                   "How a video is coded: h264, prores, ffv1, vp9 or cram; usually h264 (mp4, "
                   "mov), ffv1 (mkv), vp9 (webm), cram (avi)")
        ->check(CLI::IsMember({"h264", "prores", "ffv1", "vp9", "cram"}))
        ->type_name("NAME");
    app.add_option("--fps", options->rate, "Frames per second of a video; otherwise the movie's")
        ->check(whole_number(1, max_rate));
    add_frames_option(app, options->frames, "Only these frames, counted from 0");
    app.footer("Example:\n"
               "  reel decode shot.reel -o frames/shot.####.png --frames 0-23\n"
               "  reel decode shot.reel -o shot.mp4");
    return [options] { return run_decode(*options); };
}

} // namespace reel
