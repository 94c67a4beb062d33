#include "player/play_file.h"

#include "player/engine.h"
#include "player/frame_reader.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace player {

namespace {

void close_movie(movie_ref &ref) {
    movie::VFclose(std::move(ref.film));
    ref = {};
}

std::int32_t whole_blocks(std::int32_t pixels) {
    return pixels - pixels % movie::ir1_block_size;
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

// The zoom at which a picture covers about `area` pixels: 1 or more.
std::int32_t zoom_for_area(std::int64_t area, const play_args &args) {
    const std::int64_t ratio = area / (std::int64_t{args.width} * args.height);
    const auto zoom = static_cast<std::int32_t>(std::sqrt(static_cast<double>(ratio)));
    return zoom < 2 ? 1 : zoom;
}

// As before the first movie.
void show_nothing(play_args &args) {
    args.name.fill(0);
    args.count = 0;
    args.width = args.orig_width = empty_width;
    args.height = args.orig_height = empty_height;
    args.zoom = 1;
    view.fit(args);
}

int report_problem(const std::string &name) {
    std::fprintf(stderr, "%s: Problem with '%s'\n", gMe, name.c_str());
    return -1;
}

} // namespace

int load_play_file(play_args &args, movie_ref &ref) {
    const std::string name = std::exchange(state.play_file_name, {});
    if (name.empty())
        return -1;
    if (state.playing)
        stop_playing(args);
    const std::int64_t shown_area =
        std::int64_t{args.width} * args.zoom * (std::int64_t{args.height} * args.zoom);
    close_movie(ref);
    movie::vf_owner film = movie::VFopen(name.c_str(), "r");
    if (!film)
        return report_problem(name);
    if (whole_blocks(film->width) < 1 || whole_blocks(film->height) < 1) {
        report_problem(name);
        std::fprintf(stderr, "%s: A picture of %d x %d pixels has nothing to show.\n", gMe,
                     film->width, film->height);
        return -1;
    }
    take_header(args, *film);
    if (allocate_frame_buffers(args) != 0) {
        show_nothing(args);
        return report_problem(name);
    }
    ref.film = std::move(film);
    args.zoom = zoom_for_area(shown_area, args);
    state.swing_returning = false;
    state.previous_mode = INT32_MIN;
    read_frame_from_file(args, ref);
    view.fit(args);
    return 0;
}

} // namespace player
