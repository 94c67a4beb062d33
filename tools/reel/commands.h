// The commands of reel as its command line knows them.
//
//   CLI::App &app = *root.add_subcommand("info", "Tell what movies are like");
//   command_runner run = describe_info(app);      // adds the options
//   root.parse(argc, argv);                       // fills them
//   return run();                                 // does the work: the program's exit status
//
// Each command has a file of its own (info_command.cpp) that says what it is asked for; the work
// itself knows nothing of command lines.
#pragma once

#include "tools/reel/frame_source.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace reel {

using command_runner = std::function<int()>;

command_runner describe_encode(CLI::App &app);
command_runner describe_decode(CLI::App &app);
command_runner describe_join(CLI::App &app);
command_runner describe_cut(CLI::App &app);
command_runner describe_compare(CLI::App &app);
command_runner describe_sheet(CLI::App &app);
command_runner describe_info(CLI::App &app);
command_runner describe_verify(CLI::App &app);
command_runner describe_preview(CLI::App &app, std::vector<std::string> renderer); // its command

// ---- what the commands' options share

// --frames A-B, A-BxS or A.
void add_frames_option(CLI::App &app, std::optional<frame_selection> &frames, const char *meaning);

// --format FORMAT: what comes on standard input.
void add_format_option(CLI::App &app, raw_format &format, const char *meaning);

// Accepts whole numbers from lowest to highest.
[[nodiscard]] CLI::Validator whole_number(int lowest, int highest);

} // namespace reel
