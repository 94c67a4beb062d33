#include "toolkit/demons/boxes.h"

#include "platform/gl/drawing.h"
#include "platform/gl/pixels.h"
#include "toolkit/graphics/colour_indices.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace toolkit {

namespace {

constexpr std::uint32_t hilite_plane = 1; // the bit-plane that xor_box turns over
constexpr std::uint32_t index_planes = 65535;
constexpr int corner_radius = 5;
constexpr int least_button = 4; // a side below it leaves no room for bevels
constexpr int triangle_margin = 3;

constexpr int bevel(int place) {
    return bevel_block_first + place;
}

bool has_area(const screen_box &box) {
    return box.width > 0 && box.height > 0;
}

int right_of(const screen_box &box) {
    return box.x + box.width - 1;
}

int top_of(const screen_box &box) {
    return box.y + box.height - 1;
}

std::uint32_t read_pixel(int x, int y) {
    std::array<std::uint32_t, 1> pixel{};
    gl::cmov2s(static_cast<short>(x), static_cast<short>(y));
    gl::readpixels(1, pixel);
    return pixel[0];
}

void fill_rows(int left, int right, int bottom, int top) {
    if (left <= right && bottom <= top)
        gl::rectfi(left, bottom, right, top);
}

// The edges of a box: those towards the light, at the left and the top, and the others.
void draw_edges(const screen_box &box, int towards_light, int away) {
    if (!has_area(box))
        return;
    gl_set_draw_value(towards_light);
    fill_rows(box.x, box.x, box.y, top_of(box));
    fill_rows(box.x, right_of(box), top_of(box), top_of(box));
    gl_set_draw_value(away);
    fill_rows(box.x, right_of(box) - 1, box.y, box.y);
    fill_rows(right_of(box), right_of(box), box.y, top_of(box) - 1);
}

int face_of(look state) {
    switch (state) {
    case look::hilited:
        return hilited(bevel(bevel_face));
    case look::pressed:
        return bevel(bevel_pressed);
    case look::disabled:
        return colour_face;
    case look::normal:
        break;
    }
    return bevel(bevel_face);
}

// The bevel between a box's outline and its face.
void draw_bevel(const screen_box &box, look state) {
    switch (state) {
    case look::normal:
        draw_edges(box, bevel(bevel_light), bevel(bevel_dark));
        break;
    case look::hilited:
        draw_edges(box, hilited(bevel(bevel_light)), hilited(bevel(bevel_dark)));
        break;
    case look::pressed:
        draw_edges(box, bevel(bevel_dark), bevel(bevel_pressed));
        break;
    case look::disabled:
        draw_edges(box, colour_face, colour_face);
        break;
    }
}

// How many pixels a row lies in from the sides, `row` rows from the top or bottom edge of a
// rounded box.
int row_inset(int row, int radius) {
    if (row >= radius)
        return 0;
    const float r = static_cast<float>(radius);
    const float up = r - static_cast<float>(row) - 0.5F;
    return radius - static_cast<int>(std::lround(std::sqrt(r * r - up * up)));
}

void fill_rounded(const screen_box &box, int radius, int index) {
    gl_set_draw_value(index);
    const int half = std::max(std::min<int>(box.width, box.height), 0) / 2;
    radius = std::clamp(radius, 0, half);
    for (int row = 0; row < radius; ++row) {
        const int inset = row_inset(row, radius);
        fill_rows(box.x + inset, right_of(box) - inset, box.y + row, box.y + row);
        fill_rows(box.x + inset, right_of(box) - inset, top_of(box) - row, top_of(box) - row);
    }
    fill_rows(box.x, right_of(box), box.y + radius, top_of(box) - radius);
}

} // namespace

// ---- geometry

bool in_box(const screen_box &box, screen_point point) {
    return point.x >= box.x && point.x < box.x + box.width && point.y >= box.y &&
           point.y < box.y + box.height;
}

bool overlap_box(const screen_box &a, const screen_box &b) {
    return has_area(a) && has_area(b) && a.x <= right_of(b) && b.x <= right_of(a) &&
           a.y <= top_of(b) && b.y <= top_of(a);
}

void show_box(const screen_box &box) {
    std::printf("box: %d %d %d %d\n", box.x, box.y, box.width, box.height);
}

// ---- turning over

void xor_box(const screen_box &box) {
    if (gl_inq_color_mode() != 0 || !has_area(box))
        return;
    const int right = right_of(box);
    const int top = top_of(box);
    const std::uint32_t all = read_pixel(right, box.y) | read_pixel(right, top) |
                              read_pixel(box.x, top) | read_pixel(box.x, box.y);
    gl::writemask(hilite_plane);
    gl::color(static_cast<int>(all ^ hilite_plane));
    gl::rectfi(box.x, box.y, box.x + box.width, box.y + box.height);
    gl::writemask(index_planes);
}

// ---- plain boxes

void erase_box(const screen_box &box) {
    gl_fill_box(box, colour_background);
    gl_set_draw_value(colour_drawing);
}

void fill_box_gray(const screen_box &box) {
    gl_fill_box(box, colour_gray);
}

void fill_box_medium_gray(const screen_box &box) {
    gl_fill_box(box, colour_medium_gray);
}

void fill_box_light_gray(const screen_box &box) {
    gl_fill_box(box, colour_light_gray);
}

void draw_box_dark_gray(const screen_box &box) {
    gl_set_draw_value(colour_drawing);
    gl_draw_box(box);
}

void erase_box_dark_gray(const screen_box &box) {
    gl_fill_box(box, colour_dark_gray);
}

void contrast_box(const screen_box &box) {
    gl_set_draw_value(colour_black);
    gl_draw_box(box);
    gl_set_draw_value(colour_white);
    gl_draw_box(inside(box, 1));
}

// ---- boxes with states

void paint_outlined_box(const screen_box &box, look state) {
    switch (state) {
    case look::normal:
    case look::pressed:
        gl_set_draw_value(colour_drawing);
        break;
    case look::hilited:
        gl_set_draw_value(colour_accent);
        break;
    case look::disabled:
        gl_set_draw_value(colour_dark_gray);
        break;
    }
    gl_draw_box(box);
}

void paint_button(const screen_box &box, look state) {
    gl_set_draw_value(state == look::disabled ? colour_dark_gray : bevel(bevel_outline));
    gl_draw_box(box);
    const screen_box inner = inside(box, 1);
    if (std::min(box.width, box.height) < least_button) {
        gl_fill_box(inner, face_of(state));
        return;
    }
    draw_bevel(inner, state);
    gl_fill_box(inside(inner, 1), face_of(state));
}

void paint_beveled_box(const screen_box &box, look state) {
    if (state == look::disabled) { // flat, and not lost on a window's inside
        gl_outline_fill_box(box, colour_face, colour_dark_gray);
        return;
    }
    draw_bevel(box, state);
    const screen_box inner = inside(box, 1);
    draw_bevel(inner, state);
    gl_fill_box(inside(inner, 1), face_of(state));
}

void paint_rounded_box(const screen_box &box, look state) {
    fill_rounded(box, corner_radius,
                 state == look::disabled ? colour_dark_gray : bevel(bevel_outline));
    fill_rounded(inside(box, 1), corner_radius - 1, face_of(state));
}

void erase_rounded_box(const screen_box &box) {
    fill_rounded(box, corner_radius, colour_background);
}

// ---- triangles

void paint_triangle(const screen_box &box, direction to, look state) {
    const bool upright = to == direction::up || to == direction::down;
    const int along = upright ? box.height : box.width; // the way it points
    const int across = upright ? box.width : box.height;
    const int depth = std::min((across - 2 * triangle_margin + 1) / 2, along - 2 * triangle_margin);
    if (depth <= 0)
        return;
    switch (state) {
    case look::normal:
        gl_set_draw_value(colour_light_gray);
        break;
    case look::hilited:
        gl_set_draw_value(colour_text);
        break;
    case look::pressed:
        gl_set_draw_value(colour_accent);
        break;
    case look::disabled:
        gl_set_draw_value(colour_medium_gray);
        break;
    }
    const int middle = (across - 1) / 2;
    const int base = (along - depth) / 2; // of the row at the lower or left end
    const bool grows = to == direction::down || to == direction::left;
    for (int row = 0; row < depth; ++row) {
        const int half = grows ? row : depth - 1 - row;
        const int from = middle - half;
        const int end = across - 1 - from; // as far from the other side
        if (upright)
            fill_rows(box.x + from, box.x + end, box.y + base + row, box.y + base + row);
        else
            fill_rows(box.x + base + row, box.x + base + row, box.y + from, box.y + end);
    }
}

} // namespace toolkit
