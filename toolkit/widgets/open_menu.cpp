// The menu that is open: one at a time. Its demon, the pulldown god, has all input meanwhile.
#include "platform/gl/input.h"
#include "platform/gl/queue.h"
#include "platform/gl/windows.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/events/event_input.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/widgets/pulldown_parts.h"
#include "toolkit/widgets/pulldowns.h"

#include <algorithm>

namespace toolkit {

namespace {

enum class menu_phase {
    closed,
    open,
    ending_by_button, // nothing is seen of it, and what closed it is still held: its release is
    ending_by_escape, // for nobody else
};

struct open_menu_state {
    menu_phase phase = menu_phase::closed;
    demon_ref god;
    demon_ref owner; // the switch whose pulldown is open
    std::size_t filters_before = 0;
    bool escape_seen = false; // its press; the release comes as the same character
};
open_menu_state menu;

object_class *Pulldown_God_Class = nullptr;
object_set *Pulldown_God_Set = nullptr;

pulldown_switch *open_switch() {
    return menu.phase == menu_phase::open ? as_pulldown_switch(menu.owner.get()) : nullptr;
}

pulldown *launched_from(const pulldown *p) {
    pulldown *sub = as_pulldown(p->launched.get());
    return sub != nullptr && sub->popped != 0 ? sub : nullptr;
}

pulldown *innermost_pulldown() {
    pulldown *p = as_pulldown(open_switch());
    while (p != nullptr && launched_from(p) != nullptr)
        p = launched_from(p);
    return p;
}

// ---- what is where

pulldown *pulldown_at(screen_point at) {
    const int wid = gl_get_win_pos(at.x, at.y);
    if (wid == no_window)
        return nullptr;
    pulldown *p = as_pulldown(open_switch());
    while (p != nullptr && p->window != wid)
        p = launched_from(p);
    return p;
}

pulldown_choice *choice_at(screen_point at) {
    const pulldown *p = pulldown_at(at);
    for (demon *kid = p != nullptr ? p->kids : nullptr; kid != nullptr; kid = kid->next)
        if (in_box(kid->box, at))
            return as_pulldown_choice(kid);
    return nullptr;
}

bool is_seen_at(const demon *d, screen_point at) {
    return d != nullptr && in_box(d->box, at) && d->window != no_window &&
           gl_get_win_pos(at.x, at.y) == d->window;
}

bool is_in_bar(screen_point at) {
    const pulldown_switch *s = open_switch();
    return s != nullptr && is_seen_at(s->parent.get(), at);
}

// ---- opening and closing

void redraw_switch(const demon_ref &s) {
    demon *d = s.get();
    if (d != nullptr && d->window != no_window && demon_is_visible(d))
        demon_draw_message(s.get());
}

// Under its switch; over it where there is no room.
void pop_under(pulldown_switch *s) {
    pulldown *p = as_pulldown(s);
    if (p == nullptr)
        return;
    int screen_width = 0, screen_height = 0;
    gl_get_device_extent(&screen_width, &screen_height);
    const int x = std::clamp<int>(s->box.x, 0, std::max(screen_width - p->box.width, 0));
    int y = s->box.y - p->box.height;
    if (y < 0 && s->box.y + s->box.height + p->box.height <= screen_height)
        y = s->box.y + s->box.height;
    pop_pulldown_at(p, x, std::max(y, 0));
}

// Opens the pulldown of a switch in place of the one that is open.
void show_pulldown_of(pulldown_switch *s) {
    const demon_ref before = menu.owner, kept = refer_to_demon(s);
    pulldown *old = as_pulldown(before.get());
    menu.owner = kept;
    if (old != nullptr && old->popped != 0)
        demon_push_message(old);
    redraw_switch(before);
    if (kept.get() != nullptr && menu.owner.get() == kept.get())
        pop_under(s);
    redraw_switch(kept);
    const pulldown *now = as_pulldown(open_switch());
    if (now == nullptr || now->popped == 0)
        closePullDowns(); // the display refused its window
}

void end_menu() {
    if (menu.phase == menu_phase::closed)
        return;
    menu.phase = menu_phase::closed;
    set_window_watch(nullptr);
    static_cast<void>(gl::grab_pointer(0));
    give_back_arrow_keys();
    turn_on_keystroke_aliases();
    // A filter that others pushed over it keeps its place; without its demon it routes nothing.
    if (inq_event_filters() == menu.filters_before + 1)
        pop_event_filter();
    demon_destroy_message(menu.god.get());
}

void close_windows() {
    const demon_ref owner = menu.owner;
    menu.owner = {};
    pulldown *p = as_pulldown(owner.get());
    if (p != nullptr && p->popped != 0)
        demon_push_message(p);
    redraw_switch(owner);
}

void begin_ending(menu_phase phase) {
    menu.phase = phase;
    close_windows();
}

// Ends what waits for a release that has not come, and lets others have this event.
void give_up_ending(std::int16_t input_class, const demon_message &m) {
    const demon_message given = m;
    end_menu();
    deliver_event(input_class, given);
}

// The keyboard or the window went elsewhere.
void watch_menu(gl::device what, int window) {
    if (what == gl::INPUTCHANGE) {
        const demon *owner = menu.owner.get();
        const int wid = window == 0 ? no_window : gl_find_wid(window);
        const bool goes_on = window == 0 && gl::qtest() == gl::INPUTCHANGE; // to whom comes next
        const object *other = gl_get_wid_demon(wid);
        const bool is_ours = (owner != nullptr && wid != no_window && wid == owner->window) ||
                             (other != nullptr && is_class_derived(other->class_, Pulldown_Class));
        if (goes_on || is_ours)
            return;
    }
    closePullDowns();
}

// ---- keys

// Escape comes twice, when it is pressed and when it is released.
bool is_new_escape() {
    const bool is_held = gl::getbutton(gl::ESCKEY);
    if (!menu.escape_seen) {
        menu.escape_seen = true;
        return true;
    }
    menu.escape_seen = is_held;
    return false;
}

bool is_choosable(const pulldown_choice *choice) {
    return choice != nullptr && can_be_chosen(choice);
}

pulldown_choice *selected_in(const pulldown *p) {
    pulldown_choice *choice = as_pulldown_choice(p->box_in_child);
    return is_choosable(choice) ? choice : nullptr;
}

// The next choice that can be chosen, wrapping around; with none selected, from the end that step
// comes from.
void step_in(pulldown *p, int step) {
    const pulldown_choice *from = selected_in(p);
    int row = from != nullptr ? from->row : step > 0 ? 0 : p->count + 1;
    for (int i = 0; i < p->count; ++i) {
        row += step;
        row = row > p->count ? 1 : row < 1 ? p->count : row;
        if (pulldown_choice *choice = choice_of_row(p, row); is_choosable(choice)) {
            static_cast<void>(select_choice(choice));
            return;
        }
    }
}

void step_into(pulldown_choice *cascade) {
    const demon_ref sub = cascade->sub_pulldown;
    pulldown_launch(cascade);
    pulldown *p = as_pulldown(sub.get());
    if (p != nullptr && p->popped != 0)
        step_in(p, 1);
}

void step_out(pulldown *p) {
    const demon_ref opener = refer_to_demon(opener_of(p));
    demon_push_message(p);
    if (pulldown_choice *choice = as_pulldown_choice(opener.get()))
        static_cast<void>(select_choice(choice));
}

void step_aside(int step) {
    show_pulldown_of(next_switch(open_switch(), step));
    if (pulldown *p = innermost_pulldown())
        step_in(p, 1);
}

// Releasing over a choice, or Return on it.
void choose(pulldown_choice *choice) {
    if (!can_be_chosen(choice)) {
        demon_message m;
        m.code = msg_left_up;
        send_demon_message(choice, nullptr, m);
        return;
    }
    if (choice->kind == pulldown_kind::cascade && choice->callback == nullptr) {
        pulldown_launch(choice);
        return;
    }
    const demon_ref kept = refer_to_demon(choice);
    closePullDowns();
    demon_message m;
    m.code = msg_left_up;
    if (demon *d = kept.get())
        send_demon_message(d, nullptr, m);
}

void escape_from(pulldown *p) {
    if (!is_new_escape())
        return;
    if (opener_of(p) != nullptr)
        step_out(p);
    else
        begin_ending(menu_phase::ending_by_escape);
}

void take_key(pulldown *p, int key) {
    pulldown_choice *selected = selected_in(p);
    const bool is_cascade = selected != nullptr && selected->kind == pulldown_kind::cascade;
    switch (key) {
    case escape_character:
        escape_from(p);
        break;
    case up_arrow_pressed:
        step_in(p, -1);
        break;
    case down_arrow_pressed:
        step_in(p, 1);
        break;
    case left_arrow_pressed:
        if (opener_of(p) != nullptr)
            step_out(p);
        else
            step_aside(-1);
        break;
    case right_arrow_pressed:
        if (is_cascade)
            step_into(selected);
        else
            step_aside(1);
        break;
    case return_character:
        if (is_cascade && selected->callback == nullptr)
            step_into(selected);
        else if (selected != nullptr)
            choose(selected);
        break;
    default:
        break;
    }
}

// ---- the pulldown god

void pulldown_god_key(demon *, object *, demon_message *m) {
    if (menu.phase == menu_phase::ending_by_escape && m->key == escape_character) {
        if (!gl::getbutton(gl::ESCKEY))
            end_menu();
    } else if (menu.phase != menu_phase::open) {
        give_up_ending(input_keyboard, *m);
    } else if (pulldown *p = innermost_pulldown()) {
        take_key(p, m->key);
    }
}

void pass_move(const demon_message &m) {
    demon_message passed = m;
    if (demon *god = inq_demon_god())
        send_demon_message(god, nullptr, passed);
}

void pulldown_god_loc_move(demon *, object *, demon_message *m) {
    const demon_message move = *m;
    const bool is_elsewhere = menu.phase == menu_phase::open &&
                              pulldown_at(move.point) == nullptr && !is_in_bar(move.point);
    if (is_elsewhere)
        forget_pointer_path();
    else
        pass_move(move);
}

void pulldown_god_b1_down(demon *, object *, demon_message *m) {
    if (menu.phase != menu_phase::open)
        give_up_ending(input_button, *m);
    else if (pulldown_at(m->point) == nullptr)
        begin_ending(menu_phase::ending_by_button);
}

void pulldown_god_b1_up(demon *, object *, demon_message *m) {
    release_in_menu(m->point);
}

// Of the other buttons: the release of one that was pressed outside.
void pulldown_god_other_up(demon *, object *, demon_message *) {
    if (menu.phase == menu_phase::ending_by_button)
        end_menu();
}

object_set *pulldown_god_setup() {
    if (Pulldown_God_Class == nullptr) {
        object_class *made = derive_object_class(inq_generic_demon_class(), "pulldown god class ");
        if (made == nullptr)
            return nullptr;
        for (const std::uint32_t code : {msg_left_down, msg_left_double, msg_middle_down,
                                         msg_middle_double, msg_right_down, msg_right_double})
            set_method<pulldown_god_b1_down>(made, code);
        set_method<pulldown_god_b1_up>(made, msg_left_up);
        set_method<pulldown_god_other_up>(made, msg_middle_up);
        set_method<pulldown_god_other_up>(made, msg_right_up);
        set_method<pulldown_god_loc_move>(made, msg_pointer_moved);
        set_method<pulldown_god_key>(made, msg_key);
        keep_class_in(&Pulldown_God_Class, made);
    }
    if (Pulldown_God_Set == nullptr)
        keep_set_in(&Pulldown_God_Set, create_set_of<generic_demon>(1, 1, Pulldown_God_Class));
    return Pulldown_God_Set;
}

demon *create_pulldown_god() {
    return create_demon_of<generic_demon>(pulldown_god_setup(), 0, 0, nullptr);
}

// Takes all input for the menu of a window.
bool begin_menu(const pulldown_switch *s) {
    const window_record *window = gl_get_window_record(s->window);
    demon *god = window != nullptr ? create_pulldown_god() : nullptr;
    if (god == nullptr)
        return false;
    menu = {};
    menu.phase = menu_phase::open;
    menu.god = refer_to_demon(god);
    menu.filters_before = inq_event_filters();
    push_event_filter(god, total_filter_mask);
    turn_off_keystroke_aliases();
    take_arrow_keys();
    set_window_watch(watch_menu);
    // Where another program has the pointer already, the menu works as far as events come.
    static_cast<void>(gl::grab_pointer(window->gl_window));
    return true;
}

} // namespace

void open_menu(pulldown_switch *s) {
    const demon_ref kept = refer_to_demon(s);
    closePullDowns();
    follow_iris_windows();
    if (kept.get() != nullptr && can_open(s) && begin_menu(s))
        show_pulldown_of(s);
}

void enter_switch(pulldown_switch *s) {
    const pulldown_switch *now = open_switch();
    if (now != nullptr && now != s && now->parent.get() == s->parent.get() && can_open(s))
        show_pulldown_of(s);
}

bool is_menu_open_at(const demon *s) {
    return s != nullptr && s == open_switch();
}

bool is_menu_open() {
    return menu.phase == menu_phase::open;
}

void closePullDowns() {
    if (menu.phase == menu_phase::closed)
        return;
    const graphics_bracket bracket;
    close_windows();
    end_menu();
}

void release_in_menu(screen_point at) {
    if (menu.phase == menu_phase::ending_by_button)
        end_menu();
    if (menu.phase != menu_phase::open)
        return;
    if (pulldown_choice *choice = choice_at(at))
        choose(choice);
    else if (pulldown_at(at) == nullptr && !is_seen_at(open_switch(), at))
        closePullDowns();
}

void forget_pointer_path() {
    demon *god = inq_demon_god();
    if (god == nullptr || god->box_in_child == nullptr)
        return;
    const demon_ref left = refer_to_demon(god->box_in_child);
    god->box_in_child = nullptr;
    demon_box_out_message(left.get());
}

demon *select_choice(pulldown_choice *one) {
    const demon_ref kept = refer_to_demon(one);
    pulldown *p = pulldown_of_choice(one);
    if (p != nullptr && p->box_in_child != nullptr && p->box_in_child != one) {
        const demon_ref left = refer_to_demon(p->box_in_child);
        demon_box_out_message(left.get());
    }
    if (kept.get() == nullptr)
        return nullptr;
    relink_demon(one);
    const screen_point inside = {one->box.x, one->box.y};
    demon_box_in_message(one, inside);
    return kept.get();
}

} // namespace toolkit
