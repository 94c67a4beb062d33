// What comes from the server: translated, queued, waited for.
//
//   open_events();
//   settle();                                        // on leaving EVERY call of the driver
//   event e;
//   while (next_event(&e)) ...
//   wait_for_events(timeout_us);
#pragma once

#include "platform/display/display.h"

#include <string>

namespace display::x11 {

void open_events();
void close_events();

// Sends what waits to be sent, takes in what has been read meanwhile (sending can read, and what
// was read no longer wakes a poll), and makes the descriptor readable if anything waits.
void settle();

[[nodiscard]] bool next_event(event *out);
void wait_for_events(std::int64_t timeout_us);
void set_tick(std::int64_t due_us);
[[nodiscard]] int events_fd();
[[nodiscard]] const std::string &newest_drop();

[[nodiscard]] point find_pointer();
[[nodiscard]] bool is_caps_locked();
void move_pointer(point to);
[[nodiscard]] bool grab_pointer(window_id window, bool on);

} // namespace display::x11
