// Display objects: what can be drawn. An object with a box in a window and four routines that its
// owner may replace: draw, erase, hilite, dehilite.
//
//   display_object *lamp = create_display_object(nullptr);
//   lamp->box = {100, 100, 60, 20};                     // in screen coordinates
//   lamp->window = wid;
//   lamp->draw = draw_in_box<draw_bn>;                  // boxes.h
//   lamp->hilite = do_hilite_bn;                        // primitives.h
//   lamp->dehilite = do_dehilite_bn;
//   display_visibility_message(lamp, true);
//   display_draw_message(lamp);
//
// Drawing goes to the screen at once. Nothing here draws by itself when something changes: callers
// send draw. What a routine draws it draws in screen coordinates, in the object's window, which is
// current when it is called.
#pragma once

#include "toolkit/demons/message_codes.h"
#include "toolkit/events/input_types.h"
#include "toolkit/graphics/screen_box.h"
#include "toolkit/objects/objects.h"

#include <cstdint>

namespace toolkit {

struct display_object;
using draw_routine = void (*)(display_object *self);

inline constexpr std::uint16_t flag_visible = 0x10; // of object::flags
inline constexpr std::uint16_t is_hilited = 255;    // of display_object::hilited; else 0

struct display_object : object {
    screen_box box;
    std::uint16_t hilited; // is_hilited, or 0
    draw_routine draw;     // null: nothing, here and in the three below
    draw_routine erase;
    draw_routine hilite;
    draw_routine dehilite;
    std::int32_t colour; // number of a block of the default colour map
    std::int32_t window; // toolkit window id; no_window while it is not known
};

// How far a message moves something.
struct box_move {
    std::int16_t dx = 0;
    std::int16_t dy = 0;
};

extern object_class *Display_Object_Class;
extern object_set *Display_Object_Set;

// Makes the class "display object class ", derived from the root, and keeps it in
// Display_Object_Class.
object_class *create_display_object_class();

// Display_Object_Class, made when it is not there.
object_class *inq_display_object_class();

// A new display object: invisible, see init_display_object. A null set means Display_Object_Set,
// made on first use. Null when there is no memory, or when the set is for smaller objects.
[[nodiscard]] display_object *create_display_object(object_set *set);

// A box of 10 x 10 pixels at the origin, no window, not highlighted, the colours of bevelled
// buttons, and the routines of init_me.
void init_display_object(display_object *self);

// --- methods -------------------------------------------------------------------------------------

// The default routines: draw_do, erase_do, hilite_do, dehilite_do.
void init_me(display_object *self);

// Call the routine, if the object is visible and has it, with its window current. The routine may
// delete the object.
void draw_me(display_object *self);
void erase_me(display_object *self);
void hilite_me(display_object *self);
void dehilite_me(display_object *self);

// Adds to the box's origin; what does not fit 16 bits stays at their ends. Null delta: nothing.
void move_me(display_object *self, object *sender, const box_move *delta);

void set_my_visibility(display_object *self, object *sender, int value); // 0: invisible
int get_my_visibility(const display_object *self);                       // 255 or 0

inline void display_draw_message(object *self) {
    send_message(self, msg_draw);
}
inline void display_erase_message(object *self) {
    send_message(self, msg_erase);
}
inline void display_hilite_message(object *self) {
    send_message(self, msg_hilite);
}
inline void display_dehilite_message(object *self) {
    send_message(self, msg_dehilite);
}
inline void display_move_message(object *self, const box_move &delta) {
    send_message(self, msg_move, 0, to_word(&delta));
}
inline void display_visibility_message(object *self, bool visible) {
    send_message(self, msg_set_visibility, 0, visible ? toolkit_true : toolkit_false);
}

// --- windows and colours -------------------------------------------------------------------------

// Makes the object's window current. An object without one gets the window that is seen at its
// box's origin. When its window is current already, set_win_do selects screen coordinates for a
// visible object; win_set_do leaves the coordinates as they are.
void set_win_do(display_object *self);
void win_set_do(display_object *self);

// The index of a place in the object's colour block; -1 when there is no such block.
[[nodiscard]] int map_color_d_o(const display_object *self, int place);
// Draws with it from now on.
void set_color_d_o(const display_object *self, int place);

// --- the default routines ------------------------------------------------------------------------

void draw_do(display_object *self);  // outlines the box
void erase_do(display_object *self); // erase_box

// Turn the box over (xor_box), if they change whether it is highlighted.
void hilite_do(display_object *self);
void dehilite_do(display_object *self);

// A routine made of one that draws in a box.
template <void (*paint)(const screen_box &)> void draw_in_box(display_object *self) {
    paint(self->box);
}

} // namespace toolkit
