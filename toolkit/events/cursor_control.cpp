#include "toolkit/events/cursor_control.h"

#include "platform/gl/input.h"
#include "platform/gl/screen.h"

#include <algorithm>
#include <limits>

namespace toolkit {
namespace {

constexpr int slow_cursor = 1;
constexpr int fast_cursor = 10;

struct cursor_box {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

cursor_box box;
bool constrained = false;
int cursor_speed = slow_cursor;

std::int16_t to_16_bits(int number) {
    using range = std::numeric_limits<std::int16_t>;
    return static_cast<std::int16_t>(std::clamp<int>(number, range::min(), range::max()));
}

std::int16_t clamp_to(std::int16_t at, int low, int length) {
    const std::int64_t high = std::int64_t{low} + length - 1;
    return to_16_bits(static_cast<int>(std::clamp<std::int64_t>(at, low, high)));
}

} // namespace

screen_point constrain_cursor(screen_point p) {
    if (!constrained || box.width < 1 || box.height < 1)
        return p;
    return {clamp_to(p.x, box.x, box.width), clamp_to(p.y, box.y, box.height)};
}

void gl_set_valuator(int x, int y) {
    const screen_point to = constrain_cursor({to_16_bits(x), to_16_bits(y)});
    gl::setvaluator(gl::MOUSEX, to.x, 0, gl::getgdesc(gl::GD_XPMAX) - 1);
    gl::setvaluator(gl::MOUSEY, to.y, 0, gl::getgdesc(gl::GD_YPMAX) - 1);
}

void gl_get_valuator(std::int16_t *x, std::int16_t *y) {
    if (x != nullptr)
        *x = to_16_bits(gl::getvaluator(gl::MOUSEX));
    if (y != nullptr)
        *y = to_16_bits(gl::getvaluator(gl::MOUSEY));
}

void gl_set_mouse_box(int x, int y, int width, int height) {
    box = {x, y, width, height};
}

void pull_cursor_into_box() {
    screen_point at;
    gl_get_valuator(&at.x, &at.y);
    gl_set_valuator(at.x, at.y);
}

void gl_constrain_mouse() {
    constrained = true;
    pull_cursor_into_box();
}

void gl_unconstrain_mouse() {
    constrained = false;
}

void gl_toggle_cursor_speed() {
    cursor_speed = cursor_speed == slow_cursor ? fast_cursor : slow_cursor;
}

int inq_cursor_speed() {
    return cursor_speed;
}

} // namespace toolkit
