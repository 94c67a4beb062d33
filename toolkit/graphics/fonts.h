// The font table: widgets name a slot, never a font.
//
//   toolkit::gl_init_font_table();                   // once the display is known
//   toolkit::gl_select_font(toolkit::font_slot_bold);
//   toolkit::gl_draw_text(10, 20, toolkit::font_slot_bold, "Quit");         // text.h
//
// Five slots are loaded at start-up, from the names of font_names.h when somebody has set them,
// else from faces chosen by the screen's size; the others stay empty. Selecting, drawing or
// measuring with a slot that is empty or does not exist does nothing: the current font stays.
#pragma once

#include "platform/fonts/fonts.h"
#include "toolkit/graphics/font_names.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace toolkit {

inline constexpr int font_slot_small = 0;
inline constexpr int font_slot_normal_1 = 1;
inline constexpr int font_slot_normal_2 = 7;
inline constexpr int font_slot_bold = 9;
inline constexpr int font_slot_bold_italic = 11;
inline constexpr int font_slot_count = 12; // slots are 0 .. font_slot_count - 1

// A screen below either is small, and has faces of its own.
inline constexpr int full_screen_width = 1280;
inline constexpr int full_screen_height = 1024;

struct text_size {
    int width = 0;
    int height = 0;
};

using draw_text_function = void (*)(std::string_view text);
using select_font_function = void (*)(int slot);
using text_size_function = int (*)(std::string_view text, text_size *size, int slot);

inline constexpr std::int16_t font_loaded = 255;

struct font_record {
    std::array<char, max_font_name + 1> name{}; // as it was asked for
    fm::fmfonthandle handle = fm::no_font;
    std::int32_t baseline_offset = 0; // from the bottom of a line up to the baseline: pixels
    std::int32_t height = 0;          // of a line: pixels
    draw_text_function draw = nullptr;
    select_font_function select = nullptr;
    text_size_function size = nullptr;
    std::int16_t loaded = 0; // font_loaded, or 0
    float points = 0.0F;
};

// Loads the five slots and selects none. A face that the system has not ends the process.
void gl_init_font_table();

// Empties all slots and gives the fonts back.
void gl_free_font_table();

// Loads a face at a size in points into a slot, in place of what it held. Names are cut to
// max_font_name characters. A face that can not be found empties the slot and ends the process with
// a message and exit status 0. A slot that does not exist: ignored.
void gl_load_font(std::string_view name, int slot, float points);

void gl_select_font(int slot);
void gl_select_fm_font(int slot);        // sets the slot's font without making it the current slot
[[nodiscard]] int gl_inq_current_font(); // the slot that was selected last; at first 0

// The slot's record; null when there is no such slot.
[[nodiscard]] const font_record *gl_inquire_font(int slot);

// Draws in the font that is set, from the character position on.
void gl_fmprstr(std::string_view text);

// Sets the slot's font and measures: how far the text moves the character position, and the
// height of a line. Returns the width; 0 and 0 x 0 for a slot that is not loaded.
int gl_inquire_fm_font_size(std::string_view text, text_size *size, int slot);

// The table as text for people: a line for each loaded slot with its role (or -), the face asked
// for, its size in points and pixels, the face in use, the baseline offset and the height.
[[nodiscard]] std::string gl_describe_font_table();

} // namespace toolkit
