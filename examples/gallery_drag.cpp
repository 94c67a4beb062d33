// Demons that hands move. One that is held is locked: it gets the pointer's moves wherever in the
// window they are, since a locked demon answers every pick, and so do its ancestors.
#include "examples/gallery.h"
#include "examples/gallery_parts.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/events/event_input.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/objects/object_names.h"

namespace gallery {

using namespace toolkit;

namespace {

constexpr section_text about = {"Dragging",
                                "Hold the left button. The carriage takes the puck along."};
constexpr screen_box carriage_place = {24, 20, 150, 78};
constexpr screen_box puck_place = {16, 14, 56, 26};

look look_of_handle(const display_object *self) {
    return static_cast<const handle *>(self)->is_held ? look::pressed : look_of(self);
}

void draw_carriage(display_object *self) {
    paint_button(self->box, look_of_handle(self));
    screen_box line = self->box;
    line.y = clamp_16(line.y + line.height - 26);
    line.height = 20;
    draw_text_box(line, font_slot_normal_1, caption_of(self));
}

void draw_puck(display_object *self) {
    paint_rounded_box(self->box, look_of_handle(self));
    draw_text_box(inside(self->box, 2), font_slot_small, caption_of(self), look_of_handle(self));
}

// A highlight draws the demon's own face: what stands on it has to be drawn again.
void carriage_on(display_object *self) {
    self->hilited = is_hilited;
    demon_draw_message(static_cast<demon *>(self));
}

void carriage_off(display_object *self) {
    self->hilited = 0;
    demon_draw_message(static_cast<demon *>(self));
}

void let_go(demon *self) {
    static_cast<handle *>(self)->is_held = false;
    unlock_me(self);
    demon_draw_message(self);
}

void press(demon *self, object *sender, demon_message *m) {
    if (self->box_in_child != nullptr) { // it is for what is in it
        demon_generic(self, sender, m);
        return;
    }
    hold(static_cast<handle *>(self), m->point);
    lock_me(self);
    demon_draw_message(self);
}

void release(demon *self, object *sender, demon_message *m) {
    if (static_cast<handle *>(self)->is_held)
        let_go(self);
    else
        demon_generic(self, sender, m);
}

void move(demon *self, object *sender, demon_message *m) {
    auto *held = static_cast<handle *>(self);
    if (!held->is_held)
        demon_loc_move(self, sender, m);
    else if (gl_inq_b1_down() == answer_no) // released over somebody else's window
        let_go(self);
    else
        follow_hand(held, m->point);
}

handle *add_dragged(demon *parent, const screen_box &place, const char *label, draw_routine draw) {
    handle *made = add_handle(parent, place, draw);
    made->first_word = to_word(label);
    act_on_press(made, press);
    made->on.b1_up = release;
    made->on.loc_move = move;
    return made;
}

} // namespace

void add_dragging(demon *window) {
    demon *section = add_section(window, section_place(1, 2), &about);
    demon *ground = add_part(section, contents, draw_ground);
    handle *carriage = add_dragged(ground, carriage_place, "carriage", draw_carriage);
    carriage->hilite = carriage_on;
    carriage->dehilite = carriage_off;
    name_demon(name_carriage, carriage);
    name_demon(name_puck, add_dragged(carriage, puck_place, "puck", draw_puck));
}

} // namespace gallery
