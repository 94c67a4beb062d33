#include "toolkit/widgets/control.h"

#include "platform/gl/queue.h"
#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/demons/keystroke_aliases.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/input_window.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/objects/bounded_text.h"

#include <algorithm>

namespace toolkit {

object_class *Control_Class = nullptr;

namespace {

control *own(demon *self) {
    return static_cast<control *>(self);
}

bool takes_input(const demon *self) {
    return (self->flags & flag_input) != 0;
}

bool is_shown(const demon *self) {
    return (self->flags & flag_visible) != 0;
}

bool can_be_pressed(const control *self) {
    return self->kind->pressed != nullptr || self->kind->clicked != nullptr;
}

// ---- highlight: drawn, also in colour-map windows, where turning a box over would touch the
// neighbours that share its edge

void set_lit(display_object *self, std::uint16_t state) {
    if (self->hilited == state)
        return;
    self->hilited = state;
    if (self->draw != nullptr)
        self->draw(self);
}

void light_control(display_object *self) {
    set_lit(self, is_hilited);
}

void darken_control(display_object *self) {
    set_lit(self, 0);
}

// ---- holding the pointer

bool has_pointer(const control *self) {
    return inq_event_receiver(input_motion) == self;
}

void hold_pointer(control *self) {
    self->is_held = true;
    if (has_pointer(self))
        return;
    self->filter_place = inq_event_filters();
    push_event_filter(self, input_motion | input_button);
}

// A filter that came over this one since keeps it; then the next move that comes here does it.
void release_pointer(const control *self) {
    const std::size_t filters = inq_event_filters();
    if (filters > 0 && has_pointer(self))
        pop_event_filters_to(std::min(self->filter_place, filters - 1));
}

// Whether keys go to a control that has use for arrows and the like, or this one is a shortcut.
bool wants_editing_key(std::int16_t key) {
    const control *client = as_control(inq_key_client());
    return (client != nullptr && client->kind->is_typed_in && takes_input(client)) ||
           has_keystroke_alias(key);
}

// The window that has the desktop's keyboard, if it is one of the program's.
const iris_window_demon *window_with_keyboard() {
    const object *owner = gl_get_wid_demon(gl_find_wid(inq_input_window()));
    return is_live(owner) && is_iris_window_demon(owner)
               ? static_cast<const iris_window_demon *>(owner)
               : nullptr;
}

// Another window has the desktop's keyboard: who holds the keyboard of one shows whether it counts.
void draw_keyboard_clients() {
    const graphics_bracket bracket;
    follow_iris_windows();
    for (int wid = 0; wid < num_wids; ++wid) {
        const object *owner = gl_get_wid_demon(wid);
        if (!is_live(owner) || !is_iris_window_demon(owner))
            continue;
        control *client =
            as_control(static_cast<const iris_window_demon *>(owner)->keyboard_client.get());
        if (client != nullptr && client->kind->is_typed_in)
            redraw_control(client);
    }
}

// What is typed in another control of the window is settled before this one is used. Returns
// whether it is still pressed then: a question may have come between.
bool end_typing_elsewhere(control *self) {
    const demon *typed_in = demon_get_keyboard_client_message(self);
    if (typed_in == nullptr || typed_in == self || self->kind->is_typed_in)
        return true;
    const demon_ref kept = refer_to_demon(self);
    demon_keyboard_client_message(self, nullptr);
    return kept.get() != nullptr && takes_input(self) && is_shown(self) && !has_missed_release();
}

// The pointer may be anywhere now: its way down is found anew.
void tell_pointer_place(screen_point at) {
    demon_message m;
    m.code = msg_pointer_moved;
    m.point = at;
    deliver_event(input_motion, m);
}

// ---- handlers

void control_box_in(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    if (takes_input(self))
        hilite_me(self);
    tell_box_in(self);
    if (here.self() != nullptr)
        demon_box_in(self, sender, m);
}

void control_box_out(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    dehilite_me(self);
    tell_box_out(self);
    if (here.self() != nullptr)
        demon_box_out(self, sender, m);
}

void control_loc_move(demon *d, object *sender, demon_message *m) {
    control *self = own(d);
    if (self->is_held && !has_missed_release()) {
        if (self->kind->dragged != nullptr)
            self->kind->dragged(self, m->point);
        return;
    }
    const bool is_by_filter = has_pointer(self);
    let_go_control(self);
    if (is_by_filter && !in_box(self->box, m->point)) {
        tell_pointer_place(m->point);
        return;
    }
    if (takes_input(self) && self->hilited == 0)
        hilite_me(self); // it was enabled under the pointer
    demon_loc_move(self, sender, m);
}

void control_b1_down(demon *d, object *, demon_message *m) {
    control *self = own(d);
    if (!in_box(self->box, m->point)) { // the pointer was taken away while it was held
        let_go_control(self);
        return;
    }
    if (!can_be_pressed(self) || !end_typing_elsewhere(self))
        return;
    hold_pointer(self);
    self->is_pressed = true;
    if (self->kind->pressed != nullptr)
        self->kind->pressed(self, m->point);
    else
        redraw_control(self);
}

void control_b1_up(demon *d, object *, demon_message *m) {
    control *self = own(d);
    if (!self->is_held)
        return;
    const bool is_inside = in_box(self->box, m->point);
    const screen_point at = m->point;
    const demon_ref kept = refer_to_demon(self);
    let_go_control(self);
    if (!is_inside)
        self->hilited = 0;
    redraw_control(self);
    callWidgetB1Up(self->help_id);
    if (kept.get() == nullptr)
        return;
    if (!is_inside)
        tell_pointer_place(at);
    else if (self->kind->clicked != nullptr && takes_input(self) && is_shown(self))
        self->kind->clicked(self);
}

void control_wheel(demon *d, object *, demon_message *m) {
    control *self = own(d);
    if (self->kind->stepped != nullptr && !self->is_held)
        self->kind->stepped(self, m->code == msg_wheel_up ? 1 : -1);
}

void control_destroy(demon *self, object *sender, demon_message *m) {
    let_go_control(own(self));
    demon_destroy(self, sender, m);
}

void control_set_enable_input(control *self, object *sender, demon_message *m) {
    if (m == nullptr || m->value == 0)
        let_go_control(self);
    demon_set_enable_input(self, sender, m);
}

// ---- values

word control_set_value(demon *self, object *, word value) {
    if (const auto *given = from_word<const widget_value *>(value))
        change_control(own(self), *given);
    return 0;
}

word control_update_value(demon *d, object *, word value) {
    control *self = own(d);
    const auto *given = from_word<const widget_value *>(value);
    if (given != nullptr && self->kind->take != nullptr)
        self->kind->take(self, *given);
    return 0;
}

word control_get_value(demon *self, object *, word value) {
    if (auto *result = from_word<widget_value *>(value)) {
        result->number = own(self)->value;
        result->text = label_of(own(self));
    }
    return 0;
}

} // namespace

// ---- making

object_class *inq_control_class() {
    if (Control_Class != nullptr)
        return Control_Class;
    object_class *made = derive_object_class(inq_generic_demon_class(), "control class");
    if (made == nullptr)
        return nullptr;
    set_method<control_set_enable_input>(made, msg_set_enable_input);
    set_editing_key_question(wants_editing_key);
    set_input_window_call(draw_keyboard_clients);
    return keep_class_in(&Control_Class, made);
}

control *as_control(demon *widget) {
    const bool is_one = widget != nullptr && is_class_derived(widget->class_, Control_Class);
    return is_one ? own(widget) : nullptr;
}

void set_up_control(control *self, demon *parent, const control_place &place,
                    const control_kind &kind, widget_function function, word argument) {
    self->kind = &kind;
    self->function = function;
    self->argument = argument;
    self->draw = kind.draw;
    self->erase = nullptr;
    self->hilite = kind.is_lit ? light_control : nullptr;
    self->dehilite = kind.is_lit ? darken_control : nullptr;
    self->on = {.box_in = control_box_in,
                .box_out = control_box_out,
                .b1_down = control_b1_down,
                .b1_up = control_b1_up,
                .b1_double_click = control_b1_down,
                .loc_move = control_loc_move,
                .keystroke = nullptr,
                .wheel = control_wheel,
                .draw = nullptr,
                .destroy = control_destroy,
                .pick = nullptr,
                .pop = nullptr,
                .push = nullptr,
                .set_value = control_set_value,
                .get_value = control_get_value,
                .update_value = control_update_value};
    if (parent == nullptr)
        return;
    set_demon(self, parent, place.x, place.y);
    adopt_widget(self, parent);
}

void adopt_widget(demon *widget, demon *parent) {
    if (widget == nullptr || parent == nullptr)
        return;
    const demon_ref kept = refer_to_demon(widget);
    add_demon(widget, parent);
    if (kept.get() != nullptr && widget->parent.get() == parent)
        demon_gl_window_assign(parent->kids); // the widget is the first of them
}

// ---- working

look look_of_control(const control *self) {
    if (!takes_input(self))
        return look::disabled;
    if (self->is_held)
        return self->is_pressed ? look::pressed : look::normal;
    return look_of(self);
}

std::string_view label_of(const control *self) {
    return self->label.data();
}

void set_control_label(control *self, std::string_view text) {
    copy_bounded(self->label, text);
}

void redraw_control(control *self) {
    if (getTarnBatchMode() == 0)
        demon_draw_message(self);
}

bool are_keys_for(const demon *client) {
    const demon *typed_at = window_with_keyboard();
    const demon *receiver = peek_event_receiver(input_keyboard); // a dialog, whoever is typed at
    for (const demon *d = client; d != nullptr; d = d->parent.get())
        if (is_iris_window_demon(d))
            return typed_at == nullptr || d == typed_at || d == receiver;
    return true;
}

void notify_control(const control *self) {
    if (self->function != nullptr)
        self->function(self->argument);
}

void change_control(control *self, const widget_value &value) {
    if (self->kind->take != nullptr && self->kind->take(self, value))
        notify_control(self);
}

void press_or_not(control *self, screen_point at) {
    const bool is_inside = in_box(self->box, at);
    if (self->is_pressed == is_inside)
        return;
    self->is_pressed = is_inside;
    redraw_control(self);
}

bool has_missed_release() {
    return gl_inq_b1_down() == answer_no && gl::qtest() == gl::NULLDEV;
}

void let_go_control(control *self) {
    release_pointer(self);
    self->is_held = self->is_pressed = false;
}

int ground_of(demon *d) {
    for (const demon *on = d->parent.get(); on != nullptr; on = on->parent.get()) {
        if (on->draw == draw_demon_fill_color || on->draw == draw_coloured_window)
            return static_cast<int>(on->first_word);
        if (is_iris_window_demon(on))
            break;
    }
    return colour_face;
}

} // namespace toolkit
