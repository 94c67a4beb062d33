// Frames that somebody is writing: which files they are, and when each is complete.
//
//   watched_frames frames;
//   std::string fault;
//   if (understand_frames("out/shot####.png", frames, &fault) != 0) ...
//   frame_watch watch;
//   start_watch(frames, {.keep_old = false}, watch, &fault);
//   for (;;) {
//       poll(watch.fd, watch_wait_ms(watch));
//       for (const frame_file &candidate : changed_frames(watch))   // number and path
//           ... decode it; when that fails: retry_frame(watch, candidate.number) ...
//   }
//
// A file is a candidate when somebody has closed it after writing, or moved it into place (told by
// the system), or, where the system does not tell (network mounts, links, files that are kept
// open), when it has kept its size and time over two looks. Empty files are none. Whether a
// candidate is complete only its reader can say: one that can not be decoded is looked at again
// when it has changed, and now and then.
//
// Each version of a file is handed out once. Files that were there at the start, and are not
// touched after it, are old. No clock tells that, for clocks differ between machines: it is the
// state of the folder when start_watch was called.
//
// Numbers may be shorter or longer than a pattern or an example says ("shot01.png" for
// shot####.png): renderers have rules of their own. A folder's first frame decides for all.
//
// A folder's frames become known with the first of them: then watch.frames.known is set, and
// watch.frames.description says what was understood.
#pragma once

#include "tools/reel/frame_list.h"
#include "tools/reel/watched_frames.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace reel {

struct watch_options {
    std::vector<std::string> extensions;   // of images, lower case: what counts in a folder
    bool keep_old = false;                 // files from before the start count too
    bool only_polling = false;             // as on a file system that does not tell
    std::chrono::milliseconds period{500}; // between two looks at what the system does not tell
};

// Equal states: the same version of a file.
struct file_state {
    std::int64_t size = -1; // -1: not there
    std::int64_t changed_ns = -1;
    std::uint64_t inode = 0; // 0 where file systems number files as they like
    friend bool operator==(const file_state &, const file_state &) = default;
};

using watch_time = std::chrono::steady_clock::time_point;

struct seen_file {
    file_state seen;         // at the last look
    file_state handed;       // when it was handed out last, or at the start when it is old
    bool is_old = false;     // from before the start, untouched
    bool is_touched = false; // written to since it was handed out
    bool is_closed = false;  // closed or moved into place, not looked at since
    bool is_linked = false;  // may change under another name, which nobody tells
    bool is_suspect = false; // could not be read as it was handed out
    int failures = 0;        // in a row
    watch_time handed_at;
    watch_time failed_at;
    watch_time look_again; // its place in `looks`; the clock's begin: none
};

struct frame_watch {
    watched_frames frames;
    frame_pattern any_padding; // that of the frames, with numbers of any length
    watch_options options;
    std::vector<std::string> notes; // what the user should know; the caller takes them out
    int fd = -1;                    // readable when there may be something; -1: nothing tells
    int folder_mark = -1;           // the system's, for the folder
    int parent_mark = -1;           // for the nearest folder above that exists
    std::string awaited_name;       // what must come into that one
    bool is_here = false;           // the folder exists
    bool is_telling = false;        // the system tells all; else the folder is polled
    bool has_inodes = false;        // inode numbers stay the same
    bool noted_others = false;      // another sequence in the folder
    bool noted_doubles = false;     // a frame under two names
    bool noted_padding = false;     // a number of another length than the pattern says
    std::uint64_t folder_inode = 0;
    std::uint64_t folder_device = 0;
    std::map<std::string, seen_file, std::less<>> files; // by name
    std::map<std::int64_t, std::string> names;           // of frames that were handed out
    std::set<std::pair<watch_time, std::string>> looks;  // at single files
    watch_time next_look;                                // at the folder
};

// Begins to watch. The folder may come later. Returns 0, or -1 with *fault: something else stands
// in its place, it can not be read.
[[nodiscard]] int start_watch(const watched_frames &frames, const watch_options &options,
                              frame_watch &watch, std::string *fault);

// How long a poll may take at most, in milliseconds.
[[nodiscard]] int watch_wait_ms(const frame_watch &watch);

// The candidates since the last call, in the order of their numbers.
[[nodiscard]] std::vector<frame_file> changed_frames(frame_watch &watch);

// A candidate could not be decoded: hands it out again when it has changed, and after a while even
// if not (its last bytes may have come without a sign). The while grows from 50 ms to 10 s, to 1 s
// where the file changes.
void retry_frame(frame_watch &watch, std::int64_t number);

// Everything is written, as the renderer has ended: looks at all files once more, and hands out at
// once what is new, complete or not, and what could not be read.
[[nodiscard]] std::vector<frame_file> last_frames(frame_watch &watch);

void stop_watch(frame_watch &watch);

} // namespace reel
