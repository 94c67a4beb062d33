#include "toolkit/demons/demon_pointer.h"

#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_cursors.h"

namespace toolkit {

namespace {

// Which kid the point is in; null for none. What was picked may be gone or moved by now: it counts
// only when it is still found among the kids.
demon_ref pick_kid(const delivery &here, screen_point at) {
    demon *self = here.self();
    const demon *picked = demon_pick_message(self->kids, self, at);
    demon *kid = here.self() != nullptr && picked != nullptr ? self->kids : nullptr;
    while (kid != nullptr && kid != picked)
        kid = kid->next;
    return refer_to_demon(kid);
}

void forward(const demon_ref &to, object *sender, demon_message m, std::uint32_t code) {
    m.code = code;
    m.propagate = 0;
    if (demon *receiver = to.get())
        send_demon_message(receiver, sender, m);
}

// The pointer has left the box-in child for the picked demon, or for none.
void change_kid(const delivery &here, const demon_ref &picked, const demon_message &m) {
    demon *self = here.self();
    const demon_ref left = refer_to_demon(self->box_in_child);
    forward(left, self, m, msg_box_out);
    if (here.self() == nullptr)
        return;
    demon *entered = picked.get();
    const bool is_ours =
        entered != nullptr && entered->list == demon_list::kids && entered->parent.get() == self;
    self->box_in_child = is_ours ? entered : nullptr;
    if (!is_ours) {
        demon_cursor(self, m.point, cursor_mode::entered);
        return;
    }
    forward(picked, self, m, msg_box_in);
    // What is in it has been entered by the same move: a press may be next.
    if (here.self() != nullptr && picked.get() != nullptr && self->box_in_child == picked.get() &&
        picked.get()->kids != nullptr)
        forward(picked, self, m, msg_pointer_moved);
}

// The pointer is in none of the kids yet.
void enter_kid(const delivery &here, const demon_message &m) {
    demon *self = here.self();
    const demon_ref picked = pick_kid(here, m.point);
    if (here.self() == nullptr)
        return;
    self->box_in_child = picked.get();
    if (picked.get() == nullptr) {
        demon_cursor(self, m.point, cursor_mode::moved);
        return;
    }
    demon_cursor(self, m.point, cursor_mode::left);
    forward(picked, self, m, msg_box_in);
    forward(picked, self, m, msg_pointer_moved);
}

} // namespace

void demon_pick(demon *self, object *sender, demon_message *m) {
    if (m == nullptr)
        return;
    if (in_box(self->box, m->point) || self->locked != 0) {
        m->picked = self;
        return;
    }
    demon_pick_next(self, sender, m);
}

void demon_pick_next(demon *self, object *sender, demon_message *m) {
    if (sender == self)
        return;
    delivery here(self);
    while (m->picked == nullptr) {
        demon *sibling = here.step();
        if (sibling == nullptr)
            return;
        send_demon_message(sibling, sibling, *m);
    }
}

void demon_loc_move(demon *self, object *, demon_message *m) {
    if (m == nullptr)
        return;
    const delivery here(self);
    const demon_message copy = *m;
    if (self->box_in_child == nullptr) {
        enter_kid(here, copy);
    } else {
        const demon_ref picked = pick_kid(here, copy.point);
        if (here.self() == nullptr)
            return;
        if (picked.get() != nullptr && picked.get() == self->box_in_child)
            forward(picked, self, copy, msg_pointer_moved);
        else
            change_kid(here, picked, copy);
    }
    if (here.self() != nullptr)
        self->cursor = copy.point;
}

void demon_box_in(demon *self, object *sender, demon_message *m) {
    if (self->box_in_child != nullptr && m != nullptr)
        forward(refer_to_demon(self->box_in_child), sender, *m, m->code);
    else
        demon_cursor(self, m != nullptr ? m->point : self->cursor, cursor_mode::entered);
}

void demon_box_out(demon *self, object *sender, demon_message *m) {
    const screen_point at = m != nullptr ? m->point : self->cursor;
    const delivery here(self);
    if (self->push_on_leave != 0) {
        demon_cursor(self, at, cursor_mode::left);
        demon_push_message(here.self()); // refused while it is pushed: then its kids are told
    }
    if (here.self() != nullptr && self->box_in_child != nullptr) {
        const demon_ref kid = refer_to_demon(self->box_in_child);
        self->box_in_child = nullptr;
        forward(kid, sender, m != nullptr ? *m : demon_message{}, msg_box_out);
    }
    if (here.self() != nullptr)
        demon_cursor(self, at, cursor_mode::left);
}

void demon_generic(demon *self, object *sender, demon_message *m) {
    if (m == nullptr || (self->flags & flag_input) == 0)
        return;
    const delivery here(self);
    if (m->propagate == 0) {
        forward(refer_to_demon(self->box_in_child), sender, *m, m->code);
        return;
    }
    if (self->kids != nullptr)
        send_demon_message(self->kids, sender, *m);
    here.pass_on(sender, m);
}

void demon_none(demon *self, object *sender, demon_message *m) {
    if (self->box_in_child != nullptr) {
        forward(refer_to_demon(self->box_in_child), sender, m != nullptr ? *m : demon_message{},
                msg_none);
        return;
    }
    if ((self->flags & flag_visible) == 0 || self->blink == 0)
        return;
    if (self->blink_countdown-- >= 1)
        return;
    self->blink_countdown = clamp_16(self->blink_period);
    demon_cursor(self, self->cursor,
                 self->cursor_shown != 0 ? cursor_mode::left : cursor_mode::entered);
}

} // namespace toolkit
