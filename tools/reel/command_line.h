// The reel command: movies from images and videos, and back.
//
//   return reel::run_command_line(argc, argv);             // all that its main does
#pragma once

namespace reel {

// Does what the words after the first ask for. Returns the program's exit status (report.h), after
// having said on standard error why it is not zero. Takes the process for its own: streams that are
// closed are held closed, and signals are caught that would leave files half written.
[[nodiscard]] int run_command_line(int argc, char **argv);

} // namespace reel
