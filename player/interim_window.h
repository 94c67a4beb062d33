// The player's window as long as there are no widgets: the picture on dark grey, and keys.
//
//   space play, stop    r reverse    f b fast forward, fast reverse    . , step on, step back
//   n l s normal, loop, swing        1 .. 9 zoom                       e every frame, or the rate
//   d double buffer     q quit
//
// The close box quits; a movie that is dropped on the window is opened. A picture larger than the
// window or the screen is drawn reduced, whole.
#pragma once

#include "player/play_args.h"

namespace player {

// Opens the window for args and installs player::view for it; it works on playback and
// open_movie from then on. Returns 0, or -1 after a message when there is no window: the player
// then quits.
int build_player_tool(play_args &args);

} // namespace player
