#include "platform/display/x11_queue.h"

#include "platform/clock/program_clock.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace display::x11 {
namespace {

std::deque<queued_event> queue;

event *find_waiting(event_kind kind, window_id window) {
    const auto at = std::find_if(queue.begin(), queue.end(), [=](const queued_event &q) {
        return q.what.kind == kind && q.what.window == window;
    });
    return at == queue.end() ? nullptr : &at->what;
}

// True when e needs no place of its own.
bool join(const event &e) {
    if (e.kind == event_kind::motion && !queue.empty()) {
        event &last = queue.back().what;
        if (last.kind == e.kind && last.window == e.window) {
            last.pointer = e.pointer;
            return true;
        }
    }
    if (e.kind == event_kind::redraw || e.kind == event_kind::geometry) {
        if (event *waiting = find_waiting(e.kind, e.window)) {
            waiting->area = enclose(waiting->area, e.area);
            return true;
        }
    }
    return false;
}

} // namespace

void push_event(const event &e) {
    if (!join(e)) {
        queue.push_back({e, {}});
        queue.back().what.time_us = program_clock::now_us();
    }
}

void push_window_event(event_kind kind, window_id window) {
    event e;
    e.kind = kind;
    e.window = window;
    push_event(e);
}

void push_redraw(window_id window, rectangle area) {
    event e;
    e.kind = event_kind::redraw;
    e.window = window;
    e.area = area;
    push_event(e);
}

void push_drop(window_id window, point pointer, std::string path) {
    event e;
    e.kind = event_kind::drop;
    e.window = window;
    e.pointer = pointer;
    push_event(e);
    queue.back().text = std::move(path);
}

void forget_paste() {
    std::erase_if(queue, [](const queued_event &q) { return q.what.kind == event_kind::paste; });
}

void push_paste(std::string text) {
    forget_paste();
    push_window_event(event_kind::paste, 0);
    queue.back().text = std::move(text);
}

bool pop_event(queued_event *out) {
    if (queue.empty()) {
        return false;
    }
    *out = std::move(queue.front());
    queue.pop_front();
    return true;
}

bool has_events() {
    return !queue.empty();
}

void forget_events(window_id window) {
    std::erase_if(queue, [window](const queued_event &q) { return q.what.window == window; });
}

void forget_all_events() {
    queue.clear();
}

} // namespace display::x11
