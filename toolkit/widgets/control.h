// What the controls of controls.h are made of; for this folder.
//
//   constexpr control_kind lamp_kind = {.draw = draw_lamp, .clicked = turn_lamp, ...};
//   struct lamp : control { float watts; };
//   lamp *made = make_control<lamp>(&Lamp_Set, parent, {10, 10, 80, 25}, lamp_kind, function, 7);
//
// A control that is pressed holds the pointer: moves and buttons come to it, wherever they are,
// until button 1 is up again, or it is disabled, taken out of its window or destroyed.
#pragma once

#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/primitives.h"
#include "toolkit/widgets/widgets.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace toolkit {

// --- records -------------------------------------------------------------------------------------

inline constexpr std::size_t control_label_size = 256; // bytes, with the closing zero
inline constexpr int control_block = 16;

struct control;

// How the controls of a kind differ. Null: nothing happens; but draw is always there. None of them
// but `clicked` calls functions of the user, and that one as the last thing it does.
struct control_kind {
    draw_routine draw = nullptr;                                      // fills its box
    void (*pressed)(control *self, screen_point at) = nullptr;        // button 1 went down in it
    void (*dragged)(control *self, screen_point at) = nullptr;        // since then
    void (*clicked)(control *self) = nullptr;                         // and came up in it
    void (*stepped)(control *self, int notches) = nullptr;            // the wheel; up: positive
    bool (*take)(control *self, const widget_value &value) = nullptr; // a new value, and shows it;
                                                                      // returns whether it is one
    void (*fitted)(control *self) = nullptr;                          // its box has another size
    bool is_lit = true;                                               // when the pointer is in it
    bool is_typed_in = false; // takes the keyboard when it is pressed, and the editing keys with it
};

struct control : generic_demon {
    const control_kind *kind;
    widget_function function;
    word argument;
    float value;
    bool is_held;             // pressed, and not let go yet
    bool is_pressed;          // and looks so
    std::size_t filter_place; // of the event filter that it holds the pointer with
    std::array<char, control_label_size> label;
};

extern object_class *Control_Class;
object_class *inq_control_class();

// The demon as a control, or null.
[[nodiscard]] control *as_control(demon *widget);
[[nodiscard]] inline control *of_kind(demon *widget, const control_kind &kind) {
    control *self = as_control(widget);
    return self != nullptr && self->kind == &kind ? self : nullptr;
}

// --- making --------------------------------------------------------------------------------------

struct control_place {
    int x, y, width, height;
};

// Gives a new control its routines and handlers, and its place in the parent, if there is one.
void set_up_control(control *self, demon *parent, const control_place &place,
                    const control_kind &kind, widget_function function, word argument);

template <typename record>
[[nodiscard]] record *make_control(object_set **set, demon *parent, const control_place &place,
                                   const control_kind &kind, widget_function function,
                                   word argument) {
    if (*set == nullptr)
        keep_set_in(set, create_set_of<record>(control_block, 1, inq_control_class()));
    auto *made = create_demon_of<record>(*set, place.width, place.height, nullptr);
    if (made != nullptr)
        set_up_control(made, parent, place, kind, function, argument);
    return made;
}

// add_demon, and what is in the widget learns its window too.
void adopt_widget(demon *widget, demon *parent);

// --- working -------------------------------------------------------------------------------------

[[nodiscard]] look look_of_control(const control *self);
[[nodiscard]] std::string_view label_of(const control *self);
void set_control_label(control *self, std::string_view text); // not drawn

// Draws it, if it is visible and this is not batch mode.
void redraw_control(control *self);

// Whether keys may come to a demon that has the keyboard of its window: not while another window of
// the program has the desktop's. Controls that are typed in are drawn again when that changes.
[[nodiscard]] bool are_keys_for(const demon *client);

// Calls its function: the last thing to be done with it.
void notify_control(const control *self);

// The same as setWidgetValue, without bracket.
void change_control(control *self, const widget_value &value);

// For kinds that are clicked: shows whether button 1 would click it now.
void press_or_not(control *self, screen_point at);

// Whether button 1 is up and who holds the pointer will not be told of that: somebody has taken the
// buttons meanwhile, a question say. A release that is still on its way is not missed.
[[nodiscard]] bool has_missed_release();

// The pointer is no longer held.
void let_go_control(control *self);

// The draw routine of windows with a ground of their own, whose index is the first word.
void draw_coloured_window(display_object *self);

// The colour of what a demon stands on.
[[nodiscard]] int ground_of(demon *d);

// Gives a new widget help, while the help flag is set.
void keep_help_id(generic_demon *made, word help_id);

// What widgets tell when the pointer comes and goes: the help, or the installed hooks.
void tell_box_in(demon *widget);
void tell_box_out(demon *widget);

} // namespace toolkit
