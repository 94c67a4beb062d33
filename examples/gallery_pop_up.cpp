// A list that comes up over others and goes again: it waits in the window's pop list, keeps what it
// covers, and is pushed when the pointer leaves it.
#include "examples/gallery.h"
#include "examples/gallery_parts.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/objects/object_names.h"

#include <array>

namespace gallery {

using namespace toolkit;

namespace {

constexpr section_text about = {"Popping up", "The list goes when the pointer leaves it."};
constexpr std::array lines = {"12 frames a second", "24 frames a second", "25 frames a second",
                              "30 frames a second", "60 frames a second"};
constexpr std::size_t first_choice = 1;
constexpr screen_box button_place = {12, 12, 130, 28};
constexpr screen_box covered_place = {12, 52, 396, 78};
constexpr screen_box choice_place = {154, 12, 254, 28};
constexpr int line_height = 26;
constexpr int list_width = 190;
constexpr int list_margin = 4;

demon_ref list;
demon_ref choice;

void pop_list(demon *, object *, demon_message *) {
    demon_pop_message(list.get());
}

void choose(demon *self, object *, demon_message *) {
    if (demon *shown = choice.get())
        shown->first_word = self->first_word;
    demon_push_message(list.get()); // puts back what it has covered of the choice
    demon_draw_message(choice.get());
}

void draw_choice(display_object *self) {
    draw_ground(self);
    draw_text_left_box(self->box, font_slot_normal_1, caption_of(self));
}

void draw_covered(display_object *self) {
    draw_ground(self);
    draw_strips(inside(self->box, 8));
}

void draw_list(display_object *self) {
    paint_button(self->box, look::normal);
}

void draw_line(display_object *self) {
    if (self->hilited != 0)
        paint_button(self->box, look::hilited);
    else
        gl_fill_box(self->box, bevel_block_first + bevel_face);
    draw_text_left_box(self->box, font_slot_normal_1, caption_of(self), look_of(self));
}

// Over the button, so that the pointer is in it when it comes up.
void add_list(demon *window, demon *button) {
    const int height = line_height * static_cast<int>(lines.size()) + 2 * list_margin;
    generic_demon *made =
        add_part(window, {0, 0, list_width, static_cast<std::int16_t>(height)}, draw_list);
    set_demon(made, button, -list_margin, -list_margin);
    made->push_on_leave = demon_on;
    int y = height - list_margin;
    for (const char *line : lines) {
        y -= line_height;
        generic_demon *item = add_part(
            made,
            {list_margin, static_cast<std::int16_t>(y), list_width - 2 * list_margin, line_height},
            draw_line);
        item->first_word = to_word(line);
        act_on_press(item, choose);
        light_under_pointer(item);
    }
    add_pop_demon(made, window);
    name_demon(name_list, made);
    list = refer_to_demon(made);
}

} // namespace

void add_popping_up(demon *window) {
    demon *section = add_section(window, section_place(0, 1), &about);
    generic_demon *button = add_part(section, button_place, draw_caption<paint_button>);
    button->first_word = to_word("Frame rate");
    act_on_press(button, pop_list);
    light_under_pointer(button);
    name_demon(name_list_button, button);
    add_part(section, covered_place, draw_covered);
    generic_demon *shown = add_part(section, choice_place, draw_choice);
    shown->first_word = to_word(lines[first_choice]);
    choice = refer_to_demon(shown);
    add_list(window, button);
}

const char *chosen_line() {
    const demon *shown = choice.get();
    return shown != nullptr ? caption_of(shown) : "";
}

} // namespace gallery
