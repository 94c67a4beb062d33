// Chips that go from one window to the other. While one is held, an event filter brings it all
// moves and buttons, whatever window they are over; where the pointer comes to be over the other
// window, the chip becomes a child of the shelf there.
#include "examples/gallery.h"
#include "examples/gallery_parts.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/events/event_input.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/objects/object_names.h"

#include <array>
#include <utility>

namespace gallery {

using namespace toolkit;

namespace {

constexpr section_text about_main = {"Two windows",
                                     "Drag the chips to the shelf in the tray, and back."};
constexpr section_text about_tray = {"Tray", "Closed, it can be shown again."};
constexpr screen_box shelf_place = {12, 12, 264, 118};
constexpr screen_box button_place = {290, 57, 118, 28};
constexpr screen_box tray_section = {12, 16, 264, 184};
constexpr screen_box tray_shelf_place = {12, 12, 240, 118};
constexpr int chip_width = 52;
constexpr int chip_height = 44;
constexpr int band_margin = 5; // of the stripe that tells a chip's colour
constexpr int band_height = 6;
constexpr int slot_pitch_x = 58; // chips rest in slots, in columns and two rows
constexpr int slot_pitch_y = 54;
constexpr int slot_margin = 10;
constexpr int slot_columns = 4;
constexpr int slot_rows = 2;

constexpr std::array chip_colours = {colour_accent, colour_light_gray, colour_progress,
                                     colour_well};
constexpr std::array chip_labels = {"A", "B", "C", "D"};
constexpr std::size_t chips_in_main = 3;

std::array<demon_ref, 2> shelves; // in the main window, in the tray
demon_ref tray;

// ---- slots

screen_point slot_place(const demon *shelf, int slot) {
    const int row = slot_rows - 1 - slot / slot_columns; // the upper row first
    return {clamp_16(shelf->box.x + scale_x(slot_margin + slot % slot_columns * slot_pitch_x)),
            clamp_16(shelf->box.y + scale_y(slot_margin + row * slot_pitch_y))};
}

bool is_taken(const demon *shelf, const demon *by_another, screen_point place) {
    for (const demon *chip = shelf->kids; chip != nullptr; chip = chip->next)
        if (chip != by_another && chip->box.x == place.x && chip->box.y == place.y)
            return true;
    return false;
}

// Puts a chip into the free slot next to where it is; there are more slots than chips.
void rest(handle *chip) {
    const demon *shelf = chip->parent.get();
    screen_point best{};
    int best_distance = -1;
    for (int slot = 0; slot < slot_columns * slot_rows; ++slot) {
        const screen_point at = slot_place(shelf, slot);
        const int distance = std::abs(at.x - chip->box.x) + std::abs(at.y - chip->box.y);
        if (is_taken(shelf, chip, at) || (best_distance >= 0 && distance >= best_distance))
            continue;
        best = at;
        best_distance = distance;
    }
    move_within_parent(chip, best.x, best.y);
    demon_draw_message(chip->parent.get());
}

// ---- chips

void draw_chip(display_object *self) {
    const auto *chip = static_cast<handle *>(self);
    const look state = chip->is_held ? look::pressed : look_of(chip);
    paint_button(chip->box, state);
    draw_text_box(chip->box, font_slot_bold, caption_of(chip), state);
    screen_box band = inside(chip->box, band_margin);
    band.height = band_height;
    gl_fill_box(band, static_cast<int>(chip->second_word));
}

// Drawn last, it lies over the others.
void put_on_top(demon *chip, demon *shelf) {
    add_demon(chip, shelf);
    unlink_demon(chip);
    if (shelf->kids != nullptr)
        append_demon(chip, shelf->kids);
    else
        add_demon(chip, shelf);
    relink_demon(chip);
}

demon *window_of(demon *d) {
    while (d != nullptr && !is_iris_window_demon(d))
        d = d->parent.get();
    return d;
}

void change_shelf(handle *chip, demon *to) {
    const demon_ref from = chip->parent;
    demon_box_out_message(window_of(chip)); // nobody will tell what is in it
    put_on_top(chip, to);
    demon_gl_window_assign(chip);
    demon_draw_message(from.get());
}

// The shelf in the window that is seen at a place, else the one where the chip is.
demon *shelf_for(const handle *chip, screen_point at) {
    const int wid = gl_get_win_pos(at.x, at.y);
    for (const demon_ref &each : shelves)
        if (demon *shelf = each.get(); shelf != nullptr && wid != no_window && shelf->window == wid)
            return shelf;
    return chip->parent.get();
}

void let_go(handle *chip) {
    chip->is_held = false;
    pop_event_filter();
    rest(chip);
}

void press(demon *self, object *, demon_message *m) {
    auto *chip = static_cast<handle *>(self);
    if (chip->is_held) // its release got lost
        let_go(chip);
    hold(chip, m->point);
    put_on_top(chip, chip->parent.get());
    push_event_filter(chip, input_motion | input_button);
    demon_draw_message(chip->parent.get());
}

void move(demon *self, object *, demon_message *m) {
    auto *chip = static_cast<handle *>(self);
    if (!chip->is_held)
        return;
    if (gl_inq_b1_down() == answer_no) { // released where nobody saw it
        let_go(chip);
        return;
    }
    demon *shelf = shelf_for(chip, m->point);
    if (shelf != chip->parent.get())
        change_shelf(chip, shelf);
    follow_hand(chip, m->point);
}

void release(demon *self, object *, demon_message *) {
    if (auto *chip = static_cast<handle *>(self); chip->is_held)
        let_go(chip);
}

// Its window may be closed while it is held.
void destroy(demon *self, object *sender, demon_message *m) {
    auto *chip = static_cast<handle *>(self);
    if (std::exchange(chip->is_held, false))
        pop_event_filter();
    demon_destroy(self, sender, m);
}

void add_chip(demon *shelf, std::size_t number, int slot) {
    handle *chip = add_handle(shelf, {0, 0, chip_width, chip_height}, draw_chip);
    const screen_point at = slot_place(shelf, slot);
    demon_move_message(chip, at.x - chip->box.x, at.y - chip->box.y);
    chip->first_word = to_word(chip_labels[number]);
    chip->second_word = chip_colours[number];
    act_on_press(chip, press);
    chip->on.b1_up = release;
    chip->on.loc_move = move;
    chip->on.destroy = destroy;
    if (number == 0)
        name_demon(name_chip, chip);
}

// ---- the tray

void show_tray(demon *, object *, demon_message *) {
    demon_pop_message(tray.get());
}

generic_demon *add_shelf(demon *section, const screen_box &place, const char *name) {
    generic_demon *shelf = add_part(section, place, draw_ground);
    name_demon(name, shelf);
    return shelf;
}

} // namespace

void add_two_windows(demon *window, demon *tray_window_demon) {
    tray = refer_to_demon(tray_window_demon);
    demon *in_main = add_section(window, section_place(1, 0), &about_main);
    demon *in_tray = add_section(tray_window_demon, tray_section, &about_tray);
    demon *first = add_shelf(in_main, shelf_place, name_main_shelf);
    demon *second = add_shelf(in_tray, tray_shelf_place, name_tray_shelf);
    shelves = {refer_to_demon(first), refer_to_demon(second)};
    for (std::size_t number = 0; number < chips_in_main; ++number)
        add_chip(first, number, static_cast<int>(number));
    for (std::size_t number = chips_in_main; number < chip_labels.size(); ++number)
        add_chip(second, number, static_cast<int>(number - chips_in_main));
    generic_demon *button = add_part(in_main, button_place, draw_caption<paint_button>);
    button->first_word = to_word("Show the tray");
    act_on_press(button, show_tray);
    light_under_pointer(button);
    name_demon(name_tray_button, button);
}

} // namespace gallery
