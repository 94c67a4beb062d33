// From what the display reports to what is entered in the event queue: keys and buttons with
// their state, moves of the pointer, and what happens to windows.
#pragma once

#include "platform/display/display.h"
#include "platform/gl/devices.h"

namespace gl {

// Enters a device and value in the queue if it is queued there.
using enter_call = void (*)(device d, short value);

// Takes every event that the display has and enters what it means.
void take_display_events(enter_call enter);

// A window is closed: the keyboard that it had goes elsewhere, which no display tells it any more.
void give_up_focus(display::window_id window, enter_call enter);

// From a place on the screen as the display counts, from the top, to ours; and back.
[[nodiscard]] display::point turned(display::point p);

// Whether a key or button was down after the last event taken.
[[nodiscard]] bool is_held(device d);

// Forgets key states, the pointer and the loss of the display.
void reset_event_pump();

} // namespace gl
