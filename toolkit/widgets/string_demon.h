// Plain string demons: a line of text that shows what is typed at it, without editing and without
// the keyboard of its window: keys reach it while the pointer is in it.
//
//   string_demon *note = create_string_demon(nullptr, 200, 24, "take 3");
//   set_demon(note, panel, 10, 10);
//   add_demon(note, panel);
#pragma once

#include "toolkit/demons/generic_demons.h"
#include "toolkit/widgets/edit_text.h"

#include <string_view>

namespace toolkit {

struct string_demon : generic_demon {
    edit_text line;
};

extern object_set *String_Demon_Set;

// A null set means String_Demon_Set. Null when there is no memory, or when the set is for smaller
// objects.
[[nodiscard]] string_demon *create_string_demon(object_set *set, int width, int height,
                                                std::string_view text);

// The handler of keys: characters go to the end of the text, Backspace takes the last one away.
void string_demon_keystroke(demon *self, object *sender, demon_message *m);

// The draw routine.
void string_demon_draw(display_object *self);

} // namespace toolkit
