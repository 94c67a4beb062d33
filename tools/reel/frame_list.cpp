#include "tools/reel/frame_list.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <sys/stat.h>

namespace reel {

namespace {

constexpr std::size_t max_sequences_named = 3;

using name_list = std::vector<std::string>;

struct sequence {
    frame_pattern pattern;
    std::vector<frame_file> files; // by number
};

// What several frames of one sequence have in common, and the numbers' texts.
using run_key = std::pair<std::string, std::string>; // prefix, suffix
using run_map = std::map<run_key, name_list>;

run_key key_of(std::string_view name, const digit_run &run) {
    return {std::string(name.substr(0, run.begin)), std::string(name.substr(run.end))};
}

std::string text_of(std::string_view name, const digit_run &run) {
    return std::string(name.substr(run.begin, run.end - run.begin));
}

run_map map_runs(const name_list &names) {
    run_map map;
    for (const std::string &name : names)
        for (const digit_run &run : find_digit_runs(name))
            map[key_of(name, run)].push_back(text_of(name, run));
    return map;
}

bool is_padded(std::string_view text) {
    return text.size() > 1 && text.front() == '0';
}

// The padding of the sequence that a number text belongs to, given the texts of all numbers that
// stand between the same prefix and suffix.
int guess_padding(const std::string &text, const name_list &texts) {
    const bool negative = text.front() == '-';
    const auto exists = [&](std::size_t length) {
        return std::any_of(texts.begin(), texts.end(), [&](const std::string &other) {
            return other.front() != '-' && other.size() == length;
        });
    };
    if (is_padded(text.substr(negative ? 1 : 0)))
        return static_cast<int>(negative && !exists(text.size()) && exists(text.size() - 1)
                                    ? text.size() - 1
                                    : text.size());
    std::size_t padding = 1;
    for (const std::string &other : texts)
        if (is_padded(other) && other.size() <= text.size())
            padding = std::max(padding, other.size());
    return static_cast<int>(padding);
}

sequence collect_sequence(const frame_pattern &pattern, const name_list &names) {
    sequence found;
    found.pattern = pattern;
    for (const std::string &name : names) {
        std::int64_t number = 0;
        if (match_frame_name(pattern, name, &number) == 0)
            found.files.push_back({pattern.folder + name, number});
    }
    std::sort(found.files.begin(), found.files.end(), [](const frame_file &a, const frame_file &b) {
        return a.number != b.number ? a.number < b.number : a.path < b.path;
    });
    return found;
}

// The sequence that a name belongs to: the last of its digit runs in which others differ from it.
// One file, without pattern, when there is none.
sequence find_sequence(const std::string &folder, const std::string &name, const name_list &names,
                       const run_map &map) {
    for (const digit_run &run : find_digit_runs(name)) {
        const run_key key = key_of(name, run);
        const auto entry = map.find(key);
        if (entry == map.end() || entry->second.size() < 2)
            continue;
        const int padding = guess_padding(text_of(name, run), entry->second);
        sequence found = collect_sequence({folder, key.first, key.second, padding}, names);
        if (found.files.size() > 1)
            return found;
    }
    sequence single;
    single.files.push_back({folder + name, 0});
    return single;
}

// ---- checks

// More than a message shows.
constexpr std::size_t most_missing = 100;

// Adds every step-th number from first to last.
void add_missing(std::vector<frame_range> &missing, std::int64_t first, std::int64_t last,
                 std::int64_t step) {
    if (step == 1 && first <= last) {
        missing.push_back({first, last});
        return;
    }
    for (; first <= last && missing.size() < most_missing; first += step)
        missing.push_back({first, first});
}

// Keeps what is asked for; all of it must be there once.
int check_sequence(sequence &checked, const frame_selection *chosen, std::string *fault) {
    std::vector<frame_file> &files = checked.files;
    const std::string name = format_pattern(checked.pattern);
    if (chosen != nullptr)
        std::erase_if(files,
                      [&](const frame_file &file) { return !is_selected(*chosen, file.number); });
    if (files.empty()) {
        *fault = name + ": " + (chosen == nullptr ? "no such files" : "no such frames");
        return -1;
    }
    const std::int64_t step = chosen != nullptr ? chosen->step : 1;
    const std::int64_t last = chosen != nullptr
                                  ? chosen->range.first + (count_selected(*chosen) - 1) * step
                                  : files.back().number;
    std::vector<frame_range> missing;
    std::int64_t expected = chosen != nullptr ? chosen->range.first : files.front().number;
    for (const frame_file &file : files) {
        if (file.number < expected) {
            *fault = file.path + ": frame " + std::to_string(file.number) + " is there twice";
            return -1;
        }
        add_missing(missing, expected, file.number - step, step);
        expected = file.number + step;
    }
    add_missing(missing, expected, last, step);
    if (missing.empty())
        return 0;
    *fault = name + ": " + format_ranges(missing) +
             (count_in_ranges(missing) == 1 ? " is" : " are") +
             " missing (to leave them out, give the files as a list)";
    return -1;
}

// Keeps what is asked for of files that are numbered by position.
int select_positions(frame_list &list, const frame_selection *chosen, std::string *fault) {
    for (std::size_t i = 0; i < list.files.size(); ++i)
        list.files[i].number = static_cast<std::int64_t>(i);
    if (chosen == nullptr)
        return 0;
    const auto count = static_cast<std::int64_t>(list.files.size());
    if (chosen->range.first < 0 || chosen->range.last >= count) {
        *fault = list.description + ": there are frames 0-" + std::to_string(count - 1) + " only";
        return -1;
    }
    std::erase_if(list.files,
                  [&](const frame_file &file) { return !is_selected(*chosen, file.number); });
    return 0;
}

// ---- folders

std::string system_fault(const std::string &path, int reason) {
    return path + ": " + std::strerror(reason);
}

// The names of the files in a folder, hidden ones apart.
int list_folder(const std::string &folder, name_list *names, std::string *fault) {
    std::error_code error;
    const std::filesystem::path path = folder.empty() ? "." : folder;
    auto entry = std::filesystem::directory_iterator(path, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code unknown;
        std::string name = entry->path().filename().string();
        if (name.front() != '.' && entry->is_regular_file(unknown))
            names->push_back(std::move(name));
    }
    if (error) {
        *fault = system_fault(path.string(), error.value());
        return -1;
    }
    std::sort(names->begin(), names->end());
    return 0;
}

bool has_extension(const std::string &name, const std::vector<std::string> &extensions) {
    const std::size_t dot = name.rfind('.');
    std::string extension = dot == std::string::npos ? "" : name.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

// The sequences among names, the single files as sequences of one.
std::vector<sequence> group_names(const std::string &folder, const name_list &names) {
    const run_map map = map_runs(names);
    std::vector<sequence> groups;
    std::set<std::string> taken;
    for (const std::string &name : names) {
        if (taken.contains(folder + name))
            continue;
        groups.push_back(find_sequence(folder, name, names, map));
        for (const frame_file &file : groups.back().files)
            taken.insert(file.path);
    }
    return groups;
}

std::string name_group(const sequence &group) {
    return group.files.size() == 1 ? group.files.front().path : format_pattern(group.pattern);
}

void append_files(frame_list &list, std::vector<frame_file> files) {
    list.files.insert(list.files.end(), std::make_move_iterator(files.begin()),
                      std::make_move_iterator(files.end()));
}

// ---- inputs of each kind; `chosen` is null when the input is one of several

int add_sequence(sequence found, const frame_selection *chosen, frame_list &list,
                 std::string *fault) {
    if (check_sequence(found, chosen, fault) != 0)
        return -1;
    list.description = format_pattern(found.pattern);
    list.numbered = true;
    append_files(list, std::move(found.files));
    return 0;
}

int add_folder(const std::string &input, const std::vector<std::string> &extensions,
               const frame_selection *chosen, frame_list &list, std::string *fault) {
    const std::string folder = input.ends_with('/') ? input : input + "/";
    name_list names;
    if (list_folder(folder, &names, fault) != 0)
        return -1;
    const std::size_t others = std::erase_if(
        names, [&](const std::string &name) { return !has_extension(name, extensions); });
    if (names.empty()) {
        *fault = folder + ": there are no images in this folder";
        return -1;
    }
    if (others > 0)
        list.notes.push_back(
            folder + ": " + std::to_string(others) +
            (others == 1 ? " file is no image and is" : " files are no images and are") +
            " left out");
    std::vector<sequence> groups = group_names(folder, names);
    if (groups.size() == 1 && names.size() > 1)
        return add_sequence(std::move(groups[0]), chosen, list, fault);
    if (groups.size() < names.size()) {
        *fault = folder + ": which of these is the movie?";
        for (std::size_t i = 0; i < std::min(groups.size(), max_sequences_named); ++i)
            *fault += (i == 0 ? " " : ", ") + name_group(groups[i]);
        if (groups.size() > max_sequences_named)
            *fault += ", ... (" + std::to_string(groups.size()) + " in all)";
        return -1;
    }
    list.description = folder;
    for (sequence &group : groups)
        append_files(list, std::move(group.files));
    return 0;
}

// A file that is the only input.
int add_lone_file(const std::string &input, const frame_selection *chosen, frame_list &list,
                  std::string *fault) {
    const std::size_t slash = input.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : input.substr(0, slash + 1);
    const std::string name = input.substr(folder.size());
    name_list names;
    if (list_folder(folder, &names, fault) != 0)
        return -1;
    sequence found = find_sequence(folder, name, names, map_runs(names));
    if (found.files.size() > 1)
        return add_sequence(std::move(found), chosen, list, fault);
    list.description = input;
    list.files.push_back({input, 0});
    return 0;
}

int add_pattern(const std::string &input, const frame_selection *chosen, frame_list &list,
                std::string *fault) {
    frame_pattern pattern;
    switch (parse_pattern(input, &pattern)) {
    case pattern_kind::plain:
        *fault = system_fault(input, ENOENT);
        return -1;
    case pattern_kind::unclear:
        *fault = input + ": there is more than one place for a frame number";
        return -1;
    case pattern_kind::pattern:
        break;
    }
    name_list names;
    if (list_folder(pattern.folder, &names, fault) != 0)
        return -1;
    return add_sequence(collect_sequence(pattern, names), chosen, list, fault);
}

// ---- lists of files

// Numbers the files by their names when they are frames of one sequence.
bool number_by_names(std::vector<frame_file> &files, std::string *description) {
    const std::string &model = files.front().path;
    const std::size_t slash = model.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : model.substr(0, slash + 1);
    const std::string name = model.substr(folder.size());
    for (const digit_run &run : find_digit_runs(name)) {
        const run_key key = key_of(name, run);
        const frame_pattern pattern = {folder, key.first, key.second, 0};
        const bool fits = std::all_of(files.begin(), files.end(), [&](frame_file &file) {
            return file.path.starts_with(folder) &&
                   match_frame_name(pattern, std::string_view(file.path).substr(folder.size()),
                                    &file.number) == 0;
        });
        if (!fits)
            continue;
        const int padding = static_cast<int>(run.end - run.begin);
        *description = format_pattern({folder, key.first, key.second, padding});
        return true;
    }
    return false;
}

void note_oddities(frame_list &list) {
    std::vector<std::int64_t> numbers;
    for (const frame_file &file : list.files)
        numbers.push_back(file.number);
    if (!std::is_sorted(numbers.begin(), numbers.end()))
        list.notes.push_back(list.description +
                             ": the files are taken in the order given, which is "
                             "not that of their numbers");
    std::sort(numbers.begin(), numbers.end());
    std::vector<frame_range> absent;
    for (std::size_t i = 1; i < numbers.size(); ++i)
        if (numbers[i] > numbers[i - 1] + 1)
            absent.push_back({numbers[i - 1] + 1, numbers[i] - 1});
    if (!absent.empty())
        list.notes.push_back(list.description + ": " + format_ranges(absent) + " not in the list");
}

int finish_list(frame_list &list, bool plain_files, const frame_selection *chosen,
                std::string *fault) {
    list.numbered = plain_files && number_by_names(list.files, &list.description);
    if (list.numbered) {
        if (chosen != nullptr)
            std::erase_if(list.files, [&](const frame_file &file) {
                return !is_selected(*chosen, file.number);
            });
        if (list.files.empty()) {
            *fault = list.description + ": no such frames in the list";
            return -1;
        }
        note_oddities(list);
        return 0;
    }
    list.description = std::to_string(list.files.size()) + " files";
    return select_positions(list, chosen, fault);
}

} // namespace

int find_frames(const std::vector<std::string> &inputs, const std::vector<std::string> &extensions,
                const frame_selection *chosen, frame_list &list, std::string *fault) {
    const bool lone = inputs.size() == 1;
    bool plain_files = true;
    for (const std::string &input : inputs) {
        struct stat status {};
        const bool exists = ::stat(input.c_str(), &status) == 0;
        const frame_selection *own = lone ? chosen : nullptr;
        const bool plain = exists && !S_ISDIR(status.st_mode);
        if (plain && !S_ISREG(status.st_mode)) { // reading a pipe might wait for ever
            *fault = input + ": it is not a regular file";
            return -1;
        }
        int result = 0;
        if (!exists)
            result = add_pattern(input, own, list, fault);
        else if (!plain)
            result = add_folder(input, extensions, own, list, fault);
        else if (lone)
            result = add_lone_file(input, own, list, fault);
        else
            list.files.push_back({input, 0});
        if (result != 0)
            return -1;
        plain_files = plain_files && plain;
    }
    if (!lone)
        return finish_list(list, plain_files, chosen, fault);
    // What is not one sequence is numbered by position.
    return list.numbered ? 0 : select_positions(list, chosen, fault);
}

} // namespace reel
