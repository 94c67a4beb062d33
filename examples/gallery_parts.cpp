#include "examples/gallery_parts.h"

#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/graphics/colour_indices.h"

#include <algorithm>
#include <array>

namespace gallery {

using namespace toolkit;

namespace {

constexpr int handle_block = 8;
constexpr int ground_edge = 2; // pixels that handles keep from their parent's edge
constexpr int text_indent = 12;
constexpr int title_drop = 28; // from a section's top to its title's line
constexpr int line_drop = 48;
constexpr int line_height = 16;

object_set *handles = nullptr;

// A line of a section's text, `drop` pixels below its top.
screen_box line_box(const screen_box &section, int drop) {
    return {static_cast<std::int16_t>(section.x + text_indent - text_margin),
            static_cast<std::int16_t>(section.y + section.height - drop),
            static_cast<std::int16_t>(section.width - 2 * (text_indent - text_margin)),
            line_height};
}

void draw_section(display_object *self) {
    const auto *text = from_word<const section_text *>(static_cast<demon *>(self)->first_word);
    gl_outline_fill_box(self->box, colour_face, colour_dark_gray);
    draw_text_left_box(line_box(self->box, title_drop), font_slot_bold, text->title);
    draw_text_left_box(line_box(self->box, line_drop), font_slot_normal_1, text->line);
}

} // namespace

generic_demon *add_part(demon *parent, const screen_box &place, draw_routine draw) {
    return add_made(create_generic_demon(nullptr, place.width, place.height, nullptr), parent,
                    place, draw);
}

void light_up(demon *self, object *sender, demon_message *m) {
    hilite_me(self);
    demon_box_in(self, sender, m);
}

void light_off(demon *self, object *sender, demon_message *m) {
    dehilite_me(self);
    demon_box_out(self, sender, m);
}

void light_under_pointer(generic_demon *part) {
    part->on.box_in = light_up;
    part->on.box_out = light_off;
}

void act_on_press(generic_demon *part, demon_handler handler) {
    part->on.b1_down = part->on.b1_double_click = handler;
}

void draw_ground(display_object *self) {
    gl_fill_box(self->box, colour_well);
    paint_outlined_box(self->box, look_of(self));
}

void draw_strips(const screen_box &box) {
    constexpr std::array colours = {colour_medium_gray, colour_gray, colour_accent_ground,
                                    colour_accent};
    screen_box strip = box;
    strip.height = clamp_16(box.height / static_cast<int>(colours.size()));
    for (const int colour : colours) {
        gl_fill_box(strip, colour);
        strip.y = clamp_16(strip.y + strip.height);
    }
}

generic_demon *add_section(demon *window, const screen_box &place, const section_text *text) {
    generic_demon *section = add_part(window, place, draw_section);
    section->first_word = to_word(text);
    return section;
}

handle *add_handle(demon *parent, const screen_box &place, draw_routine draw) {
    if (handles == nullptr)
        keep_set_in(&handles, create_set_of<handle>(handle_block, 1, inq_generic_demon_class()));
    handle *made = add_made(create_demon_of<handle>(handles, place.width, place.height, nullptr),
                            parent, place, draw);
    light_under_pointer(made);
    return made;
}

void hold(handle *self, screen_point at) {
    self->is_held = true;
    self->grip = {clamp_16(at.x - self->box.x), clamp_16(at.y - self->box.y)};
}

void follow_hand(handle *self, screen_point at) {
    move_within_parent(self, at.x - self->grip.x, at.y - self->grip.y);
    demon_draw_message(self->parent.get());
}

void move_within_parent(demon *self, int x, int y) {
    const screen_box room = inside(self->parent.get()->box, ground_edge);
    const int right = std::max(room.x + room.width - self->box.width, +room.x);
    const int top = std::max(room.y + room.height - self->box.height, +room.y);
    demon_move_message(self, std::clamp<int>(x, room.x, right) - self->box.x,
                       std::clamp<int>(y, room.y, top) - self->box.y);
}

} // namespace gallery
