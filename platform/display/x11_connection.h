// The connection to an X server, and what every other part of the X implementation shares.
//
//   if (!open_connection()) ...                      // has reported why
//   auto r = await<xcb_query_pointer_reply>(xcb_query_pointer(xserver.xcb, xserver.screen->root));
//   if (r) ...                                       // null: an X error, or the server is gone
//   close_connection();
//
// Requests on a connection that has died are harmless and their replies null, so nothing but
// events.cpp asks whether it lives. Sizes and places here are DEVICE pixels unless said otherwise.
#pragma once

#include "platform/display/display.h"
#include "platform/display/surfaces.h"
#include "platform/display/wait_set.h"

#include <string>
#include <type_traits>
#include <xcb/xcb.h>

namespace display::x11 {

// How frames reach the server.
enum class frame_way {
    passed_memory, // anonymous memory whose descriptor is passed: nothing can be left behind
    keyed_memory,  // System V segments, marked for removal once both sides have them
    put_image,     // through the connection
};

struct connection {
    xcb_connection_t *xcb = nullptr;
    const xcb_screen_t *screen = nullptr; // belongs to xcb
    point size;                           // of the screen
    int scale = 1;                        // device pixels along one of ours
    frame_way way = frame_way::put_image;
    std::int64_t tick = no_time; // when a tick event is due
    bool lost = false;
    wait_set waits;
};

extern connection xserver;

// Atoms by name; the order is that of the names in the source.
enum class atom : unsigned {
    wm_protocols,
    wm_delete_window,
    wm_state,
    wm_change_state,
    net_supporting_wm_check,
    net_wm_ping,
    net_wm_pid,
    net_wm_name,
    net_wm_icon,
    net_active_window,
    net_wm_window_type,
    net_wm_window_type_normal,
    net_wm_window_type_dialog,
    net_wm_window_type_popup_menu,
    utf8_string,
    xdnd_aware,
    xdnd_enter,
    xdnd_position,
    xdnd_status,
    xdnd_drop,
    xdnd_finished,
    xdnd_selection,
    xdnd_type_list,
    xdnd_action_copy,
    text_uri_list,
    clipboard,
    targets,
    timestamp,
    incr,
    text_plain_utf8,
    pasted,
    count,
};

// Connects, checks what the server can show, and fills `xserver`. Returns false after one line on
// standard error.
[[nodiscard]] bool open_connection();
void close_connection();

[[nodiscard]] xcb_atom_t number_of(atom name);

// The reply to a request, which is waited for; null for an error.
template <auto get_reply, class cookie> auto await(cookie sent) {
    using reply = std::remove_pointer_t<decltype(get_reply(xserver.xcb, sent, nullptr))>;
    return malloced<reply>(get_reply(xserver.xcb, sent, nullptr));
}

// A property's bytes, at most `limit` of them; empty when there is none of that type
// (XCB_GET_PROPERTY_TYPE_ANY: any).
[[nodiscard]] std::string read_property(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                                        std::uint32_t limit);

// The first 32-bit word of a property, or 0.
[[nodiscard]] std::uint32_t read_property_word(xcb_window_t window, atom property);

// Sends a client message of five words about `about` to `to`.
void send_message(xcb_window_t to, xcb_window_t about, atom type, const std::uint32_t (&words)[5],
                  std::uint32_t event_mask);

// True while a window manager runs.
[[nodiscard]] bool has_window_manager();

// From device pixels to ours, for a place and for the end of a range.
[[nodiscard]] int round_down(int device);
[[nodiscard]] int round_up(int device);

} // namespace display::x11
