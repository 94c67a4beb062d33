// Which window of ours has the desktop's keyboard, and how journals tell of that.
//
//   begin_journal_input();                         // a run begins that is played or recorded
//   ... gl_event_get ...                           // takes INPUTCHANGE
//   const int wid = gl_find_wid(inq_input_window());
//
// Keys go to that window, so a record says which it is before each key that comes after a change,
// whenever the news of it came; and while a journal is played, the journal alone says it.
#pragma once

namespace toolkit {

// The GL number of the window that has the keyboard, as the last INPUTCHANGE delivered said. 0: none
// has it, or nobody has said so.
[[nodiscard]] int inq_input_window();
void set_input_window(int window);

// Called when it has become another one. Null: nobody.
void set_input_window_call(void (*call)());

// With play_switch set, nobody has said so yet.
void begin_journal_input();

// Others had the event queue, and with it the news.
void forget_input_window();

// --- for event_input.cpp -------------------------------------------------------------------------

// Whether the record has still to tell of the window, and that it has.
[[nodiscard]] bool is_input_window_unrecorded();
void note_recorded_window(int window);

} // namespace toolkit
