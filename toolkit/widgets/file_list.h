// The list of a file tool: what is in a folder, in rows, one of which is selected; for this folder.
//
//   file_list *list = add_file_list(tool, {8, 72, 284, 160}, &files);
//   list->selected_by_user = show_name;
//   list->opened = open_selected;
//   ...
//   read_directory(path, files, &fault);
//   reset_file_list(list);                         // all entries are others now
//
// It asks for what it shows only: the rows that are seen. Names that are too wide lose their middle.
// Columns that leave too little room for names are left out.
//
// It has the keyboard of its window after a press in it, and by demon_keyboard_client_message.
// Keys are its owner's affair: on.keystroke.
#pragma once

#include "toolkit/widgets/control.h"
#include "toolkit/widgets/directory_list.h"

#include <cstddef>

namespace toolkit {

inline constexpr std::ptrdiff_t no_entry = -1;

struct file_list;
using file_list_routine = void (*)(file_list *self);

struct file_list : control {
    const directory_list *files;        // * the owner's; null: none
    file_list_routine selected_by_user; // * an entry, by a press or reveal_and_select
    file_list_routine opened;           // * by a double click: the last thing that is done with it
    std::ptrdiff_t selected;            // or no_entry
    std::ptrdiff_t top;                 // the entry in the first row
    std::ptrdiff_t hovered;             // that the pointer is on, or no_entry
    bool has_keyboard;
    bool is_on_bar; // the press that is under way
    bool is_double; // and this one is a double click
    int grip;       // where the knob is held: pixels from its top
    demon_handler plain_press;
    demon_handler plain_move;
    demon_handler plain_leave;
};

extern object_class *File_List_Class;

// Null when there is no memory.
[[nodiscard]] file_list *add_file_list(demon *parent, const control_place &place,
                                       const directory_list *files);

[[nodiscard]] const directory_list &files_of(const file_list *self);
[[nodiscard]] const directory_entry *selected_entry(const file_list *self); // or null

// The entries are others: none is selected, and the first one is on top. Drawn at once.
void reset_file_list(file_list *self);

// Scrolls, within what there is; and that the entry is seen.
void scroll_file_list(file_list *self, std::ptrdiff_t top);
void reveal_entry(file_list *self, std::ptrdiff_t entry);

// Selects an entry, nearest to the number, brings it into view and tells selected_by_user.
void reveal_and_select(file_list *self, std::ptrdiff_t entry);

// --- where things are ----------------------------------------------------------------------------

[[nodiscard]] std::ptrdiff_t rows_of(const file_list *self); // that are seen; 1 or more
[[nodiscard]] bool is_entry_seen(const file_list *self, std::ptrdiff_t entry);
[[nodiscard]] std::ptrdiff_t entry_at(const file_list *self, screen_point at);      // or no_entry
[[nodiscard]] screen_box box_of_entry(const file_list *self, std::ptrdiff_t entry); // one in a row

// The scroll bar and its knob: without area when all rows are seen.
[[nodiscard]] screen_box bar_of(const file_list *self);
[[nodiscard]] screen_box knob_of(const file_list *self);
[[nodiscard]] std::ptrdiff_t last_top(const file_list *self);

// --- drawing -------------------------------------------------------------------------------------

void file_list_draw(display_object *self);                // the draw routine
void redraw_entry(file_list *self, std::ptrdiff_t entry); // if it is seen

// As much of the name's beginning and end as fits into so many pixels.
[[nodiscard]] std::string fit_name(int slot, std::string_view name, int width);

} // namespace toolkit
