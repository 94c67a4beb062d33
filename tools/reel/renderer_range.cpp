#include "tools/reel/renderer_range.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>

namespace reel {

namespace {

constexpr std::int64_t most_frame = 1'000'000'000; // what any renderer can count to
constexpr std::uintmax_t most_ini_bytes = 1 << 20; // a larger file is no list of options

using arguments_given = std::vector<std::string>;

std::string to_lower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

std::string_view trim(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n\"";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

std::optional<std::int64_t> read_frame(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    if (number > most_frame || number < -most_frame)
        return std::nullopt;
    return number;
}

// "/opt/blender-4.1/blender", "blender3.6", "povray", "povray.exe": a name and perhaps a version.
bool is_program(std::string_view word, std::string_view name) {
    const std::string last = to_lower(word.substr(word.find_last_of("/\\") + 1));
    std::string_view rest = last;
    if (rest.substr(0, name.size()) != name)
        return false;
    rest.remove_prefix(name.size());
    if (rest.ends_with(".exe"))
        rest.remove_suffix(4);
    return rest.find_first_not_of("0123456789.-") == std::string_view::npos;
}

int give_range(std::optional<std::int64_t> first, std::optional<std::int64_t> last,
               std::optional<std::int64_t> step, frame_selection *range) {
    if (!first || !last || !step || *last < *first || *step < 1)
        return -1;
    *range = {{*first, *last}, *step};
    return 0;
}

// --- Blender -------------------------------------------------------------------------------------

// "7" or "1..48".
int read_blender_frames(std::string_view text, frame_selection *range) {
    const std::size_t dots = text.find("..");
    if (dots == std::string_view::npos)
        return give_range(read_frame(text), read_frame(text), 1, range);
    return give_range(read_frame(text.substr(0, dots)), read_frame(text.substr(dots + 2)), 1,
                      range);
}

int read_blender(const arguments_given &given, frame_selection *range, std::string *how) {
    std::optional<std::int64_t> first;
    std::optional<std::int64_t> last;
    std::optional<std::int64_t> step = 1;
    std::string frames;
    *how = "blender";
    for (std::size_t i = 0; i < given.size(); ++i) {
        const std::string &word = given[i];
        if (word == "-a" || word == "--render-anim" || word == "--")
            break;
        const bool is_frames = word == "-f" || word == "--render-frame";
        const bool is_first = word == "-s" || word == "--frame-start";
        const bool is_last = word == "-e" || word == "--frame-end";
        const bool is_step = word == "-j" || word == "--frame-jump";
        if (!(is_frames || is_first || is_last || is_step) || i + 1 == given.size())
            continue;
        const std::string &value = given[++i];
        how->append(" ").append(word).append(" ").append(value);
        if (is_frames && !frames.empty())
            return -1;
        if (is_frames)
            frames = value;
        else
            (is_first ? first : is_last ? last : step) = read_frame(value);
    }
    if (frames.empty())
        return give_range(first, last, step, range);
    return first || last ? -1 : read_blender_frames(frames, range);
}

// --- POV-Ray -------------------------------------------------------------------------------------

struct pov_option {
    std::string_view option; // after '+' or '-'
    std::string_view entry;
};
enum pov_value { initial_frame, final_frame, subset_start, subset_end, pov_value_count };
constexpr std::array<pov_option, pov_value_count> pov_options = {{
    {"kfi", "initial_frame"},
    {"kff", "final_frame"},
    {"sf", "subset_start_frame"},
    {"ef", "subset_end_frame"},
}};

struct pov_reading {
    std::array<std::optional<std::int64_t>, pov_value_count> values;
    bool is_unclear = false; // a value that is no frame number
    std::string how = "povray";
};

// One option, "+KFI1" or "Initial_Frame=1". Returns whether it is about frames.
bool read_pov_option(std::string_view text, pov_reading &reading) {
    const std::string lower = to_lower(trim(text));
    const std::string_view word = lower;
    const std::size_t equals = word.find('=');
    for (std::size_t i = 0; i < pov_options.size(); ++i) {
        const auto &[option, entry] = pov_options[i];
        std::string_view value;
        if (!word.empty() && (word[0] == '+' || word[0] == '-') &&
            word.substr(1, option.size()) == option)
            value = word.substr(1 + option.size());
        else if (equals != std::string_view::npos && trim(word.substr(0, equals)) == entry)
            value = trim(word.substr(equals + 1));
        else
            continue;
        reading.values[i] = read_frame(value);
        reading.is_unclear = reading.is_unclear || !reading.values[i].has_value();
        reading.how.append(" ").append(trim(text));
        return true;
    }
    return false;
}

// A file of options: what stands before its first section, and the section that was asked for.
void read_pov_file(const std::string &path, const std::string &section, pov_reading &reading) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error) ||
        std::filesystem::file_size(path, error) > most_ini_bytes)
        return;
    reading.how.append(" ").append(path);
    std::ifstream file(path);
    bool is_read = true;
    for (std::string line; std::getline(file, line);) {
        const std::string_view text = trim(std::string_view(line).substr(0, line.find(';')));
        if (text.starts_with('['))
            is_read = to_lower(trim(text.substr(1, text.find(']') - 1))) == section;
        else if (is_read)
            (void)read_pov_option(text, reading);
    }
}

int read_povray(const arguments_given &given, frame_selection *range, std::string *how) {
    pov_reading reading;
    for (const std::string &word : given) {
        if (read_pov_option(word, reading))
            continue;
        const std::size_t bracket = std::min(word.find('['), word.size());
        const std::string path = word.substr(0, bracket);
        std::string section = to_lower(word.substr(std::min(bracket + 1, word.size())));
        section.erase(std::min(section.find(']'), section.size()));
        if (to_lower(path).ends_with(".ini"))
            read_pov_file(path, section, reading);
    }
    *how = reading.how;
    const auto &values = reading.values;
    if (reading.is_unclear || !values[final_frame])
        return -1;
    const std::int64_t first = values[initial_frame].value_or(1);
    return give_range(std::max(first, values[subset_start].value_or(first)),
                      std::min(*values[final_frame], values[subset_end].value_or(most_frame)), 1,
                      range);
}

} // namespace

int read_renderer_range(const std::vector<std::string> &command, frame_selection *range,
                        std::string *how) {
    struct known_renderer {
        std::string_view name;
        int (*read)(const arguments_given &given, frame_selection *range, std::string *how);
    };
    constexpr std::array<known_renderer, 3> known = {{
        {"blender", read_blender},
        {"org.blender.blender", read_blender},
        {"povray", read_povray},
    }};
    std::string understood;
    for (std::size_t i = 0; i < command.size(); ++i)
        for (const known_renderer &each : known) {
            if (!is_program(command[i], each.name))
                continue;
            const arguments_given rest(command.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                                       command.end());
            const int result = each.read(rest, range, &understood);
            if (result == 0)
                *how = understood;
            return result;
        }
    return -1;
}

} // namespace reel
