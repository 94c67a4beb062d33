// A file that appears under its name only when it is complete.
//
//   catch_signals();                                     // once, in main
//   output_file out;
//   if (start_output("shot.reel", out) == 0) {           // an empty file beside the target
//       ... write out.temporary ...
//       finish_output(out, true);                        // flushed, then renamed to the target
//   }                                                    // else removed with the record
//
// Up to max_open_outputs may be open at a time, also in several threads: SIGINT, SIGTERM, SIGHUP,
// SIGQUIT and SIGPIPE, and an exit out of turn, remove their temporary files before the program
// ends. A record is for one thread. A symbolic link is followed: what it points to is replaced, not
// the link.
#pragma once

#include <string>

namespace reel {

inline constexpr int max_open_outputs = 64;

struct output_file {
    std::string target;    // with symbolic links resolved
    std::string temporary; // in the same folder, with the target's extension; empty when closed
    bool replaces = false; // the target exists

    output_file() = default;
    output_file(const output_file &) = delete;
    output_file &operator=(const output_file &) = delete;
    ~output_file(); // removes a temporary file that was not finished
};

// Installs the handlers that remove the temporary files. Signals that were ignored stay ignored.
// A file that grows beyond the allowed size becomes a failed write.
void catch_signals();

// Creates the temporary file, with the permissions of the target or those of a new file. Returns
// 0, or -1 after a report: the target is a folder, not a regular file, write-protected or a link
// that leads nowhere, its folder is missing or cannot be written, or too many outputs are open.
[[nodiscard]] int start_output(const std::string &target, output_file &out);

// Gives the temporary file its name. Its content is flushed to the disk before that when it
// replaces a file or when `flush` asks for it. Returns 0, or -1 after a report; nothing is left
// behind then and an existing target is untouched.
[[nodiscard]] int finish_output(output_file &out, bool flush);

} // namespace reel
