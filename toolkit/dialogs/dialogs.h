// Dialogs: small windows at the cursor that tell something or ask for something, in one line of
// code.
//
//   system_init();
//   init_dialogs();                               // fields and windows ask through these, too
//   ...
//   message("The disk is full.");
//   if (ask_yes_no("Go on without saving? ") == answer_yes)
//       ...
//
// Questions that want a text or a number for an answer: questions.h.
//
// A dialog keeps the program until it is answered, in an event loop of its own: timers, ticks and
// redrawing go on, but keys and the mouse work in the dialog alone, menu shortcuts are off, an open
// menu closes, and other windows can not be closed by their frames (that the program is asked to
// end, WINQUIT, still counts). It stands above the program's windows; a press in one of these, or
// on its close box, brings it back to the top. Dialogs may come from within dialogs.
//
// Return answers yes, from the answer's field too. Escape answers no; where there is no such button
// it gives up, or acknowledges. Closing the window answers no, and so does whatever else ends a
// dialog without an answer: its window's destruction, the end of the program (quit_dispatch), a
// bump() by somebody else, as by a program that a signal ends (set_input_sleep). When the display
// refuses the window, the answer is no at once.
//
// Texts are UTF-8, with '\n' between lines; null counts as "". Lines that are wider than the screen
// are wrapped.
//
// What is called may have run any handler: hold demons in a demon_ref across it.
//
// Batch mode (run_modes.h): no window opens. Messages are written to standard error, questions
// are answered by the overwrite mode, yes or no, and what was answered is written there as well.
#pragma once

#include "toolkit/demons/demons.h"
#include "toolkit/events/input_types.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace toolkit {

// Has text fields (set_field_dialogs) and closing windows (set_window_question) ask by ask_yes_no
// and tell by message. To be called after each system_init.
void init_dialogs();

// --- telling and asking --------------------------------------------------------------------------

void message(const char *text);
void big_message(const char *text); // in bold italics

// Returns answer_yes or answer_no.
[[nodiscard]] int ask_yes_no(const char *text);

// A window with the title "Inform: TEXT" that stays until its user closes it, while the program
// goes on.
void inform(const char *text);

// --- the dialog itself ---------------------------------------------------------------------------

// How a dialog was answered.
inline constexpr std::int32_t dialog_yes = 1;
inline constexpr std::int32_t dialog_no = 2;
inline constexpr std::int32_t dialog_abort = 3;

// Shows a dialog with its middle at (x, y) of the screen, and returns how it was answered.
//   parent   who adopts its window; null: the demon god
//   answer   not null: there is a field to type in, of up to 1023 bytes, with `initial` in it at
//            first; on dialog_yes its text is copied here, else the answer stays as it is
//   with_... which buttons there are
// Its demon has the name "Yes/No: TEXT" (object_names.h). The title that its user sees is "Message"
// when yes is all that can be answered, else "Question".
[[nodiscard]] std::int32_t create_yes_no_dialog(demon *parent, int x, int y, const char *text,
                                                std::string *answer, std::string_view initial,
                                                bool with_yes, bool with_no, bool with_quit);

// What the buttons call: each answers the innermost dialog, notes that in dialog_result, and bumps
// the loop.
void yes_dialog_function(word unused);
void no_dialog_function(word unused);
void abort_dialog_function(word unused);
extern std::int32_t dialog_result;

// The font slot of dialogs that are made from now on.
extern std::int16_t dialog_font_slot;

// Give a picture button (add_toggleswitch_menu) its icons: check mark, cross, way out.
void load_check_icon(demon *toggle);
void load_x_icon(demon *toggle);
void load_quit_icon(demon *toggle);

} // namespace toolkit
