#include "toolkit/demons/generic_demons.h"

#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_pop.h"

namespace toolkit {

object_class *Generic_Demon_Class = nullptr;
object_set *Generic_Demon_Set = nullptr;

namespace {

// Calls the handler, or the method that stands in for it. Nothing is done with the demon after it.
void answer(demon_handler handler, demon_handler method, demon *self, object *sender,
            demon_message *m, std::uint32_t code) {
    demon_message own;
    own.code = code;
    (handler != nullptr ? handler : method)(self, sender, m != nullptr ? m : &own);
}

void answer_input(demon_handler handler, generic_demon *self, object *sender, demon_message *m,
                  std::uint32_t code) {
    if ((self->flags & flag_input) != 0)
        answer(handler, demon_generic, self, sender, m, code);
}

void generic_box_in(generic_demon *self, object *sender, demon_message *m) {
    answer(self->on.box_in, demon_box_in, self, sender, m, msg_box_in);
}

void generic_box_out(generic_demon *self, object *sender, demon_message *m) {
    answer(self->on.box_out, demon_box_out, self, sender, m, msg_box_out);
}

void generic_b1_down(generic_demon *self, object *sender, demon_message *m) {
    answer_input(self->on.b1_down, self, sender, m, msg_left_down);
}

void generic_b1_up(generic_demon *self, object *sender, demon_message *m) {
    answer_input(self->on.b1_up, self, sender, m, msg_left_up);
}

void generic_b1_double_click(generic_demon *self, object *sender, demon_message *m) {
    answer_input(self->on.b1_double_click, self, sender, m, msg_left_double);
}

void generic_loc_move(generic_demon *self, object *sender, demon_message *m) {
    answer(self->on.loc_move, demon_loc_move, self, sender, m, msg_pointer_moved);
}

void generic_keystroke(generic_demon *self, object *sender, demon_message *m) {
    answer_input(self->on.keystroke, self, sender, m, msg_key);
}

template <std::uint32_t code>
void generic_wheel(generic_demon *self, object *sender, demon_message *m) {
    answer_input(self->on.wheel, self, sender, m, code);
}

void generic_draw(generic_demon *self, object *sender, demon_message *m) {
    answer(self->on.draw, demon_draw, self, sender, m, msg_draw);
}

void generic_destroy(generic_demon *self, object *sender, demon_message *m) {
    answer(self->on.destroy, demon_destroy, self, sender, m, msg_destroy);
}

void generic_pick(generic_demon *self, object *sender, demon_message *m) {
    answer(self->on.pick, demon_pick, self, sender, m, msg_pick);
}

void generic_pop(generic_demon *self, object *sender, demon_message *m) {
    answer(self->on.pop, demon_pop, self, sender, m, msg_pop);
}

void generic_push(generic_demon *self, object *sender, demon_message *m) {
    answer(self->on.push, demon_push, self, sender, m, msg_push);
}

word generic_set_value(generic_demon *self, object *sender, word value) {
    return self->on.set_value != nullptr ? self->on.set_value(self, sender, value) : 0;
}

word generic_get_value(generic_demon *self, object *sender, word value) {
    return self->on.get_value != nullptr ? self->on.get_value(self, sender, value) : 0;
}

word generic_update_value(generic_demon *self, object *sender, word value) {
    return self->on.update_value != nullptr ? self->on.update_value(self, sender, value) : 0;
}

} // namespace

object_class *create_generic_demon_class() {
    object_class *made = derive_object_class(inq_demon_class(), "generic demon class");
    if (made == nullptr)
        return nullptr;
    set_method<generic_box_in>(made, msg_box_in);
    set_method<generic_box_out>(made, msg_box_out);
    set_method<generic_b1_down>(made, msg_left_down);
    set_method<generic_b1_up>(made, msg_left_up);
    set_method<generic_b1_double_click>(made, msg_left_double);
    set_method<generic_loc_move>(made, msg_pointer_moved);
    set_method<generic_keystroke>(made, msg_key);
    set_method<generic_wheel<msg_wheel_up>>(made, msg_wheel_up);
    set_method<generic_wheel<msg_wheel_down>>(made, msg_wheel_down);
    set_method<generic_draw>(made, msg_draw);
    set_method<generic_destroy>(made, msg_destroy);
    set_method<generic_pick>(made, msg_pick);
    set_method<generic_pop>(made, msg_pop);
    set_method<generic_push>(made, msg_push);
    set_method<generic_set_value>(made, msg_set_value);
    set_method<generic_get_value>(made, msg_get_value);
    set_method<generic_update_value>(made, msg_update_value);
    return keep_class_in(&Generic_Demon_Class, made);
}

object_class *inq_generic_demon_class() {
    return Generic_Demon_Class != nullptr ? Generic_Demon_Class : create_generic_demon_class();
}

generic_demon *create_generic_demon(object_set *set, int width, int height, object *client) {
    if (set == nullptr && Generic_Demon_Set == nullptr)
        keep_set_in(&Generic_Demon_Set, create_set_of<generic_demon>(demon_block, demon_block,
                                                                     inq_generic_demon_class()));
    return create_demon_of<generic_demon>(set != nullptr ? set : Generic_Demon_Set, width, height,
                                          client);
}

bool is_generic_demon(const object *o) {
    return o != nullptr && is_class_derived(o->class_, Generic_Demon_Class);
}

} // namespace toolkit
