// Runs a piece of the toolkit's guide, docs/toolkit.md, in a window.
//
//   example_guide SECTION [-r FILE] [-p FILE]    records the input to a journal, plays one
#include "examples/guide.h"

#include <algorithm>
#include <cstdio>
#include <string>

int main(int argc, char **argv) {
    const std::string_view asked = argc > 1 ? argv[1] : "";
    const auto *const found = std::find_if(guide::pieces.begin(), guide::pieces.end(),
                                           [&](const guide::piece &p) { return p.name == asked; });
    if (found == guide::pieces.end()) {
        std::string names;
        for (const guide::piece &p : guide::pieces)
            names.append(" ").append(p.name);
        std::fprintf(stderr, "example_guide SECTION, one of:%s\n", names.c_str());
        return 2;
    }
    run_program(argc - 1, argv + 1, found->width, found->height, found->fill);
    return 0;
}
