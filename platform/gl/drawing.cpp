#include "platform/gl/drawing.h"

#include "platform/gl/paint.h"
#include "platform/gl/window_record.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

namespace gl {
namespace {

constexpr std::uint32_t rgb_bits = 0x00FFFFFF;
constexpr std::uint32_t index_bits = colour_map_size - 1;

std::uint32_t channel(int v) {
    return static_cast<std::uint32_t>(std::clamp(v, 0, 255));
}

std::uint32_t display_word(int red, int green, int blue) {
    return (channel(red) << 16) | (channel(green) << 8) | channel(blue);
}

void split(std::uint32_t word, int *red, int *green, int *blue) {
    *red = static_cast<int>((word >> 16) & 0xFFU);
    *green = static_cast<int>((word >> 8) & 0xFFU);
    *blue = static_cast<int>(word & 0xFFU);
}

bool in_map(const window_record *w, int index) {
    const bool over = w != nullptr && w->draw_mode == OVERDRAW;
    return index >= 0 && index < (over ? 1 << overlay_planes : colour_map_size);
}

template <typename State> void push(state_stack<State> &stack, const State &now) {
    if (stack.depth < stack_depth)
        stack.saved[static_cast<std::size_t>(stack.depth++)] = now;
}

template <typename State> void pop(state_stack<State> &stack, State &now) {
    if (stack.depth > 0)
        now = stack.saved[static_cast<std::size_t>(--stack.depth)];
}

box ordered(int left, int right, int bottom, int top) {
    return {std::min(left, right), std::max(left, right), std::min(bottom, top),
            std::max(bottom, top)};
}

// The same for edges of any size; sums with them do not overflow.
box ordered_near(int left, int right, int bottom, int top) {
    const auto near = [](int v) { return std::clamp(v, -far_away, far_away); };
    return ordered(near(left), near(right), near(bottom), near(top));
}

// A rectangle as the program gives it, in window coordinates.
box window_box(const window_record &w, int x1, int y1, int x2, int y2) {
    const place a = to_window(w, x1, y1);
    const place b = to_window(w, x2, y2);
    return ordered(a.x, b.x, a.y, b.y);
}

std::int64_t rounded_quotient(std::int64_t a, std::int64_t b) { // b > 0
    return (2 * a + (a >= 0 ? b : -b)) / (2 * b);
}

// A line whose steps go along x (or along y, with x and y exchanged): each step is one pixel, as
// thick as the line is wide. Only the steps inside the box are walked.
void draw_steps(window_record &w, place a, place b, bool exchanged) {
    if (a.x > b.x)
        std::swap(a, b);
    const box inside = paint_box(w);
    const int first = std::max(a.x, exchanged ? inside.bottom : inside.left);
    const int last = std::min(b.x, exchanged ? inside.top : inside.right);
    const int below = (w.line_width - 1) / 2;
    for (int x = first; x <= last; x++) {
        const std::int64_t rise =
            b.x == a.x ? 0 : rounded_quotient(std::int64_t{x - a.x} * (b.y - a.y), b.x - a.x);
        const int y = a.y + static_cast<int>(rise) - below;
        const int top = y + w.line_width - 1;
        fill_box(w, exchanged ? box{y, top, x, x} : box{x, x, y, top});
    }
}

void draw_line(window_record &w, place a, place b) {
    const int below = (w.line_width - 1) / 2;
    const int above = w.line_width - 1 - below;
    const box b4 = ordered(a.x, b.x, a.y, b.y);
    if (a.y == b.y)
        fill_box(w, {b4.left, b4.right, a.y - below, a.y + above});
    else if (a.x == b.x)
        fill_box(w, {a.x - below, a.x + above, b4.bottom, b4.top});
    else if (std::abs(b.x - a.x) >= std::abs(b.y - a.y))
        draw_steps(w, a, b, false);
    else
        draw_steps(w, {a.y, a.x}, {b.y, b.x}, true);
}

// Half the width of a disc of this radius `dy` rows from its middle; -1 outside it.
int half_width(int radius, int dy) {
    if (dy > radius)
        return -1;
    const double r = radius;
    return static_cast<int>(std::sqrt(r * r + r - static_cast<double>(dy) * dy));
}

// Fills or outlines a disc row by row, within the box only.
void draw_disc(int x, int y, int radius, bool filled) {
    window_record *w = current_window();
    if (w == nullptr || radius < 0)
        return;
    constexpr int largest = 1 << 15;
    radius = std::min(radius, largest);
    const place middle = to_window(*w, x, y);
    const box inside = paint_box(*w);
    const int last = std::min(middle.y + radius, inside.top);
    for (int row = std::max(middle.y - radius, inside.bottom); row <= last; row++) {
        const int dy = std::abs(row - middle.y);
        const int half = half_width(radius, dy);
        // The outline of a row reaches in as far as the row outside it.
        const int hollow = filled ? -1 : std::min(half_width(radius, dy + 1), half - 1);
        if (hollow < 0) {
            fill_box(*w, {middle.x - half, middle.x + half, row, row});
            continue;
        }
        fill_box(*w, {middle.x - half, middle.x - hollow - 1, row, row});
        fill_box(*w, {middle.x + hollow + 1, middle.x + half, row, row});
    }
}

} // namespace

void RGBcolor(int red, int green, int blue) {
    if (window_record *w = current_window())
        w->rgb_word = display_word(red, green, blue);
}

void cpack(std::uint32_t colour) {
    if (window_record *w = current_window())
        w->rgb_word = swap_red_blue(colour);
}

void gRGBcolor(int *red, int *green, int *blue) {
    const window_record *w = current_window();
    split(w == nullptr ? 0 : w->rgb_word, red, green, blue);
}

void color(int index) {
    window_record *w = current_window();
    if (w == nullptr || !in_map(w, index))
        return;
    (w->draw_mode == OVERDRAW ? w->overlay_index : w->index) = static_cast<std::uint32_t>(index);
}

int getcolor() {
    const window_record *w = current_window();
    if (w == nullptr)
        return 0;
    return static_cast<int>(w->draw_mode == OVERDRAW ? w->overlay_index : w->index);
}

void writemask(std::uint32_t bits) {
    window_record *w = current_window();
    if (w == nullptr)
        return;
    const std::uint32_t pixel_bits = w->modes.rgb ? rgb_bits : index_bits;
    const bool everything = (bits & pixel_bits) == pixel_bits;
    const std::uint32_t in_order = w->modes.rgb ? swap_red_blue(bits) : bits;
    w->mask = everything ? all_bits : in_order;
}

std::uint32_t getwritemask() {
    const window_record *w = current_window();
    if (w == nullptr || w->mask == all_bits)
        return all_bits;
    return w->modes.rgb ? swap_red_blue(w->mask) : w->mask;
}

void mapcolor(int index, int red, int green, int blue) {
    const window_record *w = current_window();
    if (!in_map(w, index))
        return;
    if (w != nullptr && w->draw_mode == OVERDRAW)
        set_overlay_entry(index, display_word(red, green, blue));
    else
        set_map_entry(index, display_word(red, green, blue));
}

void getmcolor(int index, int *red, int *green, int *blue) {
    const window_record *w = current_window();
    std::uint32_t word = 0;
    if (in_map(w, index))
        word = w != nullptr && w->draw_mode == OVERDRAW ? overlay_entry(index) : map_entry(index);
    split(word, red, green, blue);
}

void drawmode(int mode) {
    window_record *w = current_window();
    if (w != nullptr && (mode == NORMALDRAW || mode == OVERDRAW))
        w->draw_mode = mode;
}

matrix_state getmatrix() {
    const window_record *w = current_window();
    return w == nullptr ? matrix_state{} : w->matrix;
}

void loadmatrix(const matrix_state &matrix) {
    if (window_record *w = current_window())
        w->matrix = matrix;
}

void screenspace() {
    if (window_record *w = current_window())
        w->matrix.space = coordinate_space::screen;
}

void ortho2(double left, double right, double bottom, double top) {
    if (window_record *w = current_window())
        w->matrix = {coordinate_space::ortho, left, right, bottom, top};
}

void viewport(int left, int right, int bottom, int top) {
    if (window_record *w = current_window())
        w->view.port = w->view.mask = ordered_near(left, right, bottom, top);
}

void getviewport(int *left, int *right, int *bottom, int *top) {
    const window_record *w = current_window();
    const box port = w == nullptr ? box{} : w->view.port;
    *left = port.left;
    *right = port.right;
    *bottom = port.bottom;
    *top = port.top;
}

void reshapeviewport() {
    window_record *w = current_window();
    if (w == nullptr)
        return;
    w->view.port = w->view.mask = {0, w->area.width - 1, 0, w->area.height - 1};
    w->matrix = {};
}

void scrmask(int left, int right, int bottom, int top) {
    if (window_record *w = current_window())
        w->view.mask = ordered_near(left, right, bottom, top);
}

void getscrmask(int *left, int *right, int *bottom, int *top) {
    const window_record *w = current_window();
    const box mask = w == nullptr ? box{} : w->view.mask;
    *left = mask.left;
    *right = mask.right;
    *bottom = mask.bottom;
    *top = mask.top;
}

void pushviewport() {
    if (window_record *w = current_window())
        push(w->saved_views, w->view);
}

void popviewport() {
    if (window_record *w = current_window())
        pop(w->saved_views, w->view);
}

void pushmatrix() {
    if (window_record *w = current_window())
        push(w->saved_matrices, w->matrix);
}

void popmatrix() {
    if (window_record *w = current_window())
        pop(w->saved_matrices, w->matrix);
}

void clear() {
    if (window_record *w = current_window())
        fill_box(*w, w->view.port);
}

void rectfi(int x1, int y1, int x2, int y2) {
    if (window_record *w = current_window())
        fill_box(*w, window_box(*w, x1, y1, x2, y2));
}

void recti(int x1, int y1, int x2, int y2) {
    window_record *w = current_window();
    if (w == nullptr)
        return;
    const box b = window_box(*w, x1, y1, x2, y2);
    draw_line(*w, {b.left, b.bottom}, {b.right, b.bottom});
    draw_line(*w, {b.left, b.top}, {b.right, b.top});
    draw_line(*w, {b.left, b.bottom}, {b.left, b.top});
    draw_line(*w, {b.right, b.bottom}, {b.right, b.top});
}

void circi(int x, int y, int radius) {
    draw_disc(x, y, radius, false);
}
void circfi(int x, int y, int radius) {
    draw_disc(x, y, radius, true);
}

void pnt2i(int x, int y) {
    rectfi(x, y, x, y);
}

void move2i(int x, int y) {
    if (window_record *w = current_window()) {
        w->pen_x = x;
        w->pen_y = y;
    }
}

void draw2i(int x, int y) {
    window_record *w = current_window();
    if (w == nullptr)
        return;
    draw_line(*w, to_window(*w, w->pen_x, w->pen_y), to_window(*w, x, y));
    w->pen_x = x;
    w->pen_y = y;
}

void linewidth(int pixels) {
    constexpr int widest = 255;
    if (window_record *w = current_window())
        w->line_width = std::clamp(pixels, 1, widest);
}

void cmov2i(int x, int y) {
    window_record *w = current_window();
    if (w == nullptr)
        return;
    const place p = to_window(*w, x, y);
    w->text_x = p.x;
    w->text_y = p.y;
}

void cmov2s(short x, short y) {
    cmov2i(x, y);
}

void getcpos(int *x, int *y) {
    const window_record *w = current_window();
    *x = w == nullptr ? 0 : w->text_x;
    *y = w == nullptr ? 0 : w->text_y;
}

} // namespace gl
