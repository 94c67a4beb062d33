// Faces of buttons: a label, a picture, or both; for this folder.
#pragma once

#include "toolkit/widgets/control.h"
#include "toolkit/widgets/controls.h"

namespace toolkit {

inline constexpr int face_margin = 3; // of a button's outline and bevel

// Places in the bitmap table, no_bitmap where there is none.
struct face_icons {
    int normal;
    int hilited;
    int pressed;
    int disabled; // the icon NAME.disabled of the normal one
};

// All buttons and switches are such records.
struct button : control {
    face_icons icons;
};
extern object_set *Button_Set;

[[nodiscard]] button *make_button(demon *parent, const control_place &place,
                                  const control_kind &kind, std::string_view label,
                                  const switch_icons &icons, widget_function function,
                                  word argument);

// What stands on a face of `room`: the picture of its state, if it has one, with the label below.
// Without one, the label stands at the place.
void draw_button_contents(const button *self, const screen_box &room, label_place place);

} // namespace toolkit
