#include "toolkit/widgets/edit_text.h"

#include "platform/fonts/utf8.h"

#include <algorithm>
#include <cstring>

namespace toolkit {

namespace {

constexpr unsigned char delete_character = 127;
constexpr unsigned char first_printable = ' ';

unsigned char byte_at(std::string_view text, std::int32_t at) {
    return static_cast<unsigned char>(text[static_cast<std::size_t>(at)]);
}

std::int32_t length_of(std::string_view text) {
    return static_cast<std::int32_t>(text.size());
}

bool is_continuation_at(std::string_view text, std::int32_t at) {
    return fm::is_continuation(text[static_cast<std::size_t>(at)]);
}

// Bytes of the character that begins with c, if it is one.
std::int32_t announced_bytes(unsigned char c) {
    if (c >= 0xF0)
        return 4;
    if (c >= 0xE0)
        return 3;
    return c >= 0xC0 ? 2 : 1;
}

std::int32_t character_end(std::string_view text, std::int32_t at) {
    const std::int32_t last = std::min(at + announced_bytes(byte_at(text, at)), length_of(text));
    std::int32_t end = at + 1;
    while (end < last && is_continuation_at(text, end))
        ++end;
    return end;
}

// The beginning of the character that the byte before `at` is part of.
std::int32_t character_before(std::string_view text, std::int32_t at) {
    std::int32_t begin = at - 1;
    while (begin > 0 && begin > at - 4 && is_continuation_at(text, begin))
        --begin;
    return character_end(text, begin) == at ? begin : at - 1;
}

// `at`, or the beginning of the character that it is inside of.
std::int32_t between_characters(std::string_view text, std::int32_t at) {
    at = std::clamp(at, 0, length_of(text));
    for (std::int32_t begin = std::max(at - 3, 0); begin < at; begin = character_end(text, begin)) {
        const bool is_start = !is_continuation_at(text, begin);
        if (is_start && character_end(text, begin) > at)
            return begin;
    }
    return at;
}

bool is_word_byte(unsigned char c) {
    const unsigned char lower = c | 0x20U;
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '_' || c >= 0x80U;
}

bool is_word_at(std::string_view text, std::int32_t at) {
    return is_word_byte(byte_at(text, at));
}

std::int32_t word_left_of(std::string_view text, std::int32_t at) {
    while (at > 0 && !is_word_at(text, at - 1))
        --at;
    while (at > 0 && is_word_at(text, at - 1))
        --at;
    return at;
}

std::int32_t word_right_of(std::string_view text, std::int32_t at) {
    while (at < length_of(text) && !is_word_at(text, at))
        ++at;
    while (at < length_of(text) && is_word_at(text, at))
        ++at;
    return at;
}

void cut_range(edit_text *line, text_range range) {
    char *text = line->text.data();
    std::memmove(text + range.begin, text + range.end,
                 static_cast<std::size_t>(line->length - range.end) + 1);
    line->length -= range.end - range.begin;
    line->cursor = range.begin;
    clear_selection(line);
}

void put_in(edit_text *line, std::string_view character) {
    char *at = line->text.data() + line->cursor;
    std::memmove(at + character.size(), at,
                 static_cast<std::size_t>(line->length - line->cursor) + 1);
    std::copy(character.begin(), character.end(), at);
    line->length += length_of(character);
    line->cursor += length_of(character);
}

// What stands in the text for a character that somebody wants to put in.
std::string_view fit_to_line(std::string_view character) {
    const unsigned char c = byte_at(character, 0);
    if (c == '\t' || c == '\n')
        return " ";
    return c < first_printable || c == delete_character ? std::string_view{} : character;
}

} // namespace

text_range selected_range(const edit_text &line) {
    if (line.selection_start == no_selection)
        return {};
    return {std::min(line.selection_start, line.selection_end),
            std::max(line.selection_start, line.selection_end)};
}

std::string_view selected_text(const edit_text &line) {
    const text_range range = selected_range(line);
    return text_of(line).substr(static_cast<std::size_t>(range.begin),
                                static_cast<std::size_t>(range.end - range.begin));
}

void set_edit_text(edit_text *line, std::string_view text) {
    const std::array<char, edit_text_size> before = line->text; // the text may be a part of it
    if (text.data() >= line->text.data() && text.data() < line->text.data() + edit_text_size)
        text = {before.data() + (text.data() - line->text.data()), text.size()};
    line->text[0] = '\0';
    line->length = line->cursor = 0;
    clear_selection(line);
    insert_text(line, text);
}

// ---- moving and selecting

std::int32_t step_place(std::string_view text, std::int32_t from, text_step step) {
    from = between_characters(text, from);
    switch (step) {
    case text_step::none:
        return from;
    case text_step::left:
        return from > 0 ? character_before(text, from) : 0;
    case text_step::right:
        return from < length_of(text) ? character_end(text, from) : from;
    case text_step::word_left:
        return word_left_of(text, from);
    case text_step::word_right:
        return word_right_of(text, from);
    case text_step::begin:
        return 0;
    case text_step::end:
        break;
    }
    return length_of(text);
}

void move_in_text(edit_text *line, text_step step, bool extend) {
    const text_range range = selected_range(*line);
    if (!extend && range.begin < range.end && step == text_step::left)
        place_cursor(line, range.begin, false);
    else if (!extend && range.begin < range.end && step == text_step::right)
        place_cursor(line, range.end, false);
    else
        place_cursor(line, step_place(text_of(*line), line->cursor, step), extend);
}

void place_cursor(edit_text *line, std::int32_t at, bool extend) {
    const std::int32_t from =
        line->selection_start == no_selection ? line->cursor : line->selection_start;
    line->cursor = between_characters(text_of(*line), at);
    clear_selection(line);
    if (!extend || from == line->cursor)
        return;
    line->selection_start = from;
    line->selection_end = line->cursor;
}

void select_all(edit_text *line) {
    place_cursor(line, 0, false);
    place_cursor(line, line->length, true);
}

void select_word(edit_text *line, std::int32_t at) {
    const std::string_view text = text_of(*line);
    if (text.empty())
        return;
    at = std::clamp(at, 0, line->length - 1);
    const bool is_word = is_word_at(text, at);
    std::int32_t begin = at, end = at;
    while (begin > 0 && is_word_at(text, begin - 1) == is_word)
        --begin;
    while (end < line->length && is_word_at(text, end) == is_word)
        ++end;
    place_cursor(line, begin, false);
    place_cursor(line, end, true);
}

void clear_selection(edit_text *line) {
    line->selection_start = line->selection_end = no_selection;
}

// ---- changing

bool insert_text(edit_text *line, std::string_view added) {
    const text_range range = selected_range(*line);
    bool has_changed = range.begin < range.end;
    if (has_changed)
        cut_range(line, range);
    while (!added.empty()) {
        const auto bytes = static_cast<std::size_t>(character_end(added, 0));
        const std::string_view character = fit_to_line(added.substr(0, bytes));
        if (static_cast<std::size_t>(line->length) + character.size() >= edit_text_size)
            break;
        put_in(line, character);
        has_changed |= !character.empty();
        added.remove_prefix(bytes);
    }
    return has_changed;
}

bool erase_text(edit_text *line, text_step step) {
    text_range range = selected_range(*line);
    if (range.begin == range.end) {
        const std::int32_t to = step_place(text_of(*line), line->cursor, step);
        range = {std::min(to, line->cursor), std::max(to, line->cursor)};
    }
    if (range.begin == range.end)
        return false;
    cut_range(line, range);
    return true;
}

// ---- scrolling

int scroll_to_show(int hidden, int cursor_x, int text_width, int room) {
    if (cursor_x < hidden)
        hidden = cursor_x;
    else if (cursor_x > hidden + room)
        hidden = cursor_x - room;
    return std::clamp(hidden, 0, std::max(text_width - room, 0));
}

} // namespace toolkit
