// A renderer that shows its work in the player: a camera orbits some spheres. It stops while its
// user pauses, ends when its user cancels, and renders on when there is nobody to watch any more.
//
//   orbit [--render | --preview] [--size WxH] [--frames N] [--rate F] [--slow MS] [--player PATH]
//
// Exit status: 0 all frames were rendered; 1 no session could be started; 2 wrong words; 3 the user
// cancelled; 130 interrupted.
#include "examples/orbit/arguments.h"
#include "examples/orbit/scene.h"
#include "link/reel_link.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

namespace orbit {
namespace {

constexpr int exit_no_session = 1;
constexpr int exit_usage = 2;
constexpr int exit_cancelled = 3;
constexpr int exit_interrupted = 130;

constexpr int look_time = 100;    // milliseconds between looks at whether we were interrupted
constexpr int last_limit = 10000; // milliseconds for the player to take the last frame

volatile std::sig_atomic_t interrupted = 0;

struct link_freer {
    void operator()(reel_link *link) const { reel_link_free(link); }
};

struct rendering {
    arguments wanted;
    std::unique_ptr<reel_link, link_freer> link;
    std::vector<std::uint8_t> pixels;
    bool is_watched = true;
    int status = 0; // that the program will exit with, once it is not 0
};

// Says what the user has decided, or what happened. A pause is waited through.
void heed(rendering &work, int result) {
    while (result == REEL_LINK_PAUSED && interrupted == 0) {
        std::printf("Paused.\n");
        while ((result = reel_link_wait(work.link.get(), look_time)) == REEL_LINK_OK &&
               interrupted == 0) {
        }
    }
    if (interrupted != 0)
        work.status = exit_interrupted;
    else if (result == REEL_LINK_RESUMED)
        std::printf("Resumed.\n");
    else if (result == REEL_LINK_CANCELLED)
        work.status = exit_cancelled;
    else if (result == REEL_LINK_REFUSED)
        std::printf("A frame was lost: %s.\n", reel_link_text(work.link.get()));
    else if (result < REEL_LINK_OK || result > REEL_LINK_RESUMED) {
        std::printf("Nobody watches any more: %s. Rendering on.\n",
                    reel_link_text(work.link.get()));
        work.is_watched = false;
    }
}

// Between rows: what is new, without waiting for it.
void look_up(rendering &work, int limit) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit);
    do {
        int time = interrupted != 0 ? 0
                                    : static_cast<int>((end - std::chrono::steady_clock::now()) /
                                                       std::chrono::milliseconds(1));
        time = time < 0 ? 0 : time < look_time ? time : look_time;
        if (work.is_watched)
            heed(work, reel_link_wait(work.link.get(), time));
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(time));
        if (interrupted != 0)
            work.status = exit_interrupted;
    } while (work.status == 0 && std::chrono::steady_clock::now() < end);
}

void render_frame(rendering &work, int frame) {
    const arguments &wanted = work.wanted;
    const view camera{wanted.width, wanted.height, static_cast<double>(frame - 1) / wanted.frames};
    const auto row_bytes = static_cast<std::size_t>(wanted.width) * bytes_per_pixel;
    for (int y = 0; y < wanted.height && work.status == 0; ++y) {
        render_row(camera, y, {&work.pixels[static_cast<std::size_t>(y) * row_bytes], row_bytes});
        look_up(work, 0);
    }
    if (wanted.slow > 0 && work.status == 0)
        look_up(work, wanted.slow);
}

void show_frame(rendering &work, int frame) {
    const reel_link_picture picture = {work.pixels.data(), 0, REEL_LINK_RGB, REEL_LINK_TOP_FIRST};
    while (work.status == 0 && work.is_watched) {
        const int result = reel_link_send(work.link.get(), frame, &picture, look_time);
        if (result == REEL_LINK_OK)
            return;
        heed(work, result); // and again: it was not sent
    }
}

int start(rendering &work) {
    const arguments &wanted = work.wanted;
    reel_link_session session;
    reel_link_defaults(&session);
    session.kind = wanted.is_preview ? REEL_LINK_PREVIEW : REEL_LINK_RENDER;
    session.width = wanted.width;
    session.height = wanted.height;
    session.count = wanted.frames;
    session.rate = wanted.rate;
    session.player = wanted.player;
    work.link.reset(reel_link_new());
    const int result = reel_link_start(work.link.get(), &session);
    if (result != REEL_LINK_OK)
        std::fprintf(stderr, "orbit: %s\n", reel_link_text(work.link.get()));
    return result;
}

int run(rendering &work) {
    if (start(work) != REEL_LINK_OK)
        return exit_no_session;
    work.pixels.resize(static_cast<std::size_t>(work.wanted.width) *
                       static_cast<std::size_t>(work.wanted.height) * bytes_per_pixel);
    int done = 0;
    for (int frame = 1; frame <= work.wanted.frames && work.status == 0; ++frame) {
        render_frame(work, frame);
        show_frame(work, frame);
        done += work.status == 0 ? 1 : 0;
    }
    const int mode = work.status == 0 ? REEL_LINK_KEEP_WINDOW : REEL_LINK_CLOSE;
    reel_link_end(work.link.get(), mode, last_limit);
    std::printf("%d of %d frames rendered%s.\n", done, work.wanted.frames,
                work.status == exit_cancelled     ? "; the user cancelled"
                : work.status == exit_interrupted ? "; interrupted"
                                                  : "");
    return work.status;
}

} // namespace
} // namespace orbit

int main(int argc, char **argv) {
    orbit::rendering work;
    if (orbit::read_arguments(argc, argv, work.wanted) != 0)
        return orbit::exit_usage;
    if (work.wanted.is_help) {
        std::fputs(orbit::usage, stdout);
        return 0;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // said when it happens, in pipes and files too
    std::signal(SIGINT, [](int) { orbit::interrupted = 1; });
    return orbit::run(work);
}
