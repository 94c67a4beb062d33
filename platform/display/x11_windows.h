// Windows of the X implementation: opening, placing, showing, naming.
//
// Names and arguments are those of display::driver; rectangles are in pixels of ours.
#pragma once

#include "platform/display/x11_frames.h"

#include <string>
#include <vector>

namespace display::x11 {

struct window {
    window_id id = 0;
    xcb_window_t xid = XCB_WINDOW_NONE;
    window_kind kind = window_kind::normal;
    bool mapped = false; // as we have asked for
    bool iconic = false;
    bool blackened = true; // by the server, until the first picture
    rectangle area;        // as last reported
    rectangle wanted;      // what the next mapping asserts
    window_frames frames;
};

[[nodiscard]] window_id open_window(const char *title, rectangle rect, window_kind kind,
                                    window_id owner);
void close_window(window_id id);
void close_all_windows();

// Null when it is not open.
[[nodiscard]] window *find_window(window_id id);
[[nodiscard]] window *find_window_of(xcb_window_t xid);

void configure_window(window_id id, rectangle rect);
[[nodiscard]] window_id find_window_at(point p);

// Asks the server (an unmapped window's place is where it will come back: what a window manager
// did to it on unmapping is undone then). Returns false when there is no such window any more.
[[nodiscard]] bool ask_geometry(const window &w, rectangle *out);

void set_window_state(window_id id, window_state state);
void set_window_title(window_id id, const char *title);
void set_window_cursor(window_id id, cursor_shape shape);
void set_window_identity(const char *instance, const char *class_name,
                         std::span<const std::uint32_t> icon, int icon_width);

// The server has shown w: from now on nothing but our pictures is painted into it.
void note_mapped(window &w);

// The window manager may have made w an icon or brought it back: queues the event if so.
void note_state_property(window &w);

} // namespace display::x11
