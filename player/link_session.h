// The session with the renderer (the parent) that started the player with a link port: who we are
// to each other, the session's parameters, messages, and the status block in which the parent reads
// what the user has decided.
//
//   if (player::open_link(player::parent_link, player::playback) == 0) ...   // parameters are in
//   player::attach_link_status(player::parent_link);
//   player::send_pid(player::parent_link);                   // our window is there
//   while (player::handle_link_event(parent_link, playback, open_movie)) ...
//   player::close_link(player::parent_link);
//
// What the parent says is checked before it is used: each thing that is wrong is said in one line
// on standard error, and that message has no effect. A parent that has gone away, sends what is no
// record, or stalls for more than link_patience_ms within one, has lost the link.
#pragma once

#include "ipc/link_sockets.h"
#include "player/play_args.h"

namespace player {

inline constexpr int link_patience_ms = 1000;
inline constexpr std::int32_t max_empty_reads = 100; // in a row; one more ends the link

struct ipc_link {
    std::int32_t port = 0;                // from the command line; 0 or less: none
    std::int32_t socket = 0;              // descriptor; 0: no usable link
    std::int32_t session_word = 0;        // the parent's own; kept
    std::int32_t status_key = -1;         // of the shared status block; -1: none
    std::int32_t status_size = 0;         // bytes; 0: none
    std::int32_t status_id = -1;          // -1: not attached
    std::span<std::uint8_t> status_block; // empty when detached
    ipc::link_socket_set select_mask;     // the socket
    ipc::socket_record message;           // what came last
    std::int32_t blocked = 0;             // how often the parent has taken the user's input
    bool is_lost = false;                 // the link has ended without being asked to
};

extern ipc_link parent_link;

// Connects to the parent on link.port, introduces ourselves, and fills args from the parent's first
// message; args.current is no_frame_yet then. Returns 0, also when there is no port or the message
// is no such parameters (then args stays as it is); or -1 after one line on standard error: not
// linked, the socket is 0.
[[nodiscard]] int open_link(ipc_link &parent, play_args &args);

// The status block that both processes see. Without one, or after "Player: shmem_malloc: ...", the
// user's decisions do not reach the parent.
void attach_link_status(ipc_link &parent);
void detach_link_status(ipc_link &parent);

// What the player wrote last into the status block (ipc::state_...); -1 without one.
[[nodiscard]] int link_status(const ipc_link &parent);
void set_link_status(ipc_link &parent, std::uint8_t state);

// The player ends it, whatever the parent does.
void tell_session_end(ipc_link &parent);

// For the time that a frame is being copied: the parent must leave the frame alone.
void set_link_busy(ipc_link &parent, bool is_busy);

// Tell the parent our process number, and the size that its pictures are to have.
void send_pid(ipc_link &parent);
void send_image_size(ipc_link &parent, const play_args &args);

// Reads and handles one message, if there is one; never waits for one. Returns whether there was.
bool handle_link_event(ipc_link &parent, play_args &args, movie_ref &ref);

// Whether it has closed its end, or is no more; there may be messages left to be read.
[[nodiscard]] bool has_parent_left(const ipc_link &parent);

// Ends the session: tells the parent by the status block, lets go of all shared memory, closes the
// socket. Nothing happens without one.
void close_link(ipc_link &parent);

} // namespace player
