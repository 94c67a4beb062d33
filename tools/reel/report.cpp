#include "tools/reel/report.h"

#include <cstdarg>
#include <cstdio>

namespace reel {

namespace {

// One line, whole even when several threads report at once.
__attribute__((format(printf, 2, 0))) void write_line(const char *head, const char *format,
                                                      std::va_list arguments) {
    ::flockfile(stderr);
    std::fputs(head, stderr);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    ::funlockfile(stderr);
}

} // namespace

void report(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    write_line("reel: ", format, arguments);
    va_end(arguments);
}

void report_note(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    write_line("reel: note: ", format, arguments);
    va_end(arguments);
}

} // namespace reel
