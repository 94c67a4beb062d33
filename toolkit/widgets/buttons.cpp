#include "toolkit/widgets/buttons.h"

#include "toolkit/demons/box_text.h"
#include "toolkit/graphics/bitmaps.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/text.h"

#include <algorithm>
#include <string>

namespace toolkit {

object_set *Button_Set = nullptr;

namespace {

constexpr const char *disabled_icon = ".disabled";

int icon_index(std::string_view name) {
    return name.empty() ? no_bitmap : gl_ind_bitmap(name);
}

void set_icons(button *self, const switch_icons &icons) {
    self->icons = {icon_index(icons.normal), icon_index(icons.hilited), icon_index(icons.pressed),
                   icons.normal.empty() ? no_bitmap
                                        : icon_index(std::string(icons.normal) + disabled_icon)};
}

int icon_of_state(const face_icons &icons, look state) {
    switch (state) {
    case look::hilited:
        return icons.hilited;
    case look::pressed:
        return icons.pressed;
    case look::disabled:
        return icons.disabled;
    case look::normal:
        break;
    }
    return icons.normal;
}

// The picture of a state, or the normal one where that is missing; no_bitmap when there is none.
int find_icon(const face_icons &icons, look state) {
    if (gl_inq_color_mode() == 0)
        return no_bitmap;
    for (const int index : {icon_of_state(icons, state), icons.normal})
        if (index != no_bitmap && gl_load_bitmap(index) != nullptr)
            return index;
    return no_bitmap;
}

void draw_icon(const screen_box &room, int index) {
    const bitmap_record *icon = gl_load_bitmap(index);
    set_clip_box(room);
    gl_draw_bitmap(index, room.x + (room.width - icon->width) / 2,
                   room.y + (room.height - icon->height) / 2);
    reset_clip_box();
}

void draw_button(display_object *d) {
    const auto *self = static_cast<const button *>(d);
    paint_button(self->box, look_of_control(self));
    draw_button_contents(self, inside(self->box, face_margin), label_place::middle);
}

void click_button(control *self) {
    notify_control(self);
}

constexpr control_kind button_kind = {
    .draw = draw_button, .dragged = press_or_not, .clicked = click_button};

} // namespace

button *make_button(demon *parent, const control_place &place, const control_kind &kind,
                    std::string_view label, const switch_icons &icons, widget_function function,
                    word argument) {
    auto *made = make_control<button>(&Button_Set, parent, place, kind, function, argument);
    if (made == nullptr)
        return nullptr;
    set_control_label(made, label);
    set_icons(made, icons);
    return made;
}

void draw_button_contents(const button *self, const screen_box &room, label_place place) {
    const look state = look_of_control(self);
    const std::string_view label = label_of(self);
    const int icon = find_icon(self->icons, state);
    if (icon == no_bitmap) {
        (place == label_place::middle ? draw_text_box : draw_text_left_box)(room, font_slot_bold,
                                                                            label, state);
        return;
    }
    screen_box above = room;
    if (!label.empty()) {
        screen_box line = room;
        line.height = clamp_16(std::min(gl_inq_font_y_extent(font_slot_small), +room.height));
        draw_text_box(line, font_slot_small, label, state);
        above.y = clamp_16(above.y + line.height);
        above.height = clamp_16(above.height - line.height);
    }
    draw_icon(above, icon);
}

demon *addButton(demon *parent, int x, int y, int width, int height, std::string_view label,
                 widget_function function, word argument) {
    const graphics_bracket bracket;
    return make_button(parent, {x, y, width, height}, button_kind, label, {}, function, argument);
}

demon *add_toggleswitch_menu(demon *parent, int x, int y, int width, int height,
                             std::string_view label, const switch_icons &icons,
                             widget_function function, word argument) {
    const graphics_bracket bracket;
    return make_button(parent, {x, y, width, height}, button_kind, label, icons, function,
                       argument);
}

void setLabelWidget(demon *widget, std::string_view label) {
    control *self = as_control(widget);
    if (self == nullptr)
        return;
    const graphics_bracket bracket;
    set_control_label(self, label);
    redraw_control(self);
}

void setIconsToggleSwitch(demon *widget, const switch_icons &icons) {
    if (widget == nullptr || Button_Set == nullptr || widget->set != Button_Set)
        return;
    const graphics_bracket bracket;
    auto *self = static_cast<button *>(widget);
    set_icons(self, icons);
    redraw_control(self);
}

} // namespace toolkit
