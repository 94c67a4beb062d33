// The controls of panels: buttons, switches, labels, sliders, groups. Fields to type in: fields.h.
//
//   demon *play = add_toggleswitch_menu(panel, 95, 10, 80, 55, "",
//                                       {"play", "play.hilite", "play.pressed"}, start, 0);
//   demon *frame = addSlider(panel, 10, 105, 250, 10, 0, 99, 0, show_frame, 0);
//
// Each add call places the widget in its parent at (x, y) and adopts it (add_demon), with the
// parent's state; null parent: neither. It calls `function` with `argument` when its user, or
// setWidgetValue, has changed it; both may be null and 0. Null is returned when there is no memory.
//
// All of them show when the pointer is on them, when they are pressed, and when they are disabled.
// Buttons, switches and choices act when button 1 is released over them; released elsewhere, nothing
// has happened. Pressed, a control holds the pointer until the button is up again. A setting call
// that changes what is seen draws it at once, if it is visible.
//
// Labels are cut to 255 bytes. Values (getWidgetValue) have the label as their text.
#pragma once

#include "toolkit/widgets/widgets.h"

#include <span>
#include <string_view>

namespace toolkit {

// --- buttons, switches, labels -------------------------------------------------------------------

[[nodiscard]] demon *addButton(demon *parent, int x, int y, int width, int height,
                               std::string_view label, widget_function function, word argument);

// A switch's value is 0 or 1; a click turns it over.
[[nodiscard]] demon *addToggleSwitch(demon *parent, int x, int y, int width, int height,
                                     std::string_view label, int value, widget_function function,
                                     word argument);

// A picture button: icons by name (bitmaps.h), for normal, highlighted and pressed; disabled, it
// shows NAME.disabled of the normal one. Where a state has none the normal one is shown. Without
// any, and in colour-map windows, the label is drawn alone; else below the picture.
struct switch_icons {
    std::string_view normal;
    std::string_view hilited;
    std::string_view pressed;
};
[[nodiscard]] demon *add_toggleswitch_menu(demon *parent, int x, int y, int width, int height,
                                           std::string_view label, const switch_icons &icons,
                                           widget_function function, word argument);

// Another label, of labels too, or other pictures, of buttons and switches.
void setLabelWidget(demon *widget, std::string_view label);
void setIconsToggleSwitch(demon *widget, const switch_icons &icons);

// A line of text in a font slot, on the ground of its window. Its value is its text.
enum class label_place { left, middle };
[[nodiscard]] demon *addLabel(demon *parent, int x, int y, int width, int height,
                              std::string_view text, int slot, label_place place);

// --- sliders -------------------------------------------------------------------------------------

// A slider is horizontal when it is wider than high. Its knob is dragged; a click in the trough
// brings it there, the wheel steps by one. The function is called for every change. Values are
// brought into the range; a maximum below the minimum counts as that.
[[nodiscard]] demon *addSlider(demon *parent, int x, int y, int width, int height, float minimum,
                               float maximum, float value, widget_function function, word argument);
void setRangeSlider(demon *slider, float minimum, float maximum); // its function is not called

// --- groups --------------------------------------------------------------------------------------

// Choices of which exactly one is on: one-of as a row of touching buttons, radio as a column of
// round marks with labels. The value is the place of the chosen one, from 0.
[[nodiscard]] demon *addOneOf(demon *parent, int x, int y, int width, int height,
                              std::span<const std::string_view> labels, int chosen,
                              widget_function function, word argument);
[[nodiscard]] demon *addRadio(demon *parent, int x, int y, int width, int height,
                              std::span<const std::string_view> labels, int chosen,
                              widget_function function, word argument);

} // namespace toolkit
