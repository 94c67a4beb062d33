#include "examples/orbit/arguments.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace orbit {

namespace {

// The whole text as a number of at least `least`.
bool read_number(std::string_view text, int least, int &number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number >= least;
}

bool read_size(std::string_view text, arguments &wanted) {
    const std::size_t cross = text.find('x');
    return cross != std::string_view::npos && read_number(text.substr(0, cross), 1, wanted.width) &&
           read_number(text.substr(cross + 1), 1, wanted.height);
}

bool read_rate(const char *text, double &rate) {
    char *end = nullptr;
    rate = std::strtod(text, &end);
    return end != text && *end == '\0' && rate >= 0;
}

// One option with its value. Returns 1, 0 when the value is wrong, -1 when there is none of the name.
int read_option(std::string_view name, const char *value, arguments &wanted) {
    if (name == "--size")
        return read_size(value, wanted) ? 1 : 0;
    if (name == "--frames")
        return read_number(value, 1, wanted.frames) ? 1 : 0;
    if (name == "--rate")
        return read_rate(value, wanted.rate) ? 1 : 0;
    if (name == "--slow")
        return read_number(value, 0, wanted.slow) ? 1 : 0;
    if (name != "--player")
        return -1;
    wanted.player = value;
    return 1;
}

} // namespace

int read_arguments(int argc, char **argv, arguments &wanted) {
    for (int at = 1; at < argc; ++at) {
        const std::string_view name = argv[at];
        if (name == "--render" || name == "--preview") {
            wanted.is_preview = name == "--preview";
            continue;
        }
        if (name == "--help") {
            wanted.is_help = true;
            return 0;
        }
        const char *value = at + 1 < argc ? argv[at + 1] : "";
        const int result = read_option(name, value, wanted);
        if (result == 1) {
            ++at;
            continue;
        }
        if (result == 0)
            std::fprintf(stderr, "orbit: %s does not take \"%s\"\n", argv[at], value);
        else
            std::fprintf(stderr, "orbit: there is no option %s\n%s", argv[at], usage);
        return -1;
    }
    return 0;
}

} // namespace orbit
