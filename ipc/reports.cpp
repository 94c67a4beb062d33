#include "ipc/reports.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace ipc {

void report(const char *format, ...) {
    const int error = errno;
    va_list values;
    va_start(values, format);
    std::vfprintf(stderr, format, values);
    va_end(values);
    std::fflush(stderr);
    errno = error;
}

void report_error(const char *text) {
    const int error = errno;
    std::perror(text);
    errno = error;
}

} // namespace ipc
