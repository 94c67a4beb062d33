// What is in a folder, in the order in which a file tool shows it.
//
//   directory_list list;
//   list.extension = "reel";                       // only movies, and folders
//   std::string fault;
//   if (read_directory(home_folder(), list, &fault) != 0)
//       ...                                        // "/root/x: Permission denied"
//   const std::ptrdiff_t row = find_entry(list, "shot");   // what is typed
//
// Folders come first, then files; each by name: letters without regard to case, numbers by their
// value (shot2 before shot10). Names are bytes as the system has them, UTF-8 as a rule. A list of
// 50 000 files takes a fraction of a second: each is asked once for its kind, size and time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace toolkit {

struct directory_entry {
    std::string name;
    std::int64_t size = 0;    // bytes; of files
    std::int64_t changed = 0; // seconds since 1970
    bool is_folder = false;   // or a link to one
    bool is_broken = false;   // a link to nothing, or what can not be asked
};

struct directory_list {
    // Set by the caller.
    std::string extension; // without the point; empty: all files
    bool with_hidden = false;

    // Filled by read_directory.
    std::string path; // absolute, without "." and "..", without a slash at the end but for "/"
    std::vector<directory_entry> entries; // without "." and ".."
};

// Reads a folder. A relative path begins at the working directory, "~" at home.
// Returns 0, or -1 with what is wrong in *fault: the list is as it was then.
[[nodiscard]] int read_directory(std::string_view path, directory_list &list, std::string *fault);

// The place of the first entry whose name begins with the text, without regard to the case of
// ASCII letters; the first one from `from` on, around the end. -1 when there is none, and for an
// empty text.
[[nodiscard]] std::ptrdiff_t find_entry(const directory_list &list, std::string_view text,
                                        std::size_t from = 0);

// --- paths ---------------------------------------------------------------------------------------

[[nodiscard]] std::string home_folder(); // of the environment variable HOME, else "/"
[[nodiscard]] std::string parent_folder(std::string_view path); // "/" is its own

// What a path means in a folder: "~" is home, what begins with "/" or "~" does not ask for the
// folder. absolute_path leaves the rest as it is; resolve_path: without "." and "..", and without a
// slash at the end but for "/".
[[nodiscard]] std::string absolute_path(std::string_view folder, std::string_view path);
[[nodiscard]] std::string resolve_path(std::string_view folder, std::string_view path);
[[nodiscard]] std::string join_path(std::string_view folder, std::string_view name);

// The name with the extension, if it has not got it yet: "shot", "reel" give "shot.reel".
[[nodiscard]] std::string with_extension(std::string_view name, std::string_view extension);

// --- texts ---------------------------------------------------------------------------------------

// "640 B", "12 KB", "3.4 GB": in units of 1024, three digits at most.
[[nodiscard]] std::string size_text(std::int64_t bytes);

// "21 Nov 10:52" for times within half a year of now, else "21 Nov 2024"; local time.
[[nodiscard]] std::string time_text(std::int64_t when, std::int64_t now);

} // namespace toolkit
