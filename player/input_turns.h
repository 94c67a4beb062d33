// One turn of the player's loops: waiting for input, and passing an event on.
//
//   install_window_calls();
//   while (!is_over() && !state.leave_loop)
//       if (wait_and_route()) ...                     // Escape
#pragma once

#include "player/play_args.h"

#include <poll.h>

namespace player {

// Whether there is no point in going on: the user, a signal or a lost display ends the program.
[[nodiscard]] bool is_over();

// What wakes a loop beside the event queue and signals.
struct wake_source {
    int descriptor = -1; // -1: nothing
    short events = POLLIN;
};

// Sleeps until the event queue has something, a signal has come, or the source is ready. A test's
// clock is moved by the queue's own waiting, so with such a clock that does the sleeping.
void sleep_until_input(const wake_source &also = {});

// Takes the next toolkit event, if one is waiting, and passes it on; sleeps once if there is none.
// Returns whether it was the Escape key, which nobody had asked for (no open menu, no blocked input).
bool wait_and_route(const wake_source &also = {});

// The same without sleeping.
bool route_waiting();

// Tells everybody where the pointer is.
void deliver_pointer_position();

// Has the toolkit's input layer call the view for window events that it reads itself.
void install_window_calls();

// A window came back from being an icon.
void thaw_window(int window);

} // namespace player
