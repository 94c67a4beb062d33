#include "toolkit/graphics/spaces.h"

#include "platform/gl/screen.h"
#include "platform/gl/windows.h"

#include <algorithm>

namespace toolkit {
namespace {

constexpr int space_on = 255;
constexpr int nowhere = -2; // a pixel outside every window

bool is_screenspace() {
    return gl::getmatrix().space == gl::coordinate_space::screen;
}

} // namespace

void gl_inq_screen_size(int *width, int *height) {
    *width = gl::getgdesc(gl::GD_XPMAX);
    *height = gl::getgdesc(gl::GD_YPMAX);
}

void gl_get_device_extent(int *width, int *height) {
    gl_inq_screen_size(width, height);
}

void gl_screenspace() {
    if (is_screenspace())
        return;
    gl::reshapeviewport();
    gl::screenspace();
}

int gl_inq_screenspace() {
    return is_screenspace() ? space_on : 0;
}

gl_matrix gl_get_matrix() {
    return gl::getmatrix();
}

void gl_put_matrix(const gl_matrix &matrix) {
    gl::loadmatrix(matrix);
}

gl_viewport gl_get_viewport() {
    gl_viewport v;
    gl::getviewport(&v.left, &v.right, &v.bottom, &v.top);
    return v;
}

void gl_put_viewport(const gl_viewport &viewport) {
    gl::viewport(viewport.left, viewport.right, viewport.bottom, viewport.top);
}

void gl_set_clip_box(const screen_box &box) {
    int x = 0, y = 0;
    if (is_screenspace())
        gl::getorigin(&x, &y);
    int left = 0, right = 0, bottom = 0, top = 0;
    gl::pushviewport();
    gl::getscrmask(&left, &right, &bottom, &top);
    left = std::max(left, box.x - x);
    right = std::min(right, box.x - x + box.width - 1);
    bottom = std::max(bottom, box.y - y);
    top = std::min(top, box.y - y + box.height - 1);
    if (left <= right && bottom <= top)
        gl::scrmask(left, right, bottom, top);
    else
        gl::scrmask(nowhere, nowhere, nowhere, nowhere);
}

void gl_reset_clip_box() {
    gl::popviewport();
}

} // namespace toolkit
