// The movie of a preview: frames are compressed as they come, into a temporary file that no other
// user can read or replace, and that is gone when the player is, however that ends.
//
//   args.pixels ...                                  // frame args.current
//   player::compress_to_movie_file(args, open_movie);
#pragma once

#include "player/play_args.h"

namespace player {

// Appends the frame in args.pixels; the first one begins the movie, for args.count frames. A frame
// that comes again replaces the one before. Frames that can not be written are left out, and said
// so ("%s: compress_to_movie_file: ..." or "Player: compression: ..."). What has failed while
// writing is given up, the next frame begins a new movie; a movie that is as large as movies can
// be stays. A disk that stays full is said once.
void compress_to_movie_file(play_args &args, movie_ref &ref);

// For playing what has come so far: args gets buffers for whole blocks, and goes from args.first to
// the frame `last`. Returns as allocate_frame_buffers does.
[[nodiscard]] int prepare_preview(play_args &args, movie_ref &ref, std::int32_t last);

// The number of the last frame that the movie has; args.first - 1 when there is none.
[[nodiscard]] std::int32_t last_received_frame(const play_args &args, const movie_ref &ref);

} // namespace player
