// Frames as they come from the renderer, through shared memory.
//
//   player::receive_frame({key, size, number}, parent_link, playback, open_movie);
//   ...
//   player::release_frame_blocks();                  // at the session's end
//
// A frame is args.width x args.height words 0xAABBGGRR, the bottom row first. The blocks that the
// parent uses in turn stay attached from one frame to the next.
#pragma once

#include "player/link_session.h"

namespace player {

struct frame_announcement {
    std::int32_t key = -1;   // of the block
    std::int32_t size = 0;   // bytes that the parent says it has
    std::int32_t number = 0; // first .. first + count - 1
};

// Copies a frame into args.pixels and makes it args.current; in a preview it goes to the temporary
// movie as well, and the last one leaves args as playing wants them. Returns 0; or -1 after one
// line on standard error when it is outside the session, of another size than the picture, or its
// block is not there or too small: args is as it was then.
int receive_frame(const frame_announcement &frame, ipc_link &parent, play_args &args,
                  movie_ref &ref);

void release_frame_blocks();

} // namespace player
