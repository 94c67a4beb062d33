#include "platform/gl/tick_timers.h"

#include "platform/clock/program_clock.h"
#include "platform/gl/queue.h"

#include <algorithm>

namespace gl {
namespace {

std::int64_t tick_us(const tick_timer &t, std::int64_t number) {
    return t.begun_us +
           number * t.noise * program_clock::us_per_second / std::int64_t{ticks_per_second};
}

} // namespace

std::int64_t next_due_us(const tick_timer &t) {
    return t.running && !t.waiting ? tick_us(t, t.next) : no_tick;
}

void start_timer(tick_timer &t, std::int64_t now_us) {
    t.running = true;
    t.begun_us = now_us;
    t.next = 1;
}

void set_noise(tick_timer &t, int noise, std::int64_t now_us) {
    constexpr int slowest = ticks_per_second * 3600;
    const int wanted = std::clamp(noise, 1, slowest);
    if (wanted == t.noise)
        return; // set again and again, it would never tick
    t.noise = wanted;
    t.begun_us = now_us;
    t.next = 1;
}

bool take_due_tick(tick_timer &t, std::int64_t now_us) {
    const std::int64_t due = next_due_us(t);
    if (due == no_tick || due > now_us)
        return false;
    t.waiting = true;
    return true;
}

void tick_was_read(tick_timer &t, std::int64_t now_us) {
    t.waiting = false;
    const std::int64_t passed =
        (now_us - t.begun_us) * ticks_per_second / (t.noise * program_clock::us_per_second);
    t.next = std::max(t.next, passed);
    while (tick_us(t, t.next) <= now_us)
        t.next++;
}

} // namespace gl
