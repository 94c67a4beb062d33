// The pieces of code of docs/toolkit.md, which are cut out of it and compiled as they stand.
#pragma once

#include "toolkit/demons/demons.h"

#include <array>
#include <string_view>

void add_lamp(toolkit::demon *window);
void add_meter(toolkit::demon *window);
void add_help(toolkit::demon *window);
void add_buttons(toolkit::demon *window);
void add_sliders(toolkit::demon *window);
void add_groups(toolkit::demon *window);
void add_menus(toolkit::demon *window);
void add_fields(toolkit::demon *window);
void add_save_tool(toolkit::demon *window);
void add_questions(toolkit::demon *window);
void add_readings(toolkit::demon *window);

// Opens a window of that size, has it filled, and runs until it is closed.
void run_program(int argc, char **argv, int width, int height,
                 void (*fill)(toolkit::demon *window));

// What a piece does in batch mode: the number of frames that it was told to render.
int render_unattended();

namespace guide {

// A section's window; pictures of them have the section's name, too.
struct piece {
    std::string_view name;
    int width, height;
    void (*fill)(toolkit::demon *window);
};
inline constexpr std::array pieces = {
    piece{"windows", 300, 168, add_lamp},    piece{"drawing", 294, 56, add_meter},
    piece{"help", 300, 88, add_help},        piece{"buttons", 314, 86, add_buttons},
    piece{"sliders", 292, 112, add_sliders}, piece{"groups", 264, 130, add_groups},
    piece{"menus", 400, 240, add_menus},     piece{"fields", 284, 120, add_fields},
    piece{"files", 320, 80, add_save_tool},  piece{"dialogs", 304, 50, add_questions},
    piece{"values", 288, 80, add_readings},
};

} // namespace guide
