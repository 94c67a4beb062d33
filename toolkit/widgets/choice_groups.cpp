#include "toolkit/demons/box_text.h"
#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/widgets/buttons.h"

#include <algorithm>
#include <cmath>

namespace toolkit {

namespace {

constexpr int mark_radius = 6;
constexpr int mark_room = 2 * mark_radius + 4; // left of a radio choice's label

// A group is a control without a look, its choices are its kids.
struct choice : control {
    int place; // in the group, from 0
};
struct choice_group : control {
    int count;
};
object_set *Choice_Set = nullptr;
object_set *Choice_Group_Set = nullptr;

// The choice of a place in a group, or null.
choice *choice_at(const choice_group *group, int place) {
    for (demon *kid = group->kids; kid != nullptr; kid = kid->next)
        if (kid->set == Choice_Set && static_cast<choice *>(kid)->place == place)
            return static_cast<choice *>(kid);
    return nullptr;
}

// ---- drawing

void draw_one_of(display_object *d) {
    const auto *self = static_cast<const choice *>(d);
    const look state = look_of_control(self);
    const bool is_on = self->value != 0;
    paint_button(self->box, is_on && state != look::disabled ? look::pressed : state);
    const screen_box face = inside(self->box, face_margin - 1);
    if (is_on && state != look::pressed) {
        const int ground = state == look::disabled  ? colour_dark_gray
                           : state == look::hilited ? hilited(colour_accent_ground)
                                                    : colour_accent_ground;
        gl_fill_box(face, ground);
    }
    draw_text_box(inside(self->box, face_margin), font_slot_normal_1, label_of(self), state);
}

void draw_mark(int x, int y, int radius, bool is_on, look state) {
    const bool is_disabled = state == look::disabled;
    gl_set_draw_value(is_disabled ? colour_dark_gray : colour_drawing);
    gl_fill_circle(x, y, radius);
    gl_set_draw_value(is_disabled              ? colour_face
                      : state == look::hilited ? colour_medium_gray
                      : state == look::pressed ? colour_accent_ground
                                               : colour_well);
    gl_fill_circle(x, y, radius - 1);
    if (!is_on)
        return;
    gl_set_draw_value(is_disabled ? colour_disabled_text : colour_accent);
    gl_fill_circle(x, y, radius / 2);
}

void draw_radio(display_object *d) {
    auto *self = static_cast<choice *>(d);
    const look state = look_of_control(self);
    gl_fill_box(self->box, ground_of(self));
    const int middle = (self->box.height - 1) / 2;
    const int radius = std::min(mark_radius, middle);
    if (radius > 0)
        draw_mark(self->box.x + mark_radius + 1, self->box.y + middle, radius, self->value != 0,
                  state);
    screen_box line = self->box;
    line.x = clamp_16(line.x + mark_room);
    line.width = clamp_16(line.width - mark_room);
    draw_text_left_box(line, font_slot_normal_1, label_of(self), state);
}

// ---- places

// A row of buttons that share their outlines.
void lay_out_row(control *d) {
    const auto *self = static_cast<choice_group *>(d);
    const int span = std::max(self->box.width - 1, 0);
    for (int i = 0; i < self->count; ++i) {
        const int left = span * i / self->count;
        const int right = span * (i + 1) / self->count;
        if (choice *kid = choice_at(self, i))
            kid->box = {clamp_16(self->box.x + left), self->box.y, clamp_16(right - left + 1),
                        self->box.height};
    }
}

// A column, the first one on top.
void lay_out_column(control *d) {
    const auto *self = static_cast<choice_group *>(d);
    for (int i = 0; i < self->count; ++i) {
        const int from_below = self->count - 1 - i;
        const int bottom = self->box.height * from_below / self->count;
        const int top = self->box.height * (from_below + 1) / self->count;
        if (choice *kid = choice_at(self, i))
            kid->box = {self->box.x, clamp_16(self->box.y + bottom), self->box.width,
                        clamp_16(top - bottom)};
    }
}

// ---- values

void show_choice(const choice_group *group, float place, float state) {
    if (choice *self = choice_at(group, static_cast<int>(place))) {
        self->value = state;
        redraw_control(self);
    }
}

float nearest_place(const choice_group *group, float number) {
    const float last = static_cast<float>(std::max(group->count - 1, 0));
    return std::isnan(number) ? 0 : std::trunc(std::clamp(number, 0.0F, last));
}

bool take_group(control *d, const widget_value &value) {
    auto *self = static_cast<choice_group *>(d);
    const float next = nearest_place(self, value.number);
    if (self->value == next)
        return false;
    show_choice(self, self->value, 0);
    self->value = next;
    show_choice(self, next, 1);
    return true;
}

void choose(control *d) {
    if (control *group = as_control(d->parent.get()))
        change_control(group, static_cast<choice *>(d)->place);
}

constexpr control_kind one_of_choice_kind = {
    .draw = draw_one_of, .dragged = press_or_not, .clicked = choose};
constexpr control_kind radio_choice_kind = {
    .draw = draw_radio, .dragged = press_or_not, .clicked = choose};
constexpr control_kind one_of_kind = {
    .draw = null_draw, .take = take_group, .fitted = lay_out_row, .is_lit = false};
constexpr control_kind radio_kind = {
    .draw = null_draw, .take = take_group, .fitted = lay_out_column, .is_lit = false};

// ---- making

// A pointer that jumps into the group is in a choice at once.
void enter_group(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    tell_box_in(self);
    if (here.self() != nullptr)
        demon_loc_move(self, sender, m);
}

// Buttons go to the choices.
void pass_to_choices(choice_group *group) {
    group->on.box_in = enter_group;
    group->on.b1_down = group->on.b1_up = group->on.b1_double_click = nullptr;
    group->on.wheel = nullptr;
    group->on.loc_move = nullptr;
}

demon *add_group(demon *parent, const control_place &place, const control_kind &group_kind,
                 const control_kind &choice_kind, std::span<const std::string_view> labels,
                 int chosen, widget_function function, word argument) {
    const graphics_bracket bracket;
    auto *group = make_control<choice_group>(&Choice_Group_Set, parent, place, group_kind, function,
                                             argument);
    if (group == nullptr)
        return nullptr;
    pass_to_choices(group);
    for (const std::string_view text : labels) {
        auto *made =
            make_control<choice>(&Choice_Set, group, {0, 0, 0, 0}, choice_kind, nullptr, 0);
        if (made == nullptr)
            break;
        made->place = group->count++;
        set_control_label(made, text);
    }
    group_kind.fitted(group);
    group->value = nearest_place(group, static_cast<float>(chosen));
    if (choice *first = choice_at(group, static_cast<int>(group->value)))
        first->value = 1;
    return group;
}

} // namespace

demon *addOneOf(demon *parent, int x, int y, int width, int height,
                std::span<const std::string_view> labels, int chosen, widget_function function,
                word argument) {
    return add_group(parent, {x, y, width, height}, one_of_kind, one_of_choice_kind, labels, chosen,
                     function, argument);
}

demon *addRadio(demon *parent, int x, int y, int width, int height,
                std::span<const std::string_view> labels, int chosen, widget_function function,
                word argument) {
    return add_group(parent, {x, y, width, height}, radio_kind, radio_choice_kind, labels, chosen,
                     function, argument);
}

} // namespace toolkit
