#include "platform/gl/windows.h"

#include "platform/clock/program_clock.h"
#include "platform/gl/drawing.h"
#include "platform/gl/event_pump.h"
#include "platform/gl/queue.h"
#include "platform/gl/queue_state.h"
#include "platform/gl/screen.h"
#include "platform/gl/window_record.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace gl {
namespace {

// How long a call waits for the desktop's answer to a new place before it goes on without it.
constexpr std::int64_t answer_limit_us = 100 * program_clock::us_per_ms;

constexpr int beyond_screen = 1 << 20; // places are brought to this; keeps the sums small

// What the next winopen takes.
struct preferences {
    bool placed = false;
    bool sized = false;
    rectangle area; // origin top left
    display::window_kind kind = display::window_kind::normal;
    int owner = 0;
};
preferences preferred;

// Screen corners, origin lower left, as a rectangle with its origin at the top left.
rectangle from_corners(int left, int right, int bottom, int top) {
    const auto near = [](int v) { return std::clamp(v, -beyond_screen, beyond_screen); };
    const int l = near(std::min(left, right));
    const int b = near(std::min(bottom, top));
    const int width = std::min(near(std::max(left, right)) - l + 1, max_window_size);
    const int height = std::min(near(std::max(bottom, top)) - b + 1, max_window_size);
    return {l, getgdesc(GD_YPMAX) - b - height, width, height};
}

rectangle preferred_area() {
    if (preferred.placed)
        return preferred.area;
    const int width = preferred.sized ? preferred.area.width : default_window_width;
    const int height = preferred.sized ? preferred.area.height : default_window_height;
    return {(getgdesc(GD_XPMAX) - width) / 2, (getgdesc(GD_YPMAX) - height) / 2, width, height};
}

void set_state(int window, display::window_state state) {
    if (const window_record *w = find_window(window))
        display::server().set_state(w->id, state);
}

void change_area(window_record &w, rectangle wanted) {
    if (w.area == wanted)
        return;
    const display::driver &server = display::server();
    const int number = w.number;
    server.configure(w.id, wanted);
    const std::int64_t limit = program_clock::now_us() + answer_limit_us;
    for (;;) {
        pump_display();
        const window_record *now = find_window(number);
        const std::int64_t left = limit - program_clock::now_us();
        if (now == nullptr || now->area == wanted || left <= 0 || is_display_lost())
            return;
        server.wait(left);
    }
}

void set_buffering(window_record &w, bool double_buffered) {
    w.modes.double_buffered = double_buffered;
    w.draw_front = !double_buffered;
    w.draw_back = double_buffered;
}

} // namespace

void prefposition(int left, int right, int bottom, int top) {
    preferred.placed = true;
    preferred.area = from_corners(left, right, bottom, top);
}

void prefsize(int width, int height) {
    preferred.sized = true;
    preferred.area.width = std::clamp(width, 1, max_window_size);
    preferred.area.height = std::clamp(height, 1, max_window_size);
}

void noborder() {
    preferred.kind = display::window_kind::popup;
}

void windialog(int owner) {
    preferred.kind = owner != 0 ? display::window_kind::dialog : display::window_kind::normal;
    preferred.owner = owner;
}

void winclass(const char *instance, const char *class_name, std::span<const std::uint32_t> icon,
              int icon_width) {
    display::server().set_identity(instance, class_name, icon, icon_width);
}

int winopen(const char *title) {
    const display::driver &server = display::server();
    const rectangle area = preferred_area();
    const window_record *owner = find_window(preferred.owner);
    const preferences taken = std::exchange(preferred, preferences{});

    window_record *w = new_record();
    if (w == nullptr) {
        std::fprintf(stderr, "winopen: all %d windows are in use\n", max_windows);
        return -1;
    }
    w->id = server.open(title == nullptr ? "" : title, area, taken.kind,
                        owner == nullptr ? 0 : owner->id);
    if (w->id == 0) {
        release_record(*w);
        return -1;
    }
    // The frames have the size that was asked for. A desktop that has given another one already
    // says so in an event, and only then are they renewed.
    w->area = server.geometry(w->id);
    w->area.width = area.width;
    w->area.height = area.height;
    w->view.port = w->view.mask = {0, w->area.width - 1, 0, w->area.height - 1};
    renew_rasters(*w, w->area.width, w->area.height);
    set_current_window(w);
    return w->number;
}

void winclose(int window) {
    window_record *w = find_window(window);
    if (w == nullptr)
        return;
    display::server().close(w->id);
    forget_focus(w->id);
    release_record(*w);
    forget_window_events(window);
}

void winset(int window) {
    if (window_record *w = find_window(window))
        set_current_window(w);
}

int winget() {
    const window_record *w = current_window();
    return w == nullptr ? 0 : w->number;
}

bool is_window(int window) {
    return find_window(window) != nullptr;
}

int window_at(int x, int y) {
    const auto near = [](int v) { return std::clamp(v, -beyond_screen, beyond_screen); };
    const display::point p = turned({near(x), near(y)});
    bool is_possible = false; // most places are outside all of ours: the display is not asked
    for_each_window([&](const window_record &w) {
        const rectangle spot = display::intersect(w.area, {p.x, p.y, 1, 1});
        is_possible = is_possible || (!w.iconic && spot.width > 0 && spot.height > 0);
    });
    if (!is_possible)
        return 0;
    const window_record *w = find_window_by_id(display::server().window_at(p));
    return w == nullptr ? 0 : w->number;
}

void wintitle(const char *title) {
    if (const window_record *w = current_window())
        display::server().set_title(w->id, title == nullptr ? "" : title);
}

void getorigin(int *x, int *y) {
    const window_record *w = current_window();
    *x = w == nullptr ? 0 : w->area.x;
    *y = w == nullptr ? 0 : getgdesc(GD_YPMAX) - w->area.y - w->area.height;
}

void getsize(int *width, int *height) {
    const window_record *w = current_window();
    *width = w == nullptr ? 0 : w->area.width;
    *height = w == nullptr ? 0 : w->area.height;
}

void winposition(int left, int right, int bottom, int top) {
    if (window_record *w = current_window())
        change_area(*w, from_corners(left, right, bottom, top));
}

void winmove(int left, int bottom) {
    if (window_record *w = current_window())
        change_area(
            *w, from_corners(left, left + w->area.width - 1, bottom, bottom + w->area.height - 1));
}

void winpop() {
    set_state(winget(), display::window_state::raised);
}
void winpush() {
    set_state(winget(), display::window_state::lowered);
}
void iconify(int window) {
    set_state(window, display::window_state::iconic);
}
void deiconify(int window) {
    set_state(window, display::window_state::shown);
}
void hide(int window) {
    set_state(window, display::window_state::hidden);
}
void show(int window) {
    set_state(window, display::window_state::shown);
}

bool is_iconic(int window) {
    const window_record *w = find_window(window);
    return w != nullptr && w->iconic;
}

bool grab_pointer(int window) {
    const window_record *w = find_window(window);
    if (window != 0 && w == nullptr)
        return false;
    return display::server().grab(w == nullptr ? 0 : w->id, w != nullptr);
}

void RGBmode() {
    if (window_record *w = current_window())
        w->wanted.rgb = true;
}

void cmode() {
    if (window_record *w = current_window())
        w->wanted.rgb = false;
}

void doublebuffer() {
    if (window_record *w = current_window())
        w->wanted.double_buffered = true;
}

void singlebuffer() {
    if (window_record *w = current_window())
        w->wanted.double_buffered = false;
}

void overlay(int planes) {
    if (window_record *w = current_window())
        w->wanted.has_overlay = planes > 0;
}

void gconfig() {
    window_record *w = current_window();
    if (w == nullptr)
        return;
    const bool kind_changes = w->modes.rgb != w->wanted.rgb;
    const bool buffers_change = w->modes.double_buffered != w->wanted.double_buffered;
    w->modes.has_overlay = w->wanted.has_overlay;
    if (!w->modes.has_overlay)
        drop_overlay(*w);
    if (kind_changes) {
        w->modes.rgb = w->wanted.rgb;
        w->composed = !w->modes.rgb || !w->overlay.empty();
        w->planes = {};
    }
    if (buffers_change)
        set_buffering(*w, w->wanted.double_buffered);
    if (kind_changes || buffers_change)
        renew_rasters(*w, w->area.width, w->area.height);
    if (kind_changes)
        erase_buffers(*w); // the old pixels mean nothing in the new mode
    else if (buffers_change && w->modes.double_buffered)
        equalise_buffers(*w);
}

bool is_rgb_mode() {
    const window_record *w = current_window();
    return w == nullptr || w->modes.rgb;
}

bool is_double_buffered() {
    const window_record *w = current_window();
    return w != nullptr && w->modes.double_buffered;
}

void frontbuffer(bool on) {
    window_record *w = current_window();
    if (w != nullptr && w->modes.double_buffered)
        w->draw_front = on;
}

void backbuffer(bool on) {
    window_record *w = current_window();
    if (w != nullptr && w->modes.double_buffered)
        w->draw_back = on;
}

void swapbuffers() {
    if (window_record *w = current_window())
        swap_rasters(*w);
}

void flush_windows() {
    for_each_window(show_damage);
}

} // namespace gl
