#include "tools/reel/commands.h"
#include "tools/reel/sheet.h"
#include "tools/reel/sheet_layout.h"

#include <memory>

namespace reel {

command_runner describe_sheet(CLI::App &app) {
    const auto options = std::make_shared<sheet_options>();
    app.add_option("input", options->inputs, "A movie, a video, or images as for encode")
        ->required()
        ->type_name("INPUT");
    app.add_option("-o,--output", options->output, "The contact sheet to make; any image format")
        ->required()
        ->type_name("IMAGE");
    app.add_option("--count", options->count,
                   "How many frames to show, spread evenly with the first and the last; default: "
                   "all of up to 30, else 24 to 30")
        ->check(whole_number(1, max_sheet_count))
        ->type_name("N");
    app.add_option("--columns", options->columns, "How many side by side")
        ->check(whole_number(1, max_sheet_columns))
        ->type_name("N");
    app.add_option("--width", options->width, "The sheet's width in pixels; otherwise about 1600")
        ->check(whole_number(min_sheet_width, max_sheet_width))
        ->type_name("PIXELS");
    add_frames_option(app, options->frames,
                      "Only these frames: the numbers in the names of a sequence, else positions "
                      "from 0");
    app.footer("Example:\n  reel sheet shot.reel -o sheet.png --columns 6");
    return [options] { return run_sheet(*options); };
}

} // namespace reel
