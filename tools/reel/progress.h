// How far a long command is: a bar, frames done, frames per second, time to go, on standard error.
//
//   progress meter = start_progress("encoding", 240);
//   for (...)
//       step_progress(meter);
//   clear_progress(meter);          // before any other line is written, and at the end
//
// On a terminal one line is rewritten ten times a second; elsewhere a plain line appears every
// five seconds, so that a log of a short run has none and that of a long one is not flooded.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace reel {

struct progress {
    std::string verb;
    std::int64_t total = -1; // frames; -1: unknown. It may turn out to be too small
    std::int64_t done = 0;   // frames
    bool terminal = false;
    bool visible = false; // a line stands on the terminal, above the cursor
    std::chrono::steady_clock::time_point started;
    std::chrono::steady_clock::time_point shown;
};

[[nodiscard]] progress start_progress(const char *verb, std::int64_t total);

// One more frame is done.
void step_progress(progress &meter);

// Takes the line off the terminal; the next step brings it back, or show_progress.
void clear_progress(progress &meter);

// Shows it without a step, where that is a line on a terminal.
void show_progress(progress &meter);

// Leaves the line where it is: something was written below it, and no step follows.
void leave_progress(progress &meter);

[[nodiscard]] double progress_seconds(const progress &meter);

// "0:07", "1:02:03".
[[nodiscard]] std::string format_duration(double seconds);

// What is shown after so many seconds, without a line's end.
//   columns  of the terminal; 0: none, so there is no bar
[[nodiscard]] std::string format_progress(const progress &meter, double seconds, int columns);

} // namespace reel
