#include "tools/reel/frame_watch.h"

#include "tools/reel/watch_folder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace reel {

namespace {

using std::chrono::milliseconds;

// How long a file that could not be read is left alone: doubled with each failure.
constexpr milliseconds first_wait{50};
constexpr milliseconds longest_wait{10000};
constexpr milliseconds longest_wait_changed{1000}; // while it changes
constexpr milliseconds failures_forgotten{10000};  // after the last

// One call of changed_frames or last_frames.
struct watch_turn {
    watch_time now = std::chrono::steady_clock::now();
    bool is_last = false;
    bool must_look = false;          // at the whole folder
    std::vector<std::string> closed; // names, in this order
    std::vector<frame_file> found;
};

// ---- names

// As match_frame_name; but a renderer may pad otherwise than its user expects.
int read_number(const frame_watch &watch, std::string_view name, std::int64_t *number) {
    if (match_frame_name(watch.frames.pattern, name, number) == 0)
        return 0;
    return watch.frames.is_folder ? -1 : match_frame_name(watch.any_padding, name, number);
}

bool may_be_frame(const frame_watch &watch, std::string_view name) {
    std::int64_t number = 0;
    return watch.frames.known ? read_number(watch, name, &number) == 0
                              : is_frame_name(name, watch.options.extensions);
}

void note_padding(frame_watch &watch, const std::string &name, std::int64_t number) {
    if (watch.noted_padding || match_frame_name(watch.frames.pattern, name, &number) == 0)
        return;
    watch.noted_padding = true;
    std::string note = watch.frames.pattern.folder;
    note.append(name).append(" counts as frame ").append(std::to_string(number));
    watch.notes.push_back(note.append(" of ").append(watch.frames.description));
}

void note_others(frame_watch &watch, std::string_view name) {
    if (watch.noted_others || !watch.frames.is_folder ||
        !is_frame_name(name, watch.options.extensions))
        return;
    watch.noted_others = true;
    std::string note = watch.frames.pattern.folder;
    note.append(name).append(" is none of ").append(watch.frames.description);
    watch.notes.push_back(note.append(", which was there first: it is left out"));
}

// The first complete image of a folder decides which images are frames.
void understand_watched_folder(frame_watch &watch, const std::string &name) {
    std::vector<std::string> others;
    others.reserve(watch.files.size());
    for (const auto &[other, file] : watch.files)
        others.push_back(other);
    understand_folder(name, others, watch.frames);
}

// A frame goes by one name ("7" and "007" may be the same) as long as that file is there.
bool takes_number(frame_watch &watch, const std::string &name, std::int64_t number) {
    const auto [place, is_first] = watch.names.try_emplace(number, name);
    if (is_first || place->second == name)
        return true;
    const std::string &folder = watch.frames.pattern.folder;
    if (::access((folder + place->second).c_str(), F_OK) != 0) {
        place->second = name;
        return true;
    }
    if (!watch.noted_doubles) {
        watch.noted_doubles = true;
        std::string note = folder;
        note.append(name).append(" is the same frame as ").append(place->second);
        watch.notes.push_back(note.append(", which was there first: it is left out"));
    }
    return false;
}

// ---- looks at single files

void cancel_look(frame_watch &watch, const std::string &name, seen_file &file) {
    if (file.look_again != watch_time())
        watch.looks.erase({file.look_again, name});
    file.look_again = watch_time();
}

void look_later(frame_watch &watch, const std::string &name, seen_file &file, watch_time when) {
    cancel_look(watch, name, file);
    file.look_again = when;
    watch.looks.insert({when, name});
}

// What is there now, and whether it can change under another name. Returns 0, or -1: no file.
int read_state(const frame_watch &watch, const std::string &name, seen_file &file,
               file_state *state) {
    const std::string path = watch.frames.pattern.folder + name;
    struct stat status {};
    file.is_linked = false;
    if (::lstat(path.c_str(), &status) != 0)
        return -1;
    file.is_linked = S_ISLNK(status.st_mode) || status.st_nlink > 1;
    if (S_ISLNK(status.st_mode) && ::stat(path.c_str(), &status) != 0)
        return -1;
    if (!S_ISREG(status.st_mode))
        return -1;
    state->size = status.st_size;
    state->changed_ns =
        std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec;
    state->inode = watch.has_inodes ? status.st_ino : 0;
    return 0;
}

// Nobody tells when these change. (A folder that is polled needs no more.)
void keep_looking(frame_watch &watch, const std::string &name, seen_file &file, watch_time now) {
    if (file.is_linked && watch.is_telling && file.look_again == watch_time())
        look_later(watch, name, file, now + watch.options.period);
}

milliseconds wait_after(const seen_file &file, bool has_changed) {
    const milliseconds longest = has_changed ? longest_wait_changed : longest_wait;
    milliseconds wait = first_wait;
    for (int i = 1; i < file.failures && wait < longest; ++i)
        wait *= 2;
    return std::min(wait, longest);
}

// When a file may be handed out again.
watch_time free_again(const seen_file &file, bool has_changed) {
    const watch_time rested = file.handed_at + first_wait;
    return file.failures == 0 ? rested
                              : std::max(rested, file.failed_at + wait_after(file, has_changed));
}

void hand_out(frame_watch &watch, const std::string &name, seen_file &file, watch_turn &turn) {
    if (!watch.frames.known)
        understand_watched_folder(watch, name);
    std::int64_t number = 0;
    if (read_number(watch, name, &number) != 0) {
        note_others(watch, name);
        return;
    }
    if (!takes_number(watch, name, number))
        return;
    note_padding(watch, name, number);
    if (!file.is_suspect && turn.now - file.failed_at > failures_forgotten)
        file.failures = 0;
    file.handed = file.seen;
    file.handed_at = turn.now;
    file.is_old = file.is_touched = file.is_suspect = false;
    turn.found.push_back({watch.frames.pattern.folder + name, number});
}

// The file is as it was seen, and nobody seems to write to it: it is handed out unless that has
// happened with this version.
void offer(frame_watch &watch, const std::string &name, seen_file &file, watch_turn &turn) {
    cancel_look(watch, name, file);
    const bool has_changed = file.seen != file.handed || file.is_touched;
    if (file.seen.size > 0 && (has_changed || file.is_suspect)) {
        const watch_time free = free_again(file, has_changed);
        if (turn.now < free && !turn.is_last)
            look_later(watch, name, file, std::min(free, turn.now + watch.options.period));
        else
            hand_out(watch, name, file, turn);
    }
    keep_looking(watch, name, file, turn.now);
}

// Looks whether a file is still as it was; what has changed is looked at again.
void look_at_file(frame_watch &watch, const std::string &name, seen_file &file, watch_turn &turn) {
    cancel_look(watch, name, file);
    file_state state;
    if (read_state(watch, name, file, &state) != 0) {
        file.seen = {};
        keep_looking(watch, name, file, turn.now);
    } else if (state != file.seen) {
        file.seen = state;
        look_later(watch, name, file, turn.now + watch.options.period);
    } else {
        offer(watch, name, file, turn);
    }
}

void make_due_looks(frame_watch &watch, watch_turn &turn) {
    std::vector<std::string> due;
    for (const auto &[when, name] : watch.looks) {
        if (when > turn.now)
            break;
        due.push_back(name);
    }
    for (const std::string &name : due)
        look_at_file(watch, name, watch.files[name], turn);
}

// ---- looks at the folder

struct folder_closer {
    void operator()(DIR *folder) const { ::closedir(folder); }
};
using folder_stream = std::unique_ptr<DIR, folder_closer>;

// Calls visit with the name of each file that may be a frame, and notes that others are there.
template <typename visitor> int walk_folder(frame_watch &watch, const visitor &visit) {
    const folder_stream folder(::opendir(folder_path(watch).c_str()));
    if (folder == nullptr)
        return -1;
    while (const dirent *entry = ::readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (may_be_frame(watch, name))
            visit(name);
        else if (!watch.noted_others && watch.frames.known && !watch.files.contains(name))
            note_others(watch, name);
    }
    return 0;
}

// What is there at the start is old.
int note_old_files(frame_watch &watch) {
    return walk_folder(watch, [&](const std::string &name) {
        seen_file &file = watch.files[name];
        if (read_state(watch, name, file, &file.seen) != 0)
            return;
        file.handed = file.seen;
        file.is_old = true;
        keep_looking(watch, name, file, std::chrono::steady_clock::now());
    });
}

// Finds what has changed without a sign. It is looked at again before it counts.
int look_at_folder(frame_watch &watch, watch_turn &turn) {
    const auto visit = [&](const std::string &name) {
        seen_file &file = watch.files[name];
        file_state state;
        if (read_state(watch, name, file, &state) != 0 || state == file.seen)
            return;
        file.seen = state;
        look_later(watch, name, file, turn.now + watch.options.period);
    };
    const int result = walk_folder(watch, visit);
    // A folder that takes long to look at is looked at less often.
    const watch_time end = std::chrono::steady_clock::now();
    if (!watch.is_telling)
        watch.next_look =
            end + std::max<watch_time::duration>(watch.options.period, 4 * (end - turn.now));
    return result;
}

// ---- what the system tells

void take_file_event(frame_watch &watch, const inotify_event &event, const std::string &name,
                     watch_turn &turn) {
    if ((event.mask & IN_ISDIR) != 0)
        return;
    if (!may_be_frame(watch, name)) {
        if (watch.frames.known && (event.mask & closed_events) != 0)
            note_others(watch, name);
        return;
    }
    seen_file &file = watch.files[name];
    if ((event.mask & closed_events) != 0) {
        if (!file.is_closed)
            turn.closed.push_back(name);
        file.is_closed = true;
        return;
    }
    file.is_closed = false; // until the next event
    if ((event.mask & gone_events) != 0) {
        cancel_look(watch, name, file);
        file.seen = {};
    } else if ((event.mask & IN_CREATE) != 0) {
        // A link may be complete from the beginning: no further sign comes.
        file.seen = {};
        look_at_file(watch, name, file, turn);
    } else if ((event.mask & IN_MODIFY) != 0) {
        file.is_touched = true;
        // It will be closed; but some hold a file open for as long as they run.
        if (file.look_again == watch_time())
            look_later(watch, name, file, turn.now + 2 * watch.options.period);
    }
}

void take_event(frame_watch &watch, const inotify_event &event, const std::string &name,
                watch_turn &turn) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        turn.must_look = true;
    } else if (event.wd == watch.folder_mark) {
        if ((event.mask & folder_lost_events) != 0)
            leave_folder(watch);
        else
            take_file_event(watch, event, name, turn);
    } else if (event.wd == watch.parent_mark) {
        if ((event.mask & IN_IGNORED) != 0)
            watch.parent_mark = -1;
        if (name.empty() || name == watch.awaited_name)
            watch.next_look = turn.now;
    }
}

constexpr int most_reads = 64; // then what was found is handed out first

void take_events(frame_watch &watch, watch_turn &turn) {
    std::array<char, 32768> buffer;
    for (int reads = 0; watch.fd >= 0 && reads < most_reads; ++reads) {
        const ssize_t length = ::read(watch.fd, buffer.data(), buffer.size());
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            break;
        const auto end = static_cast<std::size_t>(length);
        for (std::size_t at = 0; at + sizeof(inotify_event) <= end;) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + at, sizeof event);
            at += sizeof event;
            const std::string_view padded(buffer.data() + at, event.len);
            take_event(watch, event, std::string(padded.substr(0, padded.find('\0'))), turn);
            at += event.len;
        }
    }
}

// Files that were closed and not opened, written or removed since, as far as is known.
void look_at_closed(frame_watch &watch, watch_turn &turn) {
    for (const std::string &name : turn.closed) {
        seen_file &file = watch.files[name];
        if (!file.is_closed)
            continue;
        file.is_closed = false;
        file_state state;
        if (read_state(watch, name, file, &state) != 0) {
            look_at_file(watch, name, file, turn);
            continue;
        }
        file.seen = state;
        if (file.is_old) // its writer has finished after the start
            file.handed = {};
        offer(watch, name, file, turn);
    }
}

void check_folder(frame_watch &watch, watch_turn &turn) {
    const bool is_due = turn.now >= watch.next_look;
    if (watch.is_here && is_due && !is_same_folder(watch))
        leave_folder(watch);
    if (is_due && !watch.is_here)
        turn.must_look = find_folder(watch, turn.now);
    else if (is_due)
        check_again_later(watch, turn.now);
    // It may be gone again before it is looked at.
    if (watch.is_here && (turn.must_look || turn.is_last || (is_due && !watch.is_telling)))
        look_at_folder(watch, turn);
}

std::vector<frame_file> finish_turn(watch_turn &turn) {
    std::sort(turn.found.begin(), turn.found.end(),
              [](const frame_file &a, const frame_file &b) { return a.number < b.number; });
    return std::move(turn.found);
}

} // namespace

int start_watch(const watched_frames &frames, const watch_options &options, frame_watch &watch,
                std::string *fault) {
    watch = {};
    watch.frames = frames;
    watch.any_padding = frames.pattern;
    watch.any_padding.padding = 0;
    watch.options = options;
    watch.fd = options.only_polling ? -1 : ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    watch_turn turn;
    const std::string path = folder_path(watch);
    int reason = 0;
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        reason = errno == ENOENT ? 0 : errno;
    else if (!S_ISDIR(status.st_mode))
        reason = ENOTDIR;
    if (reason == 0 && find_folder(watch, turn.now) &&
        (options.keep_old ? look_at_folder(watch, turn) : note_old_files(watch)) != 0)
        reason = errno == ENOENT ? 0 : errno;
    if (reason == 0)
        return 0;
    *fault = path + ": " + std::strerror(reason);
    stop_watch(watch);
    return -1;
}

int watch_wait_ms(const frame_watch &watch) {
    watch_time next = watch.next_look;
    if (!watch.looks.empty())
        next = std::min(next, watch.looks.begin()->first);
    const auto wait = std::chrono::ceil<milliseconds>(next - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<milliseconds::rep>(wait.count(), 0));
}

std::vector<frame_file> changed_frames(frame_watch &watch) {
    watch_turn turn;
    take_events(watch, turn);
    look_at_closed(watch, turn);
    make_due_looks(watch, turn);
    check_folder(watch, turn);
    return finish_turn(turn);
}

void retry_frame(frame_watch &watch, std::int64_t number) {
    const auto place = watch.names.find(number);
    if (place == watch.names.end())
        return;
    const std::string &name = place->second;
    seen_file &file = watch.files[name];
    file.is_suspect = true;
    file.failures = std::min(file.failures + 1, 30);
    file.failed_at = std::chrono::steady_clock::now();
    look_later(watch, name, file,
               file.failed_at + std::min(wait_after(file, false), watch.options.period));
}

std::vector<frame_file> last_frames(frame_watch &watch) {
    watch_turn turn;
    turn.is_last = true;
    take_events(watch, turn);
    look_at_closed(watch, turn);
    watch.next_look = turn.now; // the folder may have come just now
    check_folder(watch, turn);
    for (auto &[name, file] : watch.files) {
        if (file.seen == file.handed && !file.is_touched && !file.is_suspect)
            continue;
        file_state state;
        if (read_state(watch, name, file, &state) != 0)
            continue;
        file.seen = state;
        offer(watch, name, file, turn);
    }
    return finish_turn(turn);
}

void stop_watch(frame_watch &watch) {
    if (watch.fd >= 0)
        ::close(watch.fd);
    watch.fd = -1;
    watch.folder_mark = watch.parent_mark = -1;
}

} // namespace reel
