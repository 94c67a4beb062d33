#include "player/play_args.h"

#include <algorithm>
#include <cstdio>

namespace player {

const char *gMe = "playertool";
play_args playback;
play_args saved_playback;
movie_ref open_movie;
player_state state;

// calloc takes the zeros of a large block from the system, which makes them when they are first used.
frame_buffer make_frame_buffer(std::size_t size) {
    auto *words = static_cast<std::uint32_t *>(std::calloc(size, sizeof(std::uint32_t)));
    return {decltype(frame_buffer::words)(words), words != nullptr ? size : 0};
}

int allocate_frame_buffers(play_args &args) {
    free_frame_buffers(args);
    if (args.width < 1 || args.height < 1)
        return -1;
    const std::size_t words =
        static_cast<std::size_t>(args.width) * static_cast<std::size_t>(args.height);
    args.pixels = make_frame_buffer(words);
    args.packed = make_frame_buffer(words);
    if (!args.pixels || !args.packed) {
        std::fprintf(stderr, "%s: No memory for frames of %d x %d pixels.\n", gMe, args.width,
                     args.height);
        free_frame_buffers(args);
        return -1;
    }
    return 0;
}

void free_frame_buffers(play_args &args) {
    args.pixels = {};
    args.packed = {};
}

void set_movie_name(play_args &args, const std::string &path) {
    const std::size_t slash = path.rfind('/');
    const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    args.name.fill(0);
    std::copy_n(base.begin(), std::min(base.size(), max_movie_name), args.name.begin());
}

bool is_playable(const play_args &args, const movie_ref &ref) {
    return ref.film != nullptr && args.pixels && args.packed && args.count > 0;
}

} // namespace player
