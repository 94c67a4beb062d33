// How well playback went. With PLAYER_STATS=FILE in the environment (- : standard output) each end
// of playing appends one line to it:
//
//   {"movie":"demo.reel","mode":"loop","rate":24,"seconds":20.01,"due":480,"shown":480,
//    "dropped":0,"late_ms":{"median":8.1,"p99":16.4,"worst":16.6},
//    "read_ms":{"median":0.02,"worst":0.11},"decode_ms":{...},"draw_ms":{...},
//    "present_ms":{...},"peak_resident_kb":21504}
//
// In a timed mode frame k of a run is due k periods after its start, and late by the time until it
// is on the screen; frames that a slow display skips are dropped. Showing every frame, each tick
// that is read is due. Times come from the program clock; medians and percentiles are exact to
// 0.02 ms up to 200 ms. Everything is stored in counters made once: nothing is allocated while
// playing, and without the variable each call is one test of a flag.
//
//   init_play_stats();
//   stats_started(args);                    // the first frame is on the screen
//   stats_reached(3, period);               // at a tick: frame 3 of the run is due
//   { phase_timer timed(play_phase::drawing); ... }
//   stats_shown();                          // what was due is on the screen
//   stats_stopped(args);                    // writes the line
#pragma once

#include "player/play_args.h"

namespace player {

enum class play_phase { reading, decoding, drawing, presenting };
inline constexpr std::size_t play_phase_count = 4;

// Reads the environment. May be called again.
void init_play_stats();

extern bool stats_enabled; // whether anything is measured

void stats_started(const play_args &args);

// The run goes on at another pace: what the clock says now is the new start of counting.
void stats_pace_changed();

// A tick of a timed run says that frame `frames` since its start is due, period_ms apart.
void stats_reached(std::int64_t frames, std::int32_t period_ms);

// A tick says that the next frame is due.
void stats_tick();

void stats_shown();
void stats_stopped(const play_args &args);

void stats_add(play_phase phase, std::int64_t us);
[[nodiscard]] std::int64_t stats_now_us();

// Counts the time from here to the end of its block as part of a phase.
struct phase_timer {
    play_phase phase;
    std::int64_t begun_us;

    explicit phase_timer(play_phase measured)
        : phase(measured), begun_us(stats_enabled ? stats_now_us() : 0) {}
    ~phase_timer() {
        if (stats_enabled)
            stats_add(phase, stats_now_us() - begun_us);
    }
    phase_timer(const phase_timer &) = delete;
    phase_timer &operator=(const phase_timer &) = delete;
};

} // namespace player
