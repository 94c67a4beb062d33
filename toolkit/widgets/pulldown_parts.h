// What the sources of the menu bar share.
#pragma once

#include "toolkit/widgets/pulldowns.h"

#include <string_view>

namespace toolkit {

// --- measures, pixels of the design's screen -----------------------------------------------------
inline constexpr int choice_height = 30;
inline constexpr int choice_space = 50; // of an entry's width, beside its texts: split so:
inline constexpr int choice_label_left = 26;
inline constexpr int choice_key_right = 12;   // from the key text to the right edge
inline constexpr int choice_arrow_width = 20; // of a cascade; key texts stand before it
inline constexpr int switch_margin = 11;      // on both sides of a title
inline constexpr int switch_arrow_width = 16;
inline constexpr int bar_margin = 4; // left of the first switch

// --- pulldowns: pulldowns.cpp --------------------------------------------------------------------

[[nodiscard]] pulldown *create_pulldown();

[[nodiscard]] bool is_in_destruction(const demon *d);

// Whether it can be chosen by hand: active, and as a widget neither disabled nor hidden.
[[nodiscard]] bool can_be_chosen(const pulldown_choice *choice);

// The pulldown that holds the choice now, or null; a row's choice, or null.
[[nodiscard]] pulldown *pulldown_of_choice(const pulldown_choice *choice);
[[nodiscard]] pulldown_choice *choice_of_row(const pulldown *p, int row);

// The cascade that opens the pulldown, or null; the switch that it all hangs on, or null.
[[nodiscard]] pulldown_choice *opener_of(const pulldown *p);
[[nodiscard]] pulldown_switch *switch_of(pulldown *p);

// Sizes the pulldown and places its choices by their rows; open, it is drawn again.
void lay_out_pulldown(pulldown *p);

// Opens it with its lower left corner at a place, or nearby on the screen.
void pop_pulldown_at(pulldown *p, int x, int y);
void pulldown_pop(demon *self, object *sender, demon_message *m);
void pulldown_push(demon *self, object *sender, demon_message *m); // with what was opened from it
void pulldown_b1_up(demon *self, object *sender, demon_message *m);

// Opens a cascade's sub-pulldown beside it.
void pulldown_launch(pulldown_choice *choice);

// --- switches and bars: menu_bars.cpp ------------------------------------------------------------

void lay_out_menu_bar(demon *bar);

// Whether a press on it opens something.
[[nodiscard]] bool can_open(pulldown_switch *s);

// The neighbour in the bar that can be opened, wrapping around: step 1 to the right, -1 to the
// left. The switch itself when there is no other.
[[nodiscard]] pulldown_switch *next_switch(pulldown_switch *from, int step);

// --- the open menu: open_menu.cpp ----------------------------------------------------------------

void open_menu(pulldown_switch *s);                       // a switch was pressed
void enter_switch(pulldown_switch *s);                    // the pointer came to it
[[nodiscard]] bool is_menu_open_at(const demon *s);       // s: a switch
[[nodiscard]] bool is_menu_open();                        // at whatever switch
void release_in_menu(screen_point at);                    // a button was released
void forget_pointer_path();                               // the pointer is in nothing any more
[[nodiscard]] demon *select_choice(pulldown_choice *one); // as if the pointer had come to it

// --- drawing: pulldown_drawing.cpp ---------------------------------------------------------------

void pulldown_choice_draw(display_object *self);
void pulldown_choice_draw_check(const pulldown_choice &choice);
void draw_pulldown(display_object *self);
void draw_pulldown_switch(display_object *self);
void draw_menu_bar(display_object *self);
void erase_menu_bar(display_object *self);

} // namespace toolkit
