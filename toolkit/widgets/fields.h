// Controls to type in: fields for times, numbers and texts.
//
//   demon *frame = addTimeWidget(panel, 10, 70, 220, 30, 0, 99, 0, 8, show_frame, 0);
//   demon *rate = addValueWidget(panel, 10, 10, 220, 30, "Rate", 24, 1, 60, set_rate, 0);
//
// They are added as the controls of controls.h are. The function is called when Enter, or a press in
// another field, has ended the typing and the value is another one. Numbers ask on leaving whether
// what was typed counts; times and texts take it. Keys, mouse and policies: edit_string.h.
#pragma once

#include "toolkit/widgets/widgets.h"

#include <span>
#include <string_view>

namespace toolkit {

// A frame, shown and typed as SMPTE time code or as a count, by the process's display mode. What
// is no frame, or outside the range, restores the last value.
//   display_width  characters that the field has room for; a time code has room in any
[[nodiscard]] demon *addTimeWidget(demon *parent, int x, int y, int width, int height,
                                   float minimum, float maximum, float value, int display_width,
                                   widget_function function, word argument);
void setRangeTimeWidget(demon *widget, float minimum, float maximum);

// A number with limits and a label at its left; equal limits: none.
[[nodiscard]] demon *addValueWidget(demon *parent, int x, int y, int width, int height,
                                    std::string_view label, float value, float minimum,
                                    float maximum, widget_function function, word argument);
void setMinValueWidget(demon *widget, float minimum);
void setMaxValueWidget(demon *widget, float maximum);

// How its text is read and written in place of the usual way; null: the usual way.
using value_reader = int (*)(std::string_view text, float *value); // as s_to_f
using value_writer = void (*)(float value, std::span<char> buffer);
void setSToFValueWidget(demon *widget, value_reader reader);
void setFToSValueWidget(demon *widget, value_writer writer);

[[nodiscard]] demon *addStringWidget(demon *parent, int x, int y, int width, int height,
                                     std::string_view label, std::string_view text,
                                     widget_function function, word argument);

} // namespace toolkit
