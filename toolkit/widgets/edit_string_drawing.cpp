// What text fields look like, and the marker.
#include "platform/gl/queue.h"
#include "toolkit/demons/box_text.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/events/timers.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/text.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/widgets/edit_string.h"

#include <algorithm>

namespace toolkit {

namespace {

constexpr int font_slot = font_slot_normal_1;
constexpr int well_margin = 5;        // between the well's edge and the text, pixels
constexpr int marker_inset = 3;       // between the well's edge and the marker
constexpr int marker_half_ticks = 30; // lit, and dark: half a second each

demon_ref blinking;

int width_of(std::string_view text) {
    return gl_inq_text_width(font_slot, text);
}

int prompt_room(const edit_string_demon *self) {
    const std::string_view prompt = esd_prompt(self);
    if (self->prompt_width > 0)
        return std::min<int>(self->prompt_width, self->box.width);
    return prompt.empty() ? 0 : std::min(width_of(prompt) + 2 * text_margin, +self->box.width);
}

screen_box well_of(const edit_string_demon *self) {
    const int room = prompt_room(self);
    return {clamp_16(self->box.x + room), self->box.y, clamp_16(self->box.width - room),
            self->box.height};
}

// Where texts are seen: the marker at their end needs a column too.
screen_box text_box(const edit_string_demon *self) {
    screen_box box = well_of(self);
    box.x = clamp_16(box.x + well_margin);
    box.width = clamp_16(std::max(box.width - 2 * well_margin, 1));
    box.y = clamp_16(box.y + 1);
    box.height = clamp_16(box.height - 2);
    return box;
}

int text_room(const edit_string_demon *self) {
    return text_box(self).width - 1;
}

int line_bottom(const edit_string_demon *self) {
    return self->box.y + (self->box.height - gl_inq_font_y_extent(font_slot)) / 2;
}

std::string_view text_before(const edit_string_demon *self, std::int32_t at) {
    return text_of(self->line).substr(0, static_cast<std::size_t>(at));
}

bool takes_input(const edit_string_demon *self) {
    return (self->flags & flag_input) != 0;
}

bool is_seen(const edit_string_demon *self) {
    return (self->flags & flag_visible) != 0 && self->window != no_window &&
           getTarnBatchMode() == 0;
}

int outline_of(const edit_string_demon *self) {
    if (!takes_input(self))
        return colour_dark_gray;
    if (self->has_keyboard && are_keys_for(self))
        return colour_accent;
    return self->hilited != 0 ? colour_gray : colour_drawing;
}

int ground_of_text(edit_string_demon *self) {
    return takes_input(self) ? colour_well : ground_of(self);
}

void draw_well(edit_string_demon *self) {
    gl_outline_fill_box(well_of(self), ground_of_text(self), outline_of(self));
}

// The text, without ground, in the part of its box that is asked for.
void draw_line(const edit_string_demon *self, const screen_box &part) {
    const text_range range = selected_range(self->line);
    const int x = text_box(self).x - self->hidden;
    set_clip_box(part);
    if (takes_input(self))
        draw_text_with_hilite(x, line_bottom(self), font_slot, text_of(self->line),
                              static_cast<std::size_t>(range.begin),
                              static_cast<std::size_t>(range.end));
    else
        draw_text(x, line_bottom(self), font_slot, text_of(self->line), look::disabled);
    reset_clip_box();
}

screen_box marker_of(const edit_string_demon *self) {
    const screen_box well = well_of(self);
    const int x = text_box(self).x - self->hidden + width_of(text_before(self, self->line.cursor));
    return {clamp_16(x), clamp_16(well.y + marker_inset), 1,
            clamp_16(std::max(well.height - 2 * marker_inset, 1))};
}

// Whether something popped lies over the field.
bool is_covered(const demon *d) {
    for (; d != nullptr; d = d->parent.get())
        if (d->overlap_count > 0)
            return true;
        else if (is_iris_window_demon(d))
            return false;
    return false;
}

void blink_marker() {
    const graphics_bracket bracket;
    follow_iris_windows(); // the user may have moved the window
    auto *self = static_cast<edit_string_demon *>(blinking.get());
    if (self == nullptr || is_covered(self))
        return;
    self->is_marker_lit = !self->is_marker_lit;
    edit_string_draw_marker(self);
}

} // namespace

// ---- drawing

void edit_string_demon_draw(display_object *d) {
    auto *self = static_cast<edit_string_demon *>(d);
    const screen_box well = well_of(self);
    if (well.x > self->box.x) {
        const screen_box prompt = {self->box.x, self->box.y, clamp_16(well.x - self->box.x),
                                   self->box.height};
        gl_fill_box(prompt, ground_of(self));
        set_clip_box(prompt);
        draw_text(prompt.x, line_bottom(self), font_slot, esd_prompt(self),
                  takes_input(self) ? look::normal : look::disabled);
        reset_clip_box();
    }
    draw_well(self);
    if (self->has_keyboard)
        edit_string_reveal_cursor(self);
    else
        self->hidden =
            self->shows_end ? std::max(width_of(text_of(self->line)) - text_room(self), 0) : 0;
    draw_line(self, text_box(self));
    edit_string_draw_marker(self);
}

void edit_string_draw_text_left(edit_string_demon *self) {
    self->hidden = 0;
    draw_well(self);
    draw_line(self, text_box(self));
}

void edit_string_draw_text_right(edit_string_demon *self) {
    self->hidden = std::max(width_of(text_of(self->line)) - text_room(self), 0);
    draw_well(self);
    draw_line(self, text_box(self));
}

void edit_string_draw_marker(edit_string_demon *self) {
    if (!is_seen(self))
        return;
    const bool is_lit = self->has_keyboard && self->is_marker_lit && are_keys_for(self);
    set_win_do(self);
    const screen_box marker = marker_of(self);
    if (!in_box(text_box(self), {marker.x, marker.y}))
        return;
    gl_fill_box(marker, is_lit ? colour_text_hilited : ground_of_text(self));
    if (!is_lit)
        draw_line(self, marker);
}

void edit_string_reveal_cursor(edit_string_demon *self) {
    self->hidden = scroll_to_show(self->hidden, width_of(text_before(self, self->line.cursor)),
                                  width_of(text_of(self->line)), text_room(self));
}

void edit_string_fit_width(edit_string_demon *self, int digits) {
    if (digits <= 0 || digits > self->box.width)
        return;
    const int needed = prompt_room(self) + 2 * well_margin + digits * width_of("0") + 1;
    self->box.width = clamp_16(std::min(needed, +self->box.width));
}

std::int32_t edit_string_character_at(const edit_string_demon *self, int x) {
    const std::string_view text = text_of(self->line);
    const int wanted = x - text_box(self).x + self->hidden;
    std::int32_t before = 0; // begins at or left of the column
    std::int32_t behind = self->line.length;
    while (behind - before > 1) {
        const std::int32_t middle = before + (behind - before) / 2;
        if (width_of(text_before(self, step_place(text, middle, text_step::none))) <= wanted)
            before = middle;
        else
            behind = middle;
    }
    return step_place(text, before, text_step::none);
}

std::int32_t edit_string_place_at(const edit_string_demon *self, int x) {
    const int wanted = x - text_box(self).x + self->hidden;
    const std::int32_t before = edit_string_character_at(self, x);
    const std::int32_t behind = step_place(text_of(self->line), before, text_step::right);
    const int left = width_of(text_before(self, before));
    const int right = width_of(text_before(self, behind));
    return wanted - left <= right - wanted ? before : behind;
}

// ---- the marker's blinking

void begin_marker(edit_string_demon *self) {
    blinking = refer_to_demon(self);
    self->is_marker_lit = true;
    if (timer3_function == nullptr)
        enable_timer3_events(blink_marker, marker_half_ticks);
}

void end_marker(edit_string_demon *self) {
    self->is_marker_lit = false;
    if (blinking.held.target != self)
        return;
    blinking = {};
    if (timer3_function != blink_marker)
        return;
    timer3_function = nullptr;
    gl::unqdevice(gl::TIMER3);
}

} // namespace toolkit
