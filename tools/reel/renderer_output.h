// What a renderer writes on one of its streams, passed on byte for byte to the same stream of ours.
//
//   renderer_output output;
//   const int its_end = open_output(STDOUT_FILENO, output);   // for the renderer; then closed here
//   while (output.fd >= 0) {
//       poll(output.fd for reading, output_wait_ms(output, clock::now()));
//       move_output(output, clock::now(), lines);
//       if (is_output_over(output, clock::now()))
//           close_output(output);
//   }
//
// Whoever reads our stream and is slow slows the renderer down, as without us: `most_bytes_held` bytes
// are held for him, then no more is read. Whoever has taken nothing for `patience` does not hold the
// rendering up any longer: reading goes on, and what comes beyond `most_bytes_held` is left out, which
// is said at that place once he reads on. Where nobody reads at all (a closed pipe) everything is
// left out. No call waits, except flush_output.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

namespace reel {

using steady_time = std::chrono::steady_clock::time_point;

inline constexpr std::size_t kept_lines = 20; // of output
inline constexpr std::size_t kept_line_bytes = 500;
inline constexpr std::size_t most_bytes_held = std::size_t{4} << 20;

struct renderer_output {
    int fd = -1;   // to poll for reading: there is something to do; -1: all is over
    int from = -1; // our end of its pipe; -1: it was closed
    int to = -1;   // our own stream; -1: nobody reads it
    bool is_beside_reports = false; // our stream is that of reports, too
    bool is_from_polled = false;
    bool is_to_polled = false;
    std::string waiting; // read, and from `passed` on not passed on yet
    std::size_t passed = 0;
    std::uint64_t left_out = 0; // bytes, not said yet
    std::size_t owed = 0;       // bytes that were in the pipe when the renderer ended
    steady_time last_taken;     // when our reader last took something
    std::string open_line;      // not ended yet
    std::chrono::milliseconds patience{5000};
};

// Opens a pipe that is passed on to `stream` of ours. Returns the renderer's end of it, close on
// exec, which is the caller's; or -1 with errno.
[[nodiscard]] int open_output(int stream, renderer_output &output);

// Reads some of what there is, passes on what is taken, and adds the lines that ended to `lines`,
// the last kept_lines of them. A carriage return ends a line, too; empty ones are not kept, long
// ones cut.
void move_output(renderer_output &output, steady_time now, std::deque<std::string> &lines);

// How long a poll may take at most, in milliseconds; -1: as long as it takes.
[[nodiscard]] int output_wait_ms(const renderer_output &output, steady_time now);

// The renderer has ended: what it wrote before is owed to our reader, even if others hold the pipe.
void note_last_output(renderer_output &output);

// Whether the pipe has more of the renderer itself.
[[nodiscard]] bool is_output_owed(const renderer_output &output);

// Reads no more. A line that was not ended is added to `lines`.
void stop_reading(renderer_output &output, std::deque<std::string> &lines);

// Whether nothing more is read, and everything is passed on or can not be.
[[nodiscard]] bool is_output_over(const renderer_output &output, steady_time now);

// Reads what is in the pipe now and no more, and waits until it is passed on or our reader has taken
// nothing for `patience`.
void flush_output(renderer_output &output, std::deque<std::string> &lines);

// Closes everything.
void close_output(renderer_output &output);

} // namespace reel
