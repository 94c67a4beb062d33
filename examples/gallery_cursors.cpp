// Demons that draw the cursor themselves, in the overlay planes: the picture below stays.
#include "examples/gallery.h"
#include "examples/gallery_parts.h"
#include "toolkit/demons/demon_cursors.h"
#include "toolkit/objects/object_names.h"

#include <array>

namespace gallery {

using namespace toolkit;

namespace {

constexpr section_text about = {"Cursors",
                                "Each field draws a cursor of its own, over its picture."};

struct cursor_sample {
    const char *label;
    cursor_routine draw;
    cursor_routine erase;
};
constexpr std::array samples = {
    cursor_sample{"cross hair", xhair_cursor, erase_xhair_cursor},
    cursor_sample{"box", boxcur, erase_boxcur},
    cursor_sample{"large cross", big_x_cursor, erase_big_x_cursor},
};
constexpr int gap = 12;
constexpr int field_width = 124;

constexpr int label_height = 24;
constexpr int picture_margin = 8;

void draw_field(display_object *self) {
    draw_ground(self);
    screen_box picture = inside(self->box, picture_margin);
    picture.y = clamp_16(picture.y + label_height - picture_margin);
    picture.height = clamp_16(picture.height - label_height + picture_margin);
    draw_strips(picture);
    screen_box label = self->box;
    label.height = label_height;
    draw_text_box(label, font_slot_normal_1, caption_of(self));
}

} // namespace

void add_cursors(demon *window) {
    demon *section = add_section(window, section_place(1, 1), &about);
    int x = contents.x;
    for (const cursor_sample &sample : samples) {
        generic_demon *field = add_part(
            section, {static_cast<std::int16_t>(x), contents.y, field_width, contents.height},
            draw_field);
        field->first_word = to_word(sample.label);
        field->cursor_draw = sample.draw;
        field->cursor_erase = sample.erase;
        if (sample.draw == xhair_cursor)
            name_demon(name_crosshair, field);
        x += field_width + gap;
    }
}

} // namespace gallery
