// Play files: opening movies and saving them.
//
//   state.play_file_name = "shots/walk.reel";
//   load_play_file(playback, open_movie);
//   save_play_file(playback, open_movie);          // under the name chosen in save_file_tool
//
// What goes wrong is said on standard error, and in a message window when the player has its
// window. These run the program until they are acknowledged.
#pragma once

#include "player/play_args.h"

namespace player {

// Opens the movie that is pending in state.play_file_name, which is cleared; without one, the file
// chosen in load_file_tool. A running player stops. The movie before is closed, whatever comes of
// the new one. The picture is zoomed up to about the area of the one before, but no larger than the
// screen. Returns 0 with the first frame read and the window fitted; or -1: no name was there and
// nothing has changed, or no movie is open now, after the line "%s: Problem with '%s'" and the
// reason.
//
// Nothing in the file is trusted: sizes are rounded down to multiples of 4 and must leave a
// picture; a negative rate is reported and becomes Show Every Frame.
int load_play_file(play_args &args, movie_ref &ref);

// Writes a byte-for-byte copy of the open movie to the file chosen in save_file_tool, whole or not
// at all, and names the movie after it. Onto itself it stays as it is. Escape stops a copy that
// takes long. Returns 0; or -1: no movie is open or no name chosen, it was stopped, or it failed
// and that was said. Then what had the name before is untouched.
int save_play_file(play_args &args, movie_ref &ref);

} // namespace player
