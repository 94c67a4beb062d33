#include "tools/reel/commands.h"
#include "tools/reel/encode.h"
#include "tools/reel/join.h"

#include <memory>

namespace reel {

command_runner describe_join(CLI::App &app) {
    const auto options = std::make_shared<join_options>();
    app.add_option("file", options->files, "The movies, in playing order; all of one size")
        ->required()
        ->type_name("FILE");
    app.add_option("-o,--output", options->output, "The movie to make; may be one of them")
        ->required()
        ->type_name("OUT.reel");
    app.add_option("--fps", options->rate, "Frames per second; else those of the first movie")
        ->check(whole_number(1, max_rate));
    app.add_flag("--keep-going", options->keep_going,
                 "Make damaged frames missing ones instead of giving up");
    app.footer("Nothing is compressed again.\n"
               "Example:\n  reel join part.*.reel -o shot.reel");
    return [options] { return run_join(*options); };
}

} // namespace reel
