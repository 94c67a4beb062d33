#include "toolkit/demons/box_text.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/widgets/buttons.h"

namespace toolkit {

namespace {

constexpr int lamp_size = 10;
constexpr int lamp_left = 9;
constexpr int least_width = 48; // a narrower switch shows its state by its face alone

screen_box lamp_of(const screen_box &box) {
    return {clamp_16(box.x + lamp_left), clamp_16(box.y + (box.height - lamp_size) / 2), lamp_size,
            lamp_size};
}

int lamp_colour(bool is_on, look state) {
    if (state == look::disabled)
        return is_on ? colour_medium_gray : colour_face;
    return is_on ? colour_accent : colour_well;
}

void draw_switch(display_object *d) {
    const auto *self = static_cast<const button *>(d);
    const look state = look_of_control(self);
    const bool is_on = self->value != 0;
    const bool has_lamp = self->box.width >= least_width && self->box.height > lamp_size;
    paint_button(self->box, !has_lamp && is_on && state == look::normal ? look::pressed : state);
    screen_box room = inside(self->box, face_margin);
    if (has_lamp) {
        gl_outline_fill_box(lamp_of(self->box), lamp_colour(is_on, state),
                            state == look::disabled ? colour_dark_gray : colour_drawing);
        room.x = clamp_16(self->box.x + lamp_left + lamp_size);
        room.width = clamp_16(self->box.width - lamp_left - lamp_size);
    }
    draw_button_contents(self, room, has_lamp ? label_place::left : label_place::middle);
}

bool take_switch(control *self, const widget_value &value) {
    const float state = value.number != 0 ? 1.0F : 0.0F;
    if (self->value == state)
        return false;
    self->value = state;
    redraw_control(self);
    return true;
}

void turn_switch(control *self) {
    change_control(self, self->value != 0 ? 0 : 1);
}

constexpr control_kind switch_kind = {
    .draw = draw_switch, .dragged = press_or_not, .clicked = turn_switch, .take = take_switch};

} // namespace

demon *addToggleSwitch(demon *parent, int x, int y, int width, int height, std::string_view label,
                       int value, widget_function function, word argument) {
    const graphics_bracket bracket;
    button *made =
        make_button(parent, {x, y, width, height}, switch_kind, label, {}, function, argument);
    if (made != nullptr)
        made->value = value != 0 ? 1.0F : 0.0F;
    return made;
}

} // namespace toolkit
