// Questions with an answer to type: numbers, texts, names of files and folders.
//
//   int rate = 24;
//   if (ask_integer_limits("Frames per second:", &rate, rate, 1, 120) == answer_yes)
//       ...
//   std::string file;
//   if (ask_file_name_with_suffix("Save as:", &file, "shot", "reel") == answer_yes)
//       ...                                        // file: "/home/ann/shot.reel", may be written
//
// Each shows a dialog (dialogs.h) with the prompt, a field with `initial` in it, and buttons for
// yes and no. Returns answer_yes with the answer in *value (*path, ...), or answer_no when it was
// cancelled: then that is as it was, but for ask_integer_limits.
//
// What can not be accepted is said in a message, and asked for again with what was typed in the
// field. In batch mode the initial value is the answer, if questions are answered with yes and it
// can be accepted; else the answer is no.
#pragma once

#include "toolkit/dialogs/dialogs.h"

#include <string>
#include <string_view>

namespace toolkit {

// --- numbers and texts ---------------------------------------------------------------------------

// A whole number in decimal, blanks around it allowed.
[[nodiscard]] int ask_integer(const char *prompt, int *value, int initial);

// One within the limits, which belong to them. *value is `initial` when cancelled.
[[nodiscard]] int ask_integer_limits(const char *prompt, int *value, int initial, int minimum,
                                     int maximum);

[[nodiscard]] int ask_string(const char *prompt, std::string *value, std::string_view initial);

// --- names of files and folders ------------------------------------------------------------------
// "~" is home at the beginning of a name; other relative names begin at the working directory. The
// answers are absolute. Whether something exists, or may be read or written, is asked at the time
// of the answer.

// A folder that is there and can be read.
[[nodiscard]] int ask_path_name(const char *prompt, std::string *path, std::string_view initial);

// A file's name, in the two parts that it has: a folder as above, and the name of something in it
// that is no folder itself and need not be there.
[[nodiscard]] int ask_path_file_name(const char *prompt, std::string *folder, std::string *name,
                                     std::string_view initial);

// A file that is there and can be read.
[[nodiscard]] int ask_read_file_name(const char *prompt, std::string *path,
                                     std::string_view initial);

// A file to be written. Whether one that is there may be overwritten is asked. Nothing is written.
[[nodiscard]] int ask_file_name(const char *prompt, std::string *path, std::string_view initial);

// The same; the name gets the suffix (without its point), if it has not got it yet.
[[nodiscard]] int ask_file_name_with_suffix(const char *prompt, std::string *path,
                                            std::string_view initial, std::string_view suffix);

} // namespace toolkit
