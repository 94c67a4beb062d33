#include "tools/reel/watch_folder.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <sys/stat.h>
#include <sys/statfs.h>

namespace reel {

namespace {

// File systems on which other machines, or programs behind them, write without our system knowing.
constexpr std::array<std::uint32_t, 21> untold_file_systems = {
    0x00006969, // nfs
    0x0000517b, // smb
    0xff534d42, // cifs
    0xfe534d42, // smb2
    0x65735546, // fuse, virtiofs
    0x01021997, // 9p
    0x00c36400, // ceph
    0x5346414f, // afs
    0x6b414653, // afs of the kernel
    0x73757245, // coda
    0x0000564c, // ncp
    0x0bd00bd0, // lustre
    0x7461636f, // ocfs2
    0x01161970, // gfs2
    0x47504653, // gpfs
    0x19830326, // fhgfs, beegfs
    0xaad7aaea, // panfs
    0xbeefdead, // snfs
    0x7c7c6673, // folders of a virtual machine's host
    0x786f4256, // folders of a virtual machine's host
    0xbacbacbc, // folders of a virtual machine's host
};

bool is_told(const std::string &path) {
    struct statfs status {};
    if (::statfs(path.c_str(), &status) != 0)
        return false;
    const auto type = static_cast<std::uint32_t>(status.f_type);
    return std::find(untold_file_systems.begin(), untold_file_systems.end(), type) ==
           untold_file_systems.end();
}

bool is_folder_there(const std::string &path, struct stat *status) {
    return ::stat(path.c_str(), status) == 0 && S_ISDIR(status->st_mode);
}

// One period for what is not told; for the rest now and then, as links and mounts that lead to the
// folder may change far from it.
std::chrono::milliseconds look_period(const frame_watch &watch, bool told) {
    return told ? 4 * watch.options.period : watch.options.period;
}

void remove_mark(const frame_watch &watch, int &mark) {
    if (mark >= 0)
        ::inotify_rm_watch(watch.fd, mark);
    mark = -1;
}

int add_mark(const frame_watch &watch, const std::string &path, std::uint32_t events) {
    return watch.fd < 0 ? -1 : ::inotify_add_watch(watch.fd, path.c_str(), events | IN_ONLYDIR);
}

bool enter_folder(frame_watch &watch, watch_time now) {
    const std::string path = folder_path(watch);
    // First the mark: what happens after it is told.
    int mark = add_mark(watch, path,
                        IN_CREATE | IN_MODIFY | closed_events | gone_events | IN_DELETE_SELF |
                            IN_MOVE_SELF);
    struct stat status {};
    if (!is_folder_there(path, &status)) {
        remove_mark(watch, mark);
        return false;
    }
    watch.folder_mark = mark;
    watch.folder_inode = status.st_ino;
    watch.folder_device = status.st_dev;
    watch.has_inodes = is_told(path);
    watch.is_telling = mark >= 0 && watch.has_inodes;
    watch.is_here = true;
    check_again_later(watch, now);
    return true;
}

// "a/b" of "a/b/c", "/" of "/a", "." of "a".
std::string path_above(const std::string &path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    const std::size_t end = path.find_last_not_of('/', slash);
    return end == std::string::npos ? "/" : path.substr(0, end + 1);
}

std::string without_last_slashes(const std::string &path) {
    const std::size_t end = path.find_last_not_of('/');
    return end == std::string::npos ? "/" : path.substr(0, end + 1);
}

// Waits beside the nearest folder above. Returns whether what is awaited has not come meanwhile.
bool await_folder(frame_watch &watch, watch_time now) {
    std::string missing = without_last_slashes(folder_path(watch));
    std::string above = path_above(missing);
    struct stat status {};
    while (!is_folder_there(above, &status) && above != "/" && above != ".") {
        missing = above;
        above = path_above(missing);
    }
    const int mark =
        add_mark(watch, above, IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF);
    if (mark != watch.parent_mark)
        remove_mark(watch, watch.parent_mark);
    watch.parent_mark = mark;
    watch.awaited_name = missing.substr(missing.rfind('/') + 1);
    // A link to nowhere becomes a folder without a sign here.
    const bool is_link = ::lstat(missing.c_str(), &status) == 0;
    watch.next_look = now + look_period(watch, mark >= 0 && !is_link && is_told(above));
    return !is_folder_there(missing, &status);
}

constexpr int most_tries = 100; // of a folder that comes and goes while it is looked for

} // namespace

std::string folder_path(const frame_watch &watch) {
    return watch.frames.pattern.folder.empty() ? "." : watch.frames.pattern.folder;
}

bool find_folder(frame_watch &watch, watch_time now) {
    for (int tries = 0; tries < most_tries; ++tries) {
        if (enter_folder(watch, now)) {
            remove_mark(watch, watch.parent_mark);
            return true;
        }
        if (await_folder(watch, now))
            break;
    }
    return false;
}

bool is_same_folder(const frame_watch &watch) {
    struct stat status {};
    return is_folder_there(folder_path(watch), &status) && status.st_ino == watch.folder_inode &&
           status.st_dev == watch.folder_device;
}

void check_again_later(frame_watch &watch, watch_time now) {
    watch.next_look = now + look_period(watch, watch.is_telling);
}

void leave_folder(frame_watch &watch) {
    remove_mark(watch, watch.folder_mark);
    watch.is_here = false;
    watch.is_telling = false;
    watch.next_look = watch_time();
}

} // namespace reel
