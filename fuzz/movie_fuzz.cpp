// Any bytes as a movie: opening, finding, reading and decoding every frame. Both ways of reading
// and all levels of codec kernels must give the same result, the same pixels included.
//
//   cmake --preset fuzz && cmake --build --preset fuzz
//   build/fuzz/bin/movie_fuzz -max_total_time=60 -close_fd_mask=2 NEW fuzz/corpus/movie
#include "fuzz/kernels_agree.h"
#include "movie/vf.h"

#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr int most_frames = 64;
constexpr std::int64_t most_pixels = 1 << 16;
constexpr std::size_t most_bytes = 1 << 16; // more than an input has

// A file in memory that holds the input, under a name that VFopen can open.
struct input_file {
    int descriptor = memfd_create("movie", MFD_CLOEXEC);
    std::string name = "/proc/self/fd/" + std::to_string(descriptor);

    input_file(const std::uint8_t *data, std::size_t size) {
        if (descriptor < 0 || write(descriptor, data, size) != static_cast<ssize_t>(size))
            std::abort();
    }
    ~input_file() { close(descriptor); }
    input_file(const input_file &) = delete;
    input_file &operator=(const input_file &) = delete;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const input_file file(data, size);
    movie::vf_owner film = movie::VFopen(file.name.c_str(), "r");
    if (film == nullptr)
        return 0;
    std::vector<std::uint8_t> buffer;
    std::vector<std::uint8_t> fetched(std::min(movie::vf_max_data_bytes(*film), most_bytes));
    for (int i = -1; i <= film->count && i < most_frames; i++) {
        movie::vf_frame where;
        movie::vf_frame again;
        const movie::vf_find found = movie::VFfindframe(*film, i, &where);
        film->repeats_to = -1; // forgotten: fetching walks by itself
        if (movie::VFfetchframe(*film, i, -1, fetched, &again) != found)
            std::abort();
        if (found != movie::vf_find::found)
            continue;
        if (where.size > static_cast<std::int64_t>(size))
            std::abort(); // more than there is
        buffer.resize(static_cast<std::size_t>(where.size));
        if (movie::VFreadframe(*film, where, buffer) != 0)
            continue;
        if (again.offset != where.offset ||
            !std::equal(buffer.begin(), buffer.end(), fetched.begin()))
            std::abort();
        agree::decode(buffer, most_pixels);
    }
    movie::VFclose(std::move(film));
    return 0;
}
