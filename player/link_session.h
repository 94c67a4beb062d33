// The session with the parent application that started the player with a link port.
//
// The link is not built yet. Every call says so, does nothing, or answers "not linked", so that
// the player goes on as it does when the parent cannot be reached.
//
//   if (player::open_link(player::parent_link) == 0)
//   player::attach_link_status(player::parent_link);
#pragma once

#include "player/play_args.h"

namespace player {

struct ipc_link {
    std::int32_t port = 0;                // from the command line; 0 or less: none
    std::int32_t socket = 0;              // descriptor; 0: no usable link
    std::int32_t status_key = -1;         // of the shared status block; -1: none
    std::int32_t status_size = 0;         // bytes
    std::int32_t status_id = -1;          // -1: not attached
    std::span<std::uint8_t> status_block; // empty when detached
};

extern ipc_link parent_link;

// Connects to the parent on link.port and fills the playback record from its first message.
// Returns 0 when there is no port, or -1, after one line on standard error: not linked.
[[nodiscard]] int open_link(ipc_link &parent);

// The status block that both processes see.
void attach_link_status(ipc_link &parent);
void detach_link_status(ipc_link &parent);

// What the player wrote last into the status block; -1 without one.
[[nodiscard]] int link_status(const ipc_link &parent);
inline constexpr int status_resumed = 3;

// Tells the parent our process number.
void send_pid(ipc_link &parent);

// Runs the session until the parent has finished or the user quits. Returns at once without a
// link.
void run_linked_session(ipc_link &parent, play_args &args, movie_ref &ref);

// Ends the session. Nothing happens without one.
void close_link(ipc_link &parent);

} // namespace player
