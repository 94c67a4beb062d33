// The windows that dialogs are made of; for this folder.
//
//   dialog_window *window =
//       make_dialog_window("Yes/No: ", "Question", text, {.has_yes = true}, x, y);
//   add_dialog_button(window, dialog_button::yes, yes_dialog_function, 0);
//   popup_iris_window(window, nullptr);           // the window opens
#pragma once

#include "toolkit/demons/window_demons.h"
#include "toolkit/dialogs/dialog_text.h"
#include "toolkit/widgets/edit_string.h"
#include "toolkit/widgets/widgets.h"

#include <string_view>

namespace toolkit {

struct dialog_window : iris_window_demon {
    demon_ref field;     // of the answer, if there is one
    int line_height;     // of its text, pixels
    bool escape_pressed; // in here, and not released yet
};

// A window demon for a dialog around (x, y), with the lines of its text, not popped yet. It is
// destroyed when it is closed.
//   name_start   its name (object_names.h) is this and the text
//   title        what its user sees on the frame; null: the name
//   contents     what will be added by add_dialog_field and add_dialog_button
// Null when there is no memory.
[[nodiscard]] dialog_window *make_dialog_window(std::string_view name_start, const char *title,
                                                const char *text, const dialog_contents &contents,
                                                int x, int y);

// Adds the answer's field, and gives it the keyboard with its text selected.
void add_dialog_field(dialog_window *window, std::string_view initial);
void select_dialog_field(dialog_window *window);

// What is in the field now; empty without one.
[[nodiscard]] std::string_view text_in_dialog(const dialog_window *window);

enum class dialog_button { yes, no, quit };
void add_dialog_button(dialog_window *window, dialog_button which, widget_function function,
                       word argument);

// Whether a key answers a dialog. Escape does when it is released: else who is behind would be told
// of that.
enum class dialog_key { other, confirms, escapes };
[[nodiscard]] dialog_key key_in_dialog(dialog_window *window, int key);

} // namespace toolkit
