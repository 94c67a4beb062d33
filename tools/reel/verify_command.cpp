#include "tools/reel/commands.h"
#include "tools/reel/verify.h"

#include <memory>

namespace reel {

command_runner describe_verify(CLI::App &app) {
    const auto options = std::make_shared<verify_options>();
    app.add_option("file", options->files, "Movies")->required()->type_name("FILE");
    app.add_flag("--json", options->json, "Write a JSON array, an object for each movie");
    app.footer("Example:\n  reel verify *.reel");
    return [options] { return run_verify(*options); };
}

} // namespace reel
