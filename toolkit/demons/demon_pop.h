// Demons that come up over others and go again.
#pragma once

#include "toolkit/demons/demons.h"

namespace toolkit {

// Neither begins on a demon while the other, or the same, is under way on it.

// Raises the demon out of its parent's pop list over its siblings, keeping what it covers. Nothing
// when it is popped already or has no parent.
void demon_pop(demon *self, object *sender, demon_message *m);

// Puts it back into the pop list, a popped first child of its own before it, and puts back what it
// covered. Nothing when it has no parent.
void demon_push(demon *self, object *sender, demon_message *m);

// Counts a demon as covering, or no longer covering, those of the chain that it overlaps. Who
// becomes covered is sent box out.
void overlap_demons(demon *d, demon *first, bool covering);

} // namespace toolkit
