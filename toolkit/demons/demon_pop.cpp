#include "toolkit/demons/demon_pop.h"

#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/graphics/spaces.h"

namespace toolkit {

namespace {

void cover(demon *d) {
    ++d->overlap_count;
    demon_box_out_message(d);
}

void uncover(demon *d) {
    if (d->overlap_count > 0) // what moved meanwhile may never have been covered
        --d->overlap_count;
}

} // namespace

void demon_pop(demon *self, object *, demon_message *) {
    demon *parent = self->parent.get();
    if (self->popped != 0 || parent == nullptr || (self->flags & flag_in_pop) != 0)
        return;
    const demon_ref kept_parent = self->parent;
    const delivery here(self);
    self->flags |= flag_in_pop;
    overlap_demons(self, parent->kids, true);
    if (here.self() == nullptr)
        return;
    set_win_do(self);
    gl_screenspace(); // also for what is invisible still
    gl_delete_rect(self->saved);
    self->saved = gl_save_rect(self->box);
    delete_pop_demon(self);
    add_demon(self, kept_parent.get());
    if (here.self() == nullptr)
        return;
    self->flags &= static_cast<std::uint16_t>(~flag_in_pop);
    if (self->list != demon_list::kids)
        return;
    self->popped = demon_on;
    demon_draw_message(self);
}

void demon_push(demon *self, object *, demon_message *) {
    if (self->parent.get() == nullptr || (self->flags & flag_in_pop) != 0)
        return;
    const demon_ref kept_parent = self->parent;
    const delivery here(self);
    const bool was_popped = self->popped != 0;
    self->flags |= flag_in_pop;
    if (self->kids != nullptr && self->kids->popped != 0)
        demon_push_message(self->kids);
    if (here.self() == nullptr)
        return;
    self->popped = 0;
    demon_box_out_message(self);
    if (here.self() != nullptr)
        delete_demon(self);
    if (here.self() != nullptr)
        add_pop_demon(self, kept_parent.get());
    if (here.self() == nullptr)
        return;
    self->flags &= static_cast<std::uint16_t>(~flag_in_pop);
    gl_draw_rect(self->saved);
    gl_delete_rect(self->saved);
    self->saved = nullptr;
    if (const demon *parent = kept_parent.get(); parent != nullptr && was_popped)
        overlap_demons(self, parent->kids, false);
}

void overlap_demons(demon *d, demon *first, bool covering) {
    const screen_box box = d->box;
    const std::uint64_t began = count_joins();
    for (demon *sibling = first; sibling != nullptr;) {
        const delivery here(sibling, began);
        if (sibling != d && overlap_box(sibling->box, box)) {
            if (covering)
                cover(sibling);
            else
                uncover(sibling);
        }
        sibling = here.next();
    }
}

} // namespace toolkit
