#include "toolkit/dialogs/questions.h"

#include "toolkit/events/cursor_control.h"
#include "toolkit/graphics/run_modes.h"
#include "toolkit/widgets/directory_list.h"
#include "toolkit/widgets/file_checks.h"

#include <charconv>
#include <filesystem>
#include <unistd.h>

namespace toolkit {

namespace {

constexpr const char *not_readable = " is not readable. ";
constexpr const char *not_writable = " is not writable. ";

void tell(const std::string &text) {
    message(text.c_str());
}

// One dialog, for what is in *text.
int ask_once(const char *prompt, std::string *text) {
    screen_point at;
    if (getTarnBatchMode() == 0)
        gl_get_valuator(&at.x, &at.y);
    const std::string initial = *text;
    const std::int32_t result =
        create_yes_no_dialog(nullptr, at.x, at.y, prompt, text, initial, true, true, false);
    return result == dialog_yes ? answer_yes : answer_no;
}

// Asks until it is cancelled or `accepts` takes the text, after saying what it does not like.
template <typename acceptance>
int ask_until(const char *prompt, std::string_view initial, const acceptance &accepts) {
    std::string typed(initial);
    while (ask_once(prompt, &typed) == answer_yes) {
        if (accepts(typed))
            return answer_yes;
        if (getTarnBatchMode() != 0)
            break; // nobody will type another one
    }
    return answer_no;
}

bool read_integer(std::string_view text, int *value) {
    const std::size_t begin = text.find_first_not_of(' ');
    if (begin == std::string_view::npos)
        return false;
    text = text.substr(begin, text.find_last_not_of(' ') - begin + 1);
    int number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, fault] = std::from_chars(text.data(), end, number);
    if (fault != std::errc() || stop != end)
        return false;
    *value = number;
    return true;
}

// ---- files

std::string whole_path(std::string_view typed) {
    std::error_code ignored;
    return absolute_path(std::filesystem::current_path(ignored).string(), typed);
}

bool is_readable_folder(const std::string &path) {
    return is_folder(path) && may_access(path, R_OK | X_OK);
}

bool is_named(std::string_view typed) {
    if (typed.empty())
        tell("Please enter a name.");
    return !typed.empty();
}

bool accept_folder(const std::string &path) {
    if (is_readable_folder(path))
        return true;
    tell(path + not_readable);
    return false;
}

bool accept_to_read(const std::string &path) {
    if (is_readable_file(path))
        return true;
    tell(path + not_readable);
    return false;
}

// What stands in the way of writing a file: itself, or its folder; empty when nothing does.
std::string unwritable_part(const std::string &path) {
    const file_kind kind = kind_of_file(path);
    if (path.ends_with('/') || kind == file_kind::folder || kind == file_kind::other)
        return path;
    if (kind == file_kind::plain)
        return may_access(path, W_OK) ? "" : path;
    const std::string folder = parent_folder(path);
    return is_folder(folder) && may_access(folder, W_OK | X_OK) ? "" : folder;
}

bool accept_to_write(const std::string &path) {
    if (const std::string part = unwritable_part(path); !part.empty()) {
        tell(part + not_writable);
        return false;
    }
    return !is_there(path) || ask_yes_no(("Overwrite " + path + "? ").c_str()) == answer_yes;
}

// The questions for one path: `accepts` judges the absolute one.
template <typename acceptance>
int ask_path(const char *prompt, std::string *path, std::string_view initial,
             std::string_view suffix, const acceptance &accepts) {
    return ask_until(prompt, initial, [&](const std::string &typed) {
        if (!is_named(typed))
            return false;
        const std::string whole = with_extension(whole_path(typed), suffix);
        const bool is_accepted = accepts(whole);
        if (is_accepted)
            *path = whole;
        return is_accepted;
    });
}

} // namespace

// ---- numbers and texts

int ask_integer(const char *prompt, int *value, int initial) {
    return ask_until(prompt, std::to_string(initial), [value](const std::string &typed) {
        if (read_integer(typed, value))
            return true;
        tell("\"" + typed + "\" is not a whole number.  Please re-enter.");
        return false;
    });
}

int ask_integer_limits(const char *prompt, int *value, int initial, int minimum, int maximum) {
    *value = initial;
    while (ask_integer(prompt, value, *value) == answer_yes) {
        if (*value < minimum)
            tell("Value " + std::to_string(*value) + " is less than minimum of " +
                 std::to_string(minimum) + ".  Please re-enter.");
        else if (*value > maximum)
            tell("Value " + std::to_string(*value) + " exceeds maximum of " +
                 std::to_string(maximum) + ".  Please re-enter.");
        else
            return answer_yes;
        if (getTarnBatchMode() != 0)
            break;
    }
    *value = initial;
    return answer_no;
}

int ask_string(const char *prompt, std::string *value, std::string_view initial) {
    return ask_until(prompt, initial, [value](const std::string &typed) {
        *value = typed;
        return true;
    });
}

// ---- names of files and folders

int ask_path_name(const char *prompt, std::string *path, std::string_view initial) {
    return ask_path(prompt, path, initial, "", accept_folder);
}

int ask_path_file_name(const char *prompt, std::string *folder, std::string *name,
                       std::string_view initial) {
    return ask_until(prompt, initial, [&](const std::string &typed) {
        if (!is_named(typed))
            return false;
        const std::string whole = whole_path(typed);
        const std::string in = parent_folder(whole);
        if (is_folder(whole) || whole.ends_with('/')) {
            tell("\"" + typed + "\" is a folder.  Please enter the name of a file.");
            return false;
        }
        if (!accept_folder(in))
            return false;
        *folder = in;
        *name = whole.substr(whole.rfind('/') + 1);
        return true;
    });
}

int ask_read_file_name(const char *prompt, std::string *path, std::string_view initial) {
    return ask_path(prompt, path, initial, "", accept_to_read);
}

int ask_file_name(const char *prompt, std::string *path, std::string_view initial) {
    return ask_path(prompt, path, initial, "", accept_to_write);
}

int ask_file_name_with_suffix(const char *prompt, std::string *path, std::string_view initial,
                              std::string_view suffix) {
    if (suffix.starts_with('.'))
        suffix.remove_prefix(1);
    return ask_path(prompt, path, initial, suffix, accept_to_write);
}

} // namespace toolkit
