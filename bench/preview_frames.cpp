// How long a frame under reel preview is on its way from a complete file to the screen.
//
//   reel preview ... -- preview_frames READY OUT COUNT RESULT
//
// Is the renderer: moves the files f0001.png to f<COUNT>.png, which bench/preview has made and
// marked, from one folder to the other, the next one when the last is on the screen. Writes the
// median and the longest time in milliseconds to the file RESULT. The first frame, which opens the
// window, is not timed.
#include "tests/platform/display/x11_observer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using bench_clock = std::chrono::steady_clock;

constexpr auto patience = std::chrono::seconds(15);
constexpr auto between_frames = std::chrono::milliseconds(100);
constexpr int picture_height = 1080; // of bench/preview, as all that follows
constexpr int screen_height = 1600;
constexpr int window_left = 110; // where the picture begins in a window that nobody has moved
constexpr int look_width = 8;

// The colour of all of a frame's first columns: never a grey, and the same read from either end.
std::uint32_t mark_of(int number) {
    const auto strength = static_cast<std::uint32_t>(number * 37 % 100);
    return strength << 16 | (255U - strength) << 8 | strength;
}

bool is_mark(std::uint32_t word, int number) {
    return (word & 0xFFFFFFU) == mark_of(number);
}

double milliseconds_since(bench_clock::time_point begun) {
    return std::chrono::duration<double, std::milli>(bench_clock::now() - begun).count();
}

bool show(const std::filesystem::path &ready, const std::filesystem::path &out, int number) {
    char name[32];
    std::snprintf(name, sizeof name, "f%04d.png", number);
    std::error_code error;
    std::filesystem::rename(ready / name, out / name, error);
    if (error)
        std::fprintf(stderr, "preview_frames: %s: %s\n", name, error.message().c_str());
    return !error;
}

// The highest row of the picture on the screen; -1: it does not come.
int find_picture(x11_observer &screen, int number) {
    for (const auto begun = bench_clock::now(); bench_clock::now() - begun < patience;) {
        const auto column = screen.look({window_left, 0, 1, screen_height});
        for (std::size_t y = 0; y < column.size(); ++y)
            if (is_mark(column[y], number))
                return static_cast<int>(y);
    }
    return -1;
}

// The highest, middle and lowest row: all three, and the whole frame is there.
bool is_shown(x11_observer &screen, int top, int number) {
    return std::ranges::all_of(std::array{0, 1, 2}, [&](int part) {
        const int y = top + part * (picture_height - 1) / 2;
        return std::ranges::all_of(screen.look({window_left, y, look_width, 1}),
                                   [&](std::uint32_t word) { return is_mark(word, number); });
    });
}

// Empty when a frame did not come.
std::vector<double> time_frames(const std::string &ready, const std::string &out, int count) {
    x11_observer screen(std::getenv("DISPLAY"));
    std::vector<double> times;
    const int top = show(ready, out, 1) ? find_picture(screen, 1) : -1;
    if (top < 0)
        return {};
    for (int number = 2; number <= count; ++number) {
        std::this_thread::sleep_for(between_frames);
        const auto begun = bench_clock::now();
        if (!show(ready, out, number))
            return {};
        while (!is_shown(screen, top, number))
            if (bench_clock::now() - begun > patience)
                return {};
        times.push_back(milliseconds_since(begun));
    }
    return times;
}

} // namespace

int main(int argc, char **argv) {
    constexpr int words = 5;
    if (argc != words) {
        std::fprintf(stderr, "preview_frames READY OUT COUNT RESULT\n");
        return 2;
    }
    std::vector<double> times = time_frames(argv[1], argv[2], std::atoi(argv[3]));
    if (times.empty()) {
        std::fprintf(stderr, "preview_frames: a frame was not shown\n");
        return 1;
    }
    std::ranges::sort(times);
    std::ofstream(argv[4]) << times[times.size() / 2] << ' ' << times.back() << '\n';
    return 0;
}
