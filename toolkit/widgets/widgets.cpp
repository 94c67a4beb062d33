// Widget calls about places and states.
#include "toolkit/widgets/widgets.h"

#include "platform/gl/windows.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/text.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/widgets/control.h"

#include <cmath>
#include <cstdlib>

namespace toolkit {

namespace {

constexpr double screen_edge = 0.5; // as the scale of demons.h has it

// The length of the design's screen that is so long on this one.
int design_length(int length, int extent, int full) {
    if (extent >= full)
        return length;
    const double found = std::ceil(std::abs(length) * (full / (extent + screen_edge)));
    return length < 0 ? -static_cast<int>(found) : static_cast<int>(found);
}

bool has_window(const demon *widget) {
    return is_iris_window_demon(widget) && gl_get_wid_demon(widget->window) == widget;
}

// An open window goes where its demon is.
void place_window(demon *window) {
    if (!has_window(window))
        return;
    gl_win_set(window->window);
    const screen_box &box = window->box;
    gl::winposition(box.x, box.x + box.width - 1, box.y, box.y + box.height - 1);
}

void move_widget(demon *widget, int dx, int dy) {
    const demon_ref kept = refer_to_demon(widget);
    demon_move_message(widget, dx, dy);
    if (kept.get() != nullptr)
        place_window(widget);
}

void fit_widget(demon *widget, int width, int height) {
    widget->box.width = clamp_16(width);
    widget->box.height = clamp_16(height);
    if (control *self = as_control(widget); self != nullptr && self->kind->fitted != nullptr)
        self->kind->fitted(self);
}

void set_flag(demon *widget, std::uint16_t flag, bool on) {
    if (on)
        widget->flags |= flag;
    else
        widget->flags &= static_cast<std::uint16_t>(~flag);
}

// Whether what comes down from above a widget is on: a flag of its parent, if it is shown in one.
bool is_on_above(const demon *widget, std::uint16_t flag) {
    const demon *parent = widget->parent.get();
    if (parent == nullptr)
        return true;
    return widget->list == demon_list::kids && (parent->flags & flag) != 0;
}

} // namespace

// ---- places

void positionWidgetAbs(demon *widget, int x, int y) {
    if (widget == nullptr)
        return;
    const graphics_bracket bracket;
    move_widget(widget, x - widget->box.x, y - widget->box.y);
}

void positionWidgetRel(demon *widget, demon *parent, int x, int y) {
    if (parent != nullptr)
        positionWidgetAbs(widget, parent->box.x + scale_x(x), parent->box.y + scale_y(y));
}

void addWidget(demon *widget, demon *parent) {
    const graphics_bracket bracket;
    adopt_widget(widget, parent);
}

void deleteWidget(demon *widget) {
    if (widget == nullptr)
        return;
    const graphics_bracket bracket;
    delete_demon(widget);
}

demon *getParentWidget(demon *widget) {
    return widget != nullptr ? widget->parent.get() : nullptr;
}

demon *getTopWidget(demon *widget) {
    while (widget != nullptr && !is_iris_window_demon(widget))
        widget = widget->parent.get();
    return widget;
}

screen_box getBoxWidget(demon *widget) {
    if (widget == nullptr)
        return {};
    int width = 0, height = 0;
    gl_inq_screen_size(&width, &height);
    const demon *parent = widget->parent.get();
    const screen_box from = parent != nullptr ? parent->box : screen_box{};
    const screen_box &box = widget->box;
    const auto across = [width](int length) {
        return clamp_16(design_length(length, width, full_screen_width));
    };
    const auto up = [height](int length) {
        return clamp_16(design_length(length, height, full_screen_height));
    };
    return {across(box.x - from.x), up(box.y - from.y), across(box.width), up(box.height)};
}

void setBoxWidget(demon *widget, const screen_box &box) {
    if (widget == nullptr)
        return;
    const demon *parent = widget->parent.get();
    const screen_box from = parent != nullptr ? parent->box : screen_box{};
    setBoxWidgetScreen(widget,
                       {clamp_16(from.x + scale_x(box.x)), clamp_16(from.y + scale_y(box.y)),
                        clamp_16(scale_x(box.width)), clamp_16(scale_y(box.height))});
}

void setBoxWidgetScreen(demon *widget, const screen_box &box) {
    if (widget == nullptr)
        return;
    const graphics_bracket bracket;
    const demon_ref kept = refer_to_demon(widget);
    demon_move_message(widget, box.x - widget->box.x, box.y - widget->box.y);
    if (kept.get() == nullptr)
        return;
    fit_widget(widget, box.width, box.height);
    place_window(widget);
}

int getStringWidth(int slot, std::string_view text) {
    return gl_inq_text_extent(slot, text).width;
}

// ---- state

void setVisibilityWidget(demon *widget, bool visible) {
    if (widget == nullptr)
        return;
    const graphics_bracket bracket;
    set_flag(widget, flag_hidden, !visible);
    demon_visibility_message(widget, visible && is_on_above(widget, flag_visible));
}

bool getVisibilityWidget(demon *widget) {
    return demon_is_visible(widget);
}

void setEnabledWidget(demon *widget, bool enabled) {
    if (widget == nullptr)
        return;
    const graphics_bracket bracket;
    const demon_ref kept = refer_to_demon(widget);
    if (!enabled)
        demon_dehilite_message(widget);
    if (kept.get() == nullptr)
        return;
    set_flag(widget, flag_disabled, !enabled);
    demon_enable_input_message(widget, enabled && is_on_above(widget, flag_input));
    if (kept.get() != nullptr)
        drawWidget(widget);
}

bool getEnabledWidget(demon *widget) {
    return demon_is_enabled(widget);
}

void setStuffWidget(demon *widget, word stuff) {
    if (widget != nullptr)
        widget->second_word = stuff;
}

word getStuffWidget(demon *widget) {
    return widget != nullptr ? widget->second_word : 0;
}

void pushWidget(demon *widget) {
    const graphics_bracket bracket;
    demon_push_message(widget);
}

void popWidget(demon *widget) {
    const graphics_bracket bracket;
    demon_pop_message(widget);
}

bool isPoppedWidget(demon *widget) {
    return widget != nullptr && widget->popped != 0;
}

} // namespace toolkit
