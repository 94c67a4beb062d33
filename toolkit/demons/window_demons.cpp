#include "toolkit/demons/window_demons.h"

#include "platform/gl/windows.h"
#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/events/input_window.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/objects/bounded_text.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace toolkit {

object_class *Iris_Window_Demon_Class = nullptr;
object_set *Iris_Window_Demon_Set = nullptr;

namespace {

constexpr int windows_in_block = 4;

std::int16_t narrow(int place) {
    using limits = std::numeric_limits<std::int16_t>;
    return static_cast<std::int16_t>(std::clamp<int>(place, limits::min(), limits::max()));
}

iris_window_demon *window_demon(display_object *self) {
    return static_cast<iris_window_demon *>(self);
}

bool is_ending(const demon *d) {
    return (d->flags & (flag_deleted | flag_in_destruction)) != 0;
}

// The id of a window that was closed is given to the next one: only its owner may use it.
bool has_window(const demon *self) {
    return self->window != no_window && gl_get_wid_demon(self->window) == self;
}

const char *title_of(const iris_window_demon *self) {
    return self->title[0] == '\0' ? nullptr : self->title.data();
}

void take_window_id(demon *self, int wid) {
    self->window = wid;
    demon_gl_window_assign(self->kids);
    demon_gl_window_assign(self->pop_list);
}

// Closes a window without asking or telling anybody.
void close_unasked(int wid) {
    gl_set_wid_demon(wid, nullptr);
    gl_win_close(wid);
}

void release_window(demon *self) {
    const int wid = has_window(self) ? self->window : no_window;
    take_window_id(self, no_window);
    close_unasked(wid);
}

// Opens the window, if it is not open. Moving the demons onto the screen may reach handlers.
bool open_window(const delivery &here) {
    iris_window_demon *self = window_demon(here.self());
    if (has_window(self))
        return true;
    const int wid = gl_win_open(title_of(self), self);
    if (here.self() == nullptr || is_ending(self)) {
        close_unasked(wid);
        return false;
    }
    if (has_window(self) && self->window != wid) { // a handler was quicker
        close_unasked(wid);
        return true;
    }
    take_window_id(self, wid);
    return wid != no_window;
}

// Who adopts the window: the demon that was asked for, if it can.
demon *adopter(const demon *self, object *wanted) {
    if (!is_live(wanted) || !is_demon(wanted) || wanted == self)
        return inq_demon_god();
    auto *parent = static_cast<demon *>(wanted);
    for (const demon *d = parent; d != nullptr; d = d->parent.get())
        if (d == self || is_ending(d))
            return inq_demon_god();
    return parent;
}

void show_window(const delivery &here, object *wanted) {
    demon *self = here.self();
    if (!open_window(here))
        return;
    demon *parent = adopter(self, wanted);
    self->popped = demon_on;
    delete_pop_demon(self);
    add_demon(self, parent);
    if (here.self() == nullptr || self->popped != 0 || self->list != demon_list::kids)
        return;
    delete_demon(self); // a handler has pushed it before it was in the list
    if (here.self() != nullptr)
        add_pop_demon(self, self->parent.get());
}

// Brings the demon to where its window stands.
void follow_window(demon *self) {
    const window_record *record = has_window(self) ? gl_get_window_record(self->window) : nullptr;
    if (record == nullptr || !gl::is_window(record->gl_window))
        return;
    const int before = gl_get_win();
    gl_win_set(self->window);
    int x = 0, y = 0;
    gl::getorigin(&x, &y);
    gl_win_set(before);
    if (x != self->box.x || y != self->box.y)
        demon_move_message(self, x - self->box.x, y - self->box.y);
}

iris_window_demon *make_window_demon(object_set *set, int x, int y, int width, int height,
                                     const char *title, callback_function function, word argument) {
    if (set == nullptr && Iris_Window_Demon_Set == nullptr)
        keep_set_in(&Iris_Window_Demon_Set,
                    create_set_of<iris_window_demon>(windows_in_block, windows_in_block,
                                                     inq_iris_window_demon_class()));
    auto *self = create_demon_of<iris_window_demon>(set != nullptr ? set : Iris_Window_Demon_Set,
                                                    width, height, nullptr);
    if (self == nullptr)
        return nullptr;
    self->flags |= flag_owns_window;
    if (function != nullptr)
        self->window_callback = refer_to(create_callback(Callback_Set, function, argument));
    self->box.x = narrow(x);
    self->box.y = narrow(y);
    self->draw = iris_demon_fill;
    self->on.box_in = iris_demon_box_in;
    self->on.box_out = iris_demon_box_out;
    self->on.draw = iris_demon_draw;
    self->on.pick = iris_demon_pick;
    self->on.pop = popup_iris_window;
    self->on.push = pushdown_iris_window;
    self->on.destroy = pushdown_iris_window;
    copy_bounded(self->title, title != nullptr ? title : "");
    return self;
}

iris_window_demon *opened(iris_window_demon *self) {
    if (self != nullptr)
        popup_iris_window_no_draw(self, nullptr);
    return self;
}

bool may_take_keys(const demon *client, const demon *window) {
    if (client == nullptr || is_iris_window_demon(client))
        return false;
    const demon *d = window;
    while (d != nullptr && d != client)
        d = d->parent.get();
    return d == nullptr;
}

// Tells a demon who has the keyboard now. Plain demons send up what they are told: that comes back.
void tell_keyboard(const delivery &here, const demon_ref &to, object *sender, demon *client) {
    demon *told = to.get();
    if (told == nullptr || told == sender)
        return;
    auto *self = window_demon(here.self());
    const auto outer = std::exchange(self->telling, {true, client});
    send_message(told, msg_set_keyboard_client, to_word(self), to_word(client));
    if (here.self() != nullptr)
        self->telling = outer;
}

// Whoever took the keys with the press, as menus do, has not pressed elsewhere.
void end_typing_elsewhere(iris_window_demon *self, const demon *client) {
    const bool is_first = client != nullptr && self->keyboard_client.get() == client;
    const demon *receiver = inq_event_receiver(input_keyboard);
    if (!is_first || (receiver != self && receiver != inq_demon_god()))
        return;
    for (const demon *d = self->box_in_child; d != nullptr; d = d->box_in_child)
        if (d == client)
            return;
    iris_demon_set_keyboard_client(self, self, nullptr);
}

bool is_without_frame(const demon *d) {
    return is_iris_window_demon(d) && static_cast<const iris_window_demon *>(d)->title[0] == '\0';
}

// Which kid of the god keys are for: the window that has the desktop's keyboard, else where the
// pointer is; null when that is nowhere.
demon *window_of_keys(const demon *god) {
    demon *at_pointer = god->box_in_child;
    object *owner = gl_get_wid_demon(gl_find_wid(inq_input_window()));
    if (is_without_frame(at_pointer) || !is_live(owner) || !is_iris_window_demon(owner))
        return at_pointer;
    auto *window = static_cast<demon *>(owner);
    const bool is_shown = window->list == demon_list::kids && window->parent.get() == god;
    return is_shown ? window : at_pointer;
}

template <std::uint32_t code>
void iris_demon_press(iris_window_demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    const demon_ref client = self->keyboard_client;
    inq_class_method(inq_generic_demon_class(), code)(self, to_word(sender), to_word(m));
    if (here.self() != nullptr)
        end_typing_elsewhere(self, client.get());
}

} // namespace

// ---- making

object_class *create_iris_window_demon_class() {
    object_class *made = derive_object_class(inq_generic_demon_class(), "iris window demon class");
    if (made == nullptr)
        return nullptr;
    set_method<iris_demon_press<msg_left_down>>(made, msg_left_down);
    set_method<iris_demon_press<msg_left_double>>(made, msg_left_double);
    set_method<iris_demon_keystroke>(made, msg_key);
    set_method<iris_demon_set_keyboard_client>(made, msg_set_keyboard_client);
    set_method<iris_demon_get_keyboard_client>(made, msg_get_keyboard_client);
    return keep_class_in(&Iris_Window_Demon_Class, made);
}

object_class *inq_iris_window_demon_class() {
    return Iris_Window_Demon_Class != nullptr ? Iris_Window_Demon_Class
                                              : create_iris_window_demon_class();
}

iris_window_demon *create_iris_window_demon(object_set *set, int x, int y, int width, int height,
                                            const char *title, callback_function function,
                                            word argument) {
    iris_window_demon *made =
        make_window_demon(set, x, y, width, height, title, function, argument);
    if (made != nullptr)
        made->on.destroy = iris_demon_destroy;
    return opened(made);
}

iris_window_demon *create_iris_window_demon_popped(object_set *set, int x, int y, int width,
                                                   int height, const char *title,
                                                   callback_function function, word argument) {
    return opened(make_window_demon(set, x, y, width, height, title, function, argument));
}

iris_window_demon *create_iris_window_demon_pushed(object_set *set, int x, int y, int width,
                                                   int height, const char *title,
                                                   callback_function function, word argument) {
    return make_window_demon(set, x, y, width, height, title, function, argument);
}

bool is_iris_window_demon(const object *o) {
    return o != nullptr && is_class_derived(o->class_, Iris_Window_Demon_Class);
}

void destroy_all_iris_windows() {
    if (Iris_Window_Demon_Class == nullptr)
        return;
    for (object_set *set = Iris_Window_Demon_Class->first_set; set != nullptr; set = set->next)
        for (set_walk walk(set); object *o = walk.next();) {
            static_cast<iris_window_demon *>(o)->on.destroy = iris_demon_destroy;
            object_destroy_message(o);
        }
}

void follow_iris_windows() {
    for (int wid = 0; wid < num_wids; wid++) {
        object *owner = gl_get_wid_demon(wid);
        if (is_live(owner) && is_iris_window_demon(owner))
            follow_window(static_cast<demon *>(owner));
    }
}

// ---- popping and pushing

void popup_iris_window(demon *self, object *parent, demon_message *m) {
    if (self == nullptr)
        return;
    const delivery here(self);
    const bool was_popped = self->popped != 0;
    popup_iris_window_no_draw(self, parent, m);
    if (here.self() != nullptr && !was_popped && self->popped != 0)
        demon_draw_message(self);
}

void popup_iris_window_no_draw(demon *self, object *parent, demon_message *) {
    if (!is_live(self) || is_ending(self))
        return;
    if (self->popped != 0) {
        gl_win_pop(has_window(self) ? self->window : no_window);
        return;
    }
    const delivery here(self);
    show_window(here, parent);
}

void pushdown_iris_window(demon *self, object *sender, demon_message *m) {
    auto *leaving = window_demon(self);
    if (is_ending(self) || leaving->is_leaving != 0) {
        demon_next_do(self, sender, m);
        return;
    }
    const delivery here(self);
    leaving->is_leaving = demon_on; // box out may be answered by a push
    demon_box_out_message(self);
    if (here.self() != nullptr) {
        release_window(self);
        self->popped = 0;
        delete_demon(self);
    }
    if (here.self() != nullptr)
        add_pop_demon(self, self->parent.get());
    if (here.self() != nullptr)
        leaving->is_leaving = 0;
    here.pass_on(sender, m); // when it stands in for a destroy, the siblings are next
}

void iris_demon_new_window(demon *self) {
    if (!is_ending(self))
        gl_new_win(title_of(window_demon(self)), self);
}

// ---- destruction

void iris_demon_destroy(demon *self, object *sender, demon_message *m) {
    iris_window_demon *ending = window_demon(self);
    ending->keyboard_client = {};
    if ((self->flags & flag_deleted) != 0) {
        demon_next_do(self, sender, m);
        return;
    }
    self->flags |= flag_deleted;
    const delivery here(self);
    if (!has_window(self)) // who closes it by hand has closed it already
        take_window_id(self, no_window);
    // By the number that is not used again: what handlers do may give the id to another window.
    const window_record *record = gl_get_window_record(self->window);
    const int gl_window = record != nullptr ? record->gl_window : no_window;
    const object_ref told = std::exchange(ending->window_callback, {});
    if (object *callback_object = referred(told))
        callback_invoke_message(static_cast<callback *>(callback_object));
    if (object *callback_object = referred(told))
        object_destroy_message(callback_object);
    if (here.self() != nullptr)
        demon_destroy(self, sender, m);
    else
        here.pass_on(sender, m);
    close_unasked(gl_find_wid(gl_window));
}

// ---- drawing

void iris_demon_draw(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    follow_window(self);
    if (here.self() == nullptr || !has_window(self)) {
        here.pass_on(sender, m);
        return;
    }
    gl_set_win(self->window);
    demon_draw(self, sender, m);
}

void iris_demon_fill(display_object *self) {
    gl_set_win(self->window);
    gl_set_draw_value(colour_drawing);
    gl_draw_box(self->box);
    gl_fill_box(inside(self->box, 1), colour_face);
}

// ---- the pointer

void iris_demon_pick(demon *self, object *sender, demon_message *m) {
    if (m == nullptr)
        return;
    const bool is_seen = has_window(self) && in_box(self->box, m->point) &&
                         gl_get_win_pos(m->point.x, m->point.y) == self->window;
    if (is_seen || self->locked != 0)
        m->picked = self;
    else
        demon_pick_next(self, sender, m);
}

void iris_demon_box_in(demon *self, object *sender, demon_message *m) {
    if (has_window(self))
        gl_set_win(self->window);
    demon_box_in(self, sender, m);
}

void iris_demon_box_out(demon *self, object *sender, demon_message *m) {
    if (!has_window(self)) { // what is in it is told all the same
        demon_box_out(self, sender, m);
        return;
    }
    const int before = gl_get_win();
    gl_set_win(self->window);
    demon_box_out(self, sender, m);
    gl_win_set(before);
}

// ---- the keyboard

void iris_demon_keystroke(iris_window_demon *self, object *sender, demon_message *m) {
    if (m == nullptr || (self->flags & flag_input) == 0)
        return;
    demon *client = self->keyboard_client.get();
    if (self->on.keystroke != nullptr)
        self->on.keystroke(self, sender, m);
    else if (may_take_keys(client, self))
        send_demon_message(client, self, *m);
    else
        demon_generic(self, sender, m);
}

void iris_demon_set_keyboard_client(iris_window_demon *self, object *sender, demon *client) {
    if (self->telling.now && sender == self && client == self->telling.client)
        return;
    const delivery here(self);
    const std::uint32_t wish = ++self->keyboard_wishes;
    const demon_ref next = refer_to_demon(client);
    const demon_ref previous = std::exchange(self->keyboard_client, {});
    tell_keyboard(here, previous, sender, nullptr);
    if (here.self() == nullptr || self->keyboard_wishes != wish)
        return;
    self->keyboard_client = next;
    tell_keyboard(here, next, sender, next.get());
}

demon *iris_demon_get_keyboard_client(iris_window_demon *self, object *, word) {
    return self->keyboard_client.get();
}

void pass_key_to_window(demon *god, object *sender, demon_message *m) {
    demon *window = window_of_keys(god);
    if (m == nullptr || m->propagate != 0 || window == nullptr || window == god->box_in_child) {
        demon_generic(god, sender, m);
        return;
    }
    demon_message passed = *m;
    send_demon_message(window, sender, passed);
}

demon *inq_key_client() {
    demon *receiver = inq_event_receiver(input_keyboard);
    if (receiver != nullptr && receiver == inq_demon_god())
        receiver = window_of_keys(receiver);
    return receiver != nullptr ? demon_get_keyboard_client_message(receiver) : nullptr;
}

} // namespace toolkit
