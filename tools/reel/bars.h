// Small pictures of numbers over time, in a line of text.
//
//   std::string line = draw_bars(errors, bar_kind::peaks, has_block_characters()); // "▂▂▃█▅▁x▂"
//
// On a terminal that knows Unicode the bars are block characters, elsewhere ". : - = + * # @".
#pragma once

#include <span>
#include <string>

namespace reel {

inline constexpr std::size_t max_bars = 60;

enum class bar_kind {
    peaks,  // a bar that stands for several values shows the greatest; its length counts from 0
    levels, // it shows their mean; the shortest bar is the least of them but 0
};

// Whether the user's locale (LC_ALL, LC_CTYPE, LANG) is one of UTF-8.
[[nodiscard]] bool has_block_characters();

// Draws a bar for each value, or for even runs of values when there are more than max_bars. The
// longest bar is the greatest one shown; a blank is 0. Values that are not a number are unknown: a
// bar of nothing else is an x.
[[nodiscard]] std::string draw_bars(std::span<const double> values, bar_kind kind, bool blocks);

} // namespace reel
