// Waiting for descriptors until a moment. Signals do not end a wait.
//
//   const ipc::moment until = ipc::moment_after(1000);
//   if (ipc::wait_ready(socket, POLLIN, until) == 1) ...
#pragma once

#include <chrono>
#include <poll.h>
#include <span>

namespace ipc {

using moment = std::chrono::steady_clock::time_point;

inline constexpr moment never = moment::max();

// So many milliseconds from now; never when negative, as no_time_limit is.
[[nodiscard]] moment moment_after(int milliseconds);

[[nodiscard]] bool is_over(moment until);

// Milliseconds to go, rounded up, 0 when it is over; no_time_limit for never.
[[nodiscard]] int milliseconds_left(moment until);

// Returns how many descriptors are ready, 0 when the time is over (errno ETIMEDOUT), or -1 with
// errno, EBADF for a descriptor that is not open.
[[nodiscard]] int poll_until(std::span<pollfd> watched, moment until);

// The same for one descriptor: 1, 0 or -1.
[[nodiscard]] int wait_ready(int descriptor, short events, moment until);

} // namespace ipc
