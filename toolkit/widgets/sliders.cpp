#include "toolkit/demons/boxes.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/widgets/control.h"
#include "toolkit/widgets/controls.h"

#include <algorithm>
#include <cmath>

namespace toolkit {

namespace {

constexpr int knob_length = 14; // along the slider
constexpr int trough_size = 6;  // across it
constexpr int ridge_margin = 3; // of the line across the knob

struct slider : control {
    float minimum;
    float maximum; // not below minimum
    int grip;      // where the knob is held: pixels from its beginning
};
object_set *Slider_Set = nullptr;

slider *own(control *self) {
    return static_cast<slider *>(self);
}

// ---- where the knob is

bool is_flat(const slider *self) {
    return self->box.width > self->box.height;
}

int slider_length(const slider *self) {
    return is_flat(self) ? self->box.width : self->box.height;
}

int length_of_knob(const slider *self) {
    return std::min(knob_length, slider_length(self));
}

int knob_travel(const slider *self) {
    return slider_length(self) - length_of_knob(self);
}

int knob_begin(const slider *self) {
    const double range = double{self->maximum} - self->minimum;
    if (range <= 0)
        return 0;
    return static_cast<int>(
        std::lround((double{self->value} - self->minimum) / range * knob_travel(self)));
}

float value_at(const slider *self, int begin) {
    const int travel = knob_travel(self);
    if (travel <= 0 || begin <= 0)
        return self->minimum;
    if (begin >= travel)
        return self->maximum;
    const double range = double{self->maximum} - self->minimum;
    return static_cast<float>(self->minimum + range * begin / travel);
}

screen_box knob_of(const slider *self) {
    screen_box knob = self->box;
    if (is_flat(self)) {
        knob.x = clamp_16(knob.x + knob_begin(self));
        knob.width = clamp_16(length_of_knob(self));
    } else {
        knob.y = clamp_16(knob.y + knob_begin(self));
        knob.height = clamp_16(length_of_knob(self));
    }
    return knob;
}

screen_box trough_of(const slider *self) {
    screen_box trough = self->box;
    if (is_flat(self)) {
        trough.height = clamp_16(std::min(trough_size, +trough.height));
        trough.y = clamp_16(trough.y + (self->box.height - trough.height) / 2);
    } else {
        trough.width = clamp_16(std::min(trough_size, +trough.width));
        trough.x = clamp_16(trough.x + (self->box.width - trough.width) / 2);
    }
    return trough;
}

// ---- drawing

void draw_ridge(const slider *self, const screen_box &knob, look state) {
    gl_set_draw_value(state == look::disabled ? colour_disabled_text
                      : state == look::normal ? colour_light_gray
                                              : colour_accent);
    const int x = knob.x + knob.width / 2;
    const int y = knob.y + knob.height / 2;
    if (is_flat(self)) {
        gl_draw_line(x - 1, knob.y + ridge_margin, x - 1, knob.y + knob.height - 1 - ridge_margin);
        gl_draw_line(x, knob.y + ridge_margin, x, knob.y + knob.height - 1 - ridge_margin);
    } else {
        gl_draw_line(knob.x + ridge_margin, y - 1, knob.x + knob.width - 1 - ridge_margin, y - 1);
        gl_draw_line(knob.x + ridge_margin, y, knob.x + knob.width - 1 - ridge_margin, y);
    }
}

void draw_slider(display_object *d) {
    auto *self = static_cast<slider *>(d);
    const look state = look_of_control(self);
    gl_fill_box(self->box, ground_of(self));
    if (state == look::disabled)
        gl_outline_fill_box(trough_of(self), colour_face, colour_dark_gray);
    else
        gl_outline_fill_box(trough_of(self), colour_well, colour_drawing);
    const screen_box knob = knob_of(self);
    paint_button(knob, state);
    draw_ridge(self, knob, state);
}

// ---- values

float within(const slider *self, float value) {
    return std::isnan(value) ? self->minimum : std::clamp(value, self->minimum, self->maximum);
}

bool take_slider(control *d, const widget_value &value) {
    slider *self = own(d);
    const float next = within(self, value.number);
    if (self->value == next)
        return false;
    const int before = knob_begin(self);
    self->value = next;
    if (knob_begin(self) != before)
        redraw_control(self);
    return true;
}

void set_range(slider *self, float minimum, float maximum) {
    self->minimum = std::isfinite(minimum) ? minimum : 0;
    self->maximum = std::isfinite(maximum) ? std::max(maximum, self->minimum) : self->minimum;
    self->value = within(self, self->value);
}

void step_slider(control *d, int notches) {
    const slider *self = own(d);
    change_control(d, self->value + static_cast<float>(notches));
}

// ---- the pointer

void drag_slider(control *d, screen_point at) {
    slider *self = own(d);
    const int along = is_flat(self) ? at.x - self->box.x : at.y - self->box.y;
    const int wanted = along - self->grip;
    const int travel = knob_travel(self);
    const int begin = std::clamp(wanted, 0, travel);
    // Not moved, it keeps a value that is finer than pixels; pushed against an end, it is there.
    if (begin != knob_begin(self) || (begin != wanted && travel > 0))
        change_control(self, value_at(self, begin));
}

void press_slider(control *d, screen_point at) {
    slider *self = own(d);
    const int along = is_flat(self) ? at.x - self->box.x : at.y - self->box.y;
    const int begin = knob_begin(self);
    const int length = length_of_knob(self);
    const bool is_on_knob = along >= begin && along < begin + length;
    self->grip = is_on_knob ? along - begin : length / 2;
    redraw_control(self);
    drag_slider(self, at);
}

constexpr control_kind slider_kind = {.draw = draw_slider,
                                      .pressed = press_slider,
                                      .dragged = drag_slider,
                                      .stepped = step_slider,
                                      .take = take_slider};

} // namespace

demon *addSlider(demon *parent, int x, int y, int width, int height, float minimum, float maximum,
                 float value, widget_function function, word argument) {
    const graphics_bracket bracket;
    auto *made = make_control<slider>(&Slider_Set, parent, {x, y, width, height}, slider_kind,
                                      function, argument);
    if (made == nullptr)
        return nullptr;
    set_range(made, minimum, maximum);
    made->value = within(made, value);
    return made;
}

void setRangeSlider(demon *slider_widget, float minimum, float maximum) {
    control *self = of_kind(slider_widget, slider_kind);
    if (self == nullptr)
        return;
    const graphics_bracket bracket;
    set_range(own(self), minimum, maximum);
    redraw_control(self);
}

} // namespace toolkit
