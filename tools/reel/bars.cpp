#include "tools/reel/bars.h"

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstring>
#include <iterator>
#include <langinfo.h>
#include <limits>
#include <vector>

namespace reel {

namespace {

constexpr const char *block_bars[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr const char *plain_bars[] = {".", ":", "-", "=", "+", "*", "#", "@"};
constexpr const char *unknown_bar = "x";
static_assert(std::size(block_bars) == std::size(plain_bars));

// One bar's worth of values.
double gather(std::span<const double> values, bar_kind kind) {
    double sum = 0;
    double greatest = 0;
    int known = 0;
    for (const double value : values) {
        if (std::isnan(value))
            continue;
        sum += value;
        greatest = std::max(greatest, value);
        ++known;
    }
    if (known == 0)
        return std::numeric_limits<double>::quiet_NaN();
    return kind == bar_kind::levels ? sum / known : greatest;
}

} // namespace

bool has_block_characters() {
    const locale_t users = ::newlocale(LC_CTYPE_MASK, "", nullptr);
    if (users == nullptr)
        return false;
    const bool utf8 = std::strcmp(::nl_langinfo_l(CODESET, users), "UTF-8") == 0;
    ::freelocale(users);
    return utf8;
}

std::string draw_bars(std::span<const double> values, bar_kind kind, bool blocks) {
    const std::size_t count = std::min(values.size(), max_bars);
    std::vector<double> shown;
    double greatest = 0;
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t begin = i * values.size() / count;
        const std::size_t end = (i + 1) * values.size() / count;
        shown.push_back(gather(values.subspan(begin, end - begin), kind));
        if (!(shown.back() > 0))
            continue;
        greatest = std::max(greatest, shown.back());
        least = std::min(least, shown.back());
    }
    const double ground = kind == bar_kind::levels && least < greatest ? least : 0;
    const auto levels = static_cast<double>(std::size(block_bars));
    std::string line;
    for (const double value : shown) {
        if (std::isnan(value)) {
            line += unknown_bar;
        } else if (!(value > 0)) {
            line += ' ';
        } else {
            const auto level = static_cast<std::size_t>(
                std::clamp(std::ceil((value - ground) / (greatest - ground) * levels), 1.0,
                           levels) -
                1);
            line += blocks ? block_bars[level] : plain_bars[level];
        }
    }
    return line;
}

} // namespace reel
