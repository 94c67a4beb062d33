#include "tools/reel/kept_movie.h"

#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <cerrno>
#include <cstring>

namespace reel {

namespace {

int give_up(kept_movie &kept, const char *why) {
    report("%s: it cannot be written: %s", kept.file.target.c_str(), why);
    kept.film.stream.reset();
    kept.is_open = false;
    return -1;
}

} // namespace

int start_kept_movie(const std::string &name, const movie_settings &settings, kept_movie &kept) {
    if (start_output(name, kept.file) != 0)
        return -1;
    kept.film.magic = movie::vf_magic;
    kept.film.algorithm = movie::vf_algorithm_ir1;
    kept.film.count = static_cast<std::int32_t>(settings.count);
    kept.film.width = settings.width;
    kept.film.height = settings.height;
    kept.film.rate = settings.rate;
    kept.film.threshold = settings.threshold;
    kept.packed.resize(movie::ir1_worst_case(settings.width, settings.height));
    // The header has whole blocks; pictures keep the rows and columns over them until compressed.
    movie::vf_movie &film = kept.film;
    film.width = coded_side(settings.width);
    film.height = coded_side(settings.height);
    if (movie::VFopenWrite(film, kept.file.temporary.c_str()) != 0)
        return give_up(kept, std::strerror(errno));
    film.width = settings.width;
    film.height = settings.height;
    kept.is_open = true;
    return 0;
}

int keep_frame(kept_movie &kept, std::int64_t index, std::span<const std::uint32_t> words) {
    const std::int64_t size =
        movie::IR1_compress(words, kept.film.width, kept.film.height, kept.packed,
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
    return finish_output(kept.file, true);
}

} // namespace reel
