// The loop that shows a session's progress: it waits for input and for the renderer together.
#pragma once

#include "player/link_session.h"

namespace player {

// Runs until the user quits or pauses, the last frame of a preview has come, or the link is lost in
// a preview. Returns at once without a link.
void progress_loop(ipc_link &parent, play_args &args, movie_ref &ref);

} // namespace player
