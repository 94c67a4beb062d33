#include "player/play_stats.h"

#include "platform/clock/program_clock.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <sys/resource.h>

namespace player {

bool stats_enabled = false;

namespace {

constexpr std::int64_t bucket_us = 20;
constexpr std::size_t bucket_count = 10'000; // 200 ms; the last one holds what is longer

// How often which duration occurred.
struct histogram {
    std::array<std::uint32_t, bucket_count> counts{};
    std::uint64_t samples = 0;
    std::int64_t worst_us = 0;
};

struct run_stats {
    bool running = false;
    std::int64_t start_us = 0;
    std::int64_t due = 0;
    std::int64_t shown = 0;
    std::int64_t dropped = 0;
    std::int64_t reached = 0;      // frames since the start, of the newest tick
    std::int32_t period_ms = 0;    // of the newest tick; 0: none yet
    bool frame_pending = false;    // due and not yet on the screen
    std::int64_t frame_due_us = 0; // when it was
    histogram late;
    std::array<histogram, play_phase_count> phases;
};

std::unique_ptr<run_stats> run;
std::string stats_file;

void add_sample(histogram &h, std::int64_t us) {
    us = std::max<std::int64_t>(us, 0);
    const auto bucket = std::min(static_cast<std::size_t>(us / bucket_us), bucket_count - 1);
    ++h.counts[bucket];
    ++h.samples;
    h.worst_us = std::max(h.worst_us, us);
}

// The duration, in ms, that `share` of the samples do not exceed; exact to a bucket.
double percentile_ms(const histogram &h, double share) {
    const auto wanted = static_cast<std::uint64_t>(share * static_cast<double>(h.samples));
    std::uint64_t seen = 0;
    for (std::size_t bucket = 0; bucket + 1 < bucket_count; ++bucket) {
        seen += h.counts[bucket];
        if (seen > wanted) {
            const auto upper = static_cast<std::int64_t>(bucket + 1) * bucket_us;
            return static_cast<double>(std::min(upper, h.worst_us)) / 1000.0;
        }
    }
    return static_cast<double>(h.worst_us) / 1000.0;
}

double worst_ms(const histogram &h) {
    return static_cast<double>(h.worst_us) / 1000.0;
}

// Text as it stands between the quotes of a JSON string. Bytes beyond ASCII go through.
std::string json_text(const char *text) {
    std::string out;
    for (const char *p = text; *p != 0; ++p) {
        const auto c = static_cast<unsigned char>(*p);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += *p;
        } else if (c < 0x20) {
            std::array<char, 8> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "\\u%04x", static_cast<unsigned>(c));
            out += escaped.data();
        } else {
            out += *p;
        }
    }
    return out;
}

const char *mode_name(std::int32_t mode) {
    switch (mode) {
    case mode_normal:
        return "normal";
    case mode_loop:
        return "loop";
    case mode_swing:
        return "swing";
    default:
        return "corrupt";
    }
}

// Returns true when the line has been written.
bool print_line(std::FILE *out, const play_args &args) {
    struct rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const double seconds = static_cast<double>(stats_now_us() - run->start_us) / 1e6;
    std::fprintf(out,
                 R"({"movie":"%s","mode":"%s","rate":%g,"seconds":%.3f,"due":%lld,"shown":%lld,)"
                 R"("dropped":%lld,"late_ms":{"median":%.2f,"p99":%.2f,"worst":%.2f})",
                 json_text(args.name.data()).c_str(), mode_name(args.mode),
                 static_cast<double>(args.rate), seconds, static_cast<long long>(run->due),
                 static_cast<long long>(run->shown), static_cast<long long>(run->dropped),
                 percentile_ms(run->late, 0.5), percentile_ms(run->late, 0.99),
                 worst_ms(run->late));
    constexpr std::array<const char *, play_phase_count> names{"read", "decode", "draw", "present"};
    for (std::size_t phase = 0; phase < play_phase_count; ++phase)
        std::fprintf(out, R"(,"%s_ms":{"median":%.2f,"worst":%.2f})", names[phase],
                     percentile_ms(run->phases[phase], 0.5), worst_ms(run->phases[phase]));
    std::fprintf(out, ",\"peak_resident_kb\":%ld}\n", usage.ru_maxrss);
    return std::fflush(out) == 0 && std::ferror(out) == 0;
}

} // namespace

std::int64_t stats_now_us() {
    return program_clock::now_us();
}

void init_play_stats() {
    const char *file = std::getenv("PLAYER_STATS");
    stats_enabled = false;
    run.reset();
    stats_file = file == nullptr ? "" : file;
    if (stats_file.empty())
        return;
    run.reset(new (std::nothrow) run_stats);
    stats_enabled = run != nullptr;
}

void stats_started(const play_args &args) {
    if (!stats_enabled || args.count < 1)
        return;
    *run = {};
    run->running = true;
    run->start_us = stats_now_us();
    run->due = run->shown = 1; // the frame that is on the screen already
}

void stats_pace_changed() {
    if (stats_enabled)
        run->period_ms = 0;
}

void stats_reached(std::int64_t frames, std::int32_t period_ms) {
    if (!stats_enabled || !run->running)
        return;
    if (run->period_ms == 0 && run->due == 1) {
        run->reached = 0; // the first tick: counting begins at the start
    } else if (run->period_ms != period_ms) {
        run->reached = frames;
    }
    run->period_ms = period_ms;
    const std::int64_t fresh = frames - run->reached;
    if (fresh <= 0)
        return;
    run->due += fresh;
    run->dropped += fresh - 1;
    run->reached = frames;
    run->frame_pending = true;
    run->frame_due_us =
        run->start_us + frames * std::abs(std::int64_t{period_ms}) * program_clock::us_per_ms;
}

void stats_tick() {
    if (!stats_enabled || !run->running)
        return;
    ++run->due;
    run->frame_pending = true;
    run->frame_due_us = stats_now_us();
}

void stats_shown() {
    if (!stats_enabled || !run->frame_pending)
        return;
    ++run->shown;
    run->frame_pending = false;
    add_sample(run->late, stats_now_us() - run->frame_due_us);
}

void stats_add(play_phase phase, std::int64_t us) {
    if (run->running)
        add_sample(run->phases[static_cast<std::size_t>(phase)], us);
}

void stats_stopped(const play_args &args) {
    if (!stats_enabled || !run->running)
        return;
    run->running = false;
    const bool to_stdout = stats_file == "-";
    std::FILE *out = to_stdout ? stdout : std::fopen(stats_file.c_str(), "ae");
    if (out == nullptr || !print_line(out, args)) {
        std::fprintf(stderr, "%s: Unable to write statistics to \"%s\": %s.\n", gMe,
                     stats_file.c_str(), std::strerror(errno));
        stats_enabled = false;
    }
    if (out != nullptr && !to_stdout)
        std::fclose(out);
}

} // namespace player
