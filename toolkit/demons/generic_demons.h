// Generic demons: demons whose behaviour lies in handlers of their own instead of in a class.
//
//   void switch_lamp(demon *self, object *sender, demon_message *m);
//   generic_demon *lamp = create_generic_demon(nullptr, 60, 20, nullptr);
//   lamp->on.b1_down = switch_lamp;
//   lamp->on.draw = draw_lamp;
//   set_demon(lamp, panel, 10, 10);
//   add_demon(lamp, panel);
//
// A message goes to the demon's handler when it has one; else to the method that plain demons have
// for it. What that method would have done is then the handler's business: one for pointer moves
// calls demon_loc_move if there are kids to be tracked, and those for draw, pick and destroy call
// demon_draw, demon_pick, demon_destroy, or at least demon_next_do, so that the siblings get
// theirs.
//
// Buttons and keys reach the handlers of demons only that take input (flag_input).
//
// A handler may do anything, also destroy its demon: see demons.h.
#pragma once

#include "toolkit/demons/demons.h"

namespace toolkit {

// --- records -------------------------------------------------------------------------------------

// What demon methods are, so that these can be handlers as they are. The message is never null.
using demon_handler = void (*)(demon *self, object *sender, demon_message *m);

// Takes or leaves a value: what the word means is the widget's affair (a number; for get_value a
// pointer to where the value goes). The result is the message's.
using value_handler = word (*)(demon *self, object *sender, word value);

// Null: what a plain demon does; for the values: nothing, and 0.
struct demon_handlers {
    demon_handler box_in;
    demon_handler box_out;
    demon_handler b1_down;
    demon_handler b1_up;
    demon_handler b1_double_click;
    demon_handler loc_move;
    demon_handler keystroke;
    demon_handler wheel; // m->code says where to: msg_wheel_up or msg_wheel_down
    demon_handler draw;
    demon_handler destroy;
    demon_handler pick;
    demon_handler pop;
    demon_handler push;
    value_handler set_value;
    value_handler get_value;
    value_handler update_value;
};

inline constexpr std::uint16_t flag_help = 0x800; // help_id says which help there is for it

struct generic_demon : demon {
    demon_handlers on; // *
    word help_id;      // *
};

extern object_class *Generic_Demon_Class;
extern object_set *Generic_Demon_Set;

// --- making --------------------------------------------------------------------------------------

// Makes the class "generic demon class", derived from demons, and keeps it in Generic_Demon_Class.
object_class *create_generic_demon_class();
object_class *inq_generic_demon_class(); // Generic_Demon_Class, made when it is not there

// As create_demon; without handlers and help. A null set means Generic_Demon_Set. Records that
// derive come from create_demon_of, whose zeroed fields mean the same.
[[nodiscard]] generic_demon *create_generic_demon(object_set *set, int width, int height,
                                                  object *client);

// Whether o is a generic demon, or of a class that derives.
[[nodiscard]] bool is_generic_demon(const object *o);

} // namespace toolkit
