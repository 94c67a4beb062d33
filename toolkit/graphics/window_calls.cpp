#include "toolkit/graphics/window_calls.h"

#include "platform/gl/drawing.h"
#include "platform/gl/windows.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/window_table.h"

namespace toolkit {
namespace {

// The record of an open window, or null.
window_record *open_window(int wid) {
    window_record *r = gl_get_window_record(wid);
    return r != nullptr && r->gl_window != no_window ? r : nullptr;
}

// Makes a GL window current until the end of the block.
class other_window {
public:
    explicit other_window(int gl_window) : before_(gl::winget()) { gl::winset(gl_window); }
    ~other_window() { gl::winset(before_); }
    other_window(const other_window &) = delete;
    other_window &operator=(const other_window &) = delete;

private:
    int before_;
};

void refresh(int wid) {
    window_record *r = open_window(wid);
    if (r == nullptr)
        return;
    if ((r->flags & window_frozen) != 0) {
        r->flags |= window_missed_refresh;
        return;
    }
    r->flags = static_cast<std::int16_t>(r->flags & ~window_missed_refresh);
    draw_window_demon(*r);
}

} // namespace

int gl_get_win() {
    return curr_wid;
}

void gl_set_win(int wid) {
    gl_win_set(wid);
    if (curr_wid != no_window)
        gl_screenspace();
}

void gl_win_set(int wid) {
    const window_record *r = open_window(wid);
    curr_wid = r == nullptr ? no_window : wid;
    if (r != nullptr)
        gl::winset(r->gl_window);
}

int gl_get_win_pos(int x, int y) {
    const int gl_window = gl::window_at(x, y);
    return gl_window == 0 ? no_window : gl_find_wid(gl_window);
}

void gl_win_pop(int wid) {
    if (const window_record *r = open_window(wid)) {
        const other_window guard(r->gl_window);
        gl::winpop();
    }
}

void gl_double_buffer(int wid, bool on) {
    const window_record *r = open_window(wid);
    if (r == nullptr)
        return;
    const other_window guard(r->gl_window);
    if (on)
        gl::doublebuffer();
    else
        gl::singlebuffer();
    gl::gconfig();
    gl::frontbuffer(true);
    gl::backbuffer(true);
}

void gl_set_win_color_mode(int wid, bool by_index) {
    window_record *r = open_window(wid);
    if (r == nullptr)
        return;
    r->color_map_mode = by_index ? 1 : 0;
    const other_window guard(r->gl_window);
    if (by_index)
        gl::cmode();
    else
        gl::RGBmode();
    gl::gconfig();
    gl_set_draw_value(colour_background);
    gl::clear();
}

void gl_refresh(int gl_window) {
    const int before = curr_wid;
    if (gl_window == all_windows) {
        for (int wid = 0; wid < num_wids; wid++)
            refresh(wid);
    } else {
        refresh(gl_find_wid(gl_window));
    }
    gl_win_set(before);
}

void gl_win_freeze(int gl_window) {
    if (window_record *r = open_window(gl_find_wid(gl_window)))
        r->flags |= window_frozen;
}

void gl_win_thaw(int gl_window) {
    window_record *r = open_window(gl_find_wid(gl_window));
    if (r == nullptr)
        return;
    const bool has_missed = (r->flags & window_missed_refresh) != 0;
    r->flags = static_cast<std::int16_t>(r->flags & ~(window_frozen | window_missed_refresh));
    if (has_missed)
        gl_refresh(gl_window);
}

void gl_close_iris_wid(int gl_window) {
    gl_win_close(gl_find_wid(gl_window));
}

} // namespace toolkit
