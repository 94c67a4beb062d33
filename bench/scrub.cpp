// How long after the slider is dragged its frame is on the screen.
//
//   scrub PROGRAM MOVIE
//
// Starts the player on $DISPLAY, without a window manager, drags the slider of its window from
// place to place, and prints the median and the longest time in milliseconds from the motion to the
// screen showing the whole frame, and how many frames that were. What each place shows is looked at
// before, without haste. The player is ended.
#include "tests/platform/display/x11_observer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using bench_clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr auto patience = std::chrono::seconds(10);
constexpr auto time_to_settle = milliseconds(200);
constexpr auto hand_rests = milliseconds(30); // between moves, some more each time
constexpr int places = 24;                    // of the slider
constexpr int drags = 6;                      // over all of it, there and back

// Where things are in the player's window, from its middle and its lower edge.
constexpr int slider_height = 120; // its middle
constexpr int slider_reach = 118;  // of its knob's middle, to both sides
constexpr int picture_bottom = 145;
constexpr int window_edges = 225; // above and below the picture, together
constexpr int side_edges = 20;

struct seen_window {
    int left = 0, top = 0, width = 0, height = 0;
};

// Waits for the window of the title. A window without width: it did not come.
seen_window wait_for_window(x11_observer &screen, const std::string &title) {
    xcb_connection_t *server = xcb_connect(nullptr, nullptr);
    seen_window found;
    for (const auto begun = bench_clock::now();
         found.width == 0 && bench_clock::now() - begun < patience;
         std::this_thread::sleep_for(time_to_settle)) {
        const xcb_window_t window = screen.find(title.c_str());
        if (window == 0)
            continue;
        xcb_get_geometry_reply_t *place =
            xcb_get_geometry_reply(server, xcb_get_geometry(server, window), nullptr);
        if (place != nullptr)
            found = {place->x, place->y, place->width, place->height};
        std::free(place);
    }
    xcb_disconnect(server);
    return found;
}

using looks = std::array<std::vector<std::uint32_t>, 3>;

// The picture's lowest, middle and highest row: all three, and the whole frame is there.
looks look_at_picture(x11_observer &screen, const seen_window &in) {
    const int height = in.height - window_edges;
    const int lowest = in.top + in.height - picture_bottom - 1;
    looks rows;
    for (std::size_t i = 0; i < rows.size(); ++i)
        rows[i] =
            screen.look({in.left + side_edges / 2, lowest - static_cast<int>(i) * (height - 1) / 2,
                         in.width - side_edges, 1});
    return rows;
}

void drag_to(x11_observer &screen, const seen_window &in, int place) {
    const int from_middle = slider_reach * (2 * place - (places - 1)) / (places - 1);
    screen.move_pointer({in.left + in.width / 2 + from_middle, in.top + in.height - slider_height});
}

// Drags over all places, there and back, again and again. Empty: a frame did not come.
std::vector<double> time_drags(x11_observer &screen, const seen_window &in,
                               const std::vector<looks> &wanted) {
    std::vector<double> times;
    std::size_t before = wanted.size() - 1;
    for (int step = 0; step < drags * places; ++step) {
        const int way = step % (2 * places);
        const int place = way < places ? way : 2 * places - 1 - way;
        const auto now = static_cast<std::size_t>(place);
        std::this_thread::sleep_for(hand_rests + std::chrono::microseconds(step * 131));
        const auto begun = bench_clock::now();
        drag_to(screen, in, place);
        if (wanted[now] == wanted[std::exchange(before, now)])
            continue;
        while (look_at_picture(screen, in) != wanted[now])
            if (bench_clock::now() - begun > patience)
                return {};
        const std::chrono::duration<double, std::milli> taken = bench_clock::now() - begun;
        times.push_back(taken.count());
    }
    return times;
}

std::vector<double> time_player(const std::string &movie) {
    x11_observer screen(std::getenv("DISPLAY"));
    const std::string title = "Player Tool - " + movie.substr(movie.rfind('/') + 1);
    const seen_window window = wait_for_window(screen, title);
    if (window.width == 0)
        return {};
    drag_to(screen, window, 0);
    std::this_thread::sleep_for(time_to_settle);
    screen.press_button(1, true);
    std::vector<looks> wanted;
    for (int place = 0; place < places; ++place) {
        drag_to(screen, window, place);
        std::this_thread::sleep_for(time_to_settle);
        wanted.push_back(look_at_picture(screen, window));
    }
    const std::vector<double> times = time_drags(screen, window, wanted);
    screen.press_button(1, false);
    return times;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3 || std::getenv("DISPLAY") == nullptr) {
        std::fprintf(stderr, "usage: scrub PROGRAM MOVIE, with a display\n");
        return 2;
    }
    const pid_t program = fork();
    if (program == 0) {
        execlp(argv[1], argv[1], argv[2], static_cast<char *>(nullptr));
        std::perror(argv[1]);
        _exit(127);
    }
    std::vector<double> times = time_player(argv[2]);
    kill(program, SIGTERM);
    waitpid(program, nullptr, 0);
    if (times.empty()) {
        std::fprintf(stderr, "scrub: a frame was not shown by %s\n", argv[1]);
        return 1;
    }
    std::ranges::sort(times);
    std::printf("%.1f %.1f %zu\n", times[times.size() / 2], times.back(), times.size());
    return 0;
}
