// What every command says and returns.
//
//   report("%s: frame %d cannot be read", name, index);    // "reel: shot.reel: frame 7 cannot ..."
//   return exit_failed;
#pragma once

namespace reel {

// Exit statuses of the program.
inline constexpr int exit_good = 0;
inline constexpr int exit_failed = 1;  // the work failed, or what was asked about is not right
inline constexpr int exit_misused = 2; // the command line makes no sense

// Writes one line, "reel: " and the formatted text, on standard error.
void report(const char *format, ...) __attribute__((format(printf, 1, 2)));

// The same for something worth knowing that stops nothing: "reel: note: ...".
void report_note(const char *format, ...) __attribute__((format(printf, 1, 2)));

// From now on a report is lost whose reader takes nothing for so long: others wait for us.
void limit_report_wait(int milliseconds);

// Standard error is not ours alone: whether somebody else has written there and not ended the line.
// The next report does that then.
void note_open_line(bool is_open);

} // namespace reel
