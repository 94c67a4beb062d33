// Any bytes as a movie: opening, finding, reading and decoding every frame. All levels of codec
// kernels must give the same result, the same pixels included.
//
//   cmake --preset fuzz && cmake --build --preset fuzz
//   build/fuzz/bin/movie_fuzz -max_total_time=60 -close_fd_mask=2 NEW fuzz/corpus/movie
#include "movie/ir1_kernels.h"
#include "movie/vf.h"

#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr int most_frames = 64;
constexpr std::int64_t most_pixels = 1 << 20;

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

void decode_by_all(const movie::ir1_colours &colours, std::span<const std::uint8_t> packed) {
    movie::ir1_size size;
    if (movie::ir1_read_size(packed, &size) != 0 ||
        std::int64_t{size.width} * size.height > most_pixels)
        return;
    const auto pixels =
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
    const auto blocks = packed.subspan(movie::ir1_header_bytes);
    std::vector<std::uint32_t> expected(pixels, 1);
    const auto used = movie::ir1_scalar_kernels().decode_blocks(colours, blocks, expected,
                                                                size.width, size.height);
    for (const char *level : {"sse4", "avx2", "avx512"}) {
        std::vector<std::uint32_t> image(pixels, 1);
        if (movie::ir1_best_kernels(level).decode_blocks(colours, blocks, image, size.width,
                                                         size.height) != used ||
            image != expected)
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const input_file file(data, size);
    movie::vf_owner film = movie::VFopen(file.name.c_str(), "r");
    if (film == nullptr)
        return 0;
    const movie::ir1_table table = movie::vf_current_table();
    std::vector<std::uint8_t> buffer;
    for (int i = -1; i <= film->count && i < most_frames; i++) {
        movie::vf_frame where;
        if (movie::VFfindframe(*film, i, &where) != movie::vf_find::found)
            continue;
        if (where.size > static_cast<std::int64_t>(size))
            std::abort(); // more than there is
        buffer.resize(static_cast<std::size_t>(where.size));
        if (movie::VFreadframe(*film, where, buffer) == 0)
            decode_by_all(*table, buffer);
    }
    movie::VFclose(std::move(film));
    return 0;
}
