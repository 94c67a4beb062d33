#include "tools/reel/report.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <poll.h>
#include <unistd.h>

namespace reel {

namespace {

std::atomic<bool> is_line_open = false;
std::atomic<int> most_wait_ms = -1; // as long as it takes

bool is_reader_there() {
    struct pollfd stream {
        STDERR_FILENO, POLLOUT, 0
    };
    return most_wait_ms < 0 || ::poll(&stream, 1, most_wait_ms) != 0;
}

// One line, whole even when several threads report at once.
__attribute__((format(printf, 2, 0))) void write_line(const char *head, const char *format,
                                                      std::va_list arguments) {
    if (!is_reader_there())
        return;
    ::flockfile(stderr);
    if (is_line_open.exchange(false))
        std::fputc('\n', stderr);
    std::fputs(head, stderr);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    ::funlockfile(stderr);
}

} // namespace

void limit_report_wait(int milliseconds) {
    most_wait_ms = milliseconds;
}

void note_open_line(bool is_open) {
    is_line_open = is_open;
}

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
