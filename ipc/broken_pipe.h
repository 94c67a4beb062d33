// The broken-pipe guard: writing to a peer that has gone away fails instead of ending the process.
//
//   ipc::no_pipe_kills();
//   ... write ...
//   if (ipc::clogged_pipe() != 0) ...          // the peer has gone away
//
// For the calling thread. Afterwards the program's own handling of the signal is as it was.
#pragma once

namespace ipc {

// Holds the signal until clogged_pipe.
void no_pipe_kills();

// Ends the hold. Returns 1 when a write met a broken pipe since no_pipe_kills, else 0.
[[nodiscard]] int clogged_pipe();

// The handler that notes a broken pipe.
void clogged(int signal);

} // namespace ipc
