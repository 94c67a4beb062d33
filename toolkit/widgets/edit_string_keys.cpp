// What keys do in text fields.
#include "platform/fonts/utf8.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/key_table.h"
#include "toolkit/widgets/clipboard.h"
#include "toolkit/widgets/edit_string.h"

#include <array>

namespace toolkit {

namespace {

constexpr int first_character = ' ';
constexpr int last_character = 255;
constexpr int delete_code = 127;
constexpr int case_bit = 'a' - 'A';

bool is_held(std::uint32_t bit) {
    return (inq_special_key() & bit) != 0;
}

// ---- other fields

bool can_be_typed_in(const demon *d) {
    constexpr std::uint16_t needed = flag_visible | flag_input;
    return is_edit_string_demon(d) && (d->flags & needed) == needed;
}

// The neighbour in the order of adding, or before it; kids are in the opposite order.
demon *neighbour_of(const demon *self, bool is_backward) {
    const demon *parent = self->parent.get();
    demon *before = nullptr, *behind = nullptr, *first = nullptr, *last = nullptr;
    bool is_past = false;
    for (demon *d = parent != nullptr ? parent->kids : nullptr; d != nullptr; d = d->next) {
        if (d == self) {
            is_past = true;
            continue;
        }
        if (!can_be_typed_in(d))
            continue;
        first = first == nullptr ? d : first;
        last = d;
        if (!is_past)
            before = d;
        else if (behind == nullptr)
            behind = d;
    }
    if (is_backward)
        return behind != nullptr ? behind : first;
    return before != nullptr ? before : last;
}

void go_to_neighbour(const edit_string_demon *self) {
    if (demon *next = neighbour_of(self, is_held(shift_bit)))
        give_keyboard(next);
}

// ---- editing

// What of the added text the field takes.
void insert_taken(edit_string_demon *self, std::string_view added) {
    if (self->takes == nullptr) {
        insert_text(&self->line, added);
        return;
    }
    std::array<char, edit_text_size> taken{};
    std::size_t count = 0;
    for (const char c : added)
        if (count < taken.size() && self->takes(static_cast<unsigned char>(c)))
            taken[count++] = c;
    if (count > 0 || added.empty())
        insert_text(&self->line, {taken.data(), count});
}

void copy_selection(const edit_string_demon *self) {
    if (const std::string_view selected = selected_text(self->line); !selected.empty())
        set_clipboard_text(selected);
}

// Between the question for a text and its coming the field may have lost the keyboard.
void take_pasted(demon *d, std::string_view text) {
    auto *self = static_cast<edit_string_demon *>(d);
    if (!self->has_keyboard || (self->flags & flag_input) == 0)
        return;
    const graphics_bracket bracket;
    insert_taken(self, text);
    edit_string_show_edit(self);
}

bool is_command_letter(int letter) {
    return letter == 'a' || letter == 'c' || letter == 'v' || letter == 'x';
}

// Ctrl and a letter. Returns whether it is one that the field knows.
bool edit_by_command(edit_string_demon *self, int letter) {
    switch (letter | case_bit) {
    case 'a':
        select_all(&self->line);
        return true;
    case 'c':
        copy_selection(self);
        return true;
    case 'x':
        copy_selection(self);
        erase_text(&self->line, text_step::none);
        return true;
    case 'v':
        request_clipboard_text(clipboard_source::clipboard, self, take_pasted);
        return true;
    default:
        return false;
    }
}

// Returns whether the key is one that moves the cursor or changes the text.
bool edit_by_key(edit_string_demon *self, int key) {
    const bool by_words = is_held(ctrl_bit);
    const bool extends = is_held(shift_bit);
    switch (key) {
    case left_arrow_pressed:
        move_in_text(&self->line, by_words ? text_step::word_left : text_step::left, extends);
        return true;
    case right_arrow_pressed:
        move_in_text(&self->line, by_words ? text_step::word_right : text_step::right, extends);
        return true;
    case up_arrow_pressed:
    case page_up_pressed:
    case home_pressed:
        move_in_text(&self->line, text_step::begin, extends);
        return true;
    case down_arrow_pressed:
    case page_down_pressed:
    case end_pressed:
        move_in_text(&self->line, text_step::end, extends);
        return true;
    case backspace_character:
        erase_text(&self->line, by_words ? text_step::word_left : text_step::left);
        return true;
    case delete_pressed:
        erase_text(&self->line, by_words ? text_step::word_right : text_step::right);
        return true;
    default:
        break;
    }
    if (key < first_character || key > last_character || key == delete_code)
        return false;
    if (is_held(ctrl_bit))
        return edit_by_command(self, key);
    if (is_held(alt_bit))
        return false;
    insert_taken(self, fm::latin_letter(key));
    return true;
}

// The keyboard goes first, so that who is told may give it to whom he likes.
void accept_and_leave(edit_string_demon *self) {
    const demon_ref kept = refer_to_demon(self);
    const bool is_changed = edit_string_demon_is_changed(self);
    self->saved = self->line.text; // else leaving would settle it
    give_up_keyboard_unasked(self);
    if (kept.get() != nullptr)
        edit_string_demon_accept(self, is_changed);
}

} // namespace

void give_keyboard(demon *client) {
    const demon_ref kept = refer_to_demon(client);
    demon_keyboard_client_message(client, client);
    if (kept.get() == nullptr || !is_edit_string_demon(client))
        return;
    auto *field = static_cast<edit_string_demon *>(client);
    if (!field->has_keyboard)
        return;
    select_all(&field->line);
    edit_string_show_edit(field);
}

void edit_string_show_edit(edit_string_demon *self) {
    self->is_marker_lit = self->has_keyboard;
    redraw_control(self);
}

bool edit_string_claims_key(const demon *client, int key) {
    if (!is_edit_string_demon(client) || !is_held(ctrl_bit) || is_held(alt_bit))
        return false;
    return is_command_letter(key | case_bit) || key == backspace_character;
}

void edit_string_paste_selection(edit_string_demon *self, object *, demon_message *m) {
    if (m == nullptr || (self->flags & flag_input) == 0 || self->is_held)
        return;
    const std::int32_t place = edit_string_place_at(self, m->point.x);
    const demon_ref kept = refer_to_demon(self);
    demon_keyboard_client_message(self, self);
    if (kept.get() == nullptr || !self->has_keyboard)
        return;
    place_cursor(&self->line, place, false);
    edit_string_show_edit(self);
    request_clipboard_text(clipboard_source::selection, self, take_pasted);
}

void edit_string_demon_keystroke(demon *d, object *, demon_message *m) {
    auto *self = static_cast<edit_string_demon *>(d);
    if (m == nullptr || !self->has_keyboard || (self->flags & flag_input) == 0)
        return;
    switch (m->key) {
    case return_character:
        accept_and_leave(self);
        break;
    case escape_character:
        edit_string_demon_set_string(self, edit_string_demon_string(self));
        give_up_keyboard_unasked(self);
        break;
    case tab_character:
        go_to_neighbour(self);
        break;
    default:
        if (edit_by_key(self, m->key))
            edit_string_show_edit(self);
    }
}

} // namespace toolkit
