#include "toolkit/widgets/pulldowns.h"

#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/widgets/pulldown_parts.h"

#include <algorithm>

namespace toolkit {

object_class *Pulldown_Class = nullptr;
object_set *Pulldown_Set = nullptr;

namespace {

constexpr int pulldowns_in_block = 4;
constexpr int left_overlap = 10; // of a sub-pulldown that opens to the left, from the entry's right

object_class *inq_pulldown_class() {
    if (Pulldown_Class == nullptr)
        keep_class_in(&Pulldown_Class,
                      derive_object_class(inq_iris_window_demon_class(), "pulldown class "));
    return Pulldown_Class;
}

void pulldown_destroy(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    if (pulldown_switch *s = switch_of(as_pulldown(self)); s != nullptr && is_menu_open_at(s))
        closePullDowns();
    if (here.self() != nullptr)
        iris_demon_destroy(self, sender, m);
    else
        here.pass_on(sender, m);
}

// What its choices ask for. Returns whether that changed its size.
bool size_pulldown(pulldown *p) {
    int width = 0;
    p->widest_key_text = 0;
    for (demon *kid = p->kids; kid != nullptr; kid = kid->next)
        if (const pulldown_choice *choice = as_pulldown_choice(kid)) {
            width = std::max(width, choice->entry_width);
            p->widest_key_text = std::max(
                p->widest_key_text, getStringWidth(choice->text_font, choice->key_text.data()));
        }
    const std::int16_t new_width = clamp_16(width);
    const std::int16_t new_height = clamp_16(p->count * scale_y(choice_height));
    const bool is_other = p->box.width != new_width || p->box.height != new_height;
    p->box.width = new_width;
    p->box.height = new_height;
    return is_other;
}

void place_choice(const pulldown *p, pulldown_choice *choice) {
    choice->box.width = p->box.width;
    choice->box.height = clamp_16(scale_y(choice_height));
    const int x = p->box.x;
    const int y = p->box.y + (p->count - choice->row) * choice->box.height;
    demon_move_message(choice, x - choice->box.x, y - choice->box.y);
}

// A pulldown grows downwards.
void resize_window(pulldown *p, int top) {
    const demon_ref kept = refer_to_demon(p);
    demon_move_message(p, 0, top - (p->box.y + p->box.height));
    if (kept.get() != nullptr && p->popped != 0)
        iris_demon_new_window(p);
}

} // namespace

pulldown *as_pulldown(demon *d) {
    if (pulldown_switch *s = as_pulldown_switch(d))
        d = s->panel.get();
    const bool is_one = d != nullptr && is_class_derived(d->class_, Pulldown_Class);
    return is_one ? static_cast<pulldown *>(d) : nullptr;
}

pulldown *create_pulldown() {
    if (Pulldown_Set == nullptr)
        keep_set_in(&Pulldown_Set, create_set_of<pulldown>(pulldowns_in_block, pulldowns_in_block,
                                                           inq_pulldown_class()));
    auto *made = static_cast<pulldown *>(
        create_iris_window_demon_pushed(Pulldown_Set, 0, 0, 0, 0, nullptr, nullptr, 0));
    if (made == nullptr)
        return nullptr;
    made->draw = draw_pulldown;
    made->erase = nullptr;
    made->hilite = made->dehilite = nullptr;
    made->on.pop = pulldown_pop;
    made->on.push = pulldown_push;
    made->on.destroy = pulldown_destroy;
    made->on.b1_up = pulldown_b1_up;
    return made;
}

bool is_in_destruction(const demon *d) {
    return (d->flags & (flag_deleted | flag_in_destruction)) != 0;
}

bool can_be_chosen(const pulldown_choice *choice) {
    return choice->active != 0 && (choice->flags & (flag_disabled | flag_hidden)) == 0;
}

// ---- who belongs to whom

pulldown *pulldown_of_choice(const pulldown_choice *choice) {
    return choice->list == demon_list::kids ? as_pulldown(choice->parent.get()) : nullptr;
}

pulldown_choice *choice_of_row(const pulldown *p, int row) {
    for (demon *kid = p->kids; kid != nullptr; kid = kid->next)
        if (pulldown_choice *choice = as_pulldown_choice(kid);
            choice != nullptr && choice->row == row)
            return choice;
    return nullptr;
}

pulldown_choice *opener_of(const pulldown *p) {
    return as_pulldown_choice(p->owner.get());
}

pulldown_switch *switch_of(pulldown *p) {
    while (p != nullptr) {
        const pulldown_choice *opener = opener_of(p);
        if (opener == nullptr)
            return as_pulldown_switch(p->owner.get());
        p = pulldown_of_choice(opener);
    }
    return nullptr;
}

// ---- layout

void lay_out_pulldown(pulldown *p) {
    if (p == nullptr || is_in_destruction(p))
        return;
    const demon_ref kept = refer_to_demon(p);
    const int top = p->box.y + p->box.height;
    if (size_pulldown(p) && p->popped != 0)
        resize_window(p, top);
    for (int row = 1; kept.get() != nullptr && row <= p->count; ++row)
        if (pulldown_choice *choice = choice_of_row(p, row))
            place_choice(p, choice);
    if (kept.get() != nullptr)
        pulldown_bitmap_destroy(p);
}

void pulldown_bitmap_destroy(pulldown *p) {
    if (p != nullptr && p->popped != 0 && p->window != no_window)
        demon_draw_message(p);
}

// ---- opening and closing

void pop_pulldown_at(pulldown *p, int x, int y) {
    if (p == nullptr || p->popped != 0 || p->count == 0)
        return;
    const demon_ref kept = refer_to_demon(p);
    demon_move_message(p, x - p->box.x, y - p->box.y);
    if (kept.get() != nullptr)
        demon_pop_message(p);
}

void pulldown_pop(demon *self, object *, demon_message *m) {
    popup_iris_window(self, inq_demon_god(), m);
}

void pulldown_push(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    auto *p = static_cast<pulldown *>(self);
    demon *sub = p->launched.get();
    p->launched = {};
    if (sub != nullptr && sub->popped != 0)
        demon_push_message(sub);
    if (here.self() != nullptr)
        pushdown_iris_window(self, sender, m);
    else
        here.pass_on(sender, m);
}

void pulldown_b1_up(demon *, object *, demon_message *m) {
    release_in_menu(m->point);
}

// ---- cascades

void pulldown_launch(pulldown_choice *choice) {
    pulldown *p = pulldown_of_choice(choice);
    pulldown *sub = as_pulldown(choice->sub_pulldown.get());
    if (p == nullptr || p->popped == 0 || sub == nullptr || sub->popped != 0 || sub->count == 0 ||
        !can_be_chosen(choice) || choice->kind != pulldown_kind::cascade)
        return;
    int screen_width = 0, screen_height = 0;
    gl_get_device_extent(&screen_width, &screen_height);
    const screen_box &entry = choice->box;
    screen_box box = sub->box;
    box.x = clamp_16(entry.x + entry.width);
    if (box.x + box.width > screen_width)
        box.x = clamp_16(std::max(entry.x + entry.width - box.width - left_overlap, 0));
    box.y = clamp_16(std::max(entry.y + entry.height - box.height, 0));
    const demon_ref kept = refer_to_demon(choice), kept_sub = refer_to_demon(sub);
    const demon_ref kept_outer = refer_to_demon(p);
    p->launched = kept_sub;
    if (in_box(box, gl_inq_event()->point)) {
        forget_pointer_path();
        demon_dehilite_message(kept.get());
    }
    // Hooks were told: the menu may have closed meanwhile.
    if (kept_sub.get() != nullptr && kept_outer.get() != nullptr && p->launched.get() == sub)
        pop_pulldown_at(sub, box.x, box.y);
    if (kept.get() != nullptr)
        demon_draw_message(choice); // it stays lit while its pulldown is open
}

} // namespace toolkit
