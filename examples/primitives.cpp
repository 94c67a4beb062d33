// Shows every primitive of the toolkit in its states, with its name: what to look at to judge how
// the toolkit looks.
//
//   example_primitives [--by-index]     in a colour-map window, else in an RGB window
//
// M switches between the two, Escape or Q ends it.
#include "toolkit/demons/primitives.h"
#include "toolkit/demons/box_text.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/key_table.h"
#include "toolkit/graphics/bitmaps.h"
#include "toolkit/graphics/builtin_icons.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/system.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>

using namespace toolkit;

namespace {

// ---- what there is to see

using painter = void (*)(const screen_box &box, look state);

struct sample {
    const char *name;
    painter paint;
};

template <void (*paint)(const screen_box &)>
void without_states(const screen_box &box, look state) {
    if (state == look::normal)
        paint(box);
}

// What erases is seen on a ground that is not the window's.
template <void (*erase)(const screen_box &)>
void on_dark_ground(const screen_box &box, look state) {
    if (state != look::normal)
        return;
    gl_fill_box(box, colour_well);
    erase(inside(box, 4));
}

template <direction to> void triangle(const screen_box &box, look state) {
    paint_triangle(box, to, state);
}

template <int slot> void text_in_middle(const screen_box &box, look state) {
    paint_button(box, state);
    draw_text_box(inside(box, 2), slot, "Render \xC3\xA4g", state);
}

void text_at_left(const screen_box &box, look state) {
    gl_fill_box(box, colour_well);
    draw_text_left_box(box, font_slot_normal_1, "a name that is too long", state);
}

void marked_text(const screen_box &box, look state) {
    gl_fill_box(box, colour_well);
    const std::size_t end = state == look::hilited ? 8 : 0;
    draw_text_with_hilite_save_clipped(inside(box, 1), box.x + text_margin, box.y + 6,
                                       font_slot_normal_1, "shot.0001.png", 0, end);
}

void lines(const screen_box &box, look state) {
    if (state != look::normal)
        return;
    gl_set_draw_value(colour_text);
    draw_line_2d(box.x + 4, box.y + 4, box.x + 30, box.y + 20);
    move_abs(box.x + 36, box.y + 4);
    draw_abs(box.x + 48, box.y + 20);
    draw_abs(box.x + 60, box.y + 4);
    draw_circle(box.x + 76, box.y + 12, 9);
    draw_point(box.x + 76, box.y + 12);
}

void turned_over(const screen_box &box, look state) {
    gl_outline_fill_box(box, colour_gray, colour_light_gray);
    if (state == look::hilited)
        xor_box(inside(box, 1));
}

constexpr std::array boxes = {
    sample{"outlined box", paint_outlined_box},
    sample{"button", paint_button},
    sample{"bevelled box", paint_beveled_box},
    sample{"rounded box", paint_rounded_box},
    sample{"up triangle", triangle<direction::up>},
    sample{"down triangle", triangle<direction::down>},
    sample{"left triangle", triangle<direction::left>},
    sample{"right triangle", triangle<direction::right>},
    sample{"xor box", turned_over},
    sample{"contrast box", without_states<contrast_box>},
    sample{"gray", without_states<fill_box_gray>},
    sample{"medium gray", without_states<fill_box_medium_gray>},
    sample{"light gray", without_states<fill_box_light_gray>},
};

constexpr std::array texts = {
    sample{"small", text_in_middle<font_slot_small>},
    sample{"normal 1", text_in_middle<font_slot_normal_1>},
    sample{"normal 2", text_in_middle<font_slot_normal_2>},
    sample{"bold", text_in_middle<font_slot_bold>},
    sample{"bold italic", text_in_middle<font_slot_bold_italic>},
    sample{"text at the left", text_at_left},
    sample{"marked text", marked_text},
    sample{"lines and circles", lines},
    sample{"dark gray, ground", without_states<erase_box_dark_gray>},
    sample{"dark gray, outline", without_states<draw_box_dark_gray>},
    sample{"background", on_dark_ground<erase_box>},
    sample{"rounded, erased", on_dark_ground<erase_rounded_box>},
};

// ---- where it is

constexpr std::array states = {look::normal, look::hilited, look::pressed, look::disabled};
constexpr std::array<const char *, 4> state_names = {"normal", "highlighted", "pressed",
                                                     "disabled"};
constexpr screen_box window_box = {120, 140, 1060, 620};
constexpr int margin = 20;
constexpr int column_width = 510;
constexpr int name_width = 130;
constexpr int cell_width = 88;
constexpr int cell_height = 26;
constexpr int step = 34;

screen_box cell(int left, int top, int width) {
    return {static_cast<std::int16_t>(left), static_cast<std::int16_t>(top - cell_height),
            static_cast<std::int16_t>(width), cell_height};
}

void draw_column(const screen_box &window, int number, std::span<const sample> samples) {
    const int left = window.x + margin + number * column_width;
    int top = window.y + window.height - margin;
    for (std::size_t i = 0; i < states.size(); ++i)
        draw_text_box(
            cell(left + name_width + static_cast<int>(i) * (cell_width + 6), top, cell_width),
            font_slot_small, state_names[i], look::disabled);
    for (const sample &each : samples) {
        top -= step;
        draw_text_left_box(cell(left, top, name_width), font_slot_normal_1, each.name);
        for (std::size_t i = 0; i < states.size(); ++i)
            each.paint(
                cell(left + name_width + static_cast<int>(i) * (cell_width + 6), top, cell_width),
                states[i]);
    }
}

void draw_icons(const screen_box &window) {
    constexpr int gap = 4;
    const int left = window.x + margin;
    int x = left;
    int y = window.y + margin;
    int row_height = 0;
    for (const builtin_icon &each : builtin_icons()) {
        if (each.name.starts_with("player")) // with a clear ground: for the desktop
            continue;
        const int index = gl_ind_bitmap(each.name);
        const bitmap_record *icon = gl_load_bitmap(index);
        if (icon == nullptr)
            continue;
        if (x + icon->width > window.x + window.width - margin) {
            x = left;
            y += row_height + gap;
            row_height = 0;
        }
        gl_draw_bitmap(index, x, y);
        x += icon->width + gap;
        row_height = std::max<int>(row_height, icon->height);
    }
}

void draw_window(display_object *self) {
    gl_fill_box(self->box, colour_face);
    draw_column(self->box, 0, boxes);
    draw_column(self->box, 1, texts);
    draw_icons(self->box);
}

// Handles one event. Returns false to end.
bool handle_event(int wid) {
    std::int16_t kind = 0;
    std::int16_t value = 0;
    screen_point at;
    std::FILE *no_journal = nullptr;
    gl_event_get(&kind, &value, &at, 255, &no_journal, nullptr);
    if (kind != input_keyboard)
        return true;
    if (value == 'm' || value == 'M')
        gl_set_win_color_mode(wid, gl_inq_color_mode() != 0);
    return value != 'q' && value != 'Q' && value != escape_character;
}

} // namespace

int main(int argc, char **argv) {
    system_init();
    display_object *all = create_display_object(nullptr);
    all->box = window_box;
    all->draw = draw_window;
    display_visibility_message(all, true);
    const object_ref shown = refer_to(all);
    const int wid = gl_win_open("Primitives", all);
    all->window = wid;
    if (argc > 1 && std::string_view(argv[1]) == "--by-index")
        gl_set_win_color_mode(wid, true);
    display_draw_message(all);
    while (referred(shown) != nullptr && handle_event(wid))
        continue;
    system_terminate();
    return 0;
}
