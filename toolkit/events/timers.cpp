#include "toolkit/events/timers.h"

#include "platform/clock/program_clock.h"
#include "platform/gl/queue.h"
#include "toolkit/events/input_types.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace toolkit {
namespace {

constexpr std::int64_t frame_clock_seconds = 200'000;
constexpr std::int64_t event_clock_seconds = 86'400;
constexpr int bad_reading = -1;

// A timer that counts down from its period and is loaded again when it runs out.
struct countdown {
    std::int64_t period_us = 0;
    std::int64_t armed_us = 0;
    bool armed = false;
};

countdown frame_clock{frame_clock_seconds * program_clock::us_per_second};
countdown event_clock{event_clock_seconds * program_clock::us_per_second};
int first_frame = 0;
int start_ms = 0;

bool null_events = false;
bool null_event_posted = false;
std::int16_t locator_step = answer_no;

void arm(countdown *timer, std::int64_t now_us) {
    timer->armed_us = now_us;
    timer->armed = true;
}

std::int64_t remaining_us(const countdown &timer, std::int64_t now_us) {
    if (!timer.armed)
        return 0;
    return timer.period_us - (now_us - timer.armed_us) % timer.period_us;
}

int to_milliseconds(std::int64_t us) {
    return us < 0 ? bad_reading : static_cast<int>(us / program_clock::us_per_ms);
}

void enable_ticks(gl::device timer, int ticks) {
    gl::qdevice(timer);
    gl::noise(timer, ticks);
}

} // namespace

timer_function timer2_function = nullptr;
timer_function timer3_function = nullptr;

void start_timer(int start_frame) {
    // One reading for both: a second one could fall into the next millisecond.
    const std::int64_t now = program_clock::now_us();
    arm(&frame_clock, now);
    start_ms = to_milliseconds(remaining_us(frame_clock, now));
    first_frame = start_frame;
}

int elapsed_time() {
    return std::abs(to_milliseconds(remaining_us(frame_clock, program_clock::now_us())) - start_ms);
}

int elapsed_frames(int ms_per_frame) {
    if (ms_per_frame == 0)
        return first_frame;
    const std::int64_t frame = std::int64_t{elapsed_time()} / ms_per_frame + first_frame;
    return static_cast<int>(std::clamp<std::int64_t>(frame, std::numeric_limits<int>::min(),
                                                     std::numeric_limits<int>::max()));
}

void restart_event_timer() {
    arm(&event_clock, program_clock::process_us());
}

std::int64_t inq_event_clock() {
    return remaining_us(event_clock, program_clock::process_us());
}

void enable_null_events(int ticks) {
    null_events = true;
    enable_ticks(gl::TIMER0, ticks);
}

void adjust_null_event_freq(int ticks) {
    gl::noise(gl::TIMER0, ticks);
}

void disable_null_events() {
    null_events = false;
    gl::unqdevice(gl::TIMER0);
}

bool are_null_events_enabled() {
    return null_events;
}

void post_null_event() {
    std::fputs("tick...\n", stdout);
    null_event_posted = true;
}

bool is_null_event_posted() {
    return null_event_posted;
}

void set_timer0_noise() {
    gl::noise(gl::TIMER0, 1);
}

void enable_timer2_events(timer_function function, int ticks) {
    timer2_function = function;
    enable_ticks(gl::TIMER2, ticks);
}

void enable_timer3_events(timer_function function, int ticks) {
    timer3_function = function;
    enable_ticks(gl::TIMER3, ticks);
}

void locator_step_on() {
    locator_step = answer_yes;
}

void locator_step_off() {
    locator_step = answer_no;
}

std::int16_t inq_locator_step() {
    return locator_step;
}

} // namespace toolkit
