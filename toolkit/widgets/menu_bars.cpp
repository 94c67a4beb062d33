#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/objects/bounded_text.h"
#include "toolkit/widgets/control.h"
#include "toolkit/widgets/pulldown_parts.h"
#include "toolkit/widgets/pulldowns.h"

#include <algorithm>
#include <cstdio>

namespace toolkit {

object_class *Pulldown_Switch_Class = nullptr;
object_set *Pulldown_Switch_Set = nullptr;

namespace {

constexpr int switches_in_block = 8;

// ---- the class of switches

void pulldown_switch_box_in(pulldown_switch *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    tell_box_in(self);
    if (kept.get() != nullptr)
        demon_box_in(self, sender, m);
    if (kept.get() != nullptr)
        demon_hilite_message(self);
    if (kept.get() != nullptr)
        enter_switch(self);
}

void pulldown_switch_box_out(pulldown_switch *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    tell_box_out(self);
    if (kept.get() != nullptr)
        demon_box_out(self, sender, m);
    demon_dehilite_message(kept.get());
}

void pulldown_switch_b1_down(demon *self, object *, demon_message *) {
    open_menu(static_cast<pulldown_switch *>(self));
}

// Its window goes, or the application hides it: what it has opened goes too.
void pulldown_switch_set_visibility(pulldown_switch *self, object *sender, demon_message *m) {
    const delivery here(self);
    if ((m == nullptr || m->value == 0) && is_menu_open_at(self))
        closePullDowns();
    if (here.self() != nullptr)
        demon_set_visibility(self, sender, m);
    else
        here.pass_on(sender, m);
}

void pulldown_switch_destroy(pulldown_switch *self, object *sender, demon_message *m) {
    const delivery here(self);
    const demon_ref bar = self->parent;
    const demon_ref panel = self->panel;
    if (is_menu_open_at(self))
        closePullDowns();
    demon_destroy_message(panel.get());
    if (here.self() != nullptr)
        demon_destroy(self, sender, m);
    else
        here.pass_on(sender, m);
    lay_out_menu_bar(bar.get());
}

object_class *inq_pulldown_switch_class() {
    if (Pulldown_Switch_Class != nullptr)
        return Pulldown_Switch_Class;
    object_class *made = derive_object_class(inq_generic_demon_class(), "pulldown switch class ");
    if (made == nullptr)
        return nullptr;
    set_method<pulldown_switch_box_in>(made, msg_box_in);
    set_method<pulldown_switch_box_out>(made, msg_box_out);
    set_method<pulldown_switch_set_visibility>(made, msg_set_visibility);
    set_method<pulldown_switch_destroy>(made, msg_destroy);
    return keep_class_in(&Pulldown_Switch_Class, made);
}

// ---- the bar

void menu_bar_b1_up(demon *self, object *sender, demon_message *m) {
    demon_generic(self, sender, m);
}

void menu_bar_b1_down(demon *self, object *sender, demon_message *m) {
    demon_generic(self, sender, m);
}

void menu_bar_destroy(demon *self, object *sender, demon_message *m) {
    demon_destroy(self, sender, m); // its switches close what is open
}

bool is_menu_bar(demon *d) {
    return is_generic_demon(d) && static_cast<generic_demon *>(d)->on.destroy == menu_bar_destroy;
}

// ---- making

pulldown_switch *create_pulldown_switch(int height) {
    if (Pulldown_Switch_Set == nullptr)
        keep_set_in(&Pulldown_Switch_Set,
                    create_set_of<pulldown_switch>(switches_in_block, switches_in_block,
                                                   inq_pulldown_switch_class()));
    auto *made = create_demon_of<pulldown_switch>(Pulldown_Switch_Set, 0, 0, nullptr);
    if (made == nullptr)
        return nullptr;
    made->box.height = clamp_16(height);
    made->draw = draw_pulldown_switch;
    made->erase = nullptr;
    made->hilite = do_hilite_bn;
    made->dehilite = do_dehilite_bn;
    made->on.b1_down = pulldown_switch_b1_down;
    made->on.b1_double_click = pulldown_switch_b1_down;
    return made;
}

// The switch of the bar with the smallest place behind one, or null.
pulldown_switch *switch_behind(const demon *bar, int place) {
    pulldown_switch *found = nullptr;
    for (demon *kid = bar->kids; kid != nullptr; kid = kid->next) {
        pulldown_switch *s = as_pulldown_switch(kid);
        if (s != nullptr && s->place > place && (found == nullptr || s->place < found->place))
            found = s;
    }
    return found;
}

int last_place(const demon *bar) {
    int last = 0;
    while (const pulldown_switch *s = switch_behind(bar, last))
        last = s->place;
    return last;
}

demon *add_switch(demon *bar, const char *label, word help_id, switch_style style) {
    const graphics_bracket bracket;
    if (!is_menu_bar(bar)) {
        std::fputs("Must create menu bar before adding pulldowns\n", stdout);
        return nullptr;
    }
    pulldown_switch *made = create_pulldown_switch(bar->box.height);
    pulldown *panel = made != nullptr ? create_pulldown() : nullptr;
    if (panel == nullptr) {
        demon_destroy_message(made);
        return nullptr;
    }
    made->panel = refer_to_demon(panel);
    panel->owner = refer_to_demon(made);
    copy_bounded(made->label, label != nullptr ? label : "");
    made->style = style;
    made->place = last_place(bar) + 1;
    keep_help_id(made, help_id);
    const demon_ref kept = refer_to_demon(made), kept_bar = refer_to_demon(bar);
    demon_move_message(made, bar->box.x, bar->box.y);
    add_demon(made, bar);
    lay_out_menu_bar(kept_bar.get());
    return kept.get();
}

int width_of_switch(const pulldown_switch *s) {
    const int arrow = s->style == switch_style::arrow ? scale_x(switch_arrow_width) : 0;
    return getStringWidth(font_slot_bold, s->label.data()) + 2 * scale_x(switch_margin) + arrow;
}

} // namespace

pulldown_switch *as_pulldown_switch(demon *d) {
    const bool is_one = d != nullptr && is_class_derived(d->class_, Pulldown_Switch_Class);
    return is_one ? static_cast<pulldown_switch *>(d) : nullptr;
}

demon *addMenuBar(demon *window, int x, int y, int width, int height) {
    const graphics_bracket bracket;
    generic_demon *bar = create_generic_demon(nullptr, width, height, nullptr);
    if (bar == nullptr)
        return nullptr;
    bar->draw = draw_menu_bar;
    bar->erase = erase_menu_bar;
    bar->hilite = bar->dehilite = nullptr;
    bar->on.b1_up = menu_bar_b1_up;
    bar->on.b1_down = menu_bar_b1_down;
    bar->on.b1_double_click = menu_bar_b1_down;
    bar->on.destroy = menu_bar_destroy;
    if (window == nullptr) {
        bar->box.x = clamp_16(x);
        bar->box.y = clamp_16(y);
        return bar;
    }
    set_demon(bar, window, x, y);
    add_demon(bar, window);
    return bar;
}

demon *addPullDown(demon *menu_bar, const char *label, word help_id) {
    return add_switch(menu_bar, label, help_id, switch_style::plain);
}

demon *addArrowPullDown(demon *menu_bar, const char *label, word help_id) {
    return add_switch(menu_bar, label, help_id, switch_style::arrow);
}

demon *addBevelledPullDown(demon *menu_bar, const char *label, word help_id) {
    return add_switch(menu_bar, label, help_id, switch_style::bevelled);
}

demon *addSubPullDown() {
    const graphics_bracket bracket;
    return create_pulldown();
}

void deletePullDown(demon *pulldown) {
    const graphics_bracket bracket;
    toolkit::pulldown *panel = as_pulldown(pulldown);
    pulldown_switch *s = panel != nullptr ? as_pulldown_switch(panel->owner.get()) : nullptr;
    if (s != nullptr)
        demon_destroy_message(s);
    else
        demon_destroy_message(panel);
}

void setPullDownSwitchLabel(demon *pulldown_switch, const char *text) {
    const graphics_bracket bracket;
    toolkit::pulldown_switch *s = as_pulldown_switch(pulldown_switch);
    if (s == nullptr)
        return;
    copy_bounded(s->label, text != nullptr ? text : "");
    lay_out_menu_bar(s->parent.get());
}

void setUpdatePullDownSwitch(demon *pulldown_switch, value_handler handler) {
    if (toolkit::pulldown_switch *s = as_pulldown_switch(pulldown_switch))
        s->on.update_value = handler;
}

void lay_out_menu_bar(demon *bar) {
    if (bar == nullptr || is_in_destruction(bar))
        return;
    const demon_ref kept = refer_to_demon(bar);
    int x = bar->box.x + scale_x(bar_margin);
    for (pulldown_switch *s = switch_behind(bar, 0); s != nullptr;) {
        const int place = s->place;
        s->box.width = clamp_16(width_of_switch(s));
        s->box.height = bar->box.height;
        const int next_x = x + s->box.width;
        demon_move_message(s, x - s->box.x, bar->box.y - s->box.y);
        x = next_x;
        s = kept.get() != nullptr ? switch_behind(bar, place) : nullptr;
    }
    if (kept.get() != nullptr && bar->window != no_window)
        demon_draw_message(bar);
}

bool can_open(pulldown_switch *s) {
    const pulldown *panel = as_pulldown(s);
    return (s->flags & flag_input) != 0 && (s->flags & flag_visible) != 0 && panel != nullptr &&
           panel->count > 0;
}

pulldown_switch *next_switch(pulldown_switch *from, int step) {
    const demon *bar = from->parent.get();
    if (bar == nullptr || from->list != demon_list::kids)
        return from;
    pulldown_switch *best = from;
    if (step > 0) {
        for (pulldown_switch *s = switch_behind(bar, from->place); s != from;) {
            if (s != nullptr && can_open(s))
                return s;
            s = switch_behind(bar, s != nullptr ? s->place : 0);
        }
        return from;
    }
    // To the left: the last one before it, else the last one behind it.
    for (pulldown_switch *s = switch_behind(bar, from->place); s != nullptr;
         s = switch_behind(bar, s->place))
        best = can_open(s) ? s : best;
    for (pulldown_switch *s = switch_behind(bar, 0); s != nullptr && s != from;
         s = switch_behind(bar, s->place))
        best = can_open(s) ? s : best;
    return best;
}

} // namespace toolkit
