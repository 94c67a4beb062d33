#include "player/window_parts.h"

#include "platform/gl/pixels.h"
#include "platform/gl/windows.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/widgets/widgets.h"

#include <algorithm>

namespace player {

namespace {

toolkit::gl_matrix matrix_before;

} // namespace

extent screen_size() {
    extent screen;
    toolkit::gl_get_device_extent(&screen.width, &screen.height);
    return screen;
}

int design_length(int pixels, int (*scaled)(int)) {
    int made = pixels;
    while (scaled(made) < pixels)
        made += std::max(pixels - scaled(made), 1);
    return made;
}

toolkit::demon *add_part(toolkit::demon *window, toolkit::draw_routine draw) {
    toolkit::generic_demon *made = toolkit::create_generic_demon(nullptr, 0, 0, nullptr);
    if (made == nullptr)
        return nullptr;
    made->draw = draw;
    made->erase = made->hilite = made->dehilite = nullptr;
    toolkit::addWidget(made, window);
    return made;
}

void place_part(const toolkit::demon *window, toolkit::demon *widget,
                const toolkit::screen_box &at) {
    if (widget == nullptr || window == nullptr)
        return;
    toolkit::setBoxWidgetScreen(widget,
                                {toolkit::clamp_16(window->box.x + at.x),
                                 toolkit::clamp_16(window->box.y + at.y), at.width, at.height});
}

int open_window_id(const toolkit::demon *window) {
    const bool is_open = window != nullptr && toolkit::gl_get_wid_demon(window->window) == window;
    return is_open ? window->window : toolkit::no_window;
}

bool make_window_current(const toolkit::demon *window) {
    const int wid = open_window_id(window);
    if (wid == toolkit::no_window)
        return false;
    if (toolkit::gl_get_win() != wid)
        toolkit::gl_set_win(wid);
    return true;
}

extent real_window_size(const toolkit::demon *window) {
    extent now;
    if (make_window_current(window))
        gl::getsize(&now.width, &now.height);
    return now;
}

void tell_version(toolkit::word) {
    toolkit::message("You are running Player Tool Version 2.0");
}

void begin_picture(float zoom) {
    matrix_before = toolkit::gl_get_matrix();
    toolkit::gl_put_matrix({});
    gl::rectzoom(zoom, zoom);
}

void end_picture() {
    gl::rectzoom(1, 1);
    toolkit::gl_put_matrix(matrix_before);
}

} // namespace player
