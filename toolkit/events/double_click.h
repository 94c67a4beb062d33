// When two presses of a button make a double click.
//
//   double_click_state state;
//   if (begin_double_click_run(&state)) ...        // start the timer: two ticks end the run
//   if (is_double_click(&state, button, place)) ...
//   ...
//   if (end_double_click_run(&state)) ...          // at each tick: stop the timer
//
// A run begins with the first event of any button and ends at the second tick of its timer, which
// forgets all presses. Within a run, the second press of one button near its first one is a double
// click, and the next press is a first one again. A press further away is a first one too.
#pragma once

#include "toolkit/events/input_types.h"

#include <array>

namespace toolkit {

inline constexpr int double_click_distance = 5; // pixels along x or y that are too far
inline constexpr int double_click_ticks = 2;    // of the timer, in a run

struct button_presses {
    int count = 0;
    screen_point first;
};

struct double_click_state {
    bool running = false;
    int ticks = 0;
    std::array<button_presses, mouse_button_count> buttons;
};

// Returns true when no run was under way: one has begun, and its timer is to be started.
[[nodiscard]] bool begin_double_click_run(double_click_state *state);

// Counts a press of a button (0 .. mouse_button_count - 1) and tells whether it completes a double
// click.
[[nodiscard]] bool is_double_click(double_click_state *state, int button, screen_point place);

// Counts a tick. Returns true when it was the second one: everything is forgotten, and the timer
// is to be stopped.
[[nodiscard]] bool end_double_click_run(double_click_state *state);

} // namespace toolkit
