#include "player/preview_movie.h"

#include "movie/file_io.h"
#include "platform/clock/program_clock.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace player {

namespace {

constexpr std::int64_t retry_after_us = 2 * program_clock::us_per_second;
constexpr std::int32_t most_frames = 10'000'000; // days: their table alone is written in no time
constexpr std::int64_t spare_bytes = std::int64_t{64} << 10; // what a file system keeps for itself

std::int64_t no_try_before_us = 0; // a movie could not be begun; 0: it could
std::int64_t full_at = -1;         // bytes of the largest movie that filled the disk; -1: none did

std::int32_t header_rate(float rate) {
    constexpr float most = 1e9F;
    return std::isnan(rate) ? 0 : static_cast<std::int32_t>(std::clamp(rate, 0.0F, most));
}

void forget_movie(movie_ref &ref) {
    movie::VFclose(std::move(ref.film));
    ref = {};
}

movie::vf_owner make_movie(const play_args &args) {
    movie::vf_owner film(new (std::nothrow) movie::vf_movie);
    if (!film)
        return film;
    film->magic = movie::vf_magic;
    film->algorithm = movie::vf_algorithm_ir1;
    film->count = args.count;
    film->width = whole_blocks(args.width);
    film->height = whole_blocks(args.height);
    film->rate = header_rate(args.rate);
    film->threshold = args.compression;
    return film;
}

bool has_room(int file, std::int64_t bytes) {
    struct statvfs disk {};
    if (fstatvfs(file, &disk) != 0)
        return true; // it will be seen
    const auto room =
        static_cast<std::int64_t>(disk.f_bavail) * static_cast<std::int64_t>(disk.f_frsize);
    return room >= bytes + spare_bytes;
}

// Whether it is worth trying again to begin a movie. Nothing is said.
bool could_begin(const play_args &args) {
    if (program_clock::now_us() < no_try_before_us)
        return false;
    no_try_before_us = program_clock::now_us() + retry_after_us;
    const int file = movie::open_temporary_file();
    if (file < 0)
        return false;
    const bool could =
        has_room(file, std::int64_t{args.count} * std::int64_t{sizeof(std::int32_t)});
    ::close(file);
    return could;
}

// Begins the movie; one that can not be begun is tried again now and then only.
bool begin_movie(const play_args &args, movie_ref &ref) {
    if (ref.film && ref.is_preview)
        return true;
    if (no_try_before_us != 0 && !could_begin(args))
        return false;
    forget_movie(ref); // somebody's own movie is not written to
    movie::vf_owner film = make_movie(args);
    if (!film || film->count > most_frames || movie::VFopenWrite(*film, nullptr) != 0) {
        if (no_try_before_us == 0)
            std::fprintf(stderr, "%s: compress_to_movie_file: Error opening file.\n", gMe);
        no_try_before_us = program_clock::now_us() + retry_after_us;
        return false;
    }
    no_try_before_us = 0;
    ref.film = std::move(film);
    ref.is_preview = true;
    return true;
}

std::int64_t movie_bytes(const movie::vf_movie &film) {
    return movie::regular_size(fileno(film.stream.get()));
}

// A disk that is known to have been full is asked before it fails once more.
bool is_disk_still_full(const movie::vf_movie &film, std::size_t bytes) {
    return full_at >= 0 && !has_room(fileno(film.stream.get()), static_cast<std::int64_t>(bytes));
}

} // namespace

void compress_to_movie_file(play_args &args, movie_ref &ref) {
    if (!args.pixels || !args.packed) {
        std::fprintf(stderr, "%s: compress_to_movie_file: Bad play_args.\n", gMe);
        return;
    }
    if (!begin_movie(args, ref))
        return;
    ref.decoded = ref.drawn = -1; // the frame may replace the one that was decoded
    const std::int64_t size = movie::IR1_compress(args.pixels.span(), args.width, args.height,
                                                  args.packed.bytes(), args.compression);
    if (size < 0) {
        std::fprintf(stderr, "%s: compress_to_movie_file: Bad play_args.\n", gMe);
        return;
    }
    const auto bytes = static_cast<std::size_t>(size);
    if (is_disk_still_full(*ref.film, bytes)) {
        forget_movie(ref);
        return;
    }
    if (movie::VFappend(*ref.film, args.current - args.first, args.packed.bytes().first(bytes)) ==
        0) {
        // Giving up a movie has made room: only one that outgrows it tells of more.
        if (full_at >= 0 && movie_bytes(*ref.film) > full_at)
            full_at = -1;
        return;
    }
    const int error = errno;
    if (error == EFBIG) // all that came so far can be played
        return;
    const bool is_full = error == ENOSPC || error == EDQUOT;
    if (!is_full || full_at < 0) {
        errno = error;
        std::perror("Player: compression");
    }
    if (is_full)
        full_at = std::max(full_at, movie_bytes(*ref.film));
    forget_movie(ref);
}

std::int32_t last_received_frame(const play_args &args, const movie_ref &ref) {
    if (!ref.film)
        return args.first - 1;
    const auto &offsets = ref.film->offsets;
    const auto last = std::find_if(offsets.rbegin(), offsets.rend(),
                                   [](std::int32_t offset) { return offset > 0; });
    return args.first + static_cast<std::int32_t>(offsets.rend() - last) - 1;
}

int prepare_preview(play_args &args, movie_ref &ref, std::int32_t last) {
    args.width = whole_blocks(args.width);
    args.height = whole_blocks(args.height);
    args.count = last - args.first + 1;
    ref.decoded = ref.drawn = -1;
    return allocate_frame_buffers(args);
}

} // namespace player
