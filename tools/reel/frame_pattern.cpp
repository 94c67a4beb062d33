#include "tools/reel/frame_pattern.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace reel {

namespace {

constexpr std::size_t max_digits = 18;
constexpr std::int64_t max_number = 999'999'999'999'999'999; // of so many
constexpr std::size_t max_runs_shown = 8;
constexpr int max_padding = 18;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// A '-' after this much of a name is a sign.
bool may_be_signed(std::string_view before) {
    return before.empty() || before.back() == '.' || before.back() == '_';
}

// Takes a number with an optional sign from the front of the text.
int take_number(std::string_view &text, std::int64_t *number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    if (error != std::errc())
        return -1;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return 0;
}

bool has_padding(std::string_view digits, bool negative, int padding) {
    const auto length = static_cast<int>(digits.size());
    const bool natural = digits.size() == 1 || digits.front() != '0';
    if (padding == 0 || length == padding || (negative && length == padding - 1))
        return true;
    return length > padding - (negative ? 1 : 0) && natural;
}

struct placeholder {
    std::size_t begin = 0;
    std::size_t end = 0;
    int padding = 0;
};

// %d or %0Nd at `begin`.
bool read_percent(std::string_view name, std::size_t begin, placeholder *found) {
    std::size_t at = begin + 1;
    std::int64_t padding = 0;
    if (at < name.size() && name[at] == '0') {
        std::string_view rest = name.substr(at);
        if (take_number(rest, &padding) != 0 || padding < 1 || padding > max_padding)
            return false;
        at = name.size() - rest.size();
    }
    if (at >= name.size() || name[at] != 'd')
        return false;
    *found = {begin, at + 1, static_cast<int>(padding)};
    return true;
}

// All placeholders that start with `mark`.
std::vector<placeholder> find_placeholders(std::string_view name, char mark) {
    std::vector<placeholder> all;
    for (std::size_t at = name.find(mark); at != std::string_view::npos; at = name.find(mark, at)) {
        placeholder found;
        if (mark == '%') {
            if (!read_percent(name, at, &found)) {
                ++at;
                continue;
            }
        } else {
            const std::size_t end = std::min(name.find_first_not_of(mark, at), name.size());
            const auto length = static_cast<int>(end - at);
            found = {at, end, length == 1 ? 0 : std::min(length, max_padding)};
        }
        all.push_back(found);
        at = found.end;
    }
    return all;
}

} // namespace

namespace {

// Takes `mark` and a number off the front of a text that is not empty.
int take_marked_number(std::string_view &text, char mark, std::int64_t *number) {
    if (text.front() != mark)
        return -1;
    text.remove_prefix(1);
    return take_number(text, number);
}

} // namespace

int parse_frame_selection(std::string_view text, frame_selection *chosen) {
    frame_selection read;
    frame_range &range = read.range;
    if (take_number(text, &range.first) != 0)
        return -1;
    range.last = range.first;
    if (!text.empty() && take_marked_number(text, '-', &range.last) != 0)
        return -1;
    if (!text.empty() && take_marked_number(text, 'x', &read.step) != 0)
        return -1;
    if (!text.empty() || range.last < range.first || read.step < 1)
        return -1;
    if (range.first < -max_number || range.last > max_number || read.step > max_number)
        return -1;
    *chosen = read;
    return 0;
}

std::int64_t count_selected(const frame_selection &chosen) {
    return (chosen.range.last - chosen.range.first) / chosen.step + 1;
}

bool is_selected(const frame_selection &chosen, std::int64_t number) {
    return number >= chosen.range.first && number <= chosen.range.last &&
           (number - chosen.range.first) % chosen.step == 0;
}

std::string format_ranges(std::span<const frame_range> ranges) {
    const bool single = ranges.size() == 1 && ranges[0].first == ranges[0].last;
    std::string text = single ? "frame" : "frames";
    const char *separator = " ";
    for (const frame_range &range : ranges.first(std::min(ranges.size(), max_runs_shown))) {
        text += separator;
        text += std::to_string(range.first);
        if (range.last > range.first)
            text.append("-").append(std::to_string(range.last));
        separator = ", ";
    }
    return ranges.size() > max_runs_shown ? text + ", ..." : text;
}

void add_to_ranges(std::vector<frame_range> &ranges, std::int64_t number) {
    if (!ranges.empty() && ranges.back().last == number - 1)
        ranges.back().last = number;
    else
        ranges.push_back({number, number});
}

std::vector<frame_range> find_missing(const frame_selection &chosen,
                                      const std::set<std::int64_t> &there) {
    std::vector<frame_range> missing;
    std::int64_t next = chosen.range.first;
    const auto add_up_to = [&](std::int64_t number) {
        if (chosen.step == 1 && next < number)
            missing.push_back({next, number - 1});
        for (; chosen.step != 1 && next < number && missing.size() <= max_runs_shown;
             next += chosen.step)
            missing.push_back({next, next});
        next = number + chosen.step;
    };
    for (const std::int64_t number : there)
        add_up_to(number);
    add_up_to(chosen.range.first + count_selected(chosen) * chosen.step);
    return missing;
}

std::int64_t count_in_ranges(std::span<const frame_range> ranges) {
    std::int64_t count = 0;
    for (const frame_range &range : ranges)
        count += range.last - range.first + 1;
    return count;
}

pattern_kind parse_pattern(std::string_view path, frame_pattern *pattern) {
    const std::size_t slash = path.rfind('/');
    const std::size_t start = slash == std::string_view::npos ? 0 : slash + 1;
    const std::string_view name = path.substr(start);
    for (const char mark : {'%', '#', '@'}) {
        const std::vector<placeholder> all = find_placeholders(name, mark);
        if (all.size() > 1)
            return pattern_kind::unclear;
        if (all.size() == 1) {
            pattern->folder = path.substr(0, start);
            pattern->prefix = name.substr(0, all[0].begin);
            pattern->suffix = name.substr(all[0].end);
            pattern->padding = all[0].padding;
            return pattern_kind::pattern;
        }
    }
    return pattern_kind::plain;
}

std::string format_pattern(const frame_pattern &pattern) {
    return pattern.folder + pattern.prefix +
           std::string(static_cast<std::size_t>(std::max(pattern.padding, 1)), '#') +
           pattern.suffix;
}

std::string format_frame_path(const frame_pattern &pattern, std::int64_t number) {
    char text[32];
    std::snprintf(text, sizeof text, "%0*lld", pattern.padding, static_cast<long long>(number));
    return pattern.folder + pattern.prefix + text + pattern.suffix;
}

int match_frame_name(const frame_pattern &pattern, std::string_view name, std::int64_t *number) {
    if (name.size() <= pattern.prefix.size() + pattern.suffix.size() ||
        !name.starts_with(pattern.prefix) || !name.ends_with(pattern.suffix))
        return -1;
    std::string_view text = name.substr(pattern.prefix.size());
    text.remove_suffix(pattern.suffix.size());
    const bool negative = text.front() == '-' && may_be_signed(pattern.prefix);
    const std::string_view digits = text.substr(negative ? 1 : 0);
    if (digits.empty() || digits.size() > max_digits ||
        !std::all_of(digits.begin(), digits.end(), is_digit) ||
        !has_padding(digits, negative, pattern.padding))
        return -1;
    return take_number(text, number);
}

std::vector<digit_run> find_digit_runs(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    const bool has_extension =
        dot != std::string_view::npos && dot > 0 &&
        !std::all_of(name.begin() + static_cast<std::ptrdiff_t>(dot) + 1, name.end(), is_digit);
    const std::string_view stem = has_extension ? name.substr(0, dot) : name;
    std::vector<digit_run> runs;
    for (std::size_t at = 0; at < stem.size();) {
        if (!is_digit(stem[at])) {
            ++at;
            continue;
        }
        std::size_t end = at;
        while (end < stem.size() && is_digit(stem[end]))
            ++end;
        const bool negative =
            at > 0 && stem[at - 1] == '-' && may_be_signed(stem.substr(0, at - 1));
        if (end - at <= max_digits)
            runs.push_back({negative ? at - 1 : at, end});
        at = end;
    }
    std::reverse(runs.begin(), runs.end());
    return runs;
}

} // namespace reel
