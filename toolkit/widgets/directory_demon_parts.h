// What the sources of the directory demon share.
#pragma once

#include "toolkit/widgets/directory_demon.h"
#include "toolkit/widgets/edit_string.h"
#include "toolkit/widgets/file_list.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace toolkit {

struct directory_contents {
    directory_list files; // of the folder that is shown; path: that folder
    std::string title;
    std::string question;       // before a file is overwritten; empty: none
    std::string accepted;       // the value
    std::string offered;        // what the name field says for the selected file
    std::string typed;          // at the list, to find an entry
    std::int64_t typed_us = 0;  // when, by the program clock
    std::int64_t changed_s = 0; // the folder's time of change when it was read
    std::int64_t changed_ns = 0;
};

// --- folders: directory_demon.cpp ----------------------------------------------------------------

// Reads the folder again, or, if it is gone, the nearest one above; the selected entry and what is
// seen stay as far as they can. Tells nobody.
void reread_directory(directory_demon *self);

void go_to_parent(directory_demon *self);

// --- accepting: directory_demon_accept.cpp -------------------------------------------------------
// After all of them the tool may be gone.

void accept_name(directory_demon *self);    // what the name field says
void accept_path(directory_demon *self);    // what the path field says
void open_selected(directory_demon *self);  // a folder is gone to; without one: accept_name
void press_accept(directory_demon *self);   // the button
void close_tool(directory_demon *self);     // its window is pushed
void call_callbacks(directory_demon *self); // the value is another one
void tell_not_readable(std::string_view path);

// --- keys: directory_demon_keys.cpp --------------------------------------------------------------

void list_keystroke(demon *list, object *sender, demon_message *m);
void field_keystroke(demon *field, object *sender, demon_message *m);

// --- buttons: directory_demon_buttons.cpp --------------------------------------------------------

// Small buttons with a picture of their own.
demon *add_up_button(directory_demon *tool, const control_place &place, widget_function function);
demon *add_home_button(directory_demon *tool, const control_place &place, widget_function function);

} // namespace toolkit
