// Fields that take the keyboard of their window: keys come to the one that asked last, wherever in
// the window the pointer is. Its caret is the demon's own cursor, which blinks by idle ticks.
#include "examples/gallery.h"
#include "examples/gallery_parts.h"
#include "toolkit/demons/demon_cursors.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/events/key_table.h"
#include "toolkit/events/timers.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/overlay_drawing.h"
#include "toolkit/graphics/text.h"
#include "toolkit/objects/object_names.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace gallery {

using namespace toolkit;

namespace {

constexpr section_text about = {"Keys", "Click into a field and type. Tab goes to the other one."};
constexpr int field_block = 2;
constexpr std::size_t most_letters = 36;
constexpr screen_box upper_place = {12, 78, 396, 30};
constexpr screen_box lower_place = {12, 34, 396, 30};
constexpr int caret_margin = 6; // from the field's upper and lower edge
constexpr int blink_ticks = 15; // of which there are 60 a second
constexpr std::uint16_t blink_periods = 1;
constexpr int first_printable = ' ';
constexpr int last_printable = '~';

struct text_field : generic_demon {
    std::array<char, most_letters + 1> text; // ends with a zero
    bool has_keyboard;
    demon_ref other; // where Tab goes
};

object_set *fields = nullptr;

std::string_view text_of(const text_field *self) {
    return self->text.data();
}

// ---- drawing

void draw_field(display_object *self) {
    const auto *field = static_cast<text_field *>(self);
    gl_fill_box(field->box, colour_well);
    paint_outlined_box(field->box, field->has_keyboard ? look::hilited : look::normal);
    if (text_of(field).empty() && !field->has_keyboard)
        draw_text_left_box(field->box, font_slot_normal_1, caption_of(field), look::disabled);
    else
        draw_text_left_box(field->box, font_slot_normal_1, text_of(field));
}

// The cursor routines leave the pointer's place alone: a caret stands behind the text.
void paint_caret(display_object *self, int index) {
    const auto *field = static_cast<text_field *>(self);
    const int width = gl_inq_text_extent(font_slot_normal_1, text_of(field)).width;
    const int x = std::min(field->box.x + text_margin + width + 1,
                           field->box.x + field->box.width - caret_margin);
    const overlay_drawing over(index);
    move_abs(x, field->box.y + caret_margin);
    draw_abs(x, field->box.y + field->box.height - 1 - caret_margin);
}

void draw_caret(display_object *self, screen_point) {
    paint_caret(self, overlay_cursor);
}

void erase_caret(display_object *self, screen_point) {
    paint_caret(self, overlay_clear);
}

// ---- the keyboard

void take_or_leave(text_field *self, bool takes) {
    demon_cursor(self, self->cursor, cursor_mode::left);
    self->has_keyboard = takes;
    self->cursor_draw = takes ? draw_caret : nullcur;
    self->cursor_erase = takes ? erase_caret : nullcur;
    self->blink = takes ? demon_on : 0;
    gl_set_none_event_demon(takes ? self : nullptr);
    if (takes)
        enable_null_events(blink_ticks);
    else
        disable_null_events(); // an idle program sleeps
    demon_draw_message(self);
    if (takes)
        demon_cursor(self, self->cursor, cursor_mode::entered);
}

// The class's method: its own requests go up, what comes down tells who has the keyboard now.
void hear_of_keyboard(text_field *self, object *sender, demon *client) {
    if (sender == self)
        demon_set_keyboard_client(self, sender, client);
    take_or_leave(self, client == self);
}

void click(demon *self, object *, demon_message *) {
    if (!static_cast<text_field *>(self)->has_keyboard)
        demon_keyboard_client_message(self, self);
}

void change_text(text_field *self, int key) {
    const std::size_t length = text_of(self).size();
    if (key == return_character)
        self->text[0] = '\0';
    else if (key == backspace_character && length > 0)
        self->text[length - 1] = '\0';
    else if (key >= first_printable && key <= last_printable && length < most_letters) {
        self->text[length] = static_cast<char>(key);
        self->text[length + 1] = '\0';
    }
}

void take_key(demon *self, object *, demon_message *m) {
    auto *field = static_cast<text_field *>(self);
    if (!field->has_keyboard)
        return;
    if (m->key == tab_character) {
        click(field->other.get(), field, m);
        return;
    }
    demon_cursor(field, field->cursor, cursor_mode::left);
    change_text(field, m->key);
    demon_draw_message(field);
    demon_cursor(field, field->cursor, cursor_mode::entered);
    field->blink_countdown = blink_periods; // who types sees the caret
}

// The caret is none of the pointer's business.
void ignore(demon *, object *, demon_message *) {}

text_field *add_field(demon *section, const screen_box &place, const char *hint) {
    auto *made = add_made(create_demon_of<text_field>(fields, place.width, place.height, nullptr),
                          section, place, draw_field);
    made->first_word = to_word(hint);
    made->cursor_draw = made->cursor_erase = nullcur;
    made->blink_period = blink_periods;
    act_on_press(made, click);
    made->on.keystroke = take_key;
    made->on.loc_move = made->on.box_in = made->on.box_out = ignore;
    return made;
}

} // namespace

void add_keys(demon *window) {
    if (fields == nullptr) {
        object_class *cls = derive_object_class(inq_generic_demon_class(), "gallery field class");
        set_method<hear_of_keyboard>(cls, msg_set_keyboard_client);
        keep_set_in(&fields, create_set_of<text_field>(field_block, field_block, cls));
    }
    demon *section = add_section(window, section_place(0, 0), &about);
    text_field *first = add_field(section, upper_place, "name of the shot");
    text_field *second = add_field(section, lower_place, "notes");
    first->other = refer_to_demon(second);
    second->other = refer_to_demon(first);
    name_demon(name_first_field, first);
    name_demon(name_second_field, second);
}

const char *text_of_field(object *field) {
    return is_live(field) && field->set == fields ? static_cast<text_field *>(field)->text.data()
                                                  : "";
}

} // namespace gallery
