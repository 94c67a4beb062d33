#include "tools/reel/progress.h"

#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace reel {

namespace {

constexpr std::chrono::milliseconds terminal_interval{100};
constexpr std::chrono::seconds plain_interval{5};

void show(progress &meter) {
    const double seconds = progress_seconds(meter);
    const double rate = seconds > 0 ? static_cast<double>(meter.done) / seconds : 0;
    const double left = rate > 0 ? static_cast<double>(meter.total - meter.done) / rate : 0;
    std::fprintf(stderr, "%s%s %lld of %lld frames, %.1f frames/s, %s to go%s",
                 meter.terminal ? "\r" : "reel: ", meter.verb.c_str(),
                 static_cast<long long>(meter.done), static_cast<long long>(meter.total), rate,
                 format_duration(left).c_str(), meter.terminal ? "\033[K" : "\n");
    std::fflush(stderr);
    meter.visible = meter.terminal;
}

} // namespace

progress start_progress(const char *verb, std::int64_t total) {
    progress meter;
    meter.verb = verb;
    meter.total = total;
    meter.terminal = ::isatty(STDERR_FILENO) == 1;
    meter.started = std::chrono::steady_clock::now();
    meter.shown = meter.started;
    return meter;
}

void step_progress(progress &meter) {
    ++meter.done;
    const auto now = std::chrono::steady_clock::now();
    if (now - meter.shown <
        (meter.terminal ? std::chrono::nanoseconds(terminal_interval) : plain_interval))
        return;
    meter.shown = now;
    show(meter);
}

void clear_progress(progress &meter) {
    if (meter.visible)
        std::fputs("\r\033[K", stderr);
    meter.visible = false;
}

double progress_seconds(const progress &meter) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - meter.started).count();
}

std::string format_duration(double seconds) {
    const auto total = static_cast<long long>(std::llround(seconds));
    char text[48];
    if (total >= 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", total / 3600, total / 60 % 60,
                      total % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld", total / 60, total % 60);
    return text;
}

} // namespace reel
