#include "toolkit/demons/demon_tree.h"

#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pop.h"
#include "toolkit/graphics/window_table.h"

#include <algorithm>

namespace toolkit {

namespace {

bool is_usable(const demon *d) {
    return is_live(d) && (d->flags & flag_in_destruction) == 0;
}

bool is_inside(demon *d, const demon *outer) {
    for (; d != nullptr; d = d->parent.get())
        if (d == outer)
            return true;
    return false;
}

demon **head_of(demon *parent, demon_list list) {
    return list == demon_list::kids ? &parent->kids : &parent->pop_list;
}

// The link that leads to the demon in its list; null when it is in none.
demon **link_to(demon *d) {
    demon *parent = d->parent.get();
    if (d->list == demon_list::none || parent == nullptr)
        return nullptr;
    demon **link = head_of(parent, d->list);
    while (*link != nullptr && *link != d)
        link = &(*link)->next;
    return *link == d ? link : nullptr;
}

bool can_adopt(demon *child, demon *parent) {
    return is_usable(child) && is_usable(parent) && !is_inside(parent, child);
}

// The children of a demon that goes stay behind without parent.
void orphan(demon *first) {
    while (first != nullptr) {
        demon *child = first;
        first = child->next;
        leave_deliveries(child);
        child->list = demon_list::none;
        child->next = nullptr;
        child->parent = {};
    }
}

void set_locked(demon *d, std::uint16_t state) {
    for (; d != nullptr; d = d->parent.get())
        d->locked = state;
}

// A locked demon goes: its ancestors stay locked only for other kids that are.
void release_lock(demon *gone) {
    if (gone->locked == 0)
        return;
    for (demon *d = gone->parent.get(); d != nullptr; d = d->parent.get()) {
        for (const demon *kid = d->kids; kid != nullptr; kid = kid->next)
            if (kid != gone && kid->locked != 0)
                return;
        d->locked = 0;
        gone = d;
    }
}

// Into a list, at a link of it. A lock comes along.
void put_at(demon **link, demon *child, demon *parent, demon_list list) {
    const bool is_new = child->parent.get() != parent;
    if (is_new)
        release_lock(child);
    note_join(child);
    child->parent = refer_to_demon(parent);
    child->list = list;
    child->next = *link;
    *link = child;
    if (list == demon_list::pop)
        child->popped = 0;
    if (is_new && child->locked != 0)
        set_locked(parent, demon_on);
}

void put_first(demon *child, demon *parent, demon_list list) {
    unlink_demon(child);
    put_at(head_of(parent, list), child, parent, list);
}

void take_window(demon *d, std::int32_t window) {
    d->window = window;
    object *client = referred(d->client);
    if (client != nullptr && is_class_derived(client->class_, Display_Object_Class))
        static_cast<display_object *>(client)->window = window;
}

// Runs over a chain and what is in it, from `first` on.
template <typename procedure>
void walk_tree(demon *first, const procedure &each, std::uint64_t began) {
    for (demon *d = first; d != nullptr;) {
        const delivery here(d, began);
        each(d);
        if (here.self() != nullptr)
            walk_tree(d->kids, each, began);
        if (here.self() != nullptr)
            walk_tree(d->pop_list, each, began);
        d = here.next();
    }
}

int add_within_range(int place, int distance) {
    constexpr int range = 1 << 17; // no two boxes are further from each other
    return place + std::clamp(distance, -range, range);
}

} // namespace

// ---- lists

void unlink_demon(demon *d) {
    demon *parent = d->parent.get();
    if (parent != nullptr && parent->box_in_child == d)
        parent->box_in_child = nullptr;
    if (demon **link = link_to(d)) {
        leave_deliveries(d);
        *link = d->next;
    }
    d->list = demon_list::none;
    d->next = nullptr;
}

void add_demon(demon *child, demon *parent) {
    if (!can_adopt(child, parent))
        return;
    const demon_ref kept_child = refer_to_demon(child);
    const demon_ref kept_parent = refer_to_demon(parent);
    demon_visibility_message(child, (parent->flags & flag_visible) != 0);
    if (kept_child.get() == nullptr || kept_parent.get() == nullptr)
        return;
    demon_enable_input_message(child, (parent->flags & flag_input) != 0);
    if (kept_child.get() == nullptr || kept_parent.get() == nullptr || !can_adopt(child, parent))
        return;
    if (child->list != demon_list::kids || child->parent.get() != parent)
        put_first(child, parent, demon_list::kids);
    if (child->window == no_window && (child->flags & flag_owns_window) == 0)
        child->window = parent->window;
}

void delete_demon(demon *child) {
    const demon_ref kept = refer_to_demon(child);
    demon_visibility_message(child, false);
    if (kept.get() != nullptr)
        demon_enable_input_message(child, false);
    if (kept.get() != nullptr && child->list == demon_list::kids)
        unlink_demon(child);
}

void add_pop_demon(demon *child, demon *parent) {
    if (!can_adopt(child, parent))
        return;
    const demon_ref kept_child = refer_to_demon(child);
    const demon_ref kept_parent = refer_to_demon(parent);
    demon_visibility_message(child, false);
    if (kept_child.get() == nullptr || kept_parent.get() == nullptr || !can_adopt(child, parent))
        return;
    if (child->list != demon_list::pop || child->parent.get() != parent)
        put_first(child, parent, demon_list::pop);
}

void delete_pop_demon(demon *child) {
    if (is_live(child) && child->list == demon_list::pop)
        unlink_demon(child);
}

void append_demon(demon *d, demon *first) {
    if (d == nullptr || first == nullptr || d == first || first->list == demon_list::none)
        return;
    demon *parent = first->parent.get();
    if (!can_adopt(d, parent))
        return;
    demon *last = first;
    for (; last != d && last->next != nullptr; last = last->next)
        continue;
    if (last == d)
        return;
    unlink_demon(d);
    put_at(&last->next, d, parent, first->list);
}

void relink_demon(demon *d) {
    if (d == nullptr)
        return;
    for (demon *parent = d->parent.get(); parent != nullptr && d->list == demon_list::kids;
         d = parent, parent = d->parent.get())
        parent->box_in_child = d;
}

// ---- places

void set_demon(demon *d, demon *parent, int x, int y) {
    if (d == nullptr || parent == nullptr)
        return;
    const int dx = add_within_range(parent->box.x, scale_x(x)) - d->box.x;
    const int dy = add_within_range(parent->box.y, scale_y(y)) - d->box.y;
    demon_move_message(d, dx, dy);
}

void move_demon(demon *d, int dx, int dy) {
    if (d == nullptr)
        return;
    const box_move delta = {clamp_16(dx), clamp_16(dy)};
    move_me(d, nullptr, &delta);
    display_move_message(referred(d->client), delta);
}

void recursive_move_demon(demon *first, int dx, int dy) {
    walk_tree(
        first, [dx, dy](demon *d) { move_demon(d, dx, dy); }, count_joins());
}

// ---- walks

void do_demon_tree(demon *first, void (*function)(demon *d)) {
    walk_tree(first, function, count_joins());
}

void walk_demon_god(void (*visit)(object *o)) {
    walk_tree(inq_demon_god(), visit, count_joins());
}

void demon_next_do(demon *self, object *sender, demon_message *m) {
    if (self != nullptr)
        delivery(self).pass_on(sender, m);
}

// ---- state of a branch

void lock_me(demon *d) {
    set_locked(d, demon_on);
}

void unlock_me(demon *d) {
    set_locked(d, 0);
}

void demon_gl_window_assign(demon *first) {
    for (demon *d = first; d != nullptr; d = d->next) {
        const demon *parent = d->parent.get();
        if (parent == nullptr)
            return;
        if ((d->flags & flag_owns_window) != 0)
            continue;
        take_window(d, parent->window);
        demon_gl_window_assign(d->kids);
        demon_gl_window_assign(d->pop_list);
    }
}

void forget_demon(object *o) {
    auto *d = static_cast<demon *>(o);
    forget_in_deliveries(d);
    release_lock(d);
    if (demon *parent = d->popped != 0 ? d->parent.get() : nullptr)
        overlap_demons(d, parent->kids, false);
    unlink_demon(d);
    orphan(d->kids);
    orphan(d->pop_list);
    d->kids = d->pop_list = d->box_in_child = nullptr;
    gl_delete_rect(d->saved);
    d->saved = nullptr;
}

} // namespace toolkit
