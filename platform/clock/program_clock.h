// The one clock of the program. Timers, the frame clock, the event clock and time-to-go estimates
// all read it, so a test that replaces it can play a minute of film in a millisecond and see the
// same frames every time.
//
//   std::int64_t begun = program_clock::now_us();
//   ...
//   program_clock::use_manual_clock(0);      // a test takes over: time stands still
//   program_clock::advance_us(40'000);       // until it moves it
//   program_clock::use_system_clock();
#pragma once

#include <cstdint>

namespace program_clock {

inline constexpr std::int64_t us_per_ms = 1000;
inline constexpr std::int64_t us_per_second = 1'000'000;

// Microseconds since an arbitrary start; never goes backwards, ticks while the process sleeps.
[[nodiscard]] std::int64_t now_us();

// Microseconds of processor time that this process has used.
[[nodiscard]] std::int64_t process_us();

// True while a test's clock is in place.
[[nodiscard]] bool is_manual();

// Puts a clock in place that moves only when told; both readings start at start_us.
void use_manual_clock(std::int64_t start_us);

// Back to the system's clocks.
void use_system_clock();

// Moves the manual clock: both readings, or the processor time alone. Not for the system's clock.
void advance_us(std::int64_t us);
void advance_process_us(std::int64_t us);

// Sleeps until now_us() has reached due_us: a manual clock jumps there at once.
void sleep_until_us(std::int64_t due_us);

} // namespace program_clock
