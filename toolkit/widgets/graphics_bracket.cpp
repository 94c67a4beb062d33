#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/widgets/widgets.h"

#include <vector>

namespace toolkit {

namespace {

struct kept_graphics {
    int wid = no_window;
    int gl_window = no_window; // ids are used again
    bool has_space = false;    // the two below were kept
    gl_viewport viewport;
    gl_matrix matrix;
};
std::vector<kept_graphics> kept;

int gl_window_of(int wid) {
    const window_record *record = gl_get_window_record(wid);
    return record != nullptr ? record->gl_window : no_window;
}

bool is_same(const gl_matrix &a, const gl_matrix &b) {
    return a.space == b.space && a.left == b.left && a.right == b.right && a.bottom == b.bottom &&
           a.top == b.top;
}

} // namespace

void getGraphics() {
    kept_graphics now;
    now.wid = gl_get_win();
    now.gl_window = gl_window_of(now.wid);
    now.has_space = gl_inq_screenspace() == 0;
    if (now.has_space) {
        now.viewport = gl_get_viewport();
        now.matrix = gl_get_matrix();
    }
    kept.push_back(now);
}

void putGraphics() {
    if (kept.empty())
        return;
    const kept_graphics before = kept.back();
    kept.pop_back();
    const bool is_open =
        before.gl_window != no_window && gl_window_of(before.wid) == before.gl_window;
    gl_win_set(is_open ? before.wid : no_window);
    if (!is_open || !before.has_space)
        return;
    if (gl_get_viewport() != before.viewport)
        gl_put_viewport(before.viewport);
    if (!is_same(gl_get_matrix(), before.matrix))
        gl_put_matrix(before.matrix);
}

void forget_graphics() {
    kept.clear();
}

} // namespace toolkit
