#include "tools/reel/join.h"

#include "tools/reel/splice.h"

namespace reel {

int run_join(const join_options &options) {
    std::vector<splice_part> parts;
    for (const std::string &file : options.files)
        parts.push_back({file, {}});
    return run_splice(parts, {"joining", options.output, options.rate, options.keep_going});
}

} // namespace reel
