// What debug builds say of calls that make no sense and that release builds pass over in silence.
#pragma once

#include <cstdio>

namespace toolkit {

// One line on standard error, "call: what".
inline void report_misuse(const char *call, const char *what) {
#ifndef NDEBUG
    std::fprintf(stderr, "%s: %s\n", call, what);
#else
    (void)call;
    (void)what;
#endif
}

} // namespace toolkit
