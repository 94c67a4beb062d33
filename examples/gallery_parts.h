// What the gallery's sections are made of.
//
//   demon *mine = add_section(window, section_place(0, 2), &about_lamps);
//   generic_demon *lamp = add_part(mine, {12, 12, 80, 30}, draw_caption<paint_button>);
//   lamp->first_word = to_word("lamp");
//   light_under_pointer(lamp);
#pragma once

#include "toolkit/demons/box_text.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/generic_demons.h"
#include "toolkit/demons/primitives.h"
#include "toolkit/graphics/fonts.h"

#include <cstdio>
#include <cstdlib>

namespace gallery {

// --- parts ---------------------------------------------------------------------------------------

// Gives a new demon its place in a parent. Its draw routine has to fill its box. Without memory
// (null) the program ends.
template <typename record>
record *add_made(record *made, toolkit::demon *parent, const toolkit::screen_box &place,
                 toolkit::draw_routine draw) {
    if (made == nullptr) {
        std::fputs("gallery: no memory for a demon\n", stderr);
        std::exit(EXIT_FAILURE);
    }
    made->draw = draw;
    made->erase = nullptr;
    made->hilite = toolkit::do_hilite_bn;
    made->dehilite = toolkit::do_dehilite_bn;
    toolkit::set_demon(made, parent, place.x, place.y);
    toolkit::add_demon(made, parent);
    return made;
}
toolkit::generic_demon *add_part(toolkit::demon *parent, const toolkit::screen_box &place,
                                 toolkit::draw_routine draw);

// It is highlighted while the pointer is in it or in what it holds.
void light_under_pointer(toolkit::generic_demon *part);
void light_up(toolkit::demon *self, toolkit::object *sender, toolkit::demon_message *m);
void light_off(toolkit::demon *self, toolkit::object *sender, toolkit::demon_message *m);

// A press of the left button, also the second one of a double click.
void act_on_press(toolkit::generic_demon *part, toolkit::demon_handler handler);

// The text that a part's first word points to, in the middle of its box.
[[nodiscard]] inline const char *caption_of(const toolkit::display_object *self) {
    return toolkit::from_word<const char *>(static_cast<const toolkit::demon *>(self)->first_word);
}
template <void (*paint)(const toolkit::screen_box &, toolkit::look)>
void draw_caption(toolkit::display_object *self) {
    paint(self->box, look_of(self));
    toolkit::draw_text_box(toolkit::inside(self->box, 3), toolkit::font_slot_normal_1,
                           caption_of(self), look_of(self));
}

// A sunken ground for other demons.
void draw_ground(toolkit::display_object *self);

// Something to be seen under what comes up over it.
void draw_strips(const toolkit::screen_box &box);

// --- sections ------------------------------------------------------------------------------------

struct section_text {
    const char *title;
    const char *line;
};

// A group with a title and a line of explanation. The text must stay.
toolkit::generic_demon *add_section(toolkit::demon *window, const toolkit::screen_box &place,
                                    const section_text *text);

// --- what hands move -----------------------------------------------------------------------------

struct handle : toolkit::generic_demon {
    bool is_held;
    toolkit::screen_point grip; // where the hand holds it, from its corner
};

// As add_part; lit under the pointer.
handle *add_handle(toolkit::demon *parent, const toolkit::screen_box &place,
                   toolkit::draw_routine draw);

void hold(handle *self, toolkit::screen_point at);

// Moves it after the hand, as far as its parent goes, and draws that.
void follow_hand(handle *self, toolkit::screen_point at);

// Brings its lower left corner to a place of the screen, or the nearest one within its parent.
void move_within_parent(toolkit::demon *self, int x, int y);

} // namespace gallery
