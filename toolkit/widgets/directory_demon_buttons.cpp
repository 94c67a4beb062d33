// The small buttons of a file tool, with pictures that need no icon files.
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/widgets/directory_demon_parts.h"

namespace toolkit {

namespace {

constexpr int glyph_size = 13;

object_set *Glyph_Button_Set = nullptr;

// Rows of a glyph, from the top; bit 12 is the left column.
using glyph_rows = std::array<std::uint16_t, glyph_size>;

constexpr glyph_rows up_glyph = {0x0000, 0x0040, 0x00E0, 0x01F0, 0x03F8, 0x07FC, 0x0FFE,
                                 0x00E0, 0x00E0, 0x00E0, 0x00E0, 0x00E0, 0x0000};
constexpr glyph_rows home_glyph = {0x0000, 0x0040, 0x00E0, 0x01F0, 0x03F8, 0x07FC, 0x0FFE,
                                   0x07FC, 0x07FC, 0x071C, 0x071C, 0x071C, 0x0000};

int index_of(look state) {
    switch (state) {
    case look::disabled:
        return colour_disabled_text;
    case look::hilited:
        return colour_text_hilited;
    case look::normal:
    case look::pressed:
        break;
    }
    return colour_text;
}

void draw_glyph(const screen_box &box, const glyph_rows &rows, look state) {
    gl_set_draw_value(index_of(state));
    const int left = box.x + (box.width - glyph_size) / 2;
    const int top = box.y + (box.height + glyph_size) / 2 - 1;
    for (int row = 0; row < glyph_size; ++row) {
        const unsigned bits = rows.at(static_cast<std::size_t>(row));
        for (int from = 0; from < glyph_size;) {
            int to = from;
            while (to < glyph_size && (bits >> (glyph_size - 1 - to) & 1U) != 0)
                ++to;
            if (to > from)
                gl_draw_line(left + from, top - row, left + to - 1, top - row);
            from = to + 1;
        }
    }
}

template <const glyph_rows &rows> void draw_glyph_button(display_object *d) {
    const auto *self = static_cast<const control *>(d);
    paint_button(self->box, look_of_control(self));
    draw_glyph(self->box, rows, look_of_control(self));
}

constexpr control_kind up_kind = {.draw = draw_glyph_button<up_glyph>,
                                  .dragged = press_or_not,
                                  .clicked = [](control *self) { notify_control(self); }};
constexpr control_kind home_kind = {.draw = draw_glyph_button<home_glyph>,
                                    .dragged = press_or_not,
                                    .clicked = [](control *self) { notify_control(self); }};

} // namespace

demon *add_up_button(directory_demon *tool, const control_place &place, widget_function function) {
    return make_control<control>(&Glyph_Button_Set, tool, place, up_kind, function, to_word(tool));
}

demon *add_home_button(directory_demon *tool, const control_place &place,
                       widget_function function) {
    return make_control<control>(&Glyph_Button_Set, tool, place, home_kind, function,
                                 to_word(tool));
}

} // namespace toolkit
