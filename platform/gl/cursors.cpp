#include "platform/gl/cursors.h"

#include "platform/gl/window_record.h"

namespace gl {
namespace {

constexpr std::array<display::cursor_shape, CURSOR_TEXT + 1> shapes{
    display::cursor_shape::arrow, display::cursor_shape::cross, display::cursor_shape::hand,
    display::cursor_shape::wait, display::cursor_shape::text};

static_assert(cursor_size == display::cursor_side);

// What defcursor made of the shapes, so that curorigin can define them once more.
struct defined_shape {
    bool is_defined = false;
    display::cursor_picture picture;
};
std::array<defined_shape, shapes.size()> defined;

bool can_be_defined(int cursor) {
    return cursor > CURSOR_ARROW && cursor <= CURSOR_TEXT;
}

void define(std::size_t number) {
    display::server().define_cursor(shapes[number], defined[number].picture);
}

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

void defcursor(int cursor, const cursor_bitmap &picture) {
    if (!can_be_defined(cursor))
        return;
    const auto number = static_cast<std::size_t>(cursor);
    defined[number] = {true, {picture.dark, picture.light, {0, cursor_size - 1}}};
    define(number);
}

void curorigin(int cursor, int x, int y) {
    const auto outside = [](int v) { return v < 0 || v >= cursor_size; };
    if (!can_be_defined(cursor) || outside(x) || outside(y))
        return;
    const auto number = static_cast<std::size_t>(cursor);
    if (!defined[number].is_defined)
        return;
    defined[number].picture.origin = {x, cursor_size - 1 - y};
    define(number);
}

void forget_defined_cursors() {
    defined = {};
}

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
