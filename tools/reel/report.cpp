#include "tools/reel/report.h"

#include <cstdarg>
#include <cstdio>

namespace reel {

void report(const char *format, ...) {
    std::fputs("reel: ", stderr);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
}

void report_note(const char *format, ...) {
    std::fputs("reel: note: ", stderr);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
}

} // namespace reel
