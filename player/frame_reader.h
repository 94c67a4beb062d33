// From the movie file to pixels.
//
//   open_movie.film = movie::VFopen(name, "r");   open_movie.decoded = -1;
//   args.current = 17;
//   player::read_frame_from_file(args, open_movie);   // args.pixels: frame 17
#pragma once

#include "player/play_args.h"

namespace player {

// Makes args.pixels show frame args.current, or leaves the whole previous picture there: silently
// when the frame is not written yet, after one line on standard error (once per frame and movie)
// when it is damaged. Before the first frame: "%s: read_frame_from_file: Error reading movie
// file.". A picture that is there already is not decoded again (ref.decoded says which one is).
// Nothing happens unless both buffers and the movie are there. Returns true when the pixels have
// changed.
bool read_frame_from_file(play_args &args, movie_ref &ref);

} // namespace player
