// Directory demons: the inside of a file tool. A path to type in, what is in that folder, a name to
// type in, and buttons to accept, to cancel, and to go elsewhere.
//
//   directory_demon *tool = create_directory_demon(nullptr, {.pattern = "reel",
//                                                            .width = 300,
//                                                            .height = 300,
//                                                            .title = "Save Play File",
//                                                            .callback = save,
//                                                            .is_saving = true,
//                                                            .overwrite_question = "Overwrite:"});
//   set_demon(tool, window, 0, 0);                 // a window of its own
//   add_demon(tool, window);
//   ...
//   void save(word) {                              // its window is closed by then
//       widget_value value;
//       getWidgetValue(tool, &value);              // value.text: an absolute path
//   }
//
// addFileToolPullDownChoice (pulldowns.h) makes tool, window and the choice that opens it.
//
// Use. A click selects, a double click opens a folder or accepts a file; so do Return and the button
// for accepting. Letters that are typed while the list has the keyboard lead to what begins with
// them; arrows and the page keys step; Backspace leads to the folder above. Tab goes from field to
// field, Escape and Cancel close the window. Paths and names may be typed relative to the folder, or
// from "~" or "/" on; a folder is gone to, a file accepted.
//
// What can not be read, or written, is refused with a message, and so is what is no plain file. To
// save over a file asks first, if there is a question. Messages and questions come up by the
// dialogs of edit_string.h; without these the answer is no.
//
// The folder is read when the tool comes up, and again when the pointer comes into it and something
// was added or removed meanwhile. A tool stays in the folder that it was in last; when that is gone
// it goes to the nearest one above.
//
// Value: the path accepted last, or set. setWidgetValue with a file brings its folder and name up
// and calls the callback if it is another one, updateWidgetValue does not call it; with a folder
// they go there.
//
// Callbacks may do anything, also destroy the tool and its window.
#pragma once

#include "toolkit/widgets/pulldowns.h"

namespace toolkit {

// --- records -------------------------------------------------------------------------------------

inline constexpr int least_directory_width = 240; // below these, parts lie over each other
inline constexpr int least_directory_height = 200;

struct directory_contents;
struct file_list;
struct edit_string_demon;

struct directory_demon : generic_demon {
    directory_contents *contents; // of this one alone; given back with it
    file_list *list;              // its parts live as long as it does
    edit_string_demon *path_field;
    edit_string_demon *name_field;
    bool is_saving;
    int mode;                                        // as it was given
    void (*accept_on_select)(directory_demon *self); // * what opening a file of the list does;
                                                     //   null: it is only selected
    widget_function callback;                        // * a file was accepted, or set
    word argument;                                   // *
    widget_function extra_callback;                  // * called after that
    word extra_argument;                             // *
};

extern object_class *Directory_Demon_Class;
extern object_set *Directory_Demon_Set;

// --- making --------------------------------------------------------------------------------------

// Makes the class "directory demon class ", derived from generic demons, and keeps it in
// Directory_Demon_Class.
object_class *create_directory_demon_class();
object_class *inq_directory_demon_class(); // Directory_Demon_Class, made when it is not there

// A new tool of the settings' size, for the window's lower left corner. A null set means
// Directory_Demon_Set. Its directory is the working directory when none is given. Null when there
// is no memory, or when the set is for smaller objects.
[[nodiscard]] directory_demon *create_directory_demon(object_set *set,
                                                      const file_tool_settings &settings);

// The demon as a directory demon, or null.
[[nodiscard]] directory_demon *as_directory_demon(demon *widget);

// --- working -------------------------------------------------------------------------------------

// The folder that is shown, or will be: absolute.
[[nodiscard]] std::string_view inq_directory(const directory_demon *self);

// Shows another folder. Returns 0; or -1 after a message, when it can not be read: then the tool
// stays, or goes to the nearest folder above when its own is gone. It may be destroyed meanwhile.
int go_to_directory(directory_demon *self, std::string_view path);

// Accepts the file that is selected.
void accept_on_select(directory_demon *self);

} // namespace toolkit
