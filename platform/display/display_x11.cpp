// The X implementation as one record of calls. Each of them settles on leaving, see x11_events.h.

#include "platform/display/display.h"
#include "platform/display/x11_cursors.h"
#include "platform/display/x11_drop.h"
#include "platform/display/x11_events.h"
#include "platform/display/x11_keyboard.h"
#include "platform/display/x11_texts.h"
#include "platform/display/x11_windows.h"

namespace display {
namespace {

using namespace x11;

void disconnect() {
    if (xserver.xcb == nullptr) {
        return;
    }
    close_all_windows();
    close_keyboard();
    close_events();
    forget_presents();
    forget_cursors();
    forget_drop();
    forget_texts();
    close_connection();
}

bool connect() {
    if (!open_connection()) {
        return false;
    }
    open_events();
    if (!open_keyboard()) {
        disconnect();
        return false;
    }
    settle();
    return true;
}

point screen() {
    return {round_down(xserver.size.x), round_down(xserver.size.y)};
}

int scale() {
    return xserver.scale;
}

rectangle geometry(window_id id) {
    window *w = find_window(id);
    rectangle area;
    if (w == nullptr || !ask_geometry(*w, &area))
        return {};
    w->area.x = area.x; // the caller knows this place: it is told when the window has another one
    w->area.y = area.y;
    return area;
}

surface frame(window_id id, int index) {
    window *w = find_window(id);
    return w != nullptr ? find_frame(&w->frames, index) : surface{};
}

void present(window_id id, int index, rectangle area) {
    if (window *w = find_window(id)) {
        present_frame(&w->frames, w->xid, index, area);
    }
}

struct settle_on_leaving {
    settle_on_leaving() = default;
    settle_on_leaving(const settle_on_leaving &) = delete;
    settle_on_leaving &operator=(const settle_on_leaving &) = delete;
    ~settle_on_leaving() { settle(); }
};

// call, followed by settle.
template <auto call> struct settled;
template <class result, class... arguments, result (*call)(arguments...)> struct settled<call> {
    static result run(arguments... a) {
        const settle_on_leaving guard;
        return call(a...);
    }
};

constexpr driver x11_calls{
    .name = "x11",
    .connect = connect,
    .disconnect = disconnect,
    .screen = screen,
    .scale = scale,
    .open = settled<open_window>::run,
    .close = settled<close_window>::run,
    .configure = settled<configure_window>::run,
    .geometry = settled<geometry>::run,
    .set_state = settled<set_window_state>::run,
    .set_title = settled<set_window_title>::run,
    .set_cursor = settled<set_window_cursor>::run,
    .define_cursor = settled<define_cursor>::run,
    .window_at = settled<find_window_at>::run,
    .frame = settled<frame>::run,
    .present = settled<present>::run,
    .pointer = settled<find_pointer>::run,
    .caps_locked = settled<is_caps_locked>::run,
    .warp = settled<move_pointer>::run,
    .grab = settled<grab_pointer>::run,
    .set_tick = set_tick,
    .fd = events_fd,
    .next = settled<next_event>::run,
    .wait = settled<wait_for_events>::run,
    .dropped_path = newest_drop,
    .offer_text = settled<offer_text>::run,
    .request_text = settled<request_text>::run,
    .pasted_text = newest_paste,
    .set_identity = set_window_identity,
};

} // namespace

const driver &x11_driver() {
    return x11_calls;
}

} // namespace display
