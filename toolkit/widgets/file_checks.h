// What stands at a path, and what may be done with it: asked before a file is chosen.
//
//   if (kind_of_file(path) == file_kind::folder) ...
//   else if (may_access(path, R_OK)) ...             // modes as for access(): <unistd.h>
//
// The answers hold for the moment: who opens the file later finds out by that.
#pragma once

#include <cstdint>
#include <string>

namespace toolkit {

// Through links. A link to nothing, and what can not be asked, is `other`.
enum class file_kind : std::uint8_t { none, plain, folder, other };
[[nodiscard]] file_kind kind_of_file(const std::string &path);

[[nodiscard]] bool is_folder(const std::string &path);
[[nodiscard]] bool is_there(const std::string &path); // a link to nothing too

// As opening it would find, which goes by the effective user.
[[nodiscard]] bool may_access(const std::string &path, int mode);

// Plain files alone: to open a pipe would wait for its other end.
[[nodiscard]] bool is_readable_file(const std::string &path);

} // namespace toolkit
