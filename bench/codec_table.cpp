#include "bench/codec_table.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace bench {

namespace {

constexpr int time_label_width = 18;  // characters
constexpr int ratio_label_width = 40; // characters
constexpr int time_column_width = 10; // characters

void print_head(const char *label, int label_width, std::span<const std::string> columns,
                int column_width) {
    std::printf("\n%-*s", label_width, label);
    for (const std::string &column : columns)
        std::printf("%*s", column_width, column.c_str());
    std::printf("\n");
}

bool is_measured(const time_table &times, const std::string &row,
                 std::span<const std::string> columns) {
    return std::any_of(columns.begin(), columns.end(), [&](const std::string &column) {
        return median_time(times, row, column) > 0;
    });
}

std::string ratio_label(const ratio &wanted) {
    std::string label = wanted.above + " / " + wanted.below;
    std::array<char, 32> goal{};
    if (wanted.goal != goal_kind::none)
        std::snprintf(goal.data(), goal.size(), " %s %g",
                      wanted.goal == goal_kind::at_most ? "<=" : ">=", wanted.limit);
    return label + goal.data();
}

const char *verdict(const ratio &wanted, double value) {
    if (wanted.goal == goal_kind::none)
        return "";
    const bool holds =
        wanted.goal == goal_kind::at_most ? value <= wanted.limit : value >= wanted.limit;
    return holds ? " holds" : " misses";
}

// A goal's line needs more room: for the verdicts.
int column_width(std::span<const ratio> ratios) {
    constexpr int verdict_width = 7; // characters, with a blank
    const bool goals = std::any_of(ratios.begin(), ratios.end(), [](const ratio &wanted) {
        return wanted.goal != goal_kind::none;
    });
    return time_column_width + (goals ? verdict_width : 0);
}

void print_ratio(const time_table &times, const ratio &wanted, std::span<const std::string> columns,
                 int width) {
    std::printf("%-*s", ratio_label_width, ratio_label(wanted).c_str());
    for (const std::string &column : columns) {
        const double above = median_time(times, wanted.above, column);
        const double below = median_time(times, wanted.below, column);
        std::array<char, 32> cell{'-'};
        if (above > 0 && below > 0)
            std::snprintf(cell.data(), cell.size(), "%.2f%s", above / below,
                          verdict(wanted, above / below));
        std::printf("%*s", width, cell.data());
    }
    std::printf("\n");
}

} // namespace

void add_time(time_table &times, const std::string &row, const std::string &column,
              double milliseconds) {
    times[{row, column}].push_back(milliseconds);
}

double median_time(const time_table &times, const std::string &row, const std::string &column) {
    const auto found = times.find({row, column});
    if (found == times.end())
        return -1;
    std::vector<double> sorted = found->second;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    return *middle;
}

void print_times(const time_table &times, std::span<const std::string> rows,
                 std::span<const std::string> columns) {
    print_head("ms per frame", time_label_width, columns, time_column_width);
    for (const std::string &row : rows) {
        if (!is_measured(times, row, columns))
            continue;
        std::printf("%-*s", time_label_width, row.c_str());
        for (const std::string &column : columns) {
            const double value = median_time(times, row, column);
            if (value > 0)
                std::printf("%*.3f", time_column_width, value);
            else
                std::printf("%*s", time_column_width, "-");
        }
        std::printf("\n");
    }
}

void print_ratios(const time_table &times, const char *title, std::span<const ratio> ratios,
                  std::span<const std::string> columns) {
    const int width = column_width(ratios);
    print_head(title, ratio_label_width, columns, width);
    for (const ratio &wanted : ratios)
        if (is_measured(times, wanted.above, columns) && is_measured(times, wanted.below, columns))
            print_ratio(times, wanted, columns, width);
}

} // namespace bench
