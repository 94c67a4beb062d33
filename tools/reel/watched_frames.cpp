#include "tools/reel/watched_frames.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>

namespace reel {

namespace {

// ---- numbers in names

bool is_letter(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

frame_pattern pattern_around(std::string_view name, const digit_run &run) {
    return {"", std::string(name.substr(0, run.begin)), std::string(name.substr(run.end)), 0};
}

// The digits of the run in which another name differs from the first; empty when it is no
// neighbour.
std::string_view digits_of_neighbour(const frame_pattern &pattern, std::string_view other) {
    std::int64_t number = 0;
    if (match_frame_name(pattern, other, &number) != 0)
        return {};
    other.remove_prefix(pattern.prefix.size());
    other.remove_suffix(pattern.suffix.size());
    return other;
}

// Numbers of this many digits or more are hardly anything but frame numbers.
constexpr std::size_t long_number = 3;

// How likely a run is the frame number. Versions ("v2"), sizes ("1920x1080") and units ("2k") are
// not, even when files differ in them.
int rate_run(std::string_view name, const digit_run &run, const std::vector<std::string> &others) {
    int rate = run.end - run.begin >= long_number ? 1 : 0;
    const char before = run.begin > 0 ? name[run.begin - 1] : '.';
    if ((run.end < name.size() && is_letter(name[run.end])) ||
        std::strchr("vVxX", before) != nullptr)
        rate -= 3;
    const frame_pattern pattern = pattern_around(name, run);
    const bool differs = std::any_of(others.begin(), others.end(), [&](const std::string &other) {
        return other != name && !digits_of_neighbour(pattern, other).empty();
    });
    return differs ? rate + 2 : rate;
}

bool starts_with_zero(std::string_view digits) {
    return digits.size() > 1 && digits.front() == '0';
}

// The padding that a number shows, or that its neighbours show for it; 0 when nothing does: "10"
// may follow 9 or 09.
int shown_padding(std::string_view digits, const frame_pattern &pattern,
                  const std::vector<std::string> &others) {
    if (starts_with_zero(digits))
        return static_cast<int>(digits.size());
    std::size_t padding = 0;
    if (digits.front() == '-')
        return 0;
    for (const std::string &other : others) {
        const std::string_view text = digits_of_neighbour(pattern, other);
        if (starts_with_zero(text) && text.size() <= digits.size())
            padding = std::max(padding, text.size());
    }
    return static_cast<int>(padding);
}

// Fills all but the folder. The name must have a number.
void take_pattern(const std::string &name, const std::vector<std::string> &others,
                  frame_pattern &pattern) {
    int best_rate = 0;
    const digit_run *best = nullptr;
    const std::vector<digit_run> runs = find_digit_runs(name);
    for (const digit_run &run : runs) {
        const int rate = rate_run(name, run, others);
        if (best == nullptr || rate > best_rate) {
            best = &run;
            best_rate = rate;
        }
    }
    if (best == nullptr)
        return;
    frame_pattern found = pattern_around(name, *best);
    const std::string digits = name.substr(best->begin, best->end - best->begin);
    found.padding = shown_padding(digits, found, others);
    found.folder = pattern.folder;
    pattern = std::move(found);
}

// ---- names in folders

std::string in_lower_case(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

bool has_word(std::string_view text, std::string_view word) {
    for (std::size_t at = text.find(word); at != std::string_view::npos;
         at = text.find(word, at + 1)) {
        const std::size_t end = at + word.size();
        if ((at == 0 || !is_letter(text[at - 1])) && (end == text.size() || !is_letter(text[end])))
            return true;
    }
    return false;
}

bool is_thumbnail(std::string_view name) {
    constexpr std::array<std::string_view, 4> words = {"thumb", "thumbs", "thumbnail",
                                                       "thumbnails"};
    return std::any_of(words.begin(), words.end(),
                       [&](std::string_view word) { return has_word(name, word); });
}

bool is_temporary(std::string_view name) {
    return name.front() == '.' || name.ends_with('~') || name.ends_with(".tmp") ||
           name.ends_with(".part") || name.ends_with(".lock") ||
           name.find(".tmp.") != std::string_view::npos ||
           name.find(".part.") != std::string_view::npos;
}

std::vector<std::string> names_beside(const std::string &folder) {
    std::vector<std::string> names;
    std::error_code error;
    const std::filesystem::path path = folder.empty() ? "." : folder;
    auto entry = std::filesystem::directory_iterator(path, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        names.push_back(entry->path().filename().string());
    return names;
}

// ---- what the user has given

void take_folder(const std::string &text, watched_frames &frames) {
    frames.is_folder = true;
    frames.pattern.folder = text.ends_with('/') ? text : text + "/";
    frames.description = "images in ";
    frames.description += frames.pattern.folder;
}

int take_example(const std::string &text, watched_frames &frames, std::string *fault) {
    const std::size_t slash = text.rfind('/');
    const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
    const std::string name = text.substr(start);
    if (find_digit_runs(name).empty()) {
        *fault = text;
        *fault += ": there is no frame number in this name (give a pattern like ####.png, or a "
                  "folder with '/' at its end)";
        return -1;
    }
    frames.pattern.folder = text.substr(0, start);
    take_pattern(name, names_beside(frames.pattern.folder), frames.pattern);
    frames.known = true;
    frames.description = format_pattern(frames.pattern);
    return 0;
}

bool stands_for_folder(const std::string &text) {
    const std::string name = text.substr(text.rfind('/') + 1); // npos + 1 is 0
    return name.find_first_not_of('.') == std::string::npos ||
           name.find('.', 1) == std::string::npos;
}

} // namespace

int understand_frames(const std::string &text, watched_frames &frames, std::string *fault) {
    frames = {};
    struct stat status {};
    const bool exists = ::stat(text.c_str(), &status) == 0;
    if (text.empty()) {
        *fault = "no frames are named";
        return -1;
    }
    if (exists && S_ISDIR(status.st_mode)) {
        take_folder(text, frames);
        return 0;
    }
    switch (parse_pattern(text, &frames.pattern)) {
    case pattern_kind::pattern:
        frames.known = true;
        frames.description = format_pattern(frames.pattern);
        return 0;
    case pattern_kind::unclear:
        *fault = text + ": there is more than one place for a frame number";
        return -1;
    case pattern_kind::plain:
        break;
    }
    if (exists && !S_ISREG(status.st_mode)) {
        *fault = text + ": it is neither a file nor a folder";
        return -1;
    }
    if (!exists && stands_for_folder(text)) {
        take_folder(text, frames);
        return 0;
    }
    return take_example(text, frames, fault);
}

bool is_frame_name(std::string_view name, const std::vector<std::string> &extensions) {
    if (name.empty())
        return false;
    const std::string lower = in_lower_case(name);
    const std::size_t dot = lower.rfind('.');
    if (dot == std::string::npos || is_temporary(lower) || is_thumbnail(lower))
        return false;
    return std::find(extensions.begin(), extensions.end(), lower.substr(dot + 1)) !=
               extensions.end() &&
           !find_digit_runs(name).empty();
}

void understand_folder(const std::string &name, const std::vector<std::string> &others,
                       watched_frames &frames) {
    take_pattern(name, others, frames.pattern);
    frames.known = true;
    frames.description = format_pattern(frames.pattern);
}

} // namespace reel
