// Play files: movies that the user opens.
//
//   state.play_file_name = "shots/walk.reel";
//   player::load_play_file(playback, open_movie);
#pragma once

#include "player/play_args.h"

namespace player {

// Opens the movie that is pending in state.play_file_name, which is cleared; a running player
// stops. The movie before is closed, whatever comes of the new one. The picture is zoomed up to
// about the area of the one before. Returns 0 with the first frame read and the window fitted; or
// -1: nothing was pending and nothing has changed, or no movie is open now, after the line
// "%s: Problem with '%s'" and, where opening did not say it already, the reason.
//
// Nothing in the file is trusted: sizes are rounded down to multiples of 4 and must leave a
// picture; a negative rate is reported and becomes Show Every Frame.
int load_play_file(play_args &args, movie_ref &ref);

} // namespace player
