// A movie file in the making: it appears under its name only when it is complete.
//
//   movie_writer writer;
//   if (check_replaced("shot.reel") == 0 &&
//       start_movie("shot.reel", {640, 480, 24, 12, 240}, writer) == 0) {
//       for (...) add_frame(writer, packed);          // 0, or -1 after a report
//       finish_movie(writer);
//   }                                                 // else removed with the record
//
// A file keeps its table before its frames. When the number of frames was not known at the start,
// or turns out to be another, finish_movie copies the frames behind a table that fits.
#pragma once

#include "movie/vf.h"
#include "tools/reel/output_file.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace reel {

// The most that a movie's table can be for.
inline constexpr std::int64_t max_movie_frames =
    (movie::vf_max_file_bytes - movie::vf_header_bytes) / std::int64_t{sizeof(std::int32_t)};

struct movie_settings {
    int width = 0;           // pixels; what is over a multiple of 4 is left away
    int height = 0;          // pixels; likewise
    int rate = 0;            // frames per second
    int threshold = 0;       // what the frames were compressed with
    std::int64_t count = -1; // frames; a guess is good too; -1: unknown
};

struct movie_writer {
    output_file file;
    movie::vf_movie film;
    int count = 0;                    // frames so far
    int repeats = 0;                  // of them stored without data
    std::vector<std::uint8_t> newest; // the data of the picture that a repeat would repeat
};

// An existing file gives way to a movie only when it is one: a forgotten -o must not cost an
// image. Returns 0, or -1 after a report.
[[nodiscard]] int check_replaced(const std::string &name);

// Creates the movie. Returns 0, or -1 after a report.
[[nodiscard]] int start_movie(const std::string &name, const movie_settings &settings,
                              movie_writer &writer);

// Appends a frame's compressed data; the same data again, or an empty span, is stored as a repeat.
// Returns 0, or -1 after a report: no room on the disk, or beyond what a movie file can hold.
[[nodiscard]] int add_frame(movie_writer &writer, std::span<const std::uint8_t> data);

// Appends a frame that is not there: its table entry is 0.
[[nodiscard]] int add_missing_frame(movie_writer &writer);

// Completes the file and gives it its name. Returns 0, or -1 after a report; nothing is left behind
// then and an existing file is untouched.
[[nodiscard]] int finish_movie(movie_writer &writer);

} // namespace reel
