// Frame numbers: ranges of them, and what they look like in file names.
//
//   frame_selection chosen;
//   parse_frame_selection("10-20x2", &chosen);                 // 0: 10, 12 ... 20
//   frame_pattern pattern;
//   parse_pattern("shots/a.####.png", &pattern);               // pattern_kind::pattern
//   format_frame_path(pattern, 7);                             // "shots/a.0007.png"
//
// A pattern is a path whose last part holds one placeholder for the frame number: a run of '#' or
// of '@' as long as the shortest number, or %d or %0Nd. Numbers are padded with zeros to that
// length and are longer where they need to be: "a.##.png" stands for a.09.png, a.10.png and
// a.100.png. A single '#', '@' and %d accept any padding and write none. A number may be negative
// where its sign starts the name or follows a '.' or '_' ("a.-01.png"); elsewhere a '-' is part
// of the name. Numbers have at most 18 digits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace reel {

// Frame numbers, both ends included.
struct frame_range {
    std::int64_t first = 0;
    std::int64_t last = 0;
};

// Frames that a user asks for: every step-th of a range, from its first on.
struct frame_selection {
    frame_range range;
    std::int64_t step = 1; // 1 or more
};

// Reads "A-B", "A-BxS" or "A"; numbers may be negative ("-5--1"). Returns 0, or -1 when the text
// is anything else, B comes before A, S is below 1 or a number has more than 18 digits.
[[nodiscard]] int parse_frame_selection(std::string_view text, frame_selection *chosen);

// How many frames there are in a selection.
[[nodiscard]] std::int64_t count_selected(const frame_selection &chosen);

// Whether a number is one of a selection.
[[nodiscard]] bool is_selected(const frame_selection &chosen, std::int64_t number);

// "frame 9", "frames 5-7, 9"; after the eighth run "...".
[[nodiscard]] std::string format_ranges(std::span<const frame_range> ranges);

// Adds a number, which must come after those that are there.
void add_to_ranges(std::vector<frame_range> &ranges, std::int64_t number);

// The numbers of a selection that are not among `there`, all of which are; with a step the first few
// only: as many as format_ranges shows, and one more.
[[nodiscard]] std::vector<frame_range> find_missing(const frame_selection &chosen,
                                                    const std::set<std::int64_t> &there);

// How many numbers there are.
[[nodiscard]] std::int64_t count_in_ranges(std::span<const frame_range> ranges);

struct frame_pattern {
    std::string folder; // with its last '/', or empty
    std::string prefix; // of the name
    std::string suffix; // of the name
    int padding = 0;    // characters of the shortest number, sign included; 0: any
};

enum class pattern_kind {
    pattern, // filled
    plain,   // the path holds no placeholder
    unclear, // it holds several
};

[[nodiscard]] pattern_kind parse_pattern(std::string_view path, frame_pattern *pattern);

// "shots/a.####.png"
[[nodiscard]] std::string format_pattern(const frame_pattern &pattern);

// The path of one frame.
[[nodiscard]] std::string format_frame_path(const frame_pattern &pattern, std::int64_t number);

// Reads the frame number that a file name (without folder) has under a pattern. Returns 0, or -1
// when the name does not fit.
[[nodiscard]] int match_frame_name(const frame_pattern &pattern, std::string_view name,
                                   std::int64_t *number);

// A place in a file name where a frame number may stand, sign included.
struct digit_run {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// All of them from the last to the first, but for those in the extension: "-001" and "2" of
// "a_v2.-001.mp4".
[[nodiscard]] std::vector<digit_run> find_digit_runs(std::string_view name);

} // namespace reel
