#include "toolkit/widgets/pulldowns.h"

#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/objects/bounded_text.h"
#include "toolkit/widgets/control.h"
#include "toolkit/widgets/pulldown_parts.h"

#include <algorithm>

namespace toolkit {

object_class *Pulldown_Choice_Class = nullptr;
object_set *Pulldown_Choice_Set = nullptr;

namespace {

constexpr int choices_in_block = 40;
constexpr int first_choices = 10;
constexpr int launch_zone = 31; // pixels at an entry's right end that open its sub-pulldown
constexpr int launch_way = 16;  // or so many to the right of where the pointer came in

// ---- the pointer

bool is_at_launch(const pulldown_choice *self, screen_point at) {
    return at.x >= self->box.x + self->box.width - launch_zone ||
           at.x >= self->entered.x + launch_way;
}

// Closes what another choice has opened.
void push_other_launch(const pulldown_choice *self) {
    pulldown *p = pulldown_of_choice(self);
    demon *open = p != nullptr ? p->launched.get() : nullptr;
    if (open == nullptr || open == self->sub_pulldown.get())
        return;
    p->launched = {};
    const demon_ref opener = refer_to_demon(opener_of(static_cast<pulldown *>(open)));
    demon_push_message(open);
    if (demon *left = opener.get())
        demon_draw_message(left);
}

void pulldown_choice_box_in(pulldown_choice *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    const screen_point at = m != nullptr ? m->point : self->cursor;
    self->entered = at;
    demon_box_in(self, sender, m);
    if (kept.get() != nullptr)
        push_other_launch(self);
    if (kept.get() != nullptr && can_be_chosen(self))
        demon_hilite_message(self);
    if (kept.get() != nullptr && is_at_launch(self, at))
        pulldown_launch(self);
}

void pulldown_choice_box_out(pulldown_choice *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    demon_box_out(self, sender, m);
    demon_dehilite_message(kept.get());
}

void pullDownChoiceBoxIn(pulldown_choice *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    tell_box_in(self);
    if (kept.get() != nullptr)
        pulldown_choice_box_in(self, sender, m);
}

void pullDownChoiceBoxOut(pulldown_choice *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    tell_box_out(self);
    if (kept.get() != nullptr)
        pulldown_choice_box_out(self, sender, m);
}

void pulldown_choice_loc_move(pulldown_choice *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    demon_loc_move(self, sender, m);
    if (kept.get() != nullptr && m != nullptr && is_at_launch(self, m->point))
        pulldown_launch(self);
}

// ---- choosing

bool has_state(const pulldown_choice *self) {
    return self->kind == pulldown_kind::toggle || self->kind == pulldown_kind::radio;
}

void show_in_switch(const pulldown_choice *self) {
    if (pulldown_switch *s = switch_of(pulldown_of_choice(self)))
        setPullDownSwitchLabel(s, self->label.data());
}

// Switches the other radio choices of the pulldown off.
void clear_group(pulldown_choice *self) {
    const pulldown *p = pulldown_of_choice(self);
    for (demon *kid = p != nullptr ? p->kids : nullptr; kid != nullptr; kid = kid->next)
        if (pulldown_choice *other = as_pulldown_choice(kid);
            other != nullptr && other != self && other->kind == pulldown_kind::radio)
            other->state = 0;
}

void call_function(widget_function function, word argument) {
    if (function != nullptr)
        function(argument);
}

void act_on_choice(pulldown_choice *self) {
    if (has_state(self))
        pulldown_choice_toggle(self);
    else
        call_function(self->callback, self->argument);
}

void pulldown_choice_b1_up(pulldown_choice *self, object *, demon_message *) {
    const demon_ref kept = refer_to_demon(self);
    const bool was_active = can_be_chosen(self);
    if (was_active)
        act_on_choice(self);
    demon_box_out_message(kept.get());
    if (kept.get() != nullptr && was_active && self->show_in_switch != 0)
        show_in_switch(self);
}

void toggle_by_key(word choice) {
    pulldown_choice_toggle(from_word<pulldown_choice *>(choice));
}

// ---- life

// However a choice goes: its shortcut would call what is gone.
void release_choice(object *gone) {
    auto *choice = static_cast<pulldown_choice *>(gone);
    if (choice->shortcut.key != 0)
        remove_keystroke_alias(choice->shortcut.key, choice->shortcut.modifiers,
                               choice->shortcut.function, choice->shortcut.argument);
    choice->shortcut = {};
    forget_demon(gone);
}

void take_out(pulldown_choice *choice) {
    pulldown *p = pulldown_of_choice(choice);
    if (p == nullptr || is_in_destruction(p))
        return;
    const demon_ref kept = refer_to_demon(p);
    const int row = choice->row;
    delete_demon(choice);
    if (kept.get() == nullptr)
        return;
    --p->count;
    for (demon *kid = p->kids; kid != nullptr; kid = kid->next)
        if (pulldown_choice *other = as_pulldown_choice(kid); other != nullptr && other->row > row)
            --other->row;
    if (p->count == 0 && p->popped != 0)
        closePullDowns();
    if (kept.get() != nullptr)
        lay_out_pulldown(p);
}

void destroy_tool_window(pulldown_choice *self) {
    auto *window = static_cast<iris_window_demon *>(self->tool_window.get());
    self->tool_window = {};
    if (window == nullptr)
        return;
    window->on.destroy = iris_demon_destroy; // until now closing pushed it
    demon_destroy_message(window);
}

void pulldown_choice_destroy(pulldown_choice *self, object *sender, demon_message *m) {
    const delivery here(self);
    const demon_ref sub = self->sub_pulldown;
    self->sub_pulldown = {};
    if (demon *p = sub.get()) {
        demon_push_message(p);
        demon_destroy_message(sub.get());
    }
    if (here.self() != nullptr)
        destroy_tool_window(self);
    if (here.self() != nullptr && !is_in_destruction(self))
        take_out(self);
    if (here.self() != nullptr)
        demon_destroy(self, sender, m);
    else
        here.pass_on(sender, m);
}

object_class *inq_pulldown_choice_class() {
    if (Pulldown_Choice_Class != nullptr)
        return Pulldown_Choice_Class;
    object_class *made = derive_object_class(inq_generic_demon_class(), "pulldown choice class ");
    if (made == nullptr)
        return nullptr;
    made->released = release_choice;
    set_method<pulldown_choice_destroy>(made, msg_destroy);
    set_method<pullDownChoiceBoxIn>(made, msg_box_in);
    set_method<pullDownChoiceBoxOut>(made, msg_box_out);
    set_method<pulldown_choice_loc_move>(made, msg_pointer_moved);
    set_method<pulldown_choice_b1_up>(made, msg_left_up);
    set_method<pulldown_choice_set>(made, msg_set_value);
    set_method<pulldown_choice_get>(made, msg_get_value);
    set_method<pulldown_choice_update>(made, msg_update_value);
    return keep_class_in(&Pulldown_Choice_Class, made);
}

object_set *inq_pulldown_choice_set() {
    if (Pulldown_Choice_Set == nullptr)
        keep_set_in(&Pulldown_Choice_Set,
                    create_set_of<pulldown_choice>(choices_in_block, first_choices,
                                                   inq_pulldown_choice_class()));
    return Pulldown_Choice_Set;
}

// ---- into a pulldown

void measure_choice(pulldown_choice *choice) {
    choice->entry_width = getStringWidth(choice->text_font, choice->label.data()) +
                          getStringWidth(choice->text_font, choice->key_text.data()) + choice_space;
}

// Whether the pulldown hangs on that one, or is it.
bool hangs_on(pulldown *p, const pulldown *outer) {
    while (p != nullptr && p != outer) {
        const pulldown_choice *opener = opener_of(p);
        p = opener != nullptr ? pulldown_of_choice(opener) : nullptr;
    }
    return p != nullptr;
}

void take_sub_pulldown(pulldown_choice *choice, pulldown *p, demon *wanted) {
    pulldown *sub = as_pulldown(wanted);
    if (choice->kind != pulldown_kind::cascade || sub == nullptr || sub->owner.get() != nullptr ||
        hangs_on(p, sub))
        return;
    choice->sub_pulldown = refer_to_demon(sub);
    sub->owner = refer_to_demon(choice);
}

void put_in(pulldown *p, demon *previous, pulldown_choice *choice) {
    const pulldown_choice *above = as_pulldown_choice(previous);
    const bool is_here = above != nullptr && above != choice && pulldown_of_choice(above) == p;
    const int row = is_here ? above->row + 1 : p->count + 1;
    const demon_ref kept = refer_to_demon(p), kept_choice = refer_to_demon(choice);
    add_demon(choice, p);
    if (kept.get() == nullptr || kept_choice.get() == nullptr || pulldown_of_choice(choice) != p)
        return;
    ++p->count;
    for (demon *kid = p->kids; kid != nullptr; kid = kid->next)
        if (pulldown_choice *other = as_pulldown_choice(kid);
            other != nullptr && other != choice && other->row >= row)
            ++other->row;
    choice->row = row;
    lay_out_pulldown(p);
}

void set_choice_active(demon *choice, std::uint16_t active) {
    const graphics_bracket bracket;
    pulldown_choice *self = as_pulldown_choice(choice);
    if (self == nullptr || self->active == active)
        return;
    self->active = active;
    if (active == 0)
        self->hilited = 0;
    pulldown_bitmap_destroy(pulldown_of_choice(self));
}

} // namespace

pulldown_choice *as_pulldown_choice(demon *d) {
    const bool is_one = d != nullptr && is_class_derived(d->class_, Pulldown_Choice_Class);
    return is_one ? static_cast<pulldown_choice *>(d) : nullptr;
}

// ---- making

pulldown_choice *add_pulldown_choice(object_set *set, pulldown *p, demon *previous,
                                     const char *label, bool separator, pulldown_kind kind,
                                     const char *key_text, widget_function function, word argument,
                                     demon *sub_pulldown, bool state, bool active) {
    if (set == nullptr)
        set = inq_pulldown_choice_set();
    if (p == nullptr || set == nullptr || !is_class_derived(set->class_, Pulldown_Choice_Class))
        return nullptr;
    auto *made = create_demon_of<pulldown_choice>(set, 0, choice_height, nullptr);
    if (made == nullptr)
        return nullptr;
    made->draw = pulldown_choice_draw;
    made->erase = nullptr;
    made->hilite = do_hilite_bn;
    made->dehilite = do_dehilite_bn;
    copy_bounded(made->label, label != nullptr ? label : "");
    copy_bounded(made->key_text, key_text != nullptr ? key_text : "");
    made->separator = separator ? 1 : 0;
    made->kind = kind;
    made->callback = function;
    made->argument = argument;
    made->state = state ? 1 : 0;
    made->active = active ? demon_on : 0;
    made->text_font = font_slot_bold;
    measure_choice(made);
    take_sub_pulldown(made, p, sub_pulldown);
    put_in(p, previous, made);
    return made;
}

demon *addPullDownChoice(demon *pulldown, demon *previous, const char *label, bool separator,
                         pulldown_kind kind, int key, std::uint32_t modifiers, const char *key_text,
                         widget_function function, word argument, demon *sub_pulldown, bool state,
                         bool active) {
    const graphics_bracket bracket;
    pulldown_choice *made =
        add_pulldown_choice(nullptr, as_pulldown(pulldown), previous, label, separator, kind,
                            key_text, function, argument, sub_pulldown, state, active);
    if (made == nullptr)
        return nullptr;
    keep_help_id(made, argument);
    if (function == nullptr || key == 0)
        return made;
    const bool toggles = kind == pulldown_kind::toggle;
    made->shortcut = {key, modifiers, toggles ? toggle_by_key : function,
                      toggles ? to_word(made) : argument};
    aliasKeystroke(key, modifiers, made->shortcut.function, made->shortcut.argument);
    return made;
}

// ---- changing

void activatePullDownChoice(demon *choice) {
    set_choice_active(choice, demon_on);
}

void deactivatePullDownChoice(demon *choice) {
    set_choice_active(choice, 0);
}

void setPullDownChoiceLabel(demon *choice, const char *text) {
    const graphics_bracket bracket;
    pulldown_choice *self = as_pulldown_choice(choice);
    if (self == nullptr)
        return;
    copy_bounded(self->label, text != nullptr ? text : "");
    measure_choice(self);
    lay_out_pulldown(pulldown_of_choice(self));
}

void setPullDownChoiceRow(demon *choice, int row) {
    const graphics_bracket bracket;
    pulldown_choice *self = as_pulldown_choice(choice);
    pulldown *p = self != nullptr ? pulldown_of_choice(self) : nullptr;
    if (p == nullptr)
        return;
    row = std::clamp(row, 1, p->count);
    for (demon *kid = p->kids; kid != nullptr; kid = kid->next) {
        pulldown_choice *other = as_pulldown_choice(kid);
        if (other == nullptr || other == self)
            continue;
        if (other->row > self->row && other->row <= row)
            --other->row;
        else if (other->row < self->row && other->row >= row)
            ++other->row;
    }
    self->row = row;
    lay_out_pulldown(p);
}

void removePullDownChoice(demon *choice) {
    const graphics_bracket bracket;
    if (pulldown_choice *self = as_pulldown_choice(choice))
        take_out(self);
}

void insertPullDownChoice(demon *pulldown, demon *previous, demon *choice) {
    const graphics_bracket bracket;
    pulldown_choice *self = as_pulldown_choice(choice);
    toolkit::pulldown *p = as_pulldown(pulldown);
    if (self == nullptr || p == nullptr || is_in_destruction(self) || is_in_destruction(p) ||
        hangs_on(p, as_pulldown(self->sub_pulldown.get())))
        return;
    const demon_ref kept = refer_to_demon(self), kept_pulldown = refer_to_demon(p);
    take_out(self);
    if (kept.get() != nullptr && kept_pulldown.get() != nullptr)
        put_in(p, previous, self);
}

void appendPullDownChoice(demon *pulldown, demon *choice) {
    insertPullDownChoice(pulldown, nullptr, choice);
}

void deletePullDownChoice(demon *choice) {
    const graphics_bracket bracket;
    demon_destroy_message(as_pulldown_choice(choice));
}

// ---- values

void pulldown_choice_toggle(pulldown_choice *choice) {
    if (choice == nullptr || !has_state(choice))
        return;
    const demon_ref kept = refer_to_demon(choice);
    choice->state = choice->kind == pulldown_kind::radio || choice->state == 0 ? 1 : 0;
    if (choice->kind == pulldown_kind::radio)
        clear_group(choice);
    call_function(choice->callback, choice->argument);
    if (kept.get() != nullptr)
        pulldown_bitmap_destroy(pulldown_of_choice(choice));
}

void pulldown_choice_update(pulldown_choice *self, object *, widget_value *value) {
    if (value == nullptr || !has_state(self))
        return;
    const demon_ref kept = refer_to_demon(self);
    self->state = value->number != 0.0F ? 1 : 0;
    if (self->state != 0 && self->kind == pulldown_kind::radio)
        clear_group(self);
    pulldown_bitmap_destroy(pulldown_of_choice(self));
    if (kept.get() != nullptr && self->state != 0 && self->show_in_switch != 0)
        show_in_switch(self);
}

void pulldown_choice_set(pulldown_choice *self, object *sender, widget_value *value) {
    const demon_ref kept = refer_to_demon(self);
    const std::uint16_t before = self->state;
    pulldown_choice_update(self, sender, value);
    if (kept.get() != nullptr && self->state != before)
        call_function(self->callback, self->argument);
}

void pulldown_choice_get(pulldown_choice *self, object *, widget_value *value) {
    if (value != nullptr)
        *value = has_state(self) ? self->state : 0;
}

} // namespace toolkit
