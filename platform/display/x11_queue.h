// Events that have been translated and wait for `next`.
//
//   push_event(e);                                   // joins with what waits where it can
//   queued_event q;
//   while (pop_event(&q)) ...
#pragma once

#include "platform/display/display.h"

#include <string>

namespace display::x11 {

struct queued_event {
    event what;
    std::string text; // the path of a drop, the text of a paste
};

// Appends, stamped with the time. Joined with what waits: a motion with one of the same window at
// the end of the queue, a redraw with any of the same window (the area grows), and a geometry,
// whose area is asked for when it is taken out, with any of the same window.
void push_event(const event &e);
void push_window_event(event_kind kind, window_id window);
void push_redraw(window_id window, rectangle area);
void push_drop(window_id window, point pointer, std::string path);
void push_paste(std::string text); // in place of one that waits
void forget_paste();

// Takes the first; false when there is none.
[[nodiscard]] bool pop_event(queued_event *out);
[[nodiscard]] bool has_events();

// Drops what waits for a window that was closed, or everything.
void forget_events(window_id window);
void forget_all_events();

} // namespace display::x11
