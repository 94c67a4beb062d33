// Times the movie codec against the machine's memory and against FFmpeg's nearest codec, all in
// one run and in mixed order, so that whatever else the machine does falls on all alike; prints
// medians, ratios and which goals hold. Best run by ./bench.sh codec, on one core.
#include "bench/codec_table.h"
#include "bench/workbench.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

using bench::clip;
using bench::goal_kind;
using bench::ratio;
using bench::subject;
using bench::workbench;

constexpr int quick_repetitions = 31;
constexpr int slow_repetitions = 11; // of what takes tens of milliseconds
constexpr int quick_iterations = 8;  // in a repetition: each frame of a clip once
constexpr int slow_iterations = 1;
constexpr char name_separator = '/'; // between row and clip

// What a row is called, the same for timing, table and goals.
constexpr const char *memset_row = "memset";
constexpr const char *memcpy_row = "memcpy";
constexpr const char *decode_row = "decode "; // and the level
constexpr const char *encode_row = "encode "; // and the level
constexpr const char *fill_row = "stream fill";
constexpr const char *cold_memset_row = "cold memset";
constexpr const char *cold_row = "cold decode "; // and the level
constexpr const char *ffmpeg_decode_row = "decode msvideo1";
constexpr const char *ffmpeg_encode_row = "encode msvideo1";

// ---- What is timed -----------------------------------------------------------------------------

// Calls work(turn) in each iteration, with a turn that goes on from repetition to repetition.
// Once before the clock starts: what ran before has left other things in the caches.
template <typename procedure>
void add_benchmark(const std::string &row, const clip &pictures, bool slow, procedure work) {
    auto run = [work, slow, turn = std::size_t{0}](benchmark::State &state) mutable {
        if (!slow)
            work(turn++);
        for (auto unused : state) {
            (void)unused;
            work(turn++);
            benchmark::ClobberMemory();
        }
    };
    benchmark::RegisterBenchmark((row + name_separator + pictures.name).c_str(), run)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(slow ? slow_iterations : quick_iterations)
        ->Repetitions(slow ? slow_repetitions : quick_repetitions);
}

void add_memory(const workbench &bench, const clip &pictures) {
    std::uint32_t *hot = bench.hot.get();
    const std::size_t bytes = bench::count_words(pictures) * sizeof *hot;
    add_benchmark(memset_row, pictures, false, [hot, bytes](std::size_t turn) {
        std::memset(hot, static_cast<int>(turn & 0x7FU), bytes);
    });
    add_benchmark(memcpy_row, pictures, false, [hot, bytes, &pictures](std::size_t turn) {
        std::memcpy(hot, pictures.frames[turn % pictures.frames.size()].get(), bytes);
    });
}

void add_fills(const workbench &bench, const clip &pictures) {
    add_benchmark(fill_row, pictures, false, [&bench, &pictures](std::size_t turn) {
        bench::fill_streaming(cold_place(bench, pictures, turn), static_cast<std::uint32_t>(turn));
    });
    add_benchmark(cold_memset_row, pictures, false, [&bench, &pictures](std::size_t turn) {
        const auto place = cold_place(bench, pictures, turn);
        std::memset(place.data(), static_cast<int>(turn & 0x7FU), place.size_bytes());
    });
}

void decode(const workbench &bench, const movie::ir1_kernels &level, const clip &pictures,
            std::size_t turn, std::span<std::uint32_t> place) {
    const auto blocks = frame_blocks(pictures, turn % pictures.packed.size());
    benchmark::DoNotOptimize(
        level.decode_blocks(*bench.colours, blocks, place, pictures.width, pictures.height));
}

void add_decoding(const workbench &bench, const movie::ir1_kernels &level, const clip &pictures) {
    const bool slow = &level == &movie::ir1_scalar_kernels();
    const std::span hot(bench.hot.get(), bench::count_words(pictures));
    if (!pictures.frames.empty())
        add_benchmark(decode_row + std::string(level.name), pictures, slow,
                      [&, hot](std::size_t turn) { decode(bench, level, pictures, turn, hot); });
    if (!slow)
        add_benchmark(cold_row + std::string(level.name), pictures, slow, [&](std::size_t turn) {
            decode(bench, level, pictures, turn, cold_place(bench, pictures, turn));
        });
}

void add_encoding(workbench &bench, const movie::ir1_kernels &level, const clip &pictures) {
    const bool slow = &level == &movie::ir1_scalar_kernels();
    add_benchmark(encode_row + std::string(level.name), pictures, slow, [&](std::size_t turn) {
        const auto words = frame_words(pictures, turn % pictures.frames.size());
        benchmark::DoNotOptimize(level.encode_blocks(words, pictures.width, pictures.height,
                                                     bench.packed, bench::clip_threshold));
    });
}

void add_ffmpeg(subject &subject) {
    add_benchmark(ffmpeg_decode_row, subject.pictures, false, [&subject](std::size_t turn) {
        const auto &packets = subject.packets;
        (void)bench::decode_packet(subject.decoder, *packets[turn % packets.size()]);
    });
    add_benchmark(ffmpeg_encode_row, subject.pictures, true, [&subject](std::size_t turn) {
        const auto &frames = subject.ffmpeg_frames;
        (void)bench::encode_frame(subject.encoder, *frames[turn % frames.size()]);
    });
}

void add_all(workbench &bench) {
    for (subject &subject : bench.subjects) {
        const clip &pictures = subject.pictures;
        const bool whole = !pictures.frames.empty(); // else for cold memory only
        if (whole)
            add_memory(bench, pictures);
        add_fills(bench, pictures);
        for (const movie::ir1_kernels *level : bench.levels) {
            add_decoding(bench, *level, pictures);
            if (whole)
                add_encoding(bench, *level, pictures);
        }
        if (whole)
            add_ffmpeg(subject);
    }
}

// ---- Collecting --------------------------------------------------------------------------------

// Takes in the single measurements. The library wants a class with these procedures.
class collector : public benchmark::BenchmarkReporter {
public:
    bench::time_table times;

    bool ReportContext(const Context & /*context*/) override { return true; }

    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            const std::string &name = run.run_name.function_name;
            const std::size_t at = name.find(name_separator);
            if (run.run_type == Run::RT_Iteration && at != std::string::npos)
                bench::add_time(times, name.substr(0, at), name.substr(at + 1),
                                run.GetAdjustedCPUTime());
        }
    }
};

// ---- Printing ----------------------------------------------------------------------------------

std::vector<std::string> list_rows(const workbench &bench) {
    std::vector<std::string> rows{memset_row, memcpy_row};
    const auto add_levels = [&](const char *row) {
        for (const movie::ir1_kernels *level : bench.levels)
            rows.push_back(row + std::string(level->name));
    };
    add_levels(decode_row);
    rows.emplace_back(ffmpeg_decode_row);
    rows.emplace_back(fill_row);
    rows.emplace_back(cold_memset_row);
    add_levels(cold_row);
    add_levels(encode_row);
    rows.emplace_back(ffmpeg_encode_row);
    return rows;
}

// What the codec is meant to reach with pictures of full size in memory that the caches hold.
std::vector<ratio> list_hot_goals() {
    const auto decoding = [](const char *level) { return decode_row + std::string(level); };
    const auto encoding = [](const char *level) { return encode_row + std::string(level); };
    return {
        {decoding("avx2"), memset_row, goal_kind::at_most, 3.6},
        {decoding("avx2"), memcpy_row, goal_kind::at_most, 0.75},
        {decoding("avx2"), ffmpeg_decode_row, goal_kind::at_most, 0.2},
        {decoding("sse4"), memcpy_row, goal_kind::at_most, 1.05},
        {encoding("avx2"), memcpy_row, goal_kind::at_most, 3},
        {ffmpeg_encode_row, encoding("avx2"), goal_kind::at_least, 70},
        {encoding("sse4"), memcpy_row, goal_kind::at_most, 4},
    };
}

// ... and in memory that they do not hold.
std::vector<ratio> list_cold_goals() {
    std::vector<ratio> goals;
    for (const char *level : {"sse4", "avx2", "avx512"})
        goals.push_back({cold_row + std::string(level), fill_row, goal_kind::at_most, 1.15});
    return goals;
}

// What else is good to know.
std::vector<ratio> list_ratios(const workbench &bench) {
    std::vector<ratio> ratios;
    for (const movie::ir1_kernels *level : bench.levels) {
        const std::string name = level->name;
        ratios.push_back({decode_row + name, memset_row});
        ratios.push_back({decode_row + name, memcpy_row});
        ratios.push_back({decode_row + name, ffmpeg_decode_row});
        ratios.push_back({cold_row + name, fill_row});
        ratios.push_back({cold_row + name, cold_memset_row});
        ratios.push_back({encode_row + name, memcpy_row});
        ratios.push_back({ffmpeg_encode_row, encode_row + name});
    }
    return ratios;
}

void print_detailed_shares(const workbench &bench) {
    std::printf("detailed blocks:");
    for (const subject &subject : bench.subjects)
        std::printf("  %s %.0f %%", subject.pictures.name.c_str(), subject.pictures.detailed * 100);
    std::printf("\n");
}

void print_results(const workbench &bench, const bench::time_table &times) {
    std::vector<std::string> all;
    std::vector<std::string> hot; // the clips that the goals are about
    std::vector<std::string> cold;
    for (const subject &subject : bench.subjects) {
        const clip &pictures = subject.pictures;
        all.push_back(pictures.name);
        if (pictures.width == bench::full_width)
            hot.push_back(pictures.name);
        if (pictures.width >= bench::full_width)
            cold.push_back(pictures.name);
    }
    print_detailed_shares(bench);
    bench::print_times(times, list_rows(bench), all);
    bench::print_ratios(times, "ratio", list_ratios(bench), all);
    bench::print_ratios(times, "goal", list_hot_goals(), hot);
    bench::print_ratios(times, "goal, cold memory", list_cold_goals(), cold);
}

} // namespace

int main(int argc, char **argv) {
    std::string mixed_order = "--benchmark_enable_random_interleaving=true";
    std::vector<char *> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, mixed_order.data());
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    workbench bench;
    if (bench::prepare(bench, DEMO_MOVIE) != 0 || bench::check_all(bench) != 0)
        return 1;
    std::printf("all variants give the same pixels and the same bytes; timing them now\n");
    std::fflush(stdout);
    add_all(bench);
    collector results;
    benchmark::RunSpecifiedBenchmarks(&results);
    print_results(bench, results.times);
    return 0;
}
