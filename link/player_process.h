// The player's process: found, started and linked, and seen to its end.
//
//   std::string program;
//   linked_player player;
//   if (find_player(wanted, program, text) == REEL_LINK_OK &&
//       start_player(program, limit, player, text) == REEL_LINK_OK) ...
//   end_player(player.process, false, 5000);          // or leave_player(player.process);
//
// Only processes that were started here are waited for; no signal's handling is changed.
#pragma once

#include "ipc/waiting.h"
#include "link/call_text.h"

#include <string>
#include <sys/types.h>

namespace render_link {

struct linked_player {
    int socket = -1;
    pid_t process = -1;
};

// Finds the program to start: wanted (a path, or a name along PATH), or when that is null what
// REEL_PLAYER says, "playertool" beside this program's file, or along PATH. Returns REEL_LINK_OK
// or, with a text, REEL_LINK_NO_PLAYER.
[[nodiscard]] int find_player(const char *wanted, std::string &program, call_text &text);

// Starts the program and does the handshake. Returns REEL_LINK_OK: the caller owns the socket and
// the process; or, with a text and nothing left over, REEL_LINK_NO_PLAYER, _NOT_LINKED or _SYSTEM.
[[nodiscard]] int start_player(const std::string &program, ipc::moment until, linked_player &player,
                               call_text &text);

inline constexpr int unknown_status = -1;

// Waits for the process to end. Returns true when it has, with what waitpid says of it in *status,
// or unknown_status when somebody else has waited for it; process is -1 then.
[[nodiscard]] bool await_end(pid_t &process, ipc::moment until, int *status);

// Sees that the process ends: waits (unless at once) for half of the time, asks it to, and kills it
// when the time is over. Returns false when it had to be killed. process is -1 then.
bool end_player(pid_t &process, bool at_once, int limit);

// Lets the process live on. It is waited for when it has ended by the time of a later call here.
void leave_player(pid_t &process);

// "exit status 1", "signal 9 (Killed)".
[[nodiscard]] std::string describe_end(int status);

} // namespace render_link
