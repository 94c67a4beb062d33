// Demons within demons: the pointer is in one of each level.
#include "examples/gallery.h"
#include "examples/gallery_parts.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/objects/object_names.h"

namespace gallery {

using namespace toolkit;

namespace {

constexpr section_text about = {"Nested demons", "The pointer is in one demon of each level."};
constexpr int label_height = 18;

// Its colour is its second word. Only the outline shows a highlight: what is in it stays.
void draw_nest(display_object *self) {
    gl_fill_box(self->box, static_cast<int>(static_cast<demon *>(self)->second_word));
    paint_outlined_box(self->box, look_of(self));
    screen_box line = self->box;
    line.y = clamp_16(line.y + line.height - label_height - 2);
    line.height = label_height;
    draw_text_left_box(line, font_slot_small, caption_of(self));
}

void outline_on(display_object *self) {
    self->hilited = is_hilited;
    paint_outlined_box(self->box, look::hilited);
}

void outline_off(display_object *self) {
    self->hilited = 0;
    paint_outlined_box(self->box, look::normal);
}

demon *add_nest(demon *parent, const screen_box &place, const char *label, int colour) {
    generic_demon *nest = add_part(parent, place, draw_nest);
    nest->first_word = to_word(label);
    nest->second_word = colour;
    nest->hilite = outline_on;
    nest->dehilite = outline_off;
    light_under_pointer(nest);
    return nest;
}

} // namespace

void add_nested_demons(demon *window) {
    demon *section = add_section(window, section_place(0, 2), &about);
    demon *outer = add_nest(section, contents, "outer", colour_dark_gray);
    name_demon(name_outer, outer);
    demon *left = add_nest(outer, {10, 10, 182, 82}, "left", colour_face);
    demon *right = add_nest(outer, {204, 10, 182, 82}, "right", colour_face);
    name_demon(name_inner, add_nest(left, {10, 10, 76, 46}, "one", colour_medium_gray));
    add_nest(left, {96, 10, 76, 46}, "two", colour_medium_gray);
    demon *deep = add_nest(right, {10, 10, 162, 46}, "three", colour_medium_gray);
    add_nest(deep, {64, 8, 84, 30}, "innermost", colour_gray);
}

} // namespace gallery
