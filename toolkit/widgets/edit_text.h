// The editing of a line of text: what keys and the mouse do to it, without any screen.
//
//   edit_text line{};                              // all zero: empty, but see clear_selection
//   set_edit_text(&line, "shot_012");
//   move_in_text(&line, text_step::word_left, true);            // Shift: selects
//   insert_text(&line, "014");                     // in place of the selection
//
// Texts are UTF-8. Places are bytes from the beginning, always between characters; a byte that is
// no part of a valid character counts as one of its own. Control characters do not get in: tabs and
// line ends become blanks, others are left out.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace toolkit {

inline constexpr std::size_t edit_text_size = 1024; // bytes, with the closing zero
inline constexpr std::int32_t no_selection = -1;

// Plain data. Read freely; change it through the calls.
struct edit_text {
    std::array<char, edit_text_size> text;
    std::int32_t length; // bytes
    std::int32_t cursor;
    std::int32_t selection_start; // where it was begun; no_selection when none
    std::int32_t selection_end;   // where the cursor is; may be before the start
};

[[nodiscard]] inline std::string_view text_of(const edit_text &line) {
    return {line.text.data(), static_cast<std::size_t>(line.length)};
}

// The selection in the order of the text; both ends 0 when there is none.
struct text_range {
    std::int32_t begin = 0;
    std::int32_t end = 0;
};
[[nodiscard]] text_range selected_range(const edit_text &line);
[[nodiscard]] std::string_view selected_text(const edit_text &line);

// The whole text: as much of it as fits. The cursor is at its end then, and nothing is selected.
void set_edit_text(edit_text *line, std::string_view text);

// --- moving and selecting ------------------------------------------------------------------------

// A word is a run of letters, digits, underscores and characters beyond ASCII.
enum class text_step { none, left, right, word_left, word_right, begin, end };

// Where a step leads from a place; none: to the beginning of the character that it is inside of.
[[nodiscard]] std::int32_t step_place(std::string_view text, std::int32_t from, text_step step);

// Moves the cursor. With `extend` the selection goes along, from where the cursor was if there was
// none; without, it is cleared, and a step to the left or right leads to its end on that side.
void move_in_text(edit_text *line, text_step step, bool extend);

// The same to a place; one inside a character counts as the character's beginning.
void place_cursor(edit_text *line, std::int32_t at, bool extend);

void select_all(edit_text *line);
void select_word(edit_text *line, std::int32_t at); // or the run of other characters there
void clear_selection(edit_text *line);

// --- changing ------------------------------------------------------------------------------------
// Each returns whether the text has changed.

// At the cursor, in place of the selection. What does not fit is left out, whole characters only.
bool insert_text(edit_text *line, std::string_view added);

// The selection; without one, what lies between the cursor and where the step leads.
bool erase_text(edit_text *line, text_step step);

// --- scrolling -----------------------------------------------------------------------------------

// How many pixels of a text's left are to be hidden in a room that is narrower than the text, so
// that the cursor is seen: as before, if that will do, and never with room to spare at the right.
[[nodiscard]] int scroll_to_show(int hidden, int cursor_x, int text_width, int room);

} // namespace toolkit
