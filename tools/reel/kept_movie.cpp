#include "tools/reel/kept_movie.h"

#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <cerrno>
#include <cstring>

namespace reel {

namespace {

// What is there of it is removed: it may be the disk that is full.
int give_up(kept_movie &kept, const char *why) {
    report("%s: it cannot be written: %s", kept.file->target.c_str(), why);
    kept.film.stream.reset();
    kept.file.reset();
    kept.is_open = false;
    return -1;
}

} // namespace

int claim_kept_movie(const std::string &name, kept_movie &kept) {
    if (check_replaced(name) != 0)
        return -1;
    kept.file.emplace();
    if (start_output(name, *kept.file) == 0)
        return 0;
    kept.file.reset();
    return -1;
}

int start_kept_movie(const movie_settings &settings, kept_movie &kept) {
    if (settings.count > max_movie_frames)
        return give_up(kept, "there are too many frames for a movie file");
    kept.film.magic = movie::vf_magic;
    kept.film.algorithm = movie::vf_algorithm_ir1;
    kept.film.count = static_cast<std::int32_t>(settings.count);
    kept.film.width = coded_side(settings.width);
    kept.film.height = coded_side(settings.height);
    kept.film.rate = settings.rate;
    kept.film.threshold = settings.threshold;
    kept.width = settings.width;
    kept.height = settings.height;
    kept.packed.resize(movie::ir1_worst_case(settings.width, settings.height));
    if (movie::VFopenWrite(kept.film, kept.file->temporary.c_str()) != 0)
        return give_up(kept, std::strerror(errno));
    kept.film.name = kept.file->target; // the temporary name means nothing to the user
    kept.is_open = true;
    return 0;
}

int keep_frame(kept_movie &kept, std::int64_t index, std::span<const std::uint32_t> words) {
    const std::int64_t size = movie::IR1_compress(words, kept.width, kept.height, kept.packed,
                                                  static_cast<int>(kept.film.threshold));
    if (size < 0)
        return give_up(kept, "a picture has not its size");
    const std::span data(kept.packed.data(), static_cast<std::size_t>(size));
    if (movie::VFappend(kept.film, static_cast<int>(index), data) != 0)
        return give_up(kept, std::strerror(errno));
    return 0;
}

int finish_kept_movie(kept_movie &kept) {
    kept.is_open = false;
    if (std::fclose(kept.film.stream.release()) != 0)
        return give_up(kept, std::strerror(errno));
    const int result = finish_output(*kept.file, true);
    kept.file.reset();
    return result;
}

} // namespace reel
