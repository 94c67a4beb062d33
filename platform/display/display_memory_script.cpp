#include "platform/clock/program_clock.h"
#include "platform/display/display_memory_state.h"

#include <algorithm>
#include <utility>

namespace display::memory {

simulation state;
wait_set waiting;

namespace {

bool contains(rectangle r, point p) {
    return p.x >= r.x && p.y >= r.y && p.x < r.x + r.width && p.y < r.y + r.height;
}

window_id focused_window() {
    window_id newest = 0;
    for (const auto &w : state.windows) {
        newest = std::max(newest, w->id);
    }
    return newest;
}

// Where input at the pointer goes: what is under it, else who grabbed it, else who has the focus.
window_id target_at(point p) {
    const window_id under = window_at(p);
    if (under != 0) {
        return under;
    }
    return state.grabbing != 0 ? state.grabbing : focused_window();
}

bool is_of_pointer(event_kind kind) {
    return kind == event_kind::button || kind == event_kind::motion || kind == event_kind::enter ||
           kind == event_kind::leave;
}

// Puts a new block of the size in place, with what fits of the old picture.
void resize_block(pixel_block &block, int width, int height) {
    pixel_block bigger = make_block(width, height);
    copy_bottom_left(block.view, bigger.view);
    block = std::move(bigger);
}

void take_geometry(simulated_window &w, rectangle area) {
    w.facts.area = clamp_window_size(area, 1);
    const int width = w.facts.area.width;
    const int height = w.facts.area.height;
    if (w.shown.view.width == width && w.shown.view.height == height) {
        return;
    }
    resize_block(w.shown, width, height);
    for (pixel_block &frame : w.frames) {
        if (frame.view.pixels != nullptr) {
            resize_block(frame, width, height);
        }
    }
    insert_redraw(w);
}

// What an event does to the display itself when it is delivered.
void apply(const scripted_event &entry) {
    const event &e = entry.what;
    if (is_of_pointer(e.kind)) {
        state.pointer = e.pointer;
    }
    if (e.kind == event_kind::key && e.code == key_caps_lock && e.pressed) {
        state.caps_locked = !state.caps_locked;
    }
    if (e.kind == event_kind::drop) {
        state.dropped = entry.text;
    }
    if (e.kind == event_kind::paste) {
        state.pasted = entry.text;
    }
    simulated_window *w = find(e.window);
    if (w == nullptr) {
        return;
    }
    if (e.kind == event_kind::geometry) {
        take_geometry(*w, e.area);
    } else if (e.kind == event_kind::iconify) {
        w->facts.state = window_state::iconic;
    } else if (e.kind == event_kind::deiconify && w->facts.state == window_state::iconic) {
        w->facts.state = window_state::shown;
        insert_redraw(*w);
    }
}

} // namespace

simulated_window *find(window_id id) {
    const auto at = std::find_if(state.windows.begin(), state.windows.end(),
                                 [id](const auto &w) { return w->id == id; });
    return at == state.windows.end() ? nullptr : at->get();
}

window_id window_at(point p) {
    const auto topmost =
        std::find_if(state.windows.rbegin(), state.windows.rend(),
                     [p](const auto &w) { return is_visible(*w) && contains(w->facts.area, p); });
    return topmost == state.windows.rend() ? 0 : (*topmost)->id;
}

bool is_visible(const simulated_window &w) {
    return w.facts.state != window_state::hidden && w.facts.state != window_state::iconic;
}

std::int64_t next_due() {
    const std::int64_t scripted = state.script.empty() ? no_time : state.script.front().due;
    if (scripted == no_time || state.tick == no_time) {
        return std::max(scripted, state.tick);
    }
    return std::min(scripted, state.tick);
}

void refresh_fd() {
    const std::int64_t due = next_due();
    const bool ready = due != no_time && due <= program_clock::now_us();
    waiting.mark(ready);
    waiting.arm(ready ? no_time : due);
}

void insert(std::int64_t due, const event &e, const char *text) {
    scripted_event entry{due, e, text};
    if (entry.what.time_us == 0) {
        entry.what.time_us = due == already_due ? program_clock::now_us() : due;
    }
    const auto after = std::upper_bound(
        state.script.begin(), state.script.end(), due,
        [](std::int64_t at, const scripted_event &other) { return at < other.due; });
    state.script.insert(after, std::move(entry));
    state.end_reported = false;
    if (is_of_pointer(e.kind)) {
        state.scripted_pointer = e.pointer;
    }
    refresh_fd();
}

void insert_now(const event &e) {
    insert(already_due, e);
}

void insert_redraw(const simulated_window &w) {
    event e;
    e.kind = event_kind::redraw;
    e.window = w.id;
    e.area = {0, 0, w.facts.area.width, w.facts.area.height};
    insert_now(e);
}

void insert_state(const simulated_window &w, event_kind kind) {
    event e;
    e.kind = kind;
    e.window = w.id;
    insert_now(e);
}

bool take_due(event *out) {
    const std::int64_t due = next_due();
    if (due == no_time || due > program_clock::now_us()) {
        return false;
    }
    if (due == state.tick) {
        *out = {};
        out->kind = event_kind::tick;
        out->time_us = due;
        state.tick = no_time;
        return true;
    }
    const scripted_event entry = std::move(state.script.front());
    state.script.erase(state.script.begin());
    apply(entry);
    *out = entry.what;
    return true;
}

void reset(point screen_size) {
    state = simulation{};
    state.screen = screen_size;
    if (waiting.fd() < 0) {
        (void)waiting.open(no_connection);
    }
    refresh_fd();
}

void push(const event &e) {
    insert_now(e);
}

void push_at(std::int64_t due_us, const event &e) {
    insert(std::max(due_us, already_due), e);
}

void push_drop(window_id window, const char *path) {
    event e;
    e.kind = event_kind::drop;
    e.window = window;
    e.pointer = state.scripted_pointer;
    insert(already_due, e, path);
}

void push_key(int code, bool pressed) {
    event e;
    e.kind = event_kind::key;
    e.window = focused_window();
    e.code = code;
    e.pressed = pressed;
    constexpr int first_printable = ' ';
    constexpr int last_printable = '~';
    if (pressed && code >= first_printable && code <= last_printable) {
        e.character = static_cast<std::uint32_t>(code);
    }
    e.pointer = state.scripted_pointer;
    insert_now(e);
}

void push_button(int code, bool pressed) {
    event e;
    e.kind = event_kind::button;
    e.code = code;
    e.pressed = pressed;
    e.pointer = state.scripted_pointer;
    e.window = target_at(e.pointer);
    insert_now(e);
}

void push_motion(point to) {
    event e;
    e.kind = event_kind::motion;
    e.pointer = to;
    e.window = target_at(to);
    insert_now(e);
}

void offer_foreign_text(text_offer which, std::string_view text, bool hangs) {
    state.offers[static_cast<std::size_t>(which)] = {std::string(text), false, hangs};
}

const std::string &offered_text(text_offer which) {
    return state.offers[static_cast<std::size_t>(which)].text;
}

const cursor_picture &defined_cursor(cursor_shape shape) {
    return state.cursors[static_cast<std::size_t>(shape)];
}

shown_picture picture(window_id window) {
    shown_picture result;
    if (const simulated_window *w = find(window)) {
        const surface &s = w->shown.view;
        result.pixels.assign(s.pixels, s.pixels + std::ptrdiff_t{s.stride} * s.height);
        result.width = s.width;
        result.height = s.height;
    }
    return result;
}

window_facts facts(window_id window) {
    const simulated_window *w = find(window);
    return w != nullptr ? w->facts : window_facts{};
}

std::vector<window_id> windows() {
    std::vector<window_id> ids;
    for (const auto &w : state.windows) {
        ids.push_back(w->id);
    }
    return ids;
}

void refuse_open(bool refuse) {
    state.refuses_open = refuse;
}
void refuse_grab(bool refuse) {
    state.refuses_grab = refuse;
}
void misplace_windows(point offset) {
    state.offset = offset;
}

} // namespace display::memory
