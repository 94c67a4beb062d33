// Two clocks and three periodic ticks that pace the program.
//
//   start_timer(10);                              // playing begins at frame 10
//   ...
//   int frame = elapsed_frames(40);               // a second later: 35
//
//   enable_null_events(6);                        // ten idle ticks a second, as class 8 events
//   enable_timer2_events(blink, 30);              // blink() twice a second
//   disable_null_events();
//
// Both clocks are interval timers that count down and are loaded again when they run out. They are
// computed from the program clock instead of being armed with the system: no signal is needed to
// load them again, no forgotten alarm can end the process, and a test that replaces the program
// clock replaces them too.
//   frame clock  200000 s of real time, armed by start_timer
//   event clock  86400 s of processor time, armed by restart_event_timer
//
// Ticks are counted as in gl::noise: one event every `ticks` ticks, of which there are 60 a second.
#pragma once

#include <cstdint>

namespace toolkit {

// --- the frame clock -----------------------------------------------------------------------------

// Arms the frame clock and remembers the frame at which playing begins.
void start_timer(int start_frame);

// Milliseconds since start_timer, a begun one counted as whole; 0 before the first start_timer.
// After 200000 s (55 hours) the clock is loaded again and the count starts over.
[[nodiscard]] int elapsed_time();

// elapsed_time() / ms_per_frame + the start frame. The quotient truncates toward zero; a negative
// period counts backwards; a sum beyond 32 bits stays at the nearest number that they hold. With a
// period of 0 no frame is ever over: the start frame.
[[nodiscard]] int elapsed_frames(int ms_per_frame);

// --- the event clock -----------------------------------------------------------------------------

// Arms the event clock. gl_input_init does this.
void restart_event_timer();

// What is left on the event clock, in microseconds of processor time: it stands still while the
// process sleeps. Only differences mean something: take the absolute value. 0 before
// restart_event_timer.
[[nodiscard]] std::int64_t inq_event_clock();

// --- ticks ---------------------------------------------------------------------------------------

// TIMER0 ticks become class 8 events until disable_null_events, which counts when a tick is read:
// ticks that wait already give nothing any more.
void enable_null_events(int ticks);
void adjust_null_event_freq(int ticks); // the rate alone
void disable_null_events();
[[nodiscard]] bool are_null_events_enabled();

// Prints "tick...\n" and keeps that a null event was asked for.
void post_null_event();
[[nodiscard]] bool is_null_event_posted();

// TIMER0 ticks 60 times a second.
void set_timer0_noise();

// The functions are called for each TIMER2 or TIMER3 tick that gl_event_get reads; the newest one
// replaces the one before, null is none.
using timer_function = void (*)();
extern timer_function timer2_function;
extern timer_function timer3_function;
void enable_timer2_events(timer_function function, int ticks);
void enable_timer3_events(timer_function function, int ticks);

// --- the locator-step flag -----------------------------------------------------------------------

// Kept here for whoever asks: 255 or 0.
void locator_step_on();
void locator_step_off();
[[nodiscard]] std::int16_t inq_locator_step();

} // namespace toolkit
