#include "platform/display/x11_cursors.h"

#include "platform/display/x11_connection.h"

#include <array>
#include <vector>

namespace display::x11 {
namespace {

static_assert(static_cast<std::size_t>(cursor_shape::none) + 1 == cursor_shape_count);

// Glyphs of the "cursor" font, in the order of cursor_shape; each is followed by its mask.
constexpr std::array<std::uint16_t, cursor_shape_count - 1> glyphs{68, 34, 150, 60, 152};

std::array<xcb_cursor_t, cursor_shape_count> made{};

using bit_rows = std::array<std::uint16_t, cursor_side>;

// A bitmap of one plane with these bits, each as large as a pixel of ours.
xcb_pixmap_t make_bitmap(const bit_rows &rows) {
    const auto k = static_cast<std::uint16_t>(xserver.scale);
    const auto side = static_cast<std::uint16_t>(cursor_side * k);
    std::vector<xcb_rectangle_t> bits;
    for (int y = 0; y < cursor_side; y++)
        for (int x = 0; x < cursor_side; x++)
            if ((rows[static_cast<std::size_t>(y)] >> (cursor_side - 1 - x) & 1) != 0)
                bits.push_back(
                    {static_cast<std::int16_t>(x * k), static_cast<std::int16_t>(y * k), k, k});
    const xcb_pixmap_t bitmap = xcb_generate_id(xserver.xcb);
    xcb_create_pixmap(xserver.xcb, 1, bitmap, xserver.screen->root, side, side);
    const xcb_gcontext_t context = xcb_generate_id(xserver.xcb);
    std::uint32_t foreground = 0;
    xcb_create_gc(xserver.xcb, context, bitmap, XCB_GC_FOREGROUND, &foreground);
    const xcb_rectangle_t all{0, 0, side, side};
    xcb_poly_fill_rectangle(xserver.xcb, bitmap, context, 1, &all);
    foreground = 1;
    xcb_change_gc(xserver.xcb, context, XCB_GC_FOREGROUND, &foreground);
    xcb_poly_fill_rectangle(xserver.xcb, bitmap, context, static_cast<std::uint32_t>(bits.size()),
                            bits.data());
    xcb_free_gc(xserver.xcb, context);
    return bitmap;
}

xcb_cursor_t make_picture_cursor(const cursor_picture &picture) {
    constexpr std::uint16_t white = 0xffff;
    bit_rows shown = picture.dark;
    for (std::size_t i = 0; i < shown.size(); i++)
        shown[i] = static_cast<std::uint16_t>(shown[i] | picture.light[i]);
    const xcb_pixmap_t source = make_bitmap(picture.dark);
    const xcb_pixmap_t mask = make_bitmap(shown);
    const int k = xserver.scale;
    const xcb_cursor_t cursor = xcb_generate_id(xserver.xcb);
    xcb_create_cursor(xserver.xcb, cursor, source, mask, 0, 0, 0, white, white, white,
                      static_cast<std::uint16_t>(picture.origin.x * k + k / 2),
                      static_cast<std::uint16_t>(picture.origin.y * k + k / 2));
    xcb_free_pixmap(xserver.xcb, source);
    xcb_free_pixmap(xserver.xcb, mask);
    return cursor;
}

xcb_cursor_t make_empty_cursor() {
    return make_picture_cursor({});
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

void define_cursor(cursor_shape shape, const cursor_picture &picture) {
    xcb_cursor_t &cursor = made[static_cast<std::size_t>(shape)];
    if (cursor != XCB_CURSOR_NONE)
        xcb_free_cursor(xserver.xcb, cursor); // windows that show it keep it
    cursor = make_picture_cursor(picture);
}

void forget_cursors() {
    made = {};
}

} // namespace display::x11
