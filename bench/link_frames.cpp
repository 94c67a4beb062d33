// What the link carries: frames per second that the player takes, and how long a frame is on its way
// to the screen.
//
//   link_frames PLAYER WIDTHxHEIGHT render | preview
//
// Starts the player on $DISPLAY, without a window manager, on the last processor; this program and
// the display have the others. Prints: frames per second with the next frame always ready, the same
// per second of the player's processor time, the median and the longest time in milliseconds from a frame's being sent to its being on the screen
// (20 frames a second), and how often a second the same frames are copied in memory.
#include "link/reel_link.h"
#include "tests/platform/display/x11_observer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sched.h>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using bench_clock = std::chrono::steady_clock;

constexpr int frames_in_stock = 4;
constexpr auto patience = std::chrono::seconds(10);
constexpr int patience_ms = 10'000;
constexpr int timed_frames = 60; // whose way to the screen is timed
constexpr auto between_frames = std::chrono::milliseconds(50);
constexpr std::int64_t bytes_to_send = std::int64_t{2} << 30; // in the first part
constexpr int look_width = 8;                                 // pixels
constexpr int screen_height = 2560;                           // of bench/link

using frame = std::vector<std::uint32_t>;

struct plan {
    int width = 0;
    int height = 0;
    int kind = REEL_LINK_RENDER;
    [[nodiscard]] std::size_t words() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
    [[nodiscard]] int fast_frames() const {
        return static_cast<int>(bytes_to_send / static_cast<std::int64_t>(words() * 4));
    }
};

double seconds_since(bench_clock::time_point begun) {
    return std::chrono::duration<double>(bench_clock::now() - begun).count();
}

// The colour by which a frame is known on the screen, in all of its first columns: never a grey, and
// the same read from either end.
std::uint32_t mark_of(int number) {
    const auto strength = static_cast<std::uint32_t>(number * 37 % 100);
    return strength << 16 | (255U - strength) << 8 | strength;
}

// Gradients with some noise, which compresses as rendered pictures do.
frame make_frame(const plan &p, int number) {
    std::mt19937 dice(static_cast<unsigned>(number));
    frame made(p.words());
    for (std::size_t i = 0; i < made.size(); ++i) {
        const auto x = static_cast<std::uint32_t>(i % static_cast<std::size_t>(p.width));
        const auto y = static_cast<std::uint32_t>(i / static_cast<std::size_t>(p.width));
        const std::uint32_t noise = i % 16 == 0 ? dice() & 31U : 0;
        const std::uint32_t red = (x / 8 + noise + static_cast<std::uint32_t>(number)) & 255U;
        made[i] = 0xFF000000U | red | (y / 4 & 255U) << 8 | ((x + y) / 16 & 255U) << 16;
    }
    return made;
}

void mark(frame &f, const plan &p, int number) {
    for (std::size_t y = 0; y < static_cast<std::size_t>(p.height); ++y)
        std::fill_n(f.begin() + static_cast<std::ptrdiff_t>(y) * p.width, look_width,
                    0xFF000000U | mark_of(number));
}

bool send(reel_link *link, int number, const frame &f) {
    const reel_link_picture picture{f.data(), 0, REEL_LINK_RGBA, REEL_LINK_BOTTOM_FIRST};
    const int result = reel_link_send(link, number, &picture, patience_ms);
    if (result != REEL_LINK_OK)
        std::fprintf(stderr, "link_frames: %s\n", reel_link_text(link));
    return result == REEL_LINK_OK;
}

void use_processors(int first, int last) {
    cpu_set_t set;
    CPU_ZERO(&set);
    for (int i = first; i <= last; ++i)
        CPU_SET(static_cast<std::size_t>(i), &set);
    sched_setaffinity(0, sizeof set, &set);
}

// The player gets the last processor to itself, if there are two.
bool start(reel_link *link, const plan &p, const char *player) {
    const auto processors = static_cast<int>(std::thread::hardware_concurrency());
    reel_link_session session;
    reel_link_defaults(&session);
    session.kind = p.kind;
    session.width = p.width;
    session.height = p.height;
    session.count = p.fast_frames() + timed_frames + 2; // more than are sent: it does not end
    session.player = player;
    if (processors > 1)
        use_processors(processors - 1, processors - 1);
    const int result = reel_link_start(link, &session);
    use_processors(0, std::max(processors - 2, 0));
    if (result != REEL_LINK_OK)
        std::fprintf(stderr, "link_frames: %s\n", reel_link_text(link));
    return result == REEL_LINK_OK;
}

// Seconds of processor time that a process has used.
double processor_time(long process) {
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string word;
    double ticks = 0;
    constexpr int user_field = 14, system_field = 15; // the name before them has no blanks
    for (int field = 1; field <= system_field && stat >> word; ++field)
        if (field >= user_field)
            ticks += std::stod(word);
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

struct speed {
    double frames_per_second = 0;
    double frames_per_processor_second = 0; // of the player
};

speed send_fast(reel_link *link, const plan &p, const std::vector<frame> &stock) {
    const long process = reel_link_player_process(link);
    const double used_before = processor_time(process);
    const auto begun = bench_clock::now();
    for (int i = 0; i < p.fast_frames(); ++i)
        if (!send(link, 1 + i, stock[static_cast<std::size_t>(i % frames_in_stock)]))
            return {};
    if (reel_link_flush(link, patience_ms) != REEL_LINK_OK)
        return {};
    const double taken = seconds_since(begun);
    return {p.fast_frames() / taken,
            p.fast_frames() / (processor_time(process) - used_before + 1e-9)};
}

struct screen_place {
    int left = 0;
    int top = 0;
};

// Where the picture's upper left corner is on the screen. Its left edge is known: that of a window
// which nobody has moved.
bool find_picture(x11_observer &screen, int number, screen_place *at) {
    constexpr int left = 110;
    const auto is_mark = [number](std::uint32_t w) { return (w & 0xFFFFFFU) == mark_of(number); };
    for (const auto begun = bench_clock::now(); bench_clock::now() - begun < patience;) {
        const auto column = screen.look({left, 0, 1, screen_height});
        const auto first = std::ranges::find_if(column, is_mark);
        if (first != column.end()) {
            *at = {left, static_cast<int>(first - column.begin())};
            return true;
        }
    }
    return false;
}

// The highest, middle and lowest row: all three, and the whole frame is there.
bool is_shown(x11_observer &screen, const plan &p, screen_place at, int number) {
    constexpr std::array parts{0, 1, 2};
    return std::ranges::all_of(parts, [&](int part) {
        const auto row = screen.look({at.left, at.top + part * (p.height - 1) / 2, look_width, 1});
        return std::ranges::all_of(
            row, [&](std::uint32_t w) { return (w & 0xFFFFFFU) == mark_of(number); });
    });
}

// Milliseconds for each frame; empty when one did not come.
std::vector<double> time_frames(reel_link *link, const plan &p, frame f) {
    x11_observer screen(std::getenv("DISPLAY"));
    screen_place at;
    const int first = p.fast_frames() + 1;
    mark(f, p, first);
    if (!send(link, first, f) || !find_picture(screen, first, &at))
        return {};
    std::vector<double> times;
    for (int number = first + 1; number < first + timed_frames; ++number) {
        mark(f, p, number);
        std::this_thread::sleep_for(between_frames);
        if (!send(link, number, f))
            return {};
        const auto begun = bench_clock::now();
        while (!is_shown(screen, p, at, number))
            if (bench_clock::now() - begun > patience)
                return {};
        times.push_back(seconds_since(begun) * 1000);
    }
    return times;
}

double copies_per_second(const std::vector<frame> &stock) {
    frame to(stock.front().size());
    int copies = 0;
    const auto begun = bench_clock::now();
    for (; seconds_since(begun) < 1; ++copies) {
        const frame &from = stock[static_cast<std::size_t>(copies % frames_in_stock)];
        std::memcpy(to.data(), from.data(), from.size() * sizeof(std::uint32_t));
        asm volatile("" : : "r"(to.data()) : "memory"); // the copy is wanted
    }
    return copies / seconds_since(begun);
}

int measure(const plan &p, const char *player) {
    std::vector<frame> stock;
    for (int i = 0; i < frames_in_stock; ++i)
        stock.push_back(make_frame(p, i));
    reel_link *link = reel_link_new();
    if (link == nullptr || !start(link, p, player)) {
        reel_link_free(link);
        return 1;
    }
    const speed fast = send_fast(link, p, stock);
    std::vector<double> times = time_frames(link, p, stock.front());
    int shown_width = 0, shown_height = 0;
    reel_link_shown_size(link, &shown_width, &shown_height);
    static_cast<void>(reel_link_end(link, REEL_LINK_CLOSE, patience_ms));
    reel_link_free(link);
    if (times.empty() || shown_width != p.width || shown_height != p.height) {
        std::fprintf(stderr, "link_frames: a frame was not shown, or not in its size\n");
        return 1;
    }
    std::ranges::sort(times);
    std::printf("%.0f %.0f %.1f %.1f %.0f\n", fast.frames_per_second,
                fast.frames_per_processor_second, times[times.size() / 2], times.back(),
                copies_per_second(stock));
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    plan p;
    const std::string_view kind = argc == 4 ? argv[3] : "";
    if (argc != 4 || std::getenv("DISPLAY") == nullptr || (kind != "render" && kind != "preview") ||
        std::sscanf(argv[2], "%dx%d", &p.width, &p.height) != 2 || p.width < look_width ||
        p.height < 3) {
        std::fprintf(stderr,
                     "usage: link_frames PLAYER WIDTHxHEIGHT render|preview, with a display\n");
        return 2;
    }
    p.kind = kind == "render" ? REEL_LINK_RENDER : REEL_LINK_PREVIEW;
    return measure(p, argv[1]);
}
