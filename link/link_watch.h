// A session that is on: what the user decides, whether the player has taken the frame that was sent
// last, and whether it is still there.
//
//   int result = await_taken(link, ipc::moment_after(1000), false);
//   if (result == REEL_LINK_OK)
//       result = send_message(link, message);
//
// Nothing tells of a change in shared memory: it is looked at again and again, less often the longer
// it takes.
#pragma once

#include "ipc/waiting.h"
#include "link/call_text.h"
#include "link/link_messages.h"
#include "link/own_segments.h"

#include <array>
#include <sys/types.h>

namespace render_link {

// What a caller may give up on: the player when it does not take a small message in this time.
inline constexpr int send_limit = 1000; // milliseconds

struct watched_link {
    int over = REEL_LINK_BAD_CALL; // what calls return once the session has ended; OK: it is on
    call_text over_text;
    int socket = -1;
    pid_t child = -1; // our child: the player, or a program that started it
    long player = 0;  // process number, by its own word
    own_segment status;
    std::array<own_segment, 2> blocks; // frames, in turn
    own_segment *on_its_way = nullptr; // the block that the player has not taken yet
    ipc::moment sent;                  // when it was told of that
    int unanswered = 0;                // questions; answers come in their order
    bool asked = false;    // whether it has refused that frame: the answer comes behind it
    bool refused = false;  // it has
    bool is_last = false;  // the frame on its way has the last number
    bool has_last = false; // the one that the player has taken last has it
    bool is_render = false;
    bool told_paused = false; // what the caller was told last
};

// Takes in what is new. Returns REEL_LINK_OK while the session is on.
int look(watched_link &link);

// What the user has said last.
[[nodiscard]] bool is_paused(const watched_link &link);

// Waits until no frame is on its way. Returns REEL_LINK_OK; TIMEOUT; REFUSED, once for each frame;
// PAUSED, unless through_pause; or what has ended the session.
[[nodiscard]] int await_taken(watched_link &link, ipc::moment until, bool through_pause);

// Waits until the user has decided something that the caller was not told. Returns PAUSED, RESUMED,
// REEL_LINK_OK when the time is over; or what has ended the session.
[[nodiscard]] int await_decision(watched_link &link, ipc::moment until);

// Returns REEL_LINK_OK or what has ended the session.
[[nodiscard]] int send_message(watched_link &link, const ipc::socket_record &message);

// Tells the player of a frame in a block; none is on its way. is_last: its number is the session's
// last. Returns as send_message.
[[nodiscard]] int send_frame(watched_link &link, own_segment &block, std::size_t bytes, int frame,
                             bool is_last);

inline constexpr int message_none = 1;   // of read_message
inline constexpr int message_ended = -1; // the link is at its end

// Reads one message if it comes in time. Returns 0, message_none or message_ended.
[[nodiscard]] int read_message(int socket, ipc::socket_record &message, ipc::moment until);

// Gives back socket and segments.
void close_watch(watched_link &link);

} // namespace render_link
