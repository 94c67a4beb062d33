// The arithmetic of the four timers, apart from queue and display.
//
// A timer's ticks lie at whole multiples of noise / 60 s after the moment it was started. While a
// tick waits to be read, the ones that come due are merged into it.
#pragma once

#include <array>
#include <cstdint>

namespace gl {

inline constexpr std::int64_t no_tick = -1;

struct tick_timer {
    bool running = false;
    bool waiting = false; // a tick is in the queue
    int noise = 1;        // 60ths of a second from tick to tick
    std::int64_t begun_us = 0;
    std::int64_t next = 0; // number of the next tick; the first is 1
};

// Program-clock time of the next tick, or no_tick when the timer is stopped or a tick waits.
[[nodiscard]] std::int64_t next_due_us(const tick_timer &t);

void start_timer(tick_timer &t, std::int64_t now_us);
void set_noise(tick_timer &t, int noise, std::int64_t now_us);

// True when the next tick is due; it then waits.
[[nodiscard]] bool take_due_tick(tick_timer &t, std::int64_t now_us);

// The tick was read or thrown away: the next one is the first still to come.
void tick_was_read(tick_timer &t, std::int64_t now_us);

} // namespace gl
