#include "tools/reel/commands.h"
#include "tools/reel/info.h"

#include <memory>

namespace reel {

command_runner describe_info(CLI::App &app) {
    const auto options = std::make_shared<info_options>();
    app.add_option("file", options->files, "Movies")->required()->type_name("FILE");
    app.add_flag("--list", options->list,
                 "Tell of each frame its state, bytes, detailed blocks and place in the file");
    add_frames_option(app, options->frames, "List these frames only, counted from 0");
    app.add_flag("--json", options->json, "Write a JSON array, an object for each movie");
    app.footer("Example:\n  reel info shot.reel");
    return [options] { return run_info(*options); };
}

} // namespace reel
