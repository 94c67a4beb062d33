#include "tools/reel/progress.h"

#include "tools/reel/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace reel {

namespace {

constexpr std::chrono::milliseconds terminal_interval{100};
constexpr std::chrono::seconds plain_interval{5};

constexpr int widest_bar = 40; // columns
constexpr int narrowest_bar = 5;
constexpr int usual_columns = 80;

int terminal_columns() {
    winsize size{};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col
                                                                             : usual_columns;
}

void show(progress &meter) {
    const double seconds = progress_seconds(meter);
    if (meter.terminal) {
        note_open_line(false); // it is written over
        std::fprintf(stderr, "%s\r%s\033[K\n", meter.visible ? "\033[A" : "",
                     format_progress(meter, seconds, terminal_columns()).c_str());
    } else {
        report("%s", format_progress(meter, seconds, 0).c_str());
    }
    std::fflush(stderr);
    meter.visible = meter.terminal;
}

// "[####------]  40%", as wide as there is room for.
std::string format_bar(double share, int columns) {
    constexpr int others = 9; // brackets, blanks, percentage
    const int width = std::min(columns - others, widest_bar);
    char percent[16];
    std::snprintf(percent, sizeof percent, "%3d%% ", static_cast<int>(share * 100));
    if (width < narrowest_bar)
        return percent;
    const auto filled = static_cast<std::size_t>(share * width);
    return "[" + std::string(filled, '#') +
           std::string(static_cast<std::size_t>(width) - filled, '-') + "] " + percent;
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
        std::fputs("\033[A\r\033[K", stderr);
    meter.visible = false;
}

void show_progress(progress &meter) {
    if (meter.terminal)
        show(meter);
}

void leave_progress(progress &meter) {
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

std::string format_progress(const progress &meter, double seconds, int columns) {
    const double rate = seconds > 0 ? static_cast<double>(meter.done) / seconds : 0;
    const bool known = meter.total >= meter.done && meter.total > 0;
    char speed[48];
    std::snprintf(speed, sizeof speed, "%.1f frames/s", rate);
    const std::string done = std::to_string(meter.done);
    if (!known)
        return meter.verb + " " + done + " frames, " + speed;
    const double left = rate > 0 ? static_cast<double>(meter.total - meter.done) / rate : 0;
    const std::string tail = done + " of " + std::to_string(meter.total) + " frames, " + speed +
                             ", " + format_duration(left) + " to go";
    std::string head = meter.verb + " ";
    if (columns > 0) {
        const double share = static_cast<double>(meter.done) / static_cast<double>(meter.total);
        head += format_bar(share, columns - 1 - static_cast<int>(head.size() + tail.size()));
    }
    return (head + tail)
        .substr(0, columns > 0 ? static_cast<std::size_t>(columns - 1) : std::string::npos);
}

} // namespace reel
