// The gallery: two windows that show what the toolkit's demons can do, a section for each thing.
//
//   toolkit::system_init();
//   gallery::open_windows();
//   toolkit::dispatch_play_record(argc, argv);     // until Escape, or the first window is closed
//
// Each section stands in a file of its own, with one procedure that adds it to a window. Places are
// pixels of the design's screen, from the lower left corner of what they are in.
#pragma once

#include "toolkit/demons/window_demons.h"

namespace gallery {

// --- windows -------------------------------------------------------------------------------------

inline constexpr const char *main_title = "Gallery";
inline constexpr const char *tray_title = "Tray";
inline constexpr toolkit::screen_box main_window = {40, 220, 888, 616};
inline constexpr toolkit::screen_box tray_window = {952, 420, 288, 216};

// Opens both. Closing the first one ends the program; the tray can be shown again.
void open_windows();

// --- sections ------------------------------------------------------------------------------------

// Where the section in a row (0: the lowest) and a column of the main window is.
inline constexpr int section_margin = 16;
inline constexpr int section_width = 420;
inline constexpr int section_height = 184;
[[nodiscard]] constexpr toolkit::screen_box section_place(int column, int row) {
    return {static_cast<std::int16_t>(section_margin + column * (section_width + section_margin)),
            static_cast<std::int16_t>(section_margin + row * (section_height + section_margin)),
            section_width, section_height};
}

// Where its contents are within it, below its title and its line of explanation.
inline constexpr toolkit::screen_box contents = {12, 12, 396, 118};

void add_nested_demons(toolkit::demon *window);
void add_dragging(toolkit::demon *window);
void add_popping_up(toolkit::demon *window);
void add_cursors(toolkit::demon *window);
void add_keys(toolkit::demon *window);
void add_two_windows(toolkit::demon *window, toolkit::demon *tray);

// The controls, for a window of their own: examples/controls.cpp.
inline constexpr const char *controls_title = "Controls";
inline constexpr toolkit::screen_box controls_window = {100, 300, 304, 372};
void add_controls(toolkit::demon *window);

// The dialogs, likewise: examples/dialogs.cpp.
inline constexpr const char *dialogs_title = "Dialogs";
inline constexpr toolkit::screen_box dialogs_window = {440, 360, 304, 288};
void add_dialogs(toolkit::demon *window);

// The file tools, which have windows of their own, below this one: examples/files.cpp.
inline constexpr const char *files_title = "Files";
inline constexpr toolkit::screen_box files_window = {100, 600, 420, 80};
void add_files(toolkit::demon *window);

// Menus and fields to type in, each for a window of its own too.
inline constexpr const char *menus_title = "Menus";
inline constexpr toolkit::screen_box menus_window = {430, 480, 448, 168};
void add_menus(toolkit::demon *window);
inline constexpr const char *fields_title = "Fields";
inline constexpr toolkit::screen_box fields_window = {430, 120, 448, 304};
void add_fields(toolkit::demon *window);

// --- who is who ----------------------------------------------------------------------------------

// Demons that tests look for by name (get_named_object).
inline constexpr const char *name_outer = "gallery outer";
inline constexpr const char *name_inner = "gallery inner";
inline constexpr const char *name_carriage = "gallery carriage";
inline constexpr const char *name_puck = "gallery puck";
inline constexpr const char *name_list_button = "gallery list button";
inline constexpr const char *name_list = "gallery list";
inline constexpr const char *name_crosshair = "gallery crosshair";
inline constexpr const char *name_first_field = "gallery first field";
inline constexpr const char *name_second_field = "gallery second field";
inline constexpr const char *name_main_shelf = "gallery main shelf";
inline constexpr const char *name_tray_shelf = "gallery tray shelf";
inline constexpr const char *name_chip = "gallery chip";
inline constexpr const char *name_tray_button = "gallery tray button";
inline constexpr const char *name_menu_bar = "gallery menu bar";
inline constexpr const char *name_menu_readout = "gallery menu readout";
inline constexpr const char *name_menu_mode = "gallery menu mode";
inline constexpr const char *name_menu_rate = "gallery menu rate";
inline constexpr const char *name_size_switch = "gallery size switch";
inline constexpr const char *name_shot_field = "gallery shot field";
inline constexpr const char *name_take_field = "gallery take field";
inline constexpr const char *name_path_field = "gallery path field";
inline constexpr const char *name_opacity_field = "gallery opacity field";
inline constexpr const char *name_time_field = "gallery time field";

// What a field of the section for keys holds.
[[nodiscard]] const char *text_of_field(toolkit::object *field);

// The line chosen in the list that pops up.
[[nodiscard]] const char *chosen_line();

} // namespace gallery
