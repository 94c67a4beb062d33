// Times the way from a frame's number to its data in a long movie: frame after frame, and any
// frame at any time, from memory and from the disk. Run by ./bench.sh read.
#include "movie/file_io.h"
#include "movie/vf.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int frame_count = 100'000;
constexpr int picture_side = 16; // pixels: what is timed is the way there, not the data
constexpr int hold = 100;        // frames for which the other movie shows each picture
constexpr int repetitions = 15;
constexpr int warm_iterations = 20'000;
constexpr int cold_iterations = 1'000;

// A movie file without a name, which nobody else sees and which goes with the program, however
// that ends.
struct movie_file {
    int descriptor = -1;
    std::string path; // of the descriptor

    movie_file() = default;
    movie_file(const movie_file &) = delete;
    movie_file &operator=(const movie_file &) = delete;
    ~movie_file() {
        if (descriptor >= 0)
            close(descriptor);
    }
};

int create_file(movie_file &file) {
    const char *folder = std::getenv("TMPDIR");
    std::string name = std::string(folder != nullptr ? folder : "/tmp") + "/bench-read.XXXXXX";
    file.descriptor = mkstemp(name.data());
    if (file.descriptor < 0 || unlink(name.c_str()) != 0) {
        std::fprintf(stderr, "bench: %s: %s\n", name.c_str(), std::strerror(errno));
        return -1;
    }
    file.path = "/proc/self/fd/" + std::to_string(file.descriptor);
    return 0;
}

// The data of a frame: its number, again and again.
void fill_data(int index, std::span<std::uint8_t> data) {
    for (std::size_t i = 0; i < data.size(); i += 4)
        movie::put_unsigned(&data[i], static_cast<std::uint32_t>(index));
}

// Writes the movie; every frame has its own picture, or shows one for `held` frames. Returns 0, or
// -1 after a message.
int write_movie(movie_file &file, int held) {
    movie::vf_movie film;
    film.magic = movie::vf_magic;
    film.count = frame_count;
    film.width = film.height = picture_side;
    film.rate = 24;
    if (create_file(file) != 0 || movie::VFopenWrite(film, file.path.c_str()) != 0)
        return -1;
    std::vector<std::uint8_t> data(movie::ir1_worst_case(picture_side, picture_side));
    for (int i = 0; i < frame_count; ++i) {
        fill_data(i, data);
        const std::span<const std::uint8_t> repeat;
        if (movie::VFappend(film, i, i % held == 0 ? data : repeat) != 0)
            return -1;
    }
    return fsync(file.descriptor); // pages that are not on the disk can not be dropped
}

// ---- Reading -----------------------------------------------------------------------------------

struct reader {
    movie::vf_owner film;
    std::vector<std::uint8_t> buffer;
    int have = -1; // the frame whose data is in the buffer
    int held = 1;
};

int open_reader(const movie_file &file, int held, reader &reader) {
    reader.film = movie::VFopen(file.path.c_str(), "r");
    if (reader.film == nullptr)
        return -1;
    reader.buffer.resize(movie::vf_max_data_bytes(*reader.film));
    reader.held = held;
    return 0;
}

// As a player reads.
bool read_frame(reader &reader, int index) {
    movie::vf_frame where;
    if (movie::VFfetchframe(*reader.film, index, reader.have, reader.buffer, &where) !=
        movie::vf_find::found)
        return false;
    reader.have = where.index;
    return true;
}

// What a program does that knows the place already.
bool read_plainly(reader &reader, int index) {
    reader.have = -1; // the buffer is not filled as it is for frames
    const std::int64_t place = reader.film->offsets[static_cast<std::size_t>(index)];
    return movie::read_at(fileno(reader.film->stream.get()), place + movie::vf_chunk_bytes,
                          reader.buffer);
}

// Whether reading gives what was written, for some frames in the order of the benchmarks.
bool check_reader(reader &reader, std::span<const int> frames) {
    return std::all_of(frames.begin(), frames.end(), [&reader](int index) {
        const int shown = index - index % reader.held;
        return read_frame(reader, index) && movie::get_signed(reader.buffer.data()) == shown;
    });
}

void drop_from_memory(const reader &reader) {
    (void)posix_fadvise(fileno(reader.film->stream.get()), 0, 0, POSIX_FADV_DONTNEED);
}

using read_procedure = bool (*)(reader &, int);

void add_benchmark(const char *name, reader &reader, std::span<const int> order,
                   read_procedure read, bool cold) {
    auto run = [&reader, order, read, cold,
                turn = std::size_t{0}](benchmark::State &state) mutable {
        if (cold)
            drop_from_memory(reader);
        for (auto unused : state) {
            (void)unused;
            if (!read(reader, order[turn++ % order.size()]))
                state.SkipWithError("a frame can not be read");
        }
    };
    auto *added = benchmark::RegisterBenchmark(name, run)
                      ->Unit(benchmark::kNanosecond)
                      ->Iterations(cold ? cold_iterations : warm_iterations)
                      ->Repetitions(repetitions);
    if (cold)
        added->UseRealTime(); // waiting for the disk counts
}

// ---- Printing ----------------------------------------------------------------------------------

constexpr const char *sequential_row = "frame after frame";
constexpr const char *random_row = "any frame";
constexpr const char *plain_row = "one plain read at any place";
constexpr const char *held_sequential_row = "frame after frame, each picture held";
constexpr const char *held_random_row = "any frame, each picture held";
constexpr const char *cold_sequential_row = "frame after frame, from the disk";
constexpr const char *cold_random_row = "any frame, from the disk";

// Takes in the single measurements. The library wants a class with these procedures.
class collector : public benchmark::BenchmarkReporter {
public:
    std::map<std::string, std::vector<double>> times; // ns per frame

    bool ReportContext(const Context & /*context*/) override { return true; }

    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) // only some go by the clock on the wall
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                times[run.run_name.function_name].push_back(run.run_name.time_type.empty()
                                                                ? run.GetAdjustedCPUTime()
                                                                : run.GetAdjustedRealTime());
    }
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return middle != values.end() ? *middle : 0;
}

void print_results(collector &results) {
    std::printf("\n%-40s %10s\n", "movie of 100 000 frames", "ns/frame");
    for (const char *row : {sequential_row, random_row, plain_row, held_sequential_row,
                            held_random_row, cold_sequential_row, cold_random_row})
        std::printf("%-40s %10.0f\n", row, median(results.times[row]));
    const double any = median(results.times[random_row]);
    const double most = median(results.times[sequential_row]) + median(results.times[plain_row]);
    std::printf("\nany frame costs at most frame after frame plus one read: %.0f of %.0f ns: %s\n",
                any, most, any <= most ? "holds" : "misses");
}

// All frames in order, or as many at random, the same ones each time.
std::vector<int> make_order(bool random) {
    std::vector<int> order(frame_count);
    std::iota(order.begin(), order.end(), 0);
    if (random)
        std::shuffle(order.begin(), order.end(), std::mt19937());
    return order;
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    const std::vector<int> in_order = make_order(false);
    const std::vector<int> any_order = make_order(true);
    movie_file file;
    movie_file held_file;
    reader plain;
    reader held;
    if (write_movie(file, 1) != 0 || write_movie(held_file, hold) != 0 ||
        open_reader(file, 1, plain) != 0 || open_reader(held_file, hold, held) != 0)
        return 1;
    if (!check_reader(plain, in_order) || !check_reader(plain, any_order) ||
        !check_reader(held, in_order) || !check_reader(held, any_order)) {
        std::fprintf(stderr, "bench: what is read is not what was written\n");
        return 1;
    }
    add_benchmark(sequential_row, plain, in_order, read_frame, false);
    add_benchmark(random_row, plain, any_order, read_frame, false);
    add_benchmark(plain_row, plain, any_order, read_plainly, false);
    add_benchmark(held_sequential_row, held, in_order, read_frame, false);
    add_benchmark(held_random_row, held, any_order, read_frame, false);
    add_benchmark(cold_sequential_row, plain, in_order, read_frame, true);
    add_benchmark(cold_random_row, plain, any_order, read_frame, true);
    collector results;
    benchmark::RunSpecifiedBenchmarks(&results);
    print_results(results);
    return 0;
}
