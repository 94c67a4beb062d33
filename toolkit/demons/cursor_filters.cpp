#include "toolkit/demons/cursor_filters.h"

#include "platform/gl/input.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/graphics/window_table.h"

#include <algorithm>
#include <vector>

namespace toolkit {

namespace {

// How far the real cursor is moved: the design's screen, whatever this one is.
constexpr int furthest_x = 1280;
constexpr int furthest_y = 1024;

struct filter_record {
    screen_box box;
    std::int32_t window = no_window;
};

std::vector<filter_record> filter_stack; // the newest one last
filter_record current;                   // a copy of it

// The nearest of `extent` pixels from `first` on; `extent` is at least 1.
std::int16_t clamp_into(std::int16_t place, std::int16_t first, std::int16_t extent) {
    const int last = first + extent - 1; // beyond 16 bits no place is
    return static_cast<std::int16_t>(std::clamp<int>(place, first, last));
}

bool is_over_other_window(screen_point at) {
    if (current.window == no_window)
        return false;
    const int found = gl_get_win_pos(at.x, at.y);
    return found != no_window && found != current.window;
}

} // namespace

cursor_filter_function cursor_filter = null_filter;

void null_filter(screen_point in, screen_point *out) {
    *out = in;
}

void box_filter(screen_point in, screen_point *out) {
    *out = in;
    const screen_box &box = current.box;
    if (box.width <= 0 || box.height <= 0 || is_over_other_window(in))
        return;
    out->x = clamp_into(in.x, box.x, box.width);
    out->y = clamp_into(in.y, box.y, box.height);
    gl::setvaluator(gl::MOUSEX, out->x, 0, furthest_x);
    gl::setvaluator(gl::MOUSEY, out->y, 0, furthest_y);
}

void push_filter(const screen_box &box, std::int32_t window) {
    current = {box, window};
    filter_stack.push_back(current);
    cursor_filter = box_filter;
}

int pop_filter() {
    if (filter_stack.empty())
        return 0;
    filter_stack.pop_back();
    if (filter_stack.empty()) {
        current = {};
        cursor_filter = null_filter;
    } else {
        current = filter_stack.back();
    }
    return 1;
}

void set_filter(int kind, const screen_box &box, std::int32_t window) {
    if (kind == filter_box)
        push_filter(box, window);
    while (kind == filter_off && pop_filter() != 0)
        continue;
}

} // namespace toolkit
