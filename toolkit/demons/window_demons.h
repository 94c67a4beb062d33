// Window demons: each stands for one window of the screen, owns it, and is the root of the demons
// that are shown in it.
//
//   iris_window_demon *panel =
//       create_iris_window_demon_pushed(nullptr, 100, 200, 400, 300, "Panel", nullptr, 0);
//   add_demon(button, panel);                      // now or later
//   demon_pop_message(panel);                      // its window opens
//   demon_push_message(panel);                     // and closes; the demons live on
//
// Three kinds, which differ in when their window opens first and in what becomes of them when it is
// closed, by the user (the close box) or by a destroy message:
//
//   kind     window opens       closing
//   plain    when it is made    destroys the demon and all that is in it
//   popped   when it is made    pushes it
//   pushed   when it is popped  pushes it
//
// A pushed window demon has no window (window is no_window, in its descendants too), is in the pop
// list of the parent that it had, and can be popped again.
//
// While its window is open the demon is a child of the demon god and counts as popped. It follows
// the window over the screen: whenever it is drawn, and before the god hears of a move of the
// pointer (follow_iris_windows), it moves with all that is in it to where the window stands.
//
// Keys come to the window that has the desktop's keyboard, as far as the desktop tells
// (pass_key_to_window); else to the one that the pointer is in.
//
// There they go to the keyboard client, wherever in the window the pointer is. Any demon asks for
// the keyboard of its window by demon_keyboard_client_message(itself, itself), and gives it back
// with null for itself. Who gets or loses it is told by the same message. It is taken away when
// button 1 has been pressed in the window, but not in who has it, and who was pressed has not asked
// for it.
//
// Messages may destroy, push or pop the window that they are in: see demons.h.
#pragma once

#include "toolkit/demons/generic_demons.h"
#include "toolkit/objects/callbacks.h"

#include <array>
#include <cstdint>

namespace toolkit {

// --- records -------------------------------------------------------------------------------------

inline constexpr std::size_t window_title_size = 65; // bytes, with the closing zero

struct iris_window_demon : generic_demon {
    object_ref window_callback; // a callback; told once, when the demon is destroyed, and then gone
    demon_ref keyboard_client;
    std::array<char, window_title_size> title; // * UTF-8; empty: a window without frame
    std::uint16_t is_leaving;                  // it is being pushed
    std::uint32_t keyboard_wishes;             // changes of the keyboard client so far
    struct {
        bool now;      // somebody is being told
        demon *client; // that this one has the keyboard; never followed
    } telling;
};

extern object_class *Iris_Window_Demon_Class;
extern object_set *Iris_Window_Demon_Set;

// --- making --------------------------------------------------------------------------------------

// Makes the class "iris window demon class", derived from generic demons, and keeps it in
// Iris_Window_Demon_Class.
object_class *create_iris_window_demon_class();
object_class *inq_iris_window_demon_class(); // Iris_Window_Demon_Class, made when it is not there

// A new window demon.
//   set             null: Iris_Window_Demon_Set
//   x, y            the window's lower left corner in pixels of the screen, whatever its size. A
//                   window that would not be on the screen is moved there as it opens
//   width, height   as for create_demon
//   title           up to 64 bytes of UTF-8; longer ones are cut. Null or empty: without frame
//   function        told when the demon is destroyed, as a callback (callbacks.h); or null
// Null when there is no memory, or when the set is for smaller objects. When the display refuses
// the window, the demon is there all the same, as a pushed one. In batch mode its window id is
// batch_mode_window.
[[nodiscard]] iris_window_demon *create_iris_window_demon(object_set *set, int x, int y, int width,
                                                          int height, const char *title,
                                                          callback_function function,
                                                          word argument);
[[nodiscard]] iris_window_demon *
create_iris_window_demon_popped(object_set *set, int x, int y, int width, int height,
                                const char *title, callback_function function, word argument);
[[nodiscard]] iris_window_demon *
create_iris_window_demon_pushed(object_set *set, int x, int y, int width, int height,
                                const char *title, callback_function function, word argument);

// Whether o is a window demon.
[[nodiscard]] bool is_iris_window_demon(const object *o);

// Brings all window demons to where their windows stand. Who draws what is in a window without
// having drawn the window calls it first: the user may have moved the window meanwhile.
void follow_iris_windows();

// Destroys every window demon with all that is in it, whatever its kind: for the program's end.
void destroy_all_iris_windows();

// --- handlers ------------------------------------------------------------------------------------
// For window demons only.

// Opens the window, brings the demon into the tree, and draws it. A window that is open is raised,
// from an icon too.
//   parent  who adopts it; null, the demon itself, or one that can not adopt it: the demon god
// Nothing more than that when the display refuses the window, and nothing for a demon in
// destruction.
void popup_iris_window(demon *self, object *parent, demon_message *m = nullptr);
void popup_iris_window_no_draw(demon *self, object *parent, demon_message *m = nullptr);

// Closes the window; the demon is in its parent's pop list then. The window's owner bits (see
// window_table.h) are not asked: they are for the user.
void pushdown_iris_window(demon *self, object *sender, demon_message *m);

// Destroys the demon with all that is in it, and its window. The second time does nothing.
void iris_demon_destroy(demon *self, object *sender, demon_message *m);

void iris_demon_draw(demon *self, object *sender, demon_message *m);
void iris_demon_pick(demon *self, object *sender, demon_message *m); // by what is seen at the point
void iris_demon_box_in(demon *self, object *sender, demon_message *m);
void iris_demon_box_out(demon *self, object *sender, demon_message *m);

// The draw routine: the window's ground and its outline.
void iris_demon_fill(display_object *self);

// Closes the window and opens it again at the demon's box: for a changed title or size. Its picture
// is lost.
void iris_demon_new_window(demon *self);

// --- the keyboard --------------------------------------------------------------------------------
// The class's methods.

// To the demon's own keystroke handler; else to the keyboard client; else the pointer's way. A
// client that is this window's ancestor, or a window itself, counts as none.
void iris_demon_keystroke(iris_window_demon *self, object *sender, demon_message *m);

// Gives the keyboard to client, or to nobody. The one who had it gets the message with null, the
// new one the message with itself, both from this demon; not who is the sender. When one of them
// asks for the keyboard meanwhile, that later wish holds.
void iris_demon_set_keyboard_client(iris_window_demon *self, object *sender, demon *client);
demon *iris_demon_get_keyboard_client(iris_window_demon *self, object *sender, word unused);

// For the demon god, as its keystroke handler or at the end of one: the key goes to the god's
// window demon that has the desktop's keyboard (inq_input_window). When that is not known, or the
// pointer is in a window without frame, to which desktops give no keyboard, it goes the pointer's
// way.
void pass_key_to_window(demon *god, object *sender, demon_message *m);

// Who has the keyboard of the window that keys go to now: of the filter's (event_filters.h), else
// of the one that pass_key_to_window finds. Null when nobody has.
[[nodiscard]] demon *inq_key_client();

} // namespace toolkit
