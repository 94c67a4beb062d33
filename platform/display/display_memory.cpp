#include "platform/display/display_memory.h"

#include "platform/clock/program_clock.h"
#include "platform/display/display_memory_state.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace display {
namespace {

using namespace memory;

window_id last_id = 0; // outlives reset: numbers are not used again

// Reads PLAYER_SCREEN; false after a report when it makes no sense.
bool read_screen(point *out) {
    const char *text = std::getenv("PLAYER_SCREEN");
    if (text == nullptr || *text == '\0') {
        return true;
    }
    const char *end = text + std::strlen(text);
    point size;
    const auto width = std::from_chars(text, end, size.x);
    if (width.ec == std::errc{} && width.ptr != end && *width.ptr == 'x') {
        const auto height = std::from_chars(width.ptr + 1, end, size.y);
        if (height.ec == std::errc{} && height.ptr == end && is_possible_size(size.x, size.y, 1)) {
            *out = size;
            return true;
        }
    }
    std::fprintf(stderr, "display: PLAYER_SCREEN is \"%s\"; it must be like 1280x1024\n", text);
    return false;
}

bool connect() {
    point screen = default_screen;
    if (!read_screen(&screen)) {
        return false;
    }
    reset(screen);
    return waiting.fd() >= 0;
}

void disconnect() {
    reset(state.screen);
    waiting.close();
}

point screen() {
    return state.screen;
}
int scale() {
    return 1;
}

window_id open(const char *title, rectangle rect, window_kind kind, window_id owner) {
    if (!check_window_size(rect, 1)) {
        return 0;
    }
    auto w = std::make_unique<simulated_window>();
    if (!state.refuses_open) {
        w->frames[0] = make_block(rect.width, rect.height);
        w->shown = make_block(rect.width, rect.height);
    }
    if (!w->frames[0].memory || !w->shown.memory) {
        report_no_memory(rect.width, rect.height);
        return 0;
    }
    w->id = ++last_id;
    w->facts.open = true;
    w->facts.title = title;
    w->facts.area = rect;
    w->facts.kind = kind;
    w->facts.state = window_state::shown;
    w->facts.owner = owner;
    state.windows.push_back(std::move(w));
    insert_redraw(*state.windows.back());
    return last_id;
}

void close(window_id id) {
    std::erase_if(state.windows, [id](const auto &w) { return w->id == id; });
    std::erase_if(state.script,
                  [id](const auto &entry) { return id != 0 && entry.what.window == id; });
    state.grabbing = state.grabbing == id ? 0 : state.grabbing;
    refresh_fd();
}

void configure(window_id id, rectangle rect) {
    simulated_window *w = find(id);
    if (w == nullptr) {
        return;
    }
    rect = clamp_window_size(rect, 1);
    rect.x += state.offset.x;
    rect.y += state.offset.y;
    if (rect == w->facts.area) {
        return;
    }
    w->facts.area = rect;
    for (scripted_event &entry : state.script) {
        const event &e = entry.what;
        if (e.kind == event_kind::geometry && e.window == id && entry.due == already_due) {
            entry.what.area = rect; // one answer to several requests, as servers do
            return;
        }
    }
    event e;
    e.kind = event_kind::geometry;
    e.window = id;
    e.area = rect;
    insert_now(e);
}

rectangle geometry(window_id id) {
    const simulated_window *w = find(id);
    return w != nullptr ? w->facts.area : rectangle{};
}

void restack(window_id id, bool to_top) {
    const auto at = std::find_if(state.windows.begin(), state.windows.end(),
                                 [id](const auto &w) { return w->id == id; });
    if (to_top) {
        std::rotate(at, at + 1, state.windows.end());
    } else {
        std::rotate(state.windows.begin(), at, at + 1);
    }
}

void set_state(window_id id, window_state wanted) {
    simulated_window *w = find(id);
    if (w == nullptr) {
        return;
    }
    const bool was_visible = is_visible(*w);
    const bool was_iconic = w->facts.state == window_state::iconic;
    w->facts.state = wanted;
    const bool visible = is_visible(*w);
    if (wanted == window_state::raised || wanted == window_state::lowered) {
        restack(id, wanted == window_state::raised);
        w->facts.state = window_state::shown;
    }
    if (wanted == window_state::iconic && !was_iconic) {
        insert_state(*w, event_kind::iconify);
    }
    if (visible && was_iconic) {
        insert_state(*w, event_kind::deiconify);
    }
    if (visible && !was_visible) {
        insert_redraw(*w);
    }
}

void set_title(window_id id, const char *title) {
    if (simulated_window *w = find(id)) {
        w->facts.title = title;
    }
}

void set_cursor(window_id id, cursor_shape shape) {
    if (simulated_window *w = find(id)) {
        w->facts.cursor = shape;
    }
}

void define_cursor(cursor_shape shape, const cursor_picture &picture) {
    state.cursors[static_cast<std::size_t>(shape)] = picture;
}

surface frame(window_id id, int index) {
    simulated_window *w = find(id);
    if (w == nullptr || index < 0 || index >= frames_per_window) {
        return {};
    }
    pixel_block &block = w->frames[static_cast<std::size_t>(index)];
    if (!block.memory) {
        block = make_block(w->shown.view.width, w->shown.view.height);
        if (!block.memory) {
            report_no_memory(w->shown.view.width, w->shown.view.height);
        }
    }
    return block.view;
}

void present(window_id id, int index, rectangle area) {
    simulated_window *w = find(id);
    if (w == nullptr) {
        return;
    }
    const surface from = frame(id, index);
    area = intersect(area, {0, 0, from.width, from.height});
    copy_area(from, w->shown.view, area);
    ++w->facts.presents;
    w->facts.pixels_shown += std::int64_t{area.width} * area.height;
}

point pointer() {
    return state.pointer;
}

bool caps_locked() {
    return state.caps_locked;
}

void warp(point to) {
    if (to == state.pointer) {
        return;
    }
    state.pointer = to;
    push_motion(to);
}

bool grab(window_id id, bool on) {
    if (on && (state.refuses_grab || find(id) == nullptr)) {
        return false;
    }
    state.grabbing = on ? id : 0;
    return true;
}

void set_tick(std::int64_t due_us) {
    state.tick = std::max(due_us, no_time);
    refresh_fd();
}

int fd() {
    refresh_fd(); // a manual clock may have moved since
    return waiting.fd();
}

bool next(event *out) {
    const bool found = take_due(out);
    refresh_fd();
    return found;
}

void wait(std::int64_t timeout_us) {
    const std::int64_t now = program_clock::now_us();
    std::int64_t until = next_due();
    if (until == no_time && timeout_us < 0) {
        if (!state.end_reported) {
            event e;
            e.kind = event_kind::lost;
            insert_now(e);
            state.end_reported = true;
        }
        return;
    }
    if (timeout_us >= 0 && (until == no_time || until > now + timeout_us)) {
        until = now + timeout_us;
    }
    if (until > now) {
        program_clock::sleep_until_us(until);
    }
    refresh_fd();
}

const std::string &dropped_path() {
    return state.dropped;
}

void offer_text(text_offer which, std::string_view text) {
    if (text.size() > longest_paste) {
        return;
    }
    state.offers[static_cast<std::size_t>(which)] = {std::string(text), true, false};
}

bool request_text(text_offer which) {
    std::erase_if(state.script,
                  [](const auto &entry) { return entry.what.kind == event_kind::paste; });
    const offered &offer = state.offers[static_cast<std::size_t>(which)];
    if (offer.is_own) {
        state.pasted = offer.text;
        return true;
    }
    if (!offer.text.empty() && !offer.hangs) {
        event e;
        e.kind = event_kind::paste;
        insert(already_due, e, offer.text.c_str());
    }
    return false;
}

const std::string &pasted_text() {
    return state.pasted;
}

void set_identity(const char *, const char *, std::span<const std::uint32_t>, int) {}

constexpr driver memory_calls{
    .name = "memory",
    .connect = connect,
    .disconnect = disconnect,
    .screen = screen,
    .scale = scale,
    .open = open,
    .close = close,
    .configure = configure,
    .geometry = geometry,
    .set_state = set_state,
    .set_title = set_title,
    .set_cursor = set_cursor,
    .define_cursor = define_cursor,
    .window_at = window_at,
    .frame = frame,
    .present = present,
    .pointer = pointer,
    .caps_locked = caps_locked,
    .warp = warp,
    .grab = grab,
    .set_tick = set_tick,
    .fd = fd,
    .next = next,
    .wait = wait,
    .dropped_path = dropped_path,
    .offer_text = offer_text,
    .request_text = request_text,
    .pasted_text = pasted_text,
    .set_identity = set_identity,
};

} // namespace

const driver &memory_driver() {
    return memory_calls;
}

} // namespace display
