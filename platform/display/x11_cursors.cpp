#include "platform/display/x11_cursors.h"

#include "platform/display/x11_connection.h"

#include <array>
#include <cstring>

namespace display::x11 {
namespace {

constexpr std::size_t cursor_shapes = 6;
static_assert(static_cast<std::size_t>(cursor_shape::none) + 1 == cursor_shapes);

// Glyphs of the "cursor" font, in the order of cursor_shape; each is followed by its mask.
constexpr std::array<std::uint16_t, cursor_shapes - 1> glyphs{68, 34, 150, 60, 152};

std::array<xcb_cursor_t, cursor_shapes> made{};

xcb_cursor_t make_empty_cursor() {
    const xcb_pixmap_t bitmap = xcb_generate_id(xserver.xcb);
    xcb_create_pixmap(xserver.xcb, 1, bitmap, xserver.screen->root, 1, 1);
    const xcb_gcontext_t context = xcb_generate_id(xserver.xcb);
    const std::uint32_t clear = 0;
    xcb_create_gc(xserver.xcb, context, bitmap, XCB_GC_FOREGROUND, &clear);
    const xcb_rectangle_t all{0, 0, 1, 1};
    xcb_poly_fill_rectangle(xserver.xcb, bitmap, context, 1, &all);
    const xcb_cursor_t cursor = xcb_generate_id(xserver.xcb);
    xcb_create_cursor(xserver.xcb, cursor, bitmap, bitmap, 0, 0, 0, 0, 0, 0, 0, 0);
    xcb_free_gc(xserver.xcb, context);
    xcb_free_pixmap(xserver.xcb, bitmap);
    return cursor;
}

xcb_cursor_t make_glyph_cursor(std::uint16_t glyph) {
    constexpr std::uint16_t white = 0xffff;
    constexpr char name[] = "cursor";
    const xcb_font_t font = xcb_generate_id(xserver.xcb);
    xcb_open_font(xserver.xcb, font, sizeof name - 1, name);
    const xcb_cursor_t cursor = xcb_generate_id(xserver.xcb);
    const auto mask = static_cast<std::uint16_t>(glyph + 1);
    xcb_create_glyph_cursor(xserver.xcb, cursor, font, font, glyph, mask, 0, 0, 0, white, white,
                            white);
    xcb_close_font(xserver.xcb, font);
    return cursor;
}

} // namespace

xcb_cursor_t find_cursor(cursor_shape shape) {
    const auto index = static_cast<std::size_t>(shape);
    if (made[index] == XCB_CURSOR_NONE) {
        made[index] =
            shape == cursor_shape::none ? make_empty_cursor() : make_glyph_cursor(glyphs[index]);
    }
    return made[index];
}

void forget_cursors() {
    made = {};
}

} // namespace display::x11
