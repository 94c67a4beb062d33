// The state of pointer, buttons and keys now, apart from the queue.
//
//   int x = gl::getvaluator(gl::MOUSEX), y = gl::getvaluator(gl::MOUSEY);
//   if (gl::getbutton(gl::LEFTSHIFTKEY)) ...
//
// Coordinates: pixels from the screen's lower left corner.
#pragma once

#include "platform/gl/devices.h"

namespace gl {

// The pointer's place, asked of the display each time. Other devices: 0.
[[nodiscard]] int getvaluator(device d);

// Moves the pointer: value, brought into [low, high], becomes its x or y. Moves nothing when it
// is there already. Other devices are ignored.
void setvaluator(device d, int value, int low, int high);

// Whether a key or button is held, as far as the queue's reader has been told by the display.
[[nodiscard]] bool getbutton(device d);

// Whether caps lock is on, as the display says, before the presses of its key that still wait in
// the queue: who reads them switches from here on.
[[nodiscard]] bool is_caps_locked();

} // namespace gl
