#include "toolkit/demons/demon_cursors.h"

#include "platform/gl/drawing.h"
#include "toolkit/graphics/cursors.h"
#include "toolkit/graphics/overlay_drawing.h"

namespace toolkit {

namespace {

constexpr int cross_reach = 10; // pixels of the large cross around its point

bool draws_itself(const demon *self) {
    return self->cursor_draw != nullptr && self->cursor_draw != nullcur &&
           self->cursor_draw != x_cursor;
}

// The routine may destroy the demon.
void erase_cursor(demon *self) {
    const bool shown = self->cursor_shown != 0;
    self->cursor_shown = 0;
    if (shown && self->cursor_erase != nullptr)
        self->cursor_erase(self, self->cursor);
}

void draw_cross(screen_point at, int index) {
    const overlay_drawing over(index);
    gl::move2i(at.x - cross_reach, at.y - cross_reach);
    gl::draw2i(at.x + cross_reach, at.y + cross_reach);
    gl::move2i(at.x - cross_reach, at.y + cross_reach);
    gl::draw2i(at.x + cross_reach, at.y - cross_reach);
}

void draw_xhair(const screen_box &box, screen_point at, int index) {
    const screen_box area = inside(box, 1);
    if (area.width <= 0 || area.height <= 0)
        return;
    const overlay_drawing over(index);
    gl::rectfi(area.x, at.y, area.x + area.width - 1, at.y);
    gl::rectfi(at.x, area.y, at.x, area.y + area.height - 1);
}

} // namespace

void demon_cursor(demon *self, screen_point at, cursor_mode mode) {
    gl_set_cursor(self->cursor_draw == x_cursor ? cursor_crossed : cursor_plain);
    const bool draws = draws_itself(self);
    const demon_ref kept = refer_to_demon(self);
    if (draws) { // on entering as well: no demon shows two
        set_win_do(self);
        erase_cursor(self);
    }
    if (mode == cursor_mode::left || kept.get() == nullptr || self->cursor_draw == nullcur)
        return;
    self->previous_cursor = self->cursor;
    self->cursor = at;
    if (!draws)
        return;
    set_win_do(self);
    self->cursor_draw(self, at);
    if (kept.get() != nullptr)
        self->cursor_shown = demon_on;
}

void x_cursor(display_object *, screen_point) {}

void big_x_cursor(display_object *, screen_point at) {
    draw_cross(at, overlay_cursor);
}

void erase_big_x_cursor(display_object *, screen_point at) {
    draw_cross(at, overlay_clear);
}

void xhair_cursor(display_object *self, screen_point at) {
    draw_xhair(self->box, at, overlay_cursor);
}

void erase_xhair_cursor(display_object *self, screen_point at) {
    draw_xhair(self->box, at, overlay_clear);
}

} // namespace toolkit
