#include "tools/reel/cut.h"

#include "tools/reel/splice.h"

namespace reel {

int run_cut(const cut_options &options) {
    return run_splice({{options.file, options.frames}},
                      {"cutting", options.output, options.rate, options.keep_going});
}

} // namespace reel
