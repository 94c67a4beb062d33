// How bars, switches and pulldowns look.
#include "toolkit/demons/box_text.h"
#include "toolkit/demons/boxes.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/text.h"
#include "toolkit/widgets/pulldown_parts.h"
#include "toolkit/widgets/pulldowns.h"

namespace toolkit {

namespace {

constexpr int mark_size = 11;
constexpr int mark_left = 9;
constexpr int separator_margin = 8;
constexpr int arrow_height = 15;

struct pulldown_colours {
    int text = colour_text;
    int fill = colour_dark_gray;
    int bevel = colour_medium_gray;
};
pulldown_colours colours;

int top_of(const screen_box &box) {
    return box.y + box.height - 1;
}

int right_of(const screen_box &box) {
    return box.x + box.width - 1;
}

screen_box part(int x, int y, int width, int height) {
    return {clamp_16(x), clamp_16(y), clamp_16(width), clamp_16(height)};
}

bool has_launched(const pulldown_choice &choice) {
    const demon *sub = choice.sub_pulldown.get();
    return sub != nullptr && static_cast<const pulldown *>(sub)->popped != 0;
}

look look_of_choice(const pulldown_choice &choice) {
    if (!can_be_chosen(&choice))
        return look::disabled;
    return choice.hilited != 0 || has_launched(choice) ? look::hilited : look::normal;
}

void set_text_colour(look state) {
    gl_set_draw_value(state == look::disabled  ? colour_disabled_text
                      : state == look::hilited ? colour_text_hilited
                                               : colours.text);
}

void draw_line_of_text(const screen_box &box, int x, int slot, const char *text) {
    gl_draw_text(x, box.y + (box.height - gl_inq_font_y_extent(slot)) / 2, slot, text);
}

// The edge of the pulldown, as far as it runs along this choice.
void draw_edge(const pulldown_choice &choice, const pulldown &p) {
    const screen_box &box = choice.box;
    const bool is_first = choice.row == 1;
    const bool is_last = choice.row == p.count;
    gl_set_draw_value(colours.bevel);
    gl_draw_line(box.x + 1, box.y, box.x + 1, top_of(box));
    if (is_first)
        gl_draw_line(box.x + 1, top_of(box) - 1, right_of(box) - 1, top_of(box) - 1);
    gl_set_draw_value(colour_drawing);
    gl_draw_line(box.x, box.y, box.x, top_of(box));
    gl_draw_line(right_of(box), box.y, right_of(box), top_of(box));
    if (is_first)
        gl_draw_line(box.x, top_of(box), right_of(box), top_of(box));
    if (is_last)
        gl_draw_line(box.x, box.y, right_of(box), box.y);
}

void draw_separator(const screen_box &box) {
    const int left = box.x + separator_margin;
    const int right = right_of(box) - separator_margin;
    gl_set_draw_value(colour_drawing);
    gl_draw_line(left, box.y + 1, right, box.y + 1);
    gl_set_draw_value(colours.bevel);
    gl_draw_line(left, box.y, right, box.y);
}

void draw_right_part(const pulldown_choice &choice, look state) {
    const screen_box &box = choice.box;
    const bool is_cascade = choice.kind == pulldown_kind::cascade;
    if (choice.key_text[0] != '\0') {
        const int right = right_of(box) - (is_cascade ? choice_arrow_width : choice_key_right);
        if (state == look::normal)
            gl_set_draw_value(colour_light_gray); // the label is what is read first
        else
            set_text_colour(state);
        draw_line_of_text(box, right - getStringWidth(choice.text_font, choice.key_text.data()),
                          choice.text_font, choice.key_text.data());
    }
    if (is_cascade)
        paint_triangle(part(right_of(box) - choice_arrow_width,
                            box.y + (box.height - arrow_height) / 2, choice_arrow_width - 4,
                            arrow_height),
                       direction::right, state);
}

void draw_check(int x, int y, int index) {
    gl_set_draw_value(index);
    for (int thick = 0; thick < 3; ++thick) {
        gl_draw_line(x + 1, y + 4 + thick, x + 4, y + 1 + thick);
        gl_draw_line(x + 4, y + 1 + thick, x + 9, y + 6 + thick);
    }
}

int rim_of_mark(const pulldown_choice &choice) {
    return can_be_chosen(&choice) ? colour_gray : colour_medium_gray;
}

void draw_radio_mark(int x, int y, bool is_on, int rim, int index) {
    constexpr int radius = mark_size / 2;
    gl_set_draw_value(colour_well);
    gl_fill_circle(x + radius, y + radius, radius);
    gl_set_draw_value(rim);
    gl_draw_circle(x + radius, y + radius, radius);
    if (!is_on)
        return;
    gl_set_draw_value(index);
    gl_fill_circle(x + radius, y + radius, radius - 3);
}

// Outline alone, and what the state adds to it.
look look_of_switch(const pulldown_switch &s, bool is_open) {
    if ((s.flags & flag_input) == 0)
        return look::disabled;
    return is_open ? look::pressed : look_of(&s);
}

} // namespace

// ---- choices

void pulldown_choice_draw_check(const pulldown_choice &choice) {
    const int x = choice.box.x + mark_left;
    const int y = choice.box.y + (choice.box.height - mark_size) / 2;
    const bool is_on = choice.state != 0;
    const int mark = !can_be_chosen(&choice) ? colour_disabled_text
                     : choice.hilited != 0   ? colour_white
                                             : colour_accent;
    if (choice.kind == pulldown_kind::radio) {
        draw_radio_mark(x, y, is_on, rim_of_mark(choice), mark);
    } else if (choice.kind == pulldown_kind::toggle) {
        gl_outline_fill_box(part(x, y, mark_size, mark_size), colour_well, rim_of_mark(choice));
        if (is_on)
            draw_check(x, y + 1, mark);
    }
}

void pulldown_choice_draw(display_object *self) {
    const auto &choice = *static_cast<pulldown_choice *>(self);
    const pulldown *p = pulldown_of_choice(&choice);
    if (p == nullptr)
        return;
    const look state = look_of_choice(choice);
    gl_fill_box(choice.box, colours.fill);
    if (state == look::hilited)
        gl_fill_box(
            part(choice.box.x + 3, choice.box.y + 3, choice.box.width - 6, choice.box.height - 6),
            colour_accent_ground);
    pulldown_choice_draw_check(choice);
    set_text_colour(state);
    draw_line_of_text(choice.box, choice.box.x + choice_label_left, choice.text_font,
                      choice.label.data());
    draw_right_part(choice, state);
    if (choice.separator != 0 && choice.row < p->count)
        draw_separator(choice.box);
    draw_edge(choice, *p);
}

void draw_pulldown(display_object *self) {
    gl_outline_fill_box(self->box, colours.fill, colour_drawing);
}

// ---- switches

void draw_pulldown_switch(display_object *self) {
    const auto &s = *static_cast<pulldown_switch *>(self);
    const look state = look_of_switch(s, is_menu_open_at(&s));
    const screen_box face = part(s.box.x, s.box.y + 2, s.box.width, s.box.height - 5);
    if (s.style == switch_style::bevelled)
        paint_button(face, state);
    else
        gl_fill_box(face, state == look::pressed   ? colour_accent_ground
                          : state == look::hilited ? hilited(colour_face)
                                                   : colour_face);
    gl_set_draw_value(state == look::disabled ? colour_disabled_text
                      : state == look::normal ? colour_text
                                              : colour_text_hilited);
    draw_line_of_text(s.box, s.box.x + scale_x(switch_margin), font_slot_bold, s.label.data());
    if (s.style == switch_style::arrow) {
        const int width = scale_x(switch_arrow_width);
        paint_triangle(part(right_of(s.box) - width - 4, s.box.y, width, s.box.height),
                       direction::down, state == look::pressed ? look::hilited : state);
    }
}

// ---- bars

void draw_menu_bar(display_object *self) {
    const screen_box &box = self->box;
    gl_outline_fill_box(box, colour_face, colour_drawing); // in one with the window's
    gl_set_draw_value(bevel_block_first + bevel_light);
    gl_draw_line(box.x + 1, top_of(box) - 1, right_of(box) - 1, top_of(box) - 1);
}

void erase_menu_bar(display_object *self) {
    gl_fill_box(self->box, colour_face);
}

// ---- colours

void pulldown_set_text_color(int index) {
    colours.text = index;
}

void pulldown_set_fill_color(int index) {
    colours.fill = index;
}

void pulldown_set_bevel_color(int index) {
    colours.bevel = index;
}

void set_pulldown_colors(int text, int fill, int bevel) {
    colours = {text, fill, bevel};
}

} // namespace toolkit
