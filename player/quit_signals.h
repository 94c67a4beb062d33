// SIGINT, SIGTERM and SIGHUP end the player as its Quit does: loops are left, windows closed,
// statistics written; what is being asked then is left unanswered. A second signal of the same
// kind ends the process at once.
//
//   install_quit_signals();
//   poll({gl::qgetfd(), quit_signal_fd()}) ...
//   if (quit_signal_arrived()) ...
#pragma once

namespace player {

// Returns 0, or -1 when a signal can not wake the loop: signals then keep their usual effect.
int install_quit_signals();

[[nodiscard]] bool quit_signal_arrived();

// Readable once a signal has arrived; -1 before install_quit_signals.
[[nodiscard]] int quit_signal_fd();

} // namespace player
