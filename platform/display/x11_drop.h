// Files dropped on a window by another program (the XDND protocol, version 5, as its target).
#pragma once

#include "platform/display/display.h"

#include <string>
#include <string_view>
#include <vector>
#include <xcb/xcb.h>

namespace display::x11 {

// Tells other programs that files may be dropped here.
void accept_drops(xcb_window_t window);

// True when e belonged to a drop: nobody else wants it. One drop event per file is queued once
// its name has come.
[[nodiscard]] bool take_drop_message(const xcb_client_message_event_t *e, window_id target);
void take_dropped_selection(const xcb_selection_notify_event_t *e, window_id target);

void forget_drop();

// The paths of the local files in a text/uri-list: absolute, percent-decoded. What is no file, is
// on another host, or has a zero byte or a broken escape is left out.
[[nodiscard]] std::vector<std::string> read_uri_list(std::string_view text);

} // namespace display::x11
