#include "player/engine.h"

#include "player/advance.h"
#include "player/play_devices.h"
#include "player/play_stats.h"
#include "toolkit/events/timers.h"

#include <algorithm>
#include <cstdio>

namespace player {

player_view view;

namespace {

std::int32_t last_frame(const play_args &args) {
    return args.first + args.count - 1;
}

// The position at which the running play began: what start_timer was given.
std::int32_t run_start = 0;

void rewind_for(play_args &args, std::int32_t direction) {
    if (args.mode != mode_normal && args.mode != mode_loop)
        return;
    const bool at_last = args.current == last_frame(args);
    if (direction == direction_fast_forward || (direction == direction_forward && at_last))
        args.current = args.first;
    else if (direction < 0 && args.current == args.first)
        args.current = last_frame(args);
}

void start_playing(play_args &args, movie_ref &ref, std::int32_t direction) {
    args.direction = direction;
    if (state.playing) {
        stats_pace_changed();
        return;
    }
    if (!is_playable(args, ref))
        return;
    rewind_for(args, direction);
    if (args.mode == mode_swing && state.swing_returning)
        args.current = swing_reentry(args);
    view.show_position(args);
    show_frame(args, ref);
    state.playing = true;
    set_play_devices(true);
    toolkit::set_timer0_noise();
    run_start = args.current - args.first;
    toolkit::start_timer(run_start);
    stats_started(args);
}

// Tells the statistics how many frames of a timed run are due. Normal mode owes none beyond its
// ends.
void count_due(const play_args &args, std::int32_t reached, std::int32_t period) {
    std::int64_t frames = reached;
    if (args.mode == mode_normal)
        frames = std::clamp<std::int64_t>(frames, 0, std::int64_t{args.count} - 1);
    stats_reached(std::abs(frames - run_start), period);
}

next_position due_position(const play_args &args) {
    if (args.rate == every_frame_rate) {
        const next_position next = stepped_position(args, state);
        if (!next.stop || next.pos != std::int64_t{args.current} - args.first)
            stats_tick();
        return next;
    }
    const std::int32_t period = timed_period_ms(args.rate, args.direction);
    const std::int32_t reached = toolkit::elapsed_frames(period);
    if (stats_enabled)
        count_due(args, reached, period);
    return timed_position(args, state, reached);
}

// Past the pixels, if that is possible.
void show_due_frame(play_args &args, movie_ref &ref) {
    switch (draw_frame_in_strips(args, ref, view.strips)) {
    case strip_result::unavailable:
        if (read_frame_from_file(args, ref))
            view.draw_frame(args);
        break;
    case strip_result::spoilt:
        catch_up_pixels(args, ref);
        view.draw_frame(args);
        break;
    case strip_result::drawn:
    case strip_result::unchanged:
        break;
    }
}

void step_to(play_args &args, movie_ref &ref, std::int32_t current) {
    args.current = current;
    view.show_position(args);
    show_frame(args, ref);
}

} // namespace

void show_frame(play_args &args, movie_ref &ref) {
    if (state.playing)
        stop_playing(args);
    read_frame_from_file(args, ref);
    view.draw_frame(args);
}

void advance_frame(play_args &args, movie_ref &ref) {
    if (!is_playable(args, ref)) {
        stop_playing(args);
        return;
    }
    const next_position next = due_position(args);
    if (!next.known) {
        std::fprintf(stderr, "%s: Corrupt play_args!\n", gMe);
        args.mode = mode_loop;
        return;
    }
    if (next.pos != std::int64_t{args.current} - args.first) {
        args.current = args.first + next.pos;
        show_due_frame(args, ref);
        view.show_position(args);
    }
    stats_shown();
    if (next.stop) {
        stop_playing(args);
        state.last_cycle = INT32_MAX;
    }
}

void play_forward(play_args &args, movie_ref &ref) {
    start_playing(args, ref, direction_forward);
}

void play_reverse(play_args &args, movie_ref &ref) {
    start_playing(args, ref, direction_reverse);
}

void play_fast_forward(play_args &args, movie_ref &ref) {
    start_playing(args, ref, direction_fast_forward);
}

void play_fast_reverse(play_args &args, movie_ref &ref) {
    start_playing(args, ref, direction_fast_reverse);
}

void stop_playing(const play_args &args) {
    const bool was_playing = state.playing;
    state.playing = false;
    set_play_devices(false);
    if (was_playing)
        stats_stopped(args);
}

void step_forward(play_args &args, movie_ref &ref) {
    if (args.count > 0 && args.current < last_frame(args))
        step_to(args, ref, args.current + 1);
}

void step_back(play_args &args, movie_ref &ref) {
    if (args.count > 0 && args.current > args.first)
        step_to(args, ref, args.current - 1);
}

void go_to_first(play_args &args, movie_ref &ref) {
    if (args.count > 0)
        step_to(args, ref, args.first);
}

void go_to_last(play_args &args, movie_ref &ref) {
    if (args.count > 0)
        step_to(args, ref, last_frame(args));
}

void freeze_playing(const play_args &args, int window) {
    if (!state.playing || !view.is_player_window(window))
        return;
    state.frozen_direction = args.direction;
    stop_playing(args);
}

void thaw_playing(play_args &args, movie_ref &ref, int window) {
    const std::int32_t direction = state.frozen_direction;
    if (direction == 0 || !view.is_player_window(window))
        return;
    state.frozen_direction = 0;
    if (direction < direction_reverse)
        play_fast_reverse(args, ref);
    else if (direction < 0)
        play_reverse(args, ref);
    else if (direction == direction_forward)
        play_forward(args, ref);
    else
        play_fast_forward(args, ref);
}

} // namespace player
