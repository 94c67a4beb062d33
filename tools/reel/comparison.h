// What a comparison found, and telling it.
//
//   comparison found;
//   ... found.frames.push_back(...) ...
//   print_comparison(found, true);
#pragma once

#include "tools/reel/difference.h"

#include <cstdint>
#include <string>
#include <vector>

namespace reel {

struct compared_frame {
    std::int64_t number = 0; // of the first input
    picture_difference difference;
};

struct comparison {
    std::string a; // the inputs' descriptions
    std::string b;
    picture_part part;                  // that was compared
    std::vector<compared_frame> frames; // in order
    std::int64_t a_count = -1;          // frames of the inputs; -1: more than were compared
    std::int64_t b_count = -1;
    std::int64_t left_out = 0; // frames that one of them does not have
};

// All frames together.
[[nodiscard]] picture_difference add_up(const comparison &found);

// The index of the frame with the greatest error; the first of equals. There must be frames.
[[nodiscard]] std::size_t find_worst(const comparison &found);

// On standard output.
void print_comparison(const comparison &found, bool list);
void print_comparison_as_json(const comparison &found);

} // namespace reel
