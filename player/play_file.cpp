#include "player/play_file.h"

#include "platform/clock/program_clock.h"
#include "platform/gl/input.h"
#include "platform/gl/queue.h"
#include "platform/gl/windows.h"
#include "player/engine.h"
#include "player/frame_reader.h"
#include "player/movie_copy.h"
#include "player/player_window.h"
#include "player/quit_signals.h"
#include "player/window_layout.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/widgets/widgets.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace player {

namespace {

void close_movie(movie_ref &ref) {
    movie::VFclose(std::move(ref.film));
    ref = {};
}

// The header's rate, made safe.
float movie_rate(const movie::vf_movie &film) {
    if (film.rate >= 0)
        return static_cast<float>(film.rate);
    std::fprintf(stderr, "%s: '%s' has a rate of %d frames per second; every frame is shown.\n",
                 gMe, film.name.c_str(), film.rate);
    return every_frame_rate;
}

void take_header(play_args &args, const movie::vf_movie &film) {
    set_movie_name(args, film.name);
    args.first = 0;
    args.count = film.count;
    args.width = whole_blocks(film.width);
    args.height = whole_blocks(film.height);
    args.rate = movie_rate(film);
    args.current = args.first;
    args.orig_width = args.width;
    args.orig_height = args.height;
}

// The zoom at which a picture covers about `area` pixels, but no more than the screen: 1 or more.
std::int32_t zoom_for_area(std::int64_t area, const play_args &args) {
    const std::int64_t ratio = area / (std::int64_t{args.width} * args.height);
    const auto zoom = static_cast<std::int32_t>(std::sqrt(static_cast<double>(ratio)));
    extent screen;
    toolkit::gl_get_device_extent(&screen.width, &screen.height);
    return std::clamp(zoom, 1, largest_zoom(args, screen));
}

// As before the first movie.
void show_nothing(play_args &args) {
    args.name.fill(0);
    args.count = 0;
    args.first = args.current = 0;
    args.width = args.orig_width = empty_width;
    args.height = args.orig_height = empty_height;
    args.zoom = 1;
    free_frame_buffers(args);
    view.fit(args);
}

// --- what went wrong -----------------------------------------------------------------------------

// Why a file can not be opened as a movie, in words for its user.
std::string reason_against(const std::string &name) {
    struct stat status {};
    if (::stat(name.c_str(), &status) != 0)
        return errno == ENOENT ? "There is no such file." : std::strerror(errno);
    if (S_ISDIR(status.st_mode))
        return "It is a folder.";
    if (!S_ISREG(status.st_mode))
        return "It is not a plain file.";
    const int file = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return std::strerror(errno);
    std::array<unsigned char, 4> magic{};
    const ssize_t got = ::read(file, magic.data(), magic.size());
    ::close(file);
    if (status.st_size == 0)
        return "The file is empty.";
    const std::uint32_t found = std::uint32_t{magic[0]} << 24 | std::uint32_t{magic[1]} << 16 |
                                std::uint32_t{magic[2]} << 8 | std::uint32_t{magic[3]};
    if (got != static_cast<ssize_t>(magic.size()) || found != movie::vf_magic)
        return "It is not a reel file.";
    return "The file is damaged.";
}

// Says it on standard error, and in a window if there is one to say it over.
void tell(const std::string &text) {
    std::fprintf(stderr, "%s: %s\n", gMe, text.c_str());
    if (player_tool.window.get() != nullptr)
        toolkit::message(text.c_str());
}

int report_problem(const std::string &name, const std::string &reason) {
    std::fprintf(stderr, "%s: Problem with '%s'\n", gMe, name.c_str());
    tell(name + ": " + reason);
    return -1;
}

std::string chosen_name(const toolkit::demon_ref &tool) {
    toolkit::widget_value value;
    toolkit::getWidgetValue(tool.get(), &value);
    return std::string(value.text);
}

// Opens the movie and takes it over, or says why not.
int open_named(const std::string &name, play_args &args, movie_ref &ref, std::string *reason) {
    movie::vf_owner film = movie::VFopen(name.c_str(), "r");
    if (!film) {
        *reason = reason_against(name);
        return -1;
    }
    if (whole_blocks(film->width) < 1 || whole_blocks(film->height) < 1) {
        *reason = "A picture of " + std::to_string(film->width) + " x " +
                  std::to_string(film->height) + " pixels has nothing to show.";
        return -1;
    }
    take_header(args, *film);
    if (allocate_frame_buffers(args) != 0) {
        *reason = "There is no memory for its frames.";
        return -1;
    }
    ref.film = std::move(film);
    return 0;
}

// --- saving --------------------------------------------------------------------------------------

constexpr std::int64_t shown_after_us = 300'000; // a copy that takes longer says how far it is

std::int64_t copy_began = 0;

bool go_on_copying(std::int64_t copied, std::int64_t size) {
    if (program_clock::now_us() - copy_began > shown_after_us) {
        const std::string text =
            "Saving: " + std::to_string(copied * 100 / size) + " %    (Escape stops)";
        toolkit::setWidgetValue(player_tool.label.get(), text.c_str());
        gl::flush_windows();
        static_cast<void>(gl::qtest()); // the display tells which keys are held
    }
    return !gl::getbutton(gl::ESCKEY) && !quit_signal_arrived();
}

} // namespace

int load_play_file(play_args &args, movie_ref &ref) {
    std::string name = std::exchange(state.play_file_name, {});
    if (name.empty())
        name = chosen_name(player_tool.load_file_tool);
    if (name.empty())
        return -1;
    if (state.playing)
        stop_playing(args);
    const std::int64_t shown_area =
        std::int64_t{args.width} * args.zoom * (std::int64_t{args.height} * args.zoom);
    close_movie(ref);
    std::string reason;
    if (open_named(name, args, ref, &reason) != 0) {
        show_nothing(args);
        return report_problem(name, reason);
    }
    args.zoom = zoom_for_area(shown_area, args);
    state.swing_returning = false;
    state.previous_mode = INT32_MIN;
    read_frame_from_file(args, ref);
    view.fit(args);
    return 0;
}

int save_play_file(play_args &args, movie_ref &ref) {
    const std::string name = chosen_name(player_tool.save_file_tool);
    if (name.empty() || ref.film == nullptr || ref.film->stream == nullptr)
        return -1;
    if (state.playing)
        stop_playing(args);
    copy_began = program_clock::now_us();
    std::string problem;
    const copy_result result =
        copy_movie(fileno(ref.film->stream.get()), name, go_on_copying, &problem);
    if (result == copy_result::done || result == copy_result::same)
        set_movie_name(args, name);
    relabel_player_tool(args);
    if (result == copy_result::failed)
        tell(name + " can not be written: " + problem + ".");
    return result == copy_result::done || result == copy_result::same ? 0 : -1;
}

} // namespace player
