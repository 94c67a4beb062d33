// How long a program takes from its start to its first picture on the screen.
//
//   first_picture PROGRAM [ARGUMENT...]
//
// Starts the program, looks at the screen of $DISPLAY until it shows magenta at one of some hundred
// places, and prints the milliseconds from before fork to then. The movie to show is all magenta
// (255, 0, 255). Gives up after ten seconds. The program is ended.
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <xcb/xcb.h>

namespace {

using bench_clock = std::chrono::steady_clock;

constexpr auto patience = std::chrono::seconds(10);
constexpr int places_across = 16;
constexpr int places_up = 12;
constexpr int bright = 200; // of 255; a codec may shift colours a little
constexpr int dark = 60;

// One row of the screen costs little to fetch: the places are looked at row by row.
bool row_shows_magenta(xcb_connection_t *server, const xcb_screen_t &screen, int y) {
    const xcb_get_image_cookie_t asked =
        xcb_get_image(server, XCB_IMAGE_FORMAT_Z_PIXMAP, screen.root, 0,
                      static_cast<std::int16_t>(y), screen.width_in_pixels, 1, ~0U);
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> row(
        xcb_get_image_reply(server, asked, nullptr), &std::free);
    if (!row)
        return false;
    const std::uint8_t *bytes = xcb_get_image_data(row.get());
    const int length = xcb_get_image_data_length(row.get());
    for (int i = 0; i < places_across; ++i) {
        const int at = (2 * i + 1) * screen.width_in_pixels / (2 * places_across) * 4;
        if (at + 2 < length && bytes[at] > bright && bytes[at + 1] < dark && bytes[at + 2] > bright)
            return true;
    }
    return false;
}

bool screen_shows_magenta(xcb_connection_t *server, const xcb_screen_t &screen) {
    for (int i = 0; i < places_up; ++i)
        if (row_shows_magenta(server, screen,
                              (2 * i + 1) * screen.height_in_pixels / (2 * places_up)))
            return true;
    return false;
}

} // namespace

int main(int argc, char **argv) {
    xcb_connection_t *server = xcb_connect(nullptr, nullptr);
    if (argc < 2 || xcb_connection_has_error(server) != 0) {
        std::fprintf(stderr, "usage: first_picture PROGRAM [ARGUMENT...], with a display\n");
        return 2;
    }
    const xcb_screen_t screen = *xcb_setup_roots_iterator(xcb_get_setup(server)).data;
    const auto begun = bench_clock::now();
    const pid_t program = fork();
    if (program == 0) {
        execvp(argv[1], argv + 1);
        std::perror(argv[1]);
        _exit(127);
    }
    bool shown = false;
    while (!shown && bench_clock::now() - begun < patience) {
        shown = screen_shows_magenta(server, screen);
        if (!shown)
            std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    const std::chrono::duration<double, std::milli> taken = bench_clock::now() - begun;
    kill(program, SIGKILL); // some do not end when they are asked
    waitpid(program, nullptr, 0);
    xcb_disconnect(server);
    if (!shown) {
        std::fprintf(stderr, "first_picture: nothing was shown by %s\n", argv[1]);
        return 1;
    }
    std::printf("%.1f\n", taken.count());
    return 0;
}
