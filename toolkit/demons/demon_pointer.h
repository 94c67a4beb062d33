// The pointer's way through the tree: which demon it is in, and who gets input.
//
// Each demon knows which of its kids the pointer is in: its box-in child. Pointer moves keep that
// up to date level by level; buttons and keys then follow it down.
#pragma once

#include "toolkit/demons/demons.h"

namespace toolkit {

// Answers in m->picked: this demon, when the point is in its box or it is locked; else the first
// of the following siblings that answers, unless the sender is the demon itself.
void demon_pick(demon *self, object *sender, demon_message *m);

// The second half of that: for methods that know better when their demon is picked. m not null.
void demon_pick_next(demon *self, object *sender, demon_message *m);

// Keeps the box-in child, sends box in and box out, passes the move on.
void demon_loc_move(demon *self, object *sender, demon_message *m);

void demon_box_in(demon *self, object *sender, demon_message *m);
void demon_box_out(demon *self, object *sender, demon_message *m); // pushes with push_on_leave

// Buttons and keys, for demons that take input.
void demon_generic(demon *self, object *sender, demon_message *m);

// The idle tick: the cursor blinks.
void demon_none(demon *self, object *sender, demon_message *m);

} // namespace toolkit
