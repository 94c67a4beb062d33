// What the codec benchmark prints: times, ratios, and which goals hold.
//
//   bench::time_table times;
//   bench::add_time(times, "decode avx2", "soft", 0.31);      // as often as it was measured
//   bench::print_times(times, rows, columns);
//   bench::print_ratios(times, "goal", ratios, columns);
#pragma once

#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// Milliseconds per frame by row (what was done) and column (with which clip).
using time_table = std::map<std::pair<std::string, std::string>, std::vector<double>>;

void add_time(time_table &times, const std::string &row, const std::string &column,
              double milliseconds);

// The median; negative when nothing was measured.
[[nodiscard]] double median_time(const time_table &times, const std::string &row,
                                 const std::string &column);

enum class goal_kind { none, at_most, at_least };

// One row over another.
struct ratio {
    std::string above;
    std::string below;
    goal_kind goal = goal_kind::none;
    double limit = 0;
};

void print_times(const time_table &times, std::span<const std::string> rows,
                 std::span<const std::string> columns);

// A line for each ratio that was measured: its value for each clip and, where there is a goal,
// "holds" or "misses" behind it.
void print_ratios(const time_table &times, const char *title, std::span<const ratio> ratios,
                  std::span<const std::string> columns);

} // namespace bench
