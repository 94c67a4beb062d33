#include "player/advance.h"

#include <algorithm>
#include <cmath>

namespace player {

namespace {

// value mod n as a number in 0 .. n - 1.
std::int64_t wrapped(std::int64_t value, std::int64_t n) {
    const std::int64_t rest = value % n;
    return rest < 0 ? rest + n : rest;
}

next_position at(std::int64_t pos) {
    return {true, false, static_cast<std::int32_t>(pos)};
}

next_position ending_at_the_ends(std::int64_t pos, std::int64_t n) {
    if (pos >= n)
        return {true, true, static_cast<std::int32_t>(n - 1)};
    if (pos < 0)
        return {true, true, 0};
    return at(pos);
}

// Folds a place on the way there and back, 0 .. 2n - 1, onto a frame.
next_position folded(std::int64_t place, std::int64_t n, player_state &memory) {
    memory.swing_returning = place >= n;
    return at(memory.swing_returning ? 2 * n - place - 1 : place);
}

} // namespace

next_position stepped_position(const play_args &args, player_state &memory) {
    const std::int64_t n = args.count;
    const std::int64_t here = std::int64_t{args.current} - args.first;
    const std::int64_t there = here + args.direction;
    next_position next;
    switch (args.mode) {
    case mode_normal:
        next = ending_at_the_ends(there, n);
        break;
    case mode_loop:
        if (there >= n)
            next = at(0);
        else
            next = at(there < 0 ? n - 1 : there);
        break;
    case mode_swing: {
        const bool continues = memory.previous_mode == mode_swing;
        std::int64_t place = (continues ? memory.swing_position : here) + args.direction;
        if (place >= 2 * n)
            place = 0;
        else if (place < 0)
            place = 2 * n - 1;
        memory.swing_position = static_cast<std::int32_t>(std::min<std::int64_t>(place, INT32_MAX));
        next = folded(place, n, memory);
        break;
    }
    default:
        return {};
    }
    memory.previous_mode = args.mode;
    return next;
}

next_position timed_position(const play_args &args, player_state &memory, std::int32_t reached) {
    const std::int64_t n = args.count;
    const std::int64_t cycle_frames = args.mode == mode_swing ? 2 * n : n;
    next_position next;
    switch (args.mode) {
    case mode_normal:
        next = ending_at_the_ends(reached, n);
        break;
    case mode_loop:
        next = at(wrapped(reached, n));
        break;
    case mode_swing:
        next = folded(wrapped(reached, cycle_frames), n, memory);
        break;
    default:
        return {};
    }
    memory.last_cycle = static_cast<std::int32_t>(reached / cycle_frames);
    return next;
}

std::int32_t timed_period_ms(float rate, std::int32_t direction) {
    const double ms = 1000.0 / (static_cast<double>(rate) * direction);
    if (std::isnan(ms) || std::abs(ms) >= INT32_MAX)
        return std::signbit(ms) ? -INT32_MAX : INT32_MAX;
    const auto whole = static_cast<std::int32_t>(ms);
    if (whole == 0)
        return std::signbit(ms) ? -1 : 1;
    return whole;
}

std::int32_t swing_reentry(const play_args &args) {
    const std::int64_t first = args.first;
    const std::int64_t mirrored = 2 * (args.count - first) - args.current;
    return static_cast<std::int32_t>(
        std::clamp(mirrored, first, first + std::max<std::int64_t>(args.count, 1) - 1));
}

} // namespace player
