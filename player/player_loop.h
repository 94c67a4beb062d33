// The player's loops: reading input, playing, and the run as a whole.
//
//   player::player_main_loop(0, 0, 0);      // until the user quits; ends the toolkit
//
// The loops sleep while nothing happens, playing or not. They end when the user or a signal asks
// for it, or when the display is lost.
#pragma once

#include "player/play_args.h"

namespace player {

// Handles input and ticks until state.quit_requested or state.leave_loop is set. A player that
// still runs is stopped.
void player_event_loop(play_args &args, movie_ref &ref);

// The whole run on playback, open_movie and parent_link. A non-zero step turns the toolkit's
// locator stepping on; the other flags have no meaning.
void player_main_loop(int flag_a, int flag_b, int step);

} // namespace player
