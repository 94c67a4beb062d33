// What platform/gl's own sources need of the event queue; programs use queue.h.
#pragma once

#include "platform/display/display.h"
#include "platform/gl/devices.h"

namespace gl {

// Takes everything the display has and enters what it means: key and button states, window
// events, moves of the pointer. Then enters the timer ticks that are due.
void pump_display();

// A window is closed; it may have had the keyboard.
void forget_focus(display::window_id window);

// Takes out what waits for a window that is gone.
void forget_window_events(int window);

// How often exactly this entry is in the queue.
[[nodiscard]] int count_waiting(device d, short value);

// The queue, the timers and the key states as at the start of the program.
void reset_queue_state();

} // namespace gl
