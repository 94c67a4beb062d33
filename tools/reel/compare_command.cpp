#include "tools/reel/commands.h"
#include "tools/reel/compare.h"
#include "tools/reel/difference.h"

#include <charconv>
#include <cmath>
#include <memory>

namespace reel {

namespace {

std::string check_decibels(const std::string &text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && std::isfinite(value) ? "" : "\"" + text + "\" is not a number";
}

} // namespace

command_runner describe_compare(CLI::App &app) {
    const auto options = std::make_shared<compare_options>();
    app.add_option("a", options->a,
                   "A movie, a video, or images as for encode (a pattern in quotes)")
        ->required()
        ->type_name("A");
    app.add_option("b", options->b, "What to compare it with")->required()->type_name("B");
    CLI::Option *output =
        app.add_option("-o,--output", options->output,
                       "Write a picture of the worst frame: A, B and their difference; with a "
                       "place for the frame number (####, %04d, @@@@) one of every frame")
            ->type_name("IMAGE");
    app.add_option("--frame", options->frame, "Write the picture of this frame instead")
        ->needs(output)
        ->type_name("N");
    app.add_option("--gain", options->gain,
                   "Multiply the differences in the picture by this, 1 to 255; otherwise as much "
                   "as shows them, and 8 where there is a picture of every frame")
        ->check(whole_number(1, max_gain))
        ->needs(output)
        ->type_name("N");
    app.add_flag("--alone", options->alone, "Write the difference without A and B beside it")
        ->needs(output);
    add_frames_option(app, options->frames, "Compare these frames only, by the numbers of A");
    app.add_option("--min-psnr", options->least_psnr, "Fail when a frame has fewer decibels")
        ->check({check_decibels, ""})
        ->type_name("DB");
    app.add_flag("--identical", options->must_be_identical, "Fail when any pixel differs");
    app.add_flag("--list", options->list, "Tell the figures of every frame");
    app.add_flag("--json", options->json, "Write a JSON object, with the figures of every frame");
    app.footer("Example:\n  reel compare shot.reel 'frames/shot.####.exr' -o worst.png");
    return [options] { return run_compare(*options); };
}

} // namespace reel
