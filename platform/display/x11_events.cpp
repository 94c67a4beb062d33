#include "platform/display/x11_events.h"

#include "platform/clock/program_clock.h"
#include "platform/display/x11_drop.h"
#include "platform/display/x11_keyboard.h"
#include "platform/display/x11_queue.h"
#include "platform/display/x11_texts.h"
#include "platform/display/x11_windows.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace display::x11 {
namespace {

constexpr int type_bits = 0x7f; // the bit above says that another program has made the event

window_id inside = 0; // the window that the pointer is in, as reported
std::string dropped;

void lose_server() {
    if (!xserver.lost) {
        xserver.lost = true;
        xserver.waits.forget_connection();
        push_window_event(event_kind::lost, 0);
    }
}

point place_on_screen(int x, int y) {
    return {round_down(x), round_down(y)};
}

window_id id_of(xcb_window_t xid) {
    const window *w = find_window_of(xid);
    return w != nullptr ? w->id : 0;
}

void take_key(const xcb_key_press_event_t *x, bool pressed) {
    note_input_time(x->time);
    const key_meaning meaning = read_key(x->detail, x->state);
    event e;
    e.kind = event_kind::key;
    e.window = id_of(x->event);
    e.code = meaning.code;
    e.pressed = pressed;
    e.character = pressed ? meaning.character : 0;
    e.pointer = place_on_screen(x->root_x, x->root_y);
    if (e.window != 0 && (e.code != 0 || e.character != 0)) {
        push_event(e);
    }
}

void take_button(const xcb_button_press_event_t *x, bool pressed) {
    note_input_time(x->time);
    event e;
    e.kind = event_kind::button;
    e.window = id_of(x->event);
    e.code = x->detail;
    e.pressed = pressed;
    e.pointer = place_on_screen(x->root_x, x->root_y);
    if (e.window != 0 && e.code >= button_left && e.code <= wheel_right) {
        push_event(e);
    }
}

void take_motion(const xcb_motion_notify_event_t *x) {
    event e;
    e.kind = event_kind::motion;
    e.window = id_of(x->event);
    e.pointer = place_on_screen(x->root_x, x->root_y);
    if (e.window != 0) {
        push_event(e);
    }
}

// A grab that begins moves no pointer; one that ends tells where the pointer has gone meanwhile.
void take_crossing(const xcb_enter_notify_event_t *x, bool entered) {
    const window_id id = id_of(x->event);
    if (id == 0 || x->mode == XCB_NOTIFY_MODE_GRAB || x->detail == XCB_NOTIFY_DETAIL_INFERIOR ||
        (inside == id) == entered) {
        return;
    }
    inside = entered ? id : 0;
    event e;
    e.kind = entered ? event_kind::enter : event_kind::leave;
    e.window = id;
    e.pointer = place_on_screen(x->root_x, x->root_y);
    push_event(e);
}

void take_focus(const xcb_focus_in_event_t *x, bool got) {
    const bool by_grab = x->mode == XCB_NOTIFY_MODE_GRAB || x->mode == XCB_NOTIFY_MODE_UNGRAB;
    const window_id id = id_of(x->event);
    if (id != 0 && !by_grab && x->detail != XCB_NOTIFY_DETAIL_POINTER) {
        push_window_event(got ? event_kind::focus_in : event_kind::focus_out, id);
    }
}

void take_expose(const xcb_expose_event_t *x) {
    const int left = round_down(x->x);
    const int top = round_down(x->y);
    push_redraw(id_of(x->window),
                {left, top, round_up(x->x + x->width) - left, round_up(x->y + x->height) - top});
}

// The place in the event is relative to a window manager's frame: it is asked for later.
void take_configure(const xcb_configure_notify_event_t *x) {
    if (x->window == xserver.screen->root) {
        xserver.size = {x->width, x->height};
    } else if (const window_id id = id_of(x->window)) {
        push_window_event(event_kind::geometry, id);
    }
}

void take_message(const xcb_client_message_event_t *x) {
    const window_id id = id_of(x->window);
    if (id == 0 || x->format != 32 || take_drop_message(x, id) ||
        x->type != number_of(atom::wm_protocols)) {
        return;
    }
    if (x->data.data32[0] == number_of(atom::wm_delete_window)) {
        push_window_event(event_kind::close, id);
    } else if (x->data.data32[0] == number_of(atom::net_wm_ping)) {
        constexpr std::uint32_t manager_events =
            XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        const std::uint32_t *d = x->data.data32;
        send_message(xserver.screen->root, xserver.screen->root, atom::wm_protocols,
                     {d[0], d[1], d[2], d[3], d[4]}, manager_events);
    }
}

template <class record> const record *as(const xcb_generic_event_t *e) {
    return reinterpret_cast<const record *>(e);
}

void take_window_event(const xcb_generic_event_t *e) {
    switch (e->response_type & type_bits) {
    case XCB_EXPOSE:
        if (id_of(as<xcb_expose_event_t>(e)->window) != 0) {
            take_expose(as<xcb_expose_event_t>(e));
        }
        break;
    case XCB_MAP_NOTIFY:
        if (window *w = find_window_of(as<xcb_map_notify_event_t>(e)->window)) {
            note_mapped(*w);
        }
        break;
    case XCB_REPARENT_NOTIFY:
        if (const window_id id = id_of(as<xcb_reparent_notify_event_t>(e)->window)) {
            push_window_event(event_kind::geometry, id);
        }
        break;
    case XCB_CONFIGURE_NOTIFY:
        take_configure(as<xcb_configure_notify_event_t>(e));
        break;
    case XCB_PROPERTY_NOTIFY: {
        const auto *x = as<xcb_property_notify_event_t>(e);
        window *w = x->atom == number_of(atom::wm_state) ? find_window_of(x->window) : nullptr;
        if (w != nullptr) {
            note_state_property(*w);
        }
        break;
    }
    case XCB_CLIENT_MESSAGE:
        take_message(as<xcb_client_message_event_t>(e));
        break;
    case XCB_SELECTION_NOTIFY:
        take_dropped_selection(as<xcb_selection_notify_event_t>(e),
                               id_of(as<xcb_selection_notify_event_t>(e)->requestor));
        break;
    default: // errors too: they are races with windows that went, and of no consequence
        break;
    }
}

void take_event(const xcb_generic_event_t *e) {
    if (take_keyboard_event(e) || take_text_event(e)) {
        return;
    }
    const int type = e->response_type & type_bits;
    switch (type) {
    case XCB_KEY_PRESS:
    case XCB_KEY_RELEASE:
        take_key(as<xcb_key_press_event_t>(e), type == XCB_KEY_PRESS);
        break;
    case XCB_BUTTON_PRESS:
    case XCB_BUTTON_RELEASE:
        take_button(as<xcb_button_press_event_t>(e), type == XCB_BUTTON_PRESS);
        break;
    case XCB_MOTION_NOTIFY:
        take_motion(as<xcb_motion_notify_event_t>(e));
        break;
    case XCB_ENTER_NOTIFY:
    case XCB_LEAVE_NOTIFY:
        take_crossing(as<xcb_enter_notify_event_t>(e), type == XCB_ENTER_NOTIFY);
        break;
    case XCB_FOCUS_IN:
    case XCB_FOCUS_OUT:
        take_focus(as<xcb_focus_in_event_t>(e), type == XCB_FOCUS_IN);
        break;
    default:
        take_window_event(e);
        break;
    }
}

using event_source = xcb_generic_event_t *(*)(xcb_connection_t *);

// Translates all that the source has; false when it had nothing.
bool drain(event_source source) {
    bool any = false;
    while (const auto e = malloced<xcb_generic_event_t>(source(xserver.xcb))) {
        take_event(e.get());
        any = true;
    }
    return any;
}

void take_tick() {
    if (xserver.tick != no_time && program_clock::now_us() >= xserver.tick) {
        xserver.tick = no_time;
        xserver.waits.arm(no_time);
        push_window_event(event_kind::tick, 0);
    }
}

void check_connection() {
    if (xcb_connection_has_error(xserver.xcb) != 0) {
        lose_server();
    }
}

// Brings a geometry event up to date. False when nothing has changed after all.
bool finish_geometry(event *e) {
    window *w = find_window(e->window);
    rectangle now;
    if (w == nullptr || !ask_geometry(*w, &now) || now == w->area) {
        return false;
    }
    const bool resized = now.width != w->area.width || now.height != w->area.height;
    w->area = now;
    if (w->mapped) {
        w->wanted = now;
    }
    if (resized) {
        resize_frames(&w->frames, now.width, now.height);
        push_redraw(w->id, {0, 0, now.width, now.height});
    }
    e->area = now;
    return true;
}

bool take_queued(event *out) {
    queued_event q;
    while (pop_event(&q)) {
        if (q.what.kind == event_kind::geometry && !finish_geometry(&q.what)) {
            continue;
        }
        if (q.what.kind == event_kind::drop) {
            dropped = std::move(q.text);
        }
        if (q.what.kind == event_kind::paste) {
            keep_paste(std::move(q.text));
        }
        *out = q.what;
        return true;
    }
    return false;
}

} // namespace

void open_events() {
    on_server_stuck = lose_server;
    inside = 0;
    dropped.clear();
}

void close_events() {
    forget_all_events();
}

void settle() {
    if (!xserver.lost) {
        do {
            xcb_flush(xserver.xcb);
        } while (drain(xcb_poll_for_queued_event)); // translating may have sent, and so read
        check_connection();
    }
    xserver.waits.mark(has_events());
}

bool next_event(event *out) {
    if (!has_events() && !xserver.lost) {
        drain(xcb_poll_for_event);
        check_connection();
    }
    take_tick();
    return take_queued(out);
}

void wait_for_events(std::int64_t timeout_us) {
    settle();
    const std::int64_t now = program_clock::now_us();
    const bool tick_is_due = xserver.tick != no_time && now >= xserver.tick;
    if (has_events() || tick_is_due ||
        (xserver.lost && timeout_us < 0 && xserver.tick == no_time)) {
        return;
    }
    if (!program_clock::is_manual()) {
        xserver.waits.wait(timeout_us);
        return;
    }
    // Time passes only because we wait: if the server has nothing now, the clock jumps.
    std::int64_t until = timeout_us < 0 ? no_time : now + timeout_us;
    if (xserver.tick != no_time) {
        until = until == no_time ? xserver.tick : std::min(until, xserver.tick);
    }
    xserver.waits.wait(until == no_time ? no_time : 0);
    if (until != no_time) {
        drain(xcb_poll_for_event);
        if (!has_events()) {
            program_clock::sleep_until_us(until);
        }
    }
}

void set_tick(std::int64_t due_us) {
    xserver.tick = std::max(due_us, no_time);
    xserver.waits.arm(xserver.tick);
}

int events_fd() {
    return xserver.waits.fd();
}

const std::string &newest_drop() {
    return dropped;
}

point find_pointer() {
    const auto r =
        await<xcb_query_pointer_reply>(xcb_query_pointer(xserver.xcb, xserver.screen->root));
    return r ? place_on_screen(r->root_x, r->root_y) : point{};
}

bool is_caps_locked() {
    const auto r =
        await<xcb_query_pointer_reply>(xcb_query_pointer(xserver.xcb, xserver.screen->root));
    return r && (r->mask & XCB_MOD_MASK_LOCK) != 0;
}

void move_pointer(point to) {
    xcb_warp_pointer(xserver.xcb, XCB_WINDOW_NONE, xserver.screen->root, 0, 0, 0, 0,
                     static_cast<std::int16_t>(to.x * xserver.scale),
                     static_cast<std::int16_t>(to.y * xserver.scale));
}

bool grab_pointer(window_id id, bool on) {
    if (!on) {
        xcb_ungrab_pointer(xserver.xcb, XCB_CURRENT_TIME);
        return true;
    }
    const window *w = find_window(id);
    if (w == nullptr) {
        return false;
    }
    constexpr std::uint16_t wanted = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                     XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_ENTER_WINDOW |
                                     XCB_EVENT_MASK_LEAVE_WINDOW;
    const auto r = await<xcb_grab_pointer_reply>(
        xcb_grab_pointer(xserver.xcb, 1, w->xid, wanted, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC,
                         XCB_WINDOW_NONE, XCB_CURSOR_NONE, XCB_CURRENT_TIME));
    return r && r->status == XCB_GRAB_STATUS_SUCCESS;
}

} // namespace display::x11
