// The folder of a frame_watch: found when it comes, noticed when it is another one. Part of
// frame_watch.cpp.
#pragma once

#include "tools/reel/frame_watch.h"

#include <cstdint>
#include <string>
#include <sys/inotify.h>

namespace reel {

// What the system is asked to tell about the files in the folder, and about the folder itself.
inline constexpr std::uint32_t closed_events = IN_CLOSE_WRITE | IN_MOVED_TO;
inline constexpr std::uint32_t gone_events = IN_DELETE | IN_MOVED_FROM;
inline constexpr std::uint32_t folder_lost_events =
    IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;

// What a system call can be given: "." for no folder.
[[nodiscard]] std::string folder_path(const frame_watch &watch);

// Looks for the folder; when it is not there, waits for it beside the nearest folder above. Returns
// whether it is there: then its files must be looked at. Sets next_look.
bool find_folder(frame_watch &watch, watch_time now);

// Whether the path still leads to the folder that is watched.
[[nodiscard]] bool is_same_folder(const frame_watch &watch);

// Sets next_look for a folder that is there.
void check_again_later(frame_watch &watch, watch_time now);

// It is looked for at once.
void leave_folder(frame_watch &watch);

} // namespace reel
