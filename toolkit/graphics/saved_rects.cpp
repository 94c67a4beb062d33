#include "toolkit/graphics/saved_rects.h"

#include "platform/gl/drawing.h"
#include "platform/gl/pixels.h"
#include "platform/gl/windows.h"
#include "toolkit/graphics/spaces.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace toolkit {

struct saved_rect {
    int gl_window = 0;
    bool is_rgb = true;
    int left = 0, right = 0, bottom = 0, top = 0; // window pixels, all inside
    std::vector<std::uint32_t> pixels;
};

namespace {

std::vector<std::unique_ptr<saved_rect>> rects;

auto find(const saved_rect *rect) {
    return std::find_if(rects.begin(), rects.end(),
                        [rect](const auto &r) { return r.get() == rect; });
}

// Window coordinates, all pixels and all their bits, until the end of the block.
class whole_window {
public:
    whole_window() {
        gl::pushviewport();
        gl::pushmatrix();
        gl::reshapeviewport();
        gl::writemask(gl::all_bits);
    }
    ~whole_window() {
        gl::writemask(mask_);
        gl::popmatrix();
        gl::popviewport();
    }
    whole_window(const whole_window &) = delete;
    whole_window &operator=(const whole_window &) = delete;

private:
    std::uint32_t mask_ = gl::getwritemask();
};

} // namespace

saved_rect *gl_save_rect(const screen_box &box) {
    int x = 0, y = 0, width = 0, height = 0;
    if (gl_inq_screenspace() != 0)
        gl::getorigin(&x, &y);
    gl::getsize(&width, &height);
    auto rect = std::make_unique<saved_rect>();
    rect->gl_window = gl::winget();
    rect->is_rgb = gl::is_rgb_mode();
    rect->left = std::max(box.x - x, 0);
    rect->right = std::min(box.x - x + box.width, width) - 1;
    rect->bottom = std::max(box.y - y, 0);
    rect->top = std::min(box.y - y + box.height, height) - 1;
    if (rect->gl_window == 0 || rect->right < rect->left || rect->top < rect->bottom)
        return nullptr;
    rect->pixels.resize(static_cast<std::size_t>(rect->right - rect->left + 1) *
                        static_cast<std::size_t>(rect->top - rect->bottom + 1));
    {
        const whole_window guard;
        gl::lrectread(rect->left, rect->bottom, rect->right, rect->top, rect->pixels);
    }
    return rects.emplace_back(std::move(rect)).get();
}

void gl_draw_rect(const saved_rect *rect) {
    if (rect == nullptr || find(rect) == rects.end() || !gl::is_window(rect->gl_window))
        return;
    const int current = gl::winget();
    gl::winset(rect->gl_window);
    if (gl::is_rgb_mode() == rect->is_rgb) {
        const whole_window guard;
        gl::lrectwrite(rect->left, rect->bottom, rect->right, rect->top, rect->pixels);
    }
    gl::winset(current);
}

void gl_delete_rect(saved_rect *rect) {
    const auto at = find(rect);
    if (at != rects.end())
        rects.erase(at);
}

void gl_delete_all_rects() {
    rects.clear();
}

void gl_rect_write(int x1, int y1, int x2, int y2, std::span<const std::uint32_t> pixels) {
    if (gl::is_rgb_mode())
        gl::lrectwrite(x1, y1, x2, y2, pixels);
}

} // namespace toolkit
