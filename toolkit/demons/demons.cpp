#include "toolkit/demons/demons.h"

#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_cursors.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_pop.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/objects/object_names.h"

namespace toolkit {

object_class *Demon_Class = nullptr;
object_set *Demon_Set = nullptr;

namespace {

constexpr double screen_edge = 0.5; // added to a screen's size, so that its own width stays it

demon_ref god;

// A length of the design's screen, on a screen of `extent` pixels where the design has `full`.
int scale_length(int length, int extent, int full) {
    if (extent >= full)
        return length;
    return static_cast<int>(length * ((extent + screen_edge) / full));
}

bool is_visible(const demon *d) {
    return (d->flags & flag_visible) != 0;
}

void set_flag(demon *d, std::uint16_t flag, bool on) {
    if (on)
        d->flags |= flag;
    else
        d->flags &= static_cast<std::uint16_t>(~flag);
}

void broadcast(demon *first, object *sender, std::uint32_t code, std::uint32_t value = 0) {
    if (first == nullptr)
        return;
    demon_message m;
    m.code = code;
    m.value = value;
    m.propagate = demon_on;
    send_demon_message(first, sender, m);
}

// The message's code and value to what is in the demon, if that is there still; then the message
// itself to its siblings.
void go_on(const delivery &here, object *sender, std::uint32_t code, std::uint32_t value,
           demon_message *m) {
    if (here.self() != nullptr)
        broadcast(here.self()->kids, here.self(), code, value);
    here.pass_on(sender, m);
}

// Tells a client, whether it is a demon itself or any other object.
void tell_client(object *client, object *sender, std::uint32_t code, std::uint32_t value) {
    if (client == nullptr)
        return;
    demon_message m;
    m.code = code;
    m.value = value;
    if (is_demon(client))
        send_demon_message(static_cast<demon *>(client), sender, m);
    else
        send_message(client, code, to_word(sender), static_cast<word>(value));
}

void change_hilite(demon *self, object *sender, demon_message *m, std::uint32_t code,
                   std::uint16_t state) {
    delivery here(self);
    if (is_visible(self) && self->hilited != state) {
        if (object *client = referred(self->client))
            tell_client(client, self, code, 0);
        else if (state != 0)
            hilite_me(self);
        else
            dehilite_me(self);
        if (here.self() != nullptr)
            self->hilited = state;
    }
    go_on(here, sender, code, 0, m);
}

} // namespace

// ---- references

demon *demon_ref::get() const {
    return static_cast<demon *>(referred(held));
}

demon_ref refer_to_demon(demon *d) {
    return {refer_to(d)};
}

// ---- making

object_class *create_demon_class() {
    object_class *made = derive_object_class(inq_display_object_class(), "demon_class");
    if (made == nullptr)
        return nullptr;
    made->released = forget_demon;
    set_method<demon_destroy>(made, msg_destroy);
    set_method<demon_init>(made, msg_init);
    set_method<demon_draw>(made, msg_draw);
    set_method<demon_pick>(made, msg_pick);
    set_method<demon_hilite>(made, msg_hilite);
    set_method<demon_dehilite>(made, msg_dehilite);
    set_method<demon_move>(made, msg_move);
    set_method<demon_set_visibility>(made, msg_set_visibility);
    set_method<demon_get_visibility>(made, msg_get_visibility);
    set_method<demon_none>(made, msg_none);
    for (const std::uint32_t code :
         {msg_left_up, msg_left_down, msg_middle_up, msg_middle_down, msg_right_up, msg_right_down,
          msg_key, msg_left_double, msg_middle_double, msg_right_double, msg_wheel_up,
          msg_wheel_down})
        set_method<demon_generic>(made, code);
    set_method<demon_box_in>(made, msg_box_in);
    set_method<demon_box_out>(made, msg_box_out);
    set_method<demon_loc_move>(made, msg_pointer_moved);
    set_method<demon_pop>(made, msg_pop);
    set_method<demon_push>(made, msg_push);
    set_method<demon_add>(made, msg_add);
    set_method<demon_delete>(made, msg_delete);
    set_method<demon_set_enable_input>(made, msg_set_enable_input);
    set_method<demon_get_enable_input>(made, msg_get_enable_input);
    set_method<demon_set_keyboard_client>(made, msg_set_keyboard_client);
    set_method<demon_get_keyboard_client>(made, msg_get_keyboard_client);
    set_demon_hooks(&Demon_Class, walk_demon_god);
    return keep_class_in(&Demon_Class, made);
}

object_class *inq_demon_class() {
    return Demon_Class != nullptr ? Demon_Class : create_demon_class();
}

demon *create_demon(object_set *set, int width, int height, object *client) {
    if (set == nullptr && Demon_Set == nullptr)
        keep_set_in(&Demon_Set, create_set_of<demon>(demon_block, demon_block, inq_demon_class()));
    return create_demon_of<demon>(set != nullptr ? set : Demon_Set, width, height, client);
}

void init_demon(demon *self) {
    init_display_object(self);
    self->pop_list = self->next = self->kids = self->box_in_child = nullptr;
    self->parent = {};
    self->client = {};
    self->push_on_leave = self->popped = self->locked = 0;
    self->saved = nullptr;
    self->overlap_count = 0;
    self->cursor = self->previous_cursor = {};
    self->cursor_shown = self->blink = self->blink_period = 0;
    self->blink_countdown = 0;
    self->list = demon_list::none;
    self->joined = 0;
    self->first_word = self->second_word = 0;
    self->draw = draw_in_box<draw_box_dark_gray>;
    self->erase = draw_in_box<erase_box_dark_gray>;
    self->cursor_draw = x_cursor;
    self->cursor_erase = nullptr;
}

void size_demon(demon *self, int width, int height) {
    self->box.width = clamp_16(scale_x(width));
    self->box.height = clamp_16(scale_y(height));
}

int scale_x(int length) {
    int width = 0, height = 0;
    gl_inq_screen_size(&width, &height);
    return scale_length(length, width, full_screen_width);
}

int scale_y(int length) {
    int width = 0, height = 0;
    gl_inq_screen_size(&width, &height);
    return scale_length(length, height, full_screen_height);
}

demon *inq_demon_god() {
    return god.get();
}

void set_demon_god(demon *d) {
    god = refer_to_demon(d);
}

bool is_demon(const object *o) {
    return o != nullptr && is_class_derived(o->class_, Demon_Class);
}

// ---- methods

void demon_init(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    if (m == nullptr || m->propagate == 0)
        return;
    if (self->kids != nullptr)
        send_demon_message(self->kids, sender, *m);
    here.pass_on(sender, m);
}

void demon_destroy(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    if ((self->flags & flag_in_destruction) != 0) {
        here.pass_on(sender, m);
        return;
    }
    self->flags |= flag_in_destruction;
    object *client = referred(self->client);
    self->client = {};
    tell_client(client, self, msg_destroy, 0);
    if (here.self() != nullptr)
        unlink_demon(self);
    if (here.self() != nullptr)
        broadcast(self->kids, self, msg_destroy);
    if (here.self() != nullptr)
        broadcast(self->pop_list, self, msg_destroy);
    if (here.self() != nullptr) {
        forget_demon(self); // also if somebody's reference keeps the record
        self->flags &= static_cast<std::uint16_t>(~flag_deleted); // set by windows before this
        delete_object(self);
    }
    here.pass_on(sender, m);
}

void demon_draw(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    const bool over_siblings = self->popped != 0;
    if (over_siblings)
        here.pass_on(sender, m);
    if (here.self() != nullptr)
        demon_d_o_draw(self);
    if (here.self() != nullptr && is_visible(self))
        broadcast(self->kids, self, msg_draw, demon_on);
    if (!over_siblings)
        here.pass_on(sender, m);
}

void demon_d_o_draw(demon *self) {
    if (!is_visible(self))
        return;
    const demon_ref kept = refer_to_demon(self);
    const object_ref client = self->client;
    if (object *told = referred(client)) {
        tell_client(told, self, msg_erase, 0);
        tell_client(referred(client), self, msg_draw, 0);
        return;
    }
    erase_me(self);
    if (kept.get() != nullptr)
        draw_me(self);
}

void demon_hilite(demon *self, object *sender, demon_message *m) {
    change_hilite(self, sender, m, msg_hilite, is_hilited);
}

void demon_dehilite(demon *self, object *sender, demon_message *m) {
    change_hilite(self, sender, m, msg_dehilite, 0);
}

void demon_move(demon *self, object *, const box_move *delta) {
    if (delta == nullptr)
        return;
    const box_move by = *delta;
    const delivery here(self);
    move_demon(self, by.dx, by.dy);
    if (here.self() != nullptr)
        recursive_move_demon(self->kids, by.dx, by.dy);
    if (here.self() != nullptr)
        recursive_move_demon(self->pop_list, by.dx, by.dy);
}

void demon_set_visibility(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    const bool is_shown = m != nullptr && m->value != 0 && (self->flags & flag_hidden) == 0;
    const std::uint32_t value = is_shown ? demon_on : 0;
    set_flag(self, flag_visible, value != 0);
    tell_client(referred(self->client), self, msg_set_visibility, value);
    go_on(here, sender, msg_set_visibility, value, m);
}

int demon_get_visibility(demon *self, object *, demon_message *m) {
    const int value = is_visible(self) ? toolkit_true : toolkit_false;
    if (m != nullptr)
        m->value = static_cast<std::uint32_t>(value);
    return value;
}

void demon_set_enable_input(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    const bool is_enabled = m != nullptr && m->value != 0 && (self->flags & flag_disabled) == 0;
    const std::uint32_t value = is_enabled ? demon_on : 0;
    set_flag(self, flag_input, value != 0);
    go_on(here, sender, msg_set_enable_input, value, m);
}

int demon_get_enable_input(demon *self, object *, demon_message *m) {
    const int value = (self->flags & flag_input) != 0 ? toolkit_true : toolkit_false;
    if (m != nullptr)
        m->value = static_cast<std::uint32_t>(value);
    return value;
}

void demon_add(demon *self, object *sender, demon_message *) {
    if (is_demon(sender))
        add_demon(self, static_cast<demon *>(sender));
}

void demon_delete(demon *self, object *, demon_message *) {
    delete_demon(self);
}

void demon_set_keyboard_client(demon *self, object *sender, demon *client) {
    send_message(self->parent.get(), msg_set_keyboard_client, to_word(sender), to_word(client));
}

demon *demon_get_keyboard_client(demon *self, object *sender, word unused) {
    return from_word<demon *>(
        send_message(self->parent.get(), msg_get_keyboard_client, to_word(sender), unused));
}

// ---- a demon that fills its box

void set_demon_fill_color(demon *self, int index) {
    self->first_word = index;
    self->draw = draw_demon_fill_color;
    self->erase = erase_demon_fill_color;
}

void draw_demon_fill_color(display_object *self) {
    gl_fill_box(self->box, static_cast<int>(static_cast<demon *>(self)->first_word));
}

void erase_demon_fill_color(display_object *self) {
    gl_fill_box(self->box, colour_background);
}

} // namespace toolkit
