// Fields for times, values and texts.
#include "toolkit/widgets/fields.h"
#include "toolkit/text/smpte.h"
#include "toolkit/widgets/edit_value.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace toolkit {

namespace {

constexpr int time_code_length = 11; // of HH:MM:SS:FF, which a field must be able to show
constexpr std::size_t most_parts = 4;
constexpr std::string_view separators = " :";

struct time_field : edit_string_demon { // its value is the control's
    float minimum;
    float maximum;
};
object_set *Time_Field_Set = nullptr;

time_field *own(demon *self) {
    return static_cast<time_field *>(self);
}

// Gives a field its place and function.
demon *place_field(edit_string_demon *field, demon *parent, int x, int y, widget_function function,
                   word argument) {
    if (field == nullptr)
        return nullptr;
    field->function = function;
    field->argument = argument;
    if (parent == nullptr)
        return field;
    set_demon(field, parent, x, y);
    adopt_widget(field, parent);
    return field;
}

// ---- times

float within(const time_field *self, float value) {
    return std::isnan(value) ? self->minimum : std::clamp(value, self->minimum, self->maximum);
}

void show_time(time_field *self) {
    std::array<char, smpte_text_size> text{};
    f_to_s(self->value, text);
    if (edit_string_demon_string(self) != text.data())
        edit_string_demon_offer_string(self, text.data());
}

bool take_time(control *d, const widget_value &given) {
    time_field *self = own(d);
    const float value = within(self, given.number);
    const bool is_other = self->value != value;
    self->value = value;
    show_time(self); // also when only the display mode is another one
    return is_other;
}

bool is_whole_number(std::string_view text) {
    text.remove_prefix(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Whether nothing but a time code, or a count, is in the text: s_to_f reads what it can.
bool is_time_text(std::string_view text) {
    std::size_t parts = 0;
    for (;; ++parts) {
        text.remove_prefix(std::min(text.find_first_not_of(separators), text.size()));
        if (text.empty())
            break;
        const std::size_t end = std::min(text.find_first_of(separators), text.size());
        if (!is_whole_number(text.substr(0, end)))
            return false;
        text.remove_prefix(end);
    }
    return parts > 0 && parts <= (inq_smpte_display() != 0 ? most_parts : 1);
}

bool accept_time(edit_string_demon *d) {
    time_field *self = own(d);
    const std::string_view text = text_of(self->line);
    float entered = 0;
    const bool is_frame = is_time_text(text) && s_to_f(text, &entered) != 0 &&
                          entered >= self->minimum && entered <= self->maximum;
    const bool is_other = is_frame && entered != self->value;
    if (is_frame)
        self->value = entered;
    show_time(self); // the text is saved already: it is replaced
    return is_other;
}

constexpr control_kind time_kind = edit_string_kind(take_time);

void set_time_range(time_field *self, float minimum, float maximum) {
    self->minimum = std::isfinite(minimum) ? minimum : 0;
    self->maximum = std::isfinite(maximum) ? std::max(maximum, self->minimum) : self->minimum;
}

edit_value_demon *value_field(demon *widget) {
    return is_edit_value_demon(widget) ? static_cast<edit_value_demon *>(widget) : nullptr;
}

// What is shown is written anew, by the limits and routines in force.
void refresh_value(edit_value_demon *self) {
    const graphics_bracket bracket;
    self->kind->take(self, widget_value(self->value));
}

} // namespace

demon *addTimeWidget(demon *parent, int x, int y, int width, int height, float minimum,
                     float maximum, float value, int display_width, widget_function function,
                     word argument) {
    const graphics_bracket bracket;
    if (Time_Field_Set == nullptr)
        keep_set_in(&Time_Field_Set,
                    create_set_of<time_field>(control_block, 1, inq_edit_string_demon_class()));
    auto *made = create_demon_of<time_field>(Time_Field_Set, width, height, nullptr);
    if (made == nullptr)
        return nullptr;
    set_up_edit_string(made, time_kind, "", "");
    edit_string_fit_width(made, std::max(display_width, time_code_length));
    set_time_range(made, minimum, maximum);
    made->accepted = accept_time;
    made->value = within(made, value);
    show_time(made);
    return place_field(made, parent, x, y, function, argument);
}

void setRangeTimeWidget(demon *widget, float minimum, float maximum) {
    control *self = of_kind(widget, time_kind);
    if (self == nullptr)
        return;
    const graphics_bracket bracket;
    set_time_range(own(self), minimum, maximum);
    take_time(self, widget_value(self->value));
}

// ---- values

demon *addValueWidget(demon *parent, int x, int y, int width, int height, std::string_view label,
                      float value, float minimum, float maximum, widget_function function,
                      word argument) {
    const graphics_bracket bracket;
    return place_field(
        create_edit_value_demon(nullptr, width, height, label, value, minimum, maximum), parent, x,
        y, function, argument);
}

void setMinValueWidget(demon *widget, float minimum) {
    if (edit_value_demon *self = value_field(widget))
        edit_value_demon_set_bounds(self, minimum, self->maximum);
}

void setMaxValueWidget(demon *widget, float maximum) {
    if (edit_value_demon *self = value_field(widget))
        edit_value_demon_set_bounds(self, self->minimum, maximum);
}

void setSToFValueWidget(demon *widget, value_reader reader) {
    if (edit_value_demon *self = value_field(widget))
        self->reader = reader;
}

void setFToSValueWidget(demon *widget, value_writer writer) {
    edit_value_demon *self = value_field(widget);
    if (self == nullptr)
        return;
    self->writer = writer;
    refresh_value(self);
}

// ---- texts

demon *addStringWidget(demon *parent, int x, int y, int width, int height, std::string_view label,
                       std::string_view text, widget_function function, word argument) {
    const graphics_bracket bracket;
    return place_field(create_edit_string_demon(nullptr, width, height, label, text), parent, x, y,
                       function, argument);
}

} // namespace toolkit
