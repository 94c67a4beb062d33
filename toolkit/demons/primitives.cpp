#include "toolkit/demons/primitives.h"

#include "platform/gl/drawing.h"
#include "toolkit/graphics/overlay_drawing.h"

namespace toolkit {

namespace {

constexpr int cursor_reach = 4; // pixels of boxcur around its point

void set_hilite(display_object *self, std::uint16_t state) {
    if (self->hilited == state)
        return;
    self->hilited = state;
    if (gl_inq_color_mode() == 0)
        xor_box(self->box);
    else if (self->draw != nullptr)
        self->draw(self);
}

void draw_boxcur(screen_point at, int overlay_index) {
    const overlay_drawing over(overlay_index);
    gl::recti(at.x - cursor_reach, at.y - cursor_reach, at.x + cursor_reach, at.y + cursor_reach);
}

} // namespace

void null_draw(display_object *) {}

void do_hilite_bn(display_object *self) {
    set_hilite(self, is_hilited);
}

void do_dehilite_bn(display_object *self) {
    set_hilite(self, 0);
}

void move_abs(int x, int y) {
    gl::move2i(x, y);
}

void draw_abs(int x, int y) {
    gl::draw2i(x, y);
}

void draw_line_2d(int x1, int y1, int x2, int y2) {
    gl_draw_line(x1, y1, x2, y2);
}

void draw_point(int x, int y) {
    gl_draw_point(x, y);
}

void draw_circle(int x, int y, int radius) {
    gl_draw_circle(x, y, radius);
}

void nullcur(display_object *, screen_point) {}

void boxcur(display_object *, screen_point at) {
    draw_boxcur(at, overlay_cursor);
}

void erase_boxcur(display_object *, screen_point at) {
    draw_boxcur(at, overlay_clear);
}

} // namespace toolkit
