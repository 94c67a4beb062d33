// The event journal: a text file of input events, one a line, that can be played back.
//
//   write_journal_line(record_file, line, label);
//   ...
//   journal_line line;
//   while (read_journal_line(play_file, &line)) {
//       note_journal_line(line);                   // is_held_in_journal() answers from it
//       ...
//   }
//   forget_journal_state();
//
// A line is "device x y value", two tabs, "//" and a label for the human reader: the event's
// device and value in the queue and the cursor's place on the screen. F11 puts captions between
// the lines: "//CAPTION", two tabs, " ## " and what was typed. They read as no event.
//
// A play file may come from anywhere: what is no event is passed over without harm.
#pragma once

#include "platform/gl/devices.h"
#include "toolkit/events/input_types.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace toolkit {

inline constexpr std::size_t max_journal_line = 255; // characters, without the newline

// Non-zero while gl_event_get takes its events from a play file, and while it writes them to a
// record file. Set by whoever opens the files; cleared at the play file's end, by F12, and when
// the record file can't be written.
extern std::int16_t play_switch;
extern std::int16_t record_switch;

struct journal_line {
    gl::device device = gl::NULLDEV;
    screen_point position;
    std::int16_t value = 0;
    bool operator==(const journal_line &) const = default;
};

// --- writing -------------------------------------------------------------------------------------

// What the reader of the file is told about an event: the name of its kind, the key's character
// under these modifiers, with "down" or "up" for buttons and arrow keys.
[[nodiscard]] std::string journal_label(gl::device d, std::int16_t value, bool shift,
                                        bool caps_lock);

// Writes a line and brings it to the file at once, so that the record of a program that dies is
// whole. When that fails: one message on standard error, and recording ends.
void write_journal_line(std::FILE *file, const journal_line &line, const std::string &label);

// Writes a caption, its control characters replaced and its end cut off where the line would
// become too long.
void write_caption(std::FILE *file, const std::string &caption);

// Prompts "Enter caption: " and writes the line typed at the terminal, which the program waits
// for. Without a terminal to type at (none, or the program runs in its background) nothing is
// asked nor written, and a message on standard error says so.
void ask_caption(std::FILE *file);

// F12 was pressed: switches recording and prints "RECORDING\n" or "NOT RECORDING\n".
void toggle_recording();

// --- reading -------------------------------------------------------------------------------------

// Reads on to the next line that holds an event. Passed over: lines longer than max_journal_line,
// lines that don't begin with four numbers, device numbers beyond those of the queue. Other
// numbers are brought into 16 bits. Returns false at the end of the file, or after a message on
// standard error when it can't be read.
[[nodiscard]] bool read_journal_line(std::FILE *file, journal_line *out);

// Keeps which keys and buttons are held as far as the lines noted tell.
void note_journal_line(const journal_line &line);
[[nodiscard]] bool is_held_in_journal(gl::device d);
void forget_journal_state();

} // namespace toolkit
