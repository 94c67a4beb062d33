#include "toolkit/graphics/drawing.h"

#include "platform/gl/drawing.h"
#include "platform/gl/windows.h"
#include "toolkit/graphics/standard_colours.h"

#include <algorithm>

namespace toolkit {
namespace {

constexpr int rgb_mode = 255;

bool has_area(const screen_box &box) {
    return box.width > 0 && box.height > 0;
}

} // namespace

void gl_set_draw_value(int index) {
    const color_map &map = default_color_map();
    if (index < 0 || index >= map.size)
        return;
    if (!gl::is_rgb_mode()) {
        gl::color(index);
        return;
    }
    std::int16_t red = 0, green = 0, blue = 0;
    gl_unpack_color(map.colours[static_cast<std::size_t>(index)], &red, &green, &blue);
    gl::RGBcolor(red, green, blue);
}

int gl_inq_color_mode() {
    return gl::is_rgb_mode() ? rgb_mode : 0;
}

void gl_draw_box(const screen_box &box) {
    if (has_area(box))
        gl::recti(box.x, box.y, box.x + box.width - 1, box.y + box.height - 1);
}

void gl_fill_box(const screen_box &box, int index) {
    gl_set_draw_value(index);
    if (has_area(box))
        gl::rectfi(box.x, box.y, box.x + box.width - 1, box.y + box.height - 1);
}

void gl_outline_fill_box(const screen_box &box, int fill, int outline) {
    gl_fill_box(inside(box, 1), fill);
    gl_set_draw_value(outline);
    gl_draw_box(box);
}

screen_box inside(const screen_box &box, int margin) {
    const auto narrow = [](int v) {
        return static_cast<std::int16_t>(std::clamp(v, -32768, 32767));
    };
    return {narrow(box.x + margin), narrow(box.y + margin),
            narrow(std::max(box.width - 2 * margin, 0)),
            narrow(std::max(box.height - 2 * margin, 0))};
}

void gl_draw_line(int x1, int y1, int x2, int y2) {
    gl::move2i(x1, y1);
    gl::draw2i(x2, y2);
}

void gl_draw_point(int x, int y) {
    gl::pnt2i(x, y);
}

void gl_draw_circle(int x, int y, int radius) {
    gl::circi(x, y, radius);
}

void gl_fill_circle(int x, int y, int radius) {
    gl::circfi(x, y, radius);
}

} // namespace toolkit
