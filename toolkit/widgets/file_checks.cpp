#include "toolkit/widgets/file_checks.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace toolkit {

file_kind kind_of_file(const std::string &path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0)
        return S_ISDIR(status.st_mode)   ? file_kind::folder
               : S_ISREG(status.st_mode) ? file_kind::plain
                                         : file_kind::other;
    const bool is_nothing = errno == ENOENT && !is_there(path);
    return is_nothing ? file_kind::none : file_kind::other;
}

bool is_folder(const std::string &path) {
    return kind_of_file(path) == file_kind::folder;
}

bool is_there(const std::string &path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

bool may_access(const std::string &path, int mode) {
    return ::faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

bool is_readable_file(const std::string &path) {
    return kind_of_file(path) == file_kind::plain && may_access(path, R_OK);
}

} // namespace toolkit
