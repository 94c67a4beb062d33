// Demons: the interactive objects of the screen. A demon is a display object in a tree; messages
// (pointer, buttons, keys, ticks, draw, highlight) come in at the root, the demon god, and go down.
//
//   demon *panel = create_demon(nullptr, 200, 100, nullptr);     // not in the tree yet
//   set_demon(panel, window_demon, 20, 20);                      // 20 pixels in from its corner
//   add_demon(panel, window_demon);                              // shown when the window is
//   demon_draw_message(panel);
//   ...
//   demon_destroy_message(panel);                                // with all that is in it
//
// Coordinates are the screen's: pixels from its lower left corner, y up. Children lie within their
// parent by convention only.
//
// A demon is in at most one list of at most one parent: among its kids (there it is shown and found
// by the pointer) or in its pop list (hidden, waiting to be popped). A demon in no list remembers
// the parent that it had.
//
// What handlers may do. Any handler may do anything to any demon while messages are on their way:
// destroy it, push, pop, move or re-parent it, the receiver, its parent, siblings and window
// included. The rule that makes that safe:
//
//   Whoever goes on with a demon after a call that may have reached a handler holds it in a
//   `delivery` or a `demon_ref`, never as a bare pointer. A delivery (delivery.h) is told when its
//   demon is destroyed and when the sibling that comes next leaves the list; what is gone is left
//   out, and the message goes on with what is still there.
//
// The sender of a message is for comparing: it may be gone when siblings get the message. (Only
// msg_add looks at it.)
//
// So a message reaches each demon that is in its way from its start to its end; those that are
// added meanwhile are not met. A demon in destruction takes no children any more, and nothing can
// become its own ancestor.
//
// Siblings are reached one call deeper each: chains of some thousands of demons are fine.
#pragma once

#include "toolkit/demons/demon_message.h"
#include "toolkit/demons/display_object.h"
#include "toolkit/demons/primitives.h"
#include "toolkit/graphics/saved_rects.h"

#include <algorithm>
#include <cstdint>

namespace toolkit {

// --- records -------------------------------------------------------------------------------------

// A demon that may be gone by the time it is asked for. All zero: none.
struct demon_ref {
    object_ref held;
    [[nodiscard]] demon *get() const; // null once it is destroyed
};
demon_ref refer_to_demon(demon *d);

inline constexpr std::uint16_t flag_input = 0x100;           // takes input
inline constexpr std::uint16_t flag_in_destruction = 0x1000; // its destruction has begun
inline constexpr std::uint16_t flag_owns_window = 0x2000;    // its window is not its parent's
inline constexpr std::uint16_t flag_in_pop = 0x2000;         // a pop or push is under way
inline constexpr std::uint16_t flag_hidden = 0x4000;   // * stays invisible, also when its parent
inline constexpr std::uint16_t flag_disabled = 0x8000; // * comes up; and: stays without input
inline constexpr std::uint16_t demon_on = 255;         // of the 16-bit flags below; else 0

enum class demon_list : std::uint8_t { none, kids, pop };

// Change it through the calls; the routines, client words and the flags marked * may be set.
struct demon : display_object {
    demon *pop_list;             // first of those that are pushed
    demon *next;                 // sibling in the list that it is in (not the object's set link)
    demon_ref parent;            // also the one that it had
    demon *kids;                 // first child: the one added last
    demon *box_in_child;         // the child that the pointer is in
    object_ref client;           // told of drawing, highlight, visibility, moves, destruction
    std::uint16_t push_on_leave; // * pushed when the pointer leaves it
    std::uint16_t popped;
    std::uint16_t locked;       // the pointer stays with it
    saved_rect *saved;          // what it covers while popped
    std::int16_t overlap_count; // popped demons over this one
    screen_point cursor;        // where its cursor is, and was
    screen_point previous_cursor;
    cursor_routine cursor_draw;  // *
    cursor_routine cursor_erase; // *
    std::uint16_t cursor_shown;
    std::uint16_t blink;        // * its cursor blinks
    std::uint16_t blink_period; // * in ticks
    std::int16_t blink_countdown;
    demon_list list;      // that it is in
    std::uint64_t joined; // when it joined that: delivery.h
    word first_word;      // * the subclass's own
    word second_word;     // *
};

extern object_class *Demon_Class;
extern object_set *Demon_Set;

// The set that demons come from unless told otherwise.
inline constexpr int demon_block = 10;

// --- making --------------------------------------------------------------------------------------

// Makes the class "demon_class", derived from display objects, and keeps it in Demon_Class.
object_class *create_demon_class();
object_class *inq_demon_class(); // Demon_Class, made when it is not there

// A new demon at (0, 0), in no list, invisible, without input.
//   set     null: Demon_Set
//   width, height   in pixels of a screen of 1280 x 1024; smaller screens shrink them
//   client  or null
// Null when there is no memory, or when the set is for smaller objects or for no demons.
[[nodiscard]] demon *create_demon(object_set *set, int width, int height, object *client);
void init_demon(demon *self);

// The same for records that derive from demon: null set is not possible.
template <typename record>
[[nodiscard]] record *create_demon_of(object_set *set, int width, int height, object *client);

// What does not fit 16 bits stays at their ends.
constexpr std::int16_t clamp_16(int length) {
    return static_cast<std::int16_t>(std::clamp<int>(length, INT16_MIN, INT16_MAX));
}

// A demon's box by its size on the design's screen.
void size_demon(demon *self, int width, int height);

// Lengths of the design's screen in pixels of this one: the same on screens at least as large.
[[nodiscard]] int scale_x(int length);
[[nodiscard]] int scale_y(int length);

// The root of the tree; null when there is none.
[[nodiscard]] demon *inq_demon_god();
void set_demon_god(demon *d);

// Whether o is a demon.
[[nodiscard]] bool is_demon(const object *o);

// --- sending -------------------------------------------------------------------------------------

// Sends a message to one demon: calls the method of m.code. Null: nothing. (The visibility message
// of plain display objects carries a number instead of a message: it is not for demons.)
inline word send_demon_message(demon *to, object *sender, demon_message &m) {
    return send_message(to, m.code, to_word(sender), to_word(&m));
}

// One message each, to this demon (and what is in it) alone.
void demon_destroy_message(demon *to);
void demon_draw_message(demon *to);
void demon_hilite_message(demon *to);
void demon_dehilite_message(demon *to);
void demon_move_message(demon *to, int dx, int dy);
void demon_visibility_message(demon *to, bool visible);
void demon_enable_input_message(demon *to, bool enabled);
[[nodiscard]] bool demon_is_visible(demon *d);
[[nodiscard]] bool demon_is_enabled(demon *d);
void demon_pop_message(demon *to);
void demon_push_message(demon *to);
void demon_box_in_message(demon *to, screen_point at);
void demon_box_out_message(demon *to);
[[nodiscard]] demon *demon_pick_message(demon *first, object *sender, screen_point at);
void demon_keyboard_client_message(demon *from, demon *client);
[[nodiscard]] demon *demon_get_keyboard_client_message(demon *from);

// --- methods -------------------------------------------------------------------------------------
// Each takes (receiver, sender, message); a null message is one of that code without propagation.

void demon_init(demon *self, object *sender, demon_message *m);
void demon_destroy(demon *self, object *sender, demon_message *m);
void demon_draw(demon *self, object *sender, demon_message *m);
void demon_hilite(demon *self, object *sender, demon_message *m);
void demon_dehilite(demon *self, object *sender, demon_message *m);
void demon_move(demon *self, object *sender, const box_move *delta); // with all that is in it
void demon_set_visibility(demon *self, object *sender, demon_message *m);
int demon_get_visibility(demon *self, object *sender, demon_message *m);
void demon_set_enable_input(demon *self, object *sender, demon_message *m);
int demon_get_enable_input(demon *self, object *sender, demon_message *m);
void demon_add(demon *self, object *sender, demon_message *m);    // add_demon to the sender
void demon_delete(demon *self, object *sender, demon_message *m); // delete_demon

// Keyboard requests go up to the first ancestor that answers them (a window's demon).
void demon_set_keyboard_client(demon *self, object *sender, demon *client);
demon *demon_get_keyboard_client(demon *self, object *sender, word unused);

// Draws the demon itself: its client, or its own routines.
void demon_d_o_draw(demon *self);

// --- a demon that fills its box ------------------------------------------------------------------

// Its draw and erase routines then fill the box with a colour of the default map.
void set_demon_fill_color(demon *self, int index);
void draw_demon_fill_color(display_object *self);
void erase_demon_fill_color(display_object *self); // colour_background

// -------------------------------------------------------------------------------------------------

template <typename record>
record *create_demon_of(object_set *set, int width, int height, object *client) {
    static_assert(std::is_base_of_v<demon, record>);
    if (set == nullptr || !is_class_derived(set->class_, inq_demon_class()))
        return nullptr;
    auto *made = create_object_of<record>(set);
    if (made == nullptr)
        return nullptr;
    init_demon(made);
    size_demon(made, width, height);
    made->client = refer_to(client);
    return made;
}

} // namespace toolkit
