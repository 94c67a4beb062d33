// Which frame is due: pure computation of positions, without clock, file or window.
//
//   std::int32_t period = timed_period_ms(args.rate, args.direction);
//   next_position next = timed_position(args, state, elapsed_frames(period));
//   if (next.known) args.current = args.first + next.pos;
//
// Positions count from 0: current - first. A movie has n = count frames, 1 or more.
#pragma once

#include "player/play_args.h"

namespace player {

struct next_position {
    bool known = false; // false: the mode is corrupt and nothing was computed
    bool stop = false;  // Normal mode has come to its end: show this frame and stop
    std::int32_t pos = 0;
};

// One step of direction from where args stands. Loop wraps to the other end, whatever the step;
// Swing shows each end frame twice. Keeps Swing's place in memory.
[[nodiscard]] next_position stepped_position(const play_args &args, player_state &memory);

// The frame at offset `reached` of a run that began at position 0 and may run either way. Keeps
// the cycle and Swing's half in memory.
[[nodiscard]] next_position timed_position(const play_args &args, player_state &memory,
                                           std::int32_t reached);

// Milliseconds per frame, negative when running backwards, truncated towards zero but never 0.
[[nodiscard]] std::int32_t timed_period_ms(float rate, std::int32_t direction);

// Where to go on when play starts in Swing's second half: the mirrored frame, brought back into
// first .. first + count - 1.
[[nodiscard]] std::int32_t swing_reentry(const play_args &args);

} // namespace player
