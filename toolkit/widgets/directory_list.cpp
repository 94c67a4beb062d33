#include "toolkit/widgets/directory_list.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <utility>

namespace toolkit {

namespace {

struct close_directory {
    void operator()(DIR *open) const { ::closedir(open); }
};
using directory_pointer = std::unique_ptr<DIR, close_directory>;

constexpr std::int64_t half_a_year = std::int64_t{183} * 24 * 60 * 60;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Bytes that compare as people order names: letters without case, a number by how many digits it
// has and then by these.
std::string sort_key(const directory_entry &entry) {
    constexpr std::size_t most_digits = 255;
    std::string key(1, entry.is_folder ? '0' : '1');
    std::string_view name = entry.name;
    while (!name.empty()) {
        if (!is_digit(name.front())) {
            key += lower(name.front());
            name.remove_prefix(1);
            continue;
        }
        const std::size_t end = std::min(name.find_first_not_of("0123456789"), name.size());
        std::string_view digits = name.substr(0, end);
        digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
        key += '0'; // where digits stand among other characters
        key += static_cast<char>(std::min(digits.size(), most_digits));
        key += digits;
        name.remove_prefix(end);
    }
    return key;
}

// Puts entries into their order; equal keys by their names.
void sort_entries(std::vector<directory_entry> &entries) {
    std::vector<std::pair<std::string, directory_entry>> keyed;
    keyed.reserve(entries.size());
    for (directory_entry &each : entries) {
        std::string key = sort_key(each);
        keyed.emplace_back(std::move(key), std::move(each));
    }
    std::sort(keyed.begin(), keyed.end(), [](const auto &a, const auto &b) {
        const int order = a.first.compare(b.first);
        return order != 0 ? order < 0 : a.second.name < b.second.name;
    });
    std::transform(keyed.begin(), keyed.end(), entries.begin(),
                   [](auto &each) { return std::move(each.second); });
}

bool has_extension(std::string_view name, std::string_view extension) {
    return name.size() > extension.size() + 1 && name.ends_with(extension) &&
           name[name.size() - extension.size() - 1] == '.';
}

directory_entry describe(int folder, const char *name) {
    directory_entry entry;
    entry.name = name;
    struct stat status {};
    entry.is_broken = ::fstatat(folder, name, &status, 0) != 0;
    if (entry.is_broken)
        return entry;
    entry.is_folder = S_ISDIR(status.st_mode);
    entry.size = entry.is_folder ? 0 : status.st_size;
    entry.changed = status.st_mtim.tv_sec;
    return entry;
}

bool is_wanted(const directory_list &list, std::string_view name) {
    return name != "." && name != ".." && (list.with_hidden || name.front() != '.');
}

int fail(const std::string &path, std::string *fault) {
    *fault = path + ": " + std::strerror(errno);
    return -1;
}

} // namespace

int read_directory(std::string_view path, directory_list &list, std::string *fault) {
    std::error_code ignored;
    const std::string full = resolve_path(std::filesystem::current_path(ignored).string(), path);
    const directory_pointer folder(::opendir(full.c_str()));
    if (folder == nullptr)
        return fail(full, fault);
    std::vector<directory_entry> found;
    for (;;) {
        errno = 0;
        const dirent *next = ::readdir(folder.get());
        if (next == nullptr)
            break;
        if (!is_wanted(list, next->d_name))
            continue;
        directory_entry entry = describe(::dirfd(folder.get()), next->d_name);
        if (entry.is_folder || list.extension.empty() || has_extension(entry.name, list.extension))
            found.push_back(std::move(entry));
    }
    if (errno != 0)
        return fail(full, fault);
    sort_entries(found);
    list.path = full;
    list.entries = std::move(found);
    return 0;
}

std::ptrdiff_t find_entry(const directory_list &list, std::string_view text, std::size_t from) {
    const std::size_t count = list.entries.size();
    if (text.empty())
        return -1;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t place = (from + i) % count;
        const std::string_view name = list.entries[place].name;
        const auto same = [](char a, char b) { return lower(a) == lower(b); };
        if (name.size() >= text.size() && std::equal(text.begin(), text.end(), name.begin(), same))
            return static_cast<std::ptrdiff_t>(place);
    }
    return -1;
}

// ---- paths

std::string home_folder() {
    const char *home = std::getenv("HOME");
    return home != nullptr && *home == '/' ? home : "/";
}

std::string parent_folder(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos || slash == 0 ? "/" : std::string(path.substr(0, slash));
}

std::string absolute_path(std::string_view folder, std::string_view path) {
    if (path == "~" || path.starts_with("~/"))
        return home_folder().append(path.substr(1));
    return path.starts_with('/') ? std::string(path) : join_path(folder, path);
}

std::string resolve_path(std::string_view folder, std::string_view path) {
    std::string full =
        std::filesystem::path(absolute_path(folder, path)).lexically_normal().string();
    while (full.size() > 1 && full.ends_with('/'))
        full.pop_back();
    return full;
}

std::string join_path(std::string_view folder, std::string_view name) {
    std::string joined(folder);
    if (!joined.ends_with('/'))
        joined += '/';
    return joined.append(name);
}

std::string with_extension(std::string_view name, std::string_view extension) {
    std::string full(name);
    if (!extension.empty() && !full.empty() && !has_extension(full, extension))
        full.append(".").append(extension);
    return full;
}

// ---- texts

std::string size_text(std::int64_t bytes) {
    constexpr std::array units = {"B", "KB", "MB", "GB", "TB", "PB", "EB"};
    constexpr double step = 1024;
    constexpr double most_of_two_digits = 9.95; // what is not shown as 10
    double value = static_cast<double>(std::max<std::int64_t>(bytes, 0));
    std::size_t unit = 0;
    for (; value >= step - 0.5 && unit + 1 < units.size(); ++unit)
        value /= step;
    const int decimals = unit > 0 && value < most_of_two_digits ? 1 : 0;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.*f %s", decimals, value, units.at(unit));
    return text.data();
}

std::string time_text(std::int64_t when, std::int64_t now) {
    const std::time_t seconds = when;
    std::tm parts{};
    if (::localtime_r(&seconds, &parts) == nullptr)
        return "";
    std::array<char, 64> text{};
    const bool recent = when <= now + half_a_year && when >= now - half_a_year;
    std::strftime(text.data(), text.size(), recent ? "%e %b %H:%M" : "%e %b %Y", &parts);
    return text.data() + (text[0] == ' ' ? 1 : 0);
}

} // namespace toolkit
