#include "platform/gl/cursors.h"

#include "platform/gl/window_record.h"

namespace gl {
namespace {

constexpr std::array<display::cursor_shape, CURSOR_TEXT + 1> shapes{
    display::cursor_shape::arrow, display::cursor_shape::cross, display::cursor_shape::hand,
    display::cursor_shape::wait, display::cursor_shape::text};

void show_cursor(const window_record &w) {
    const auto shape =
        w.cursor_on ? shapes[static_cast<std::size_t>(w.cursor)] : display::cursor_shape::none;
    display::server().set_cursor(w.id, shape);
}

void switch_cursor(bool on) {
    window_record *w = current_window();
    if (w == nullptr || w->cursor_on == on)
        return;
    w->cursor_on = on;
    show_cursor(*w);
}

} // namespace

void setcursor(int cursor) {
    window_record *w = current_window();
    if (w == nullptr || cursor < CURSOR_ARROW || cursor > CURSOR_TEXT)
        return;
    w->cursor = cursor;
    show_cursor(*w);
}

int getcursor() {
    const window_record *w = current_window();
    return w == nullptr ? CURSOR_ARROW : w->cursor;
}

void curson() {
    switch_cursor(true);
}
void cursoff() {
    switch_cursor(false);
}

} // namespace gl
