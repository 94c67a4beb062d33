// The progress window of a session: the newest frame, how far the session is, and Cancel and Paused.
//
//   player::build_progress_window(playback);          // linked; sizes args to the screen
//   ...
//   player::update_progress_window();                 // a frame has come
//   player::destroy_progress_window();
//
// It is titled "Render Tool" in a final render and "Preview Tool" in a preview. Its close box
// asks (close_session). While a paused preview is looked at it shows the session (saved_playback), not that.
#pragma once

#include "player/play_args.h"
#include "toolkit/demons/demons.h"

namespace player {

struct progress_widgets {
    toolkit::demon_ref window;
    toolkit::demon_ref picture;
    toolkit::demon_ref report; // bar and lines
    toolkit::demon_ref label;
    toolkit::demon_ref cancel;
    toolkit::demon_ref paused; // in the window from the first frame on, until the last
};
extern progress_widgets progress;

// Fits args.width and height to the screen (orig_width and orig_height stay as rendered) and opens
// the window. Returns 0, or -1 when the display refuses it: then the program is to end.
int build_progress_window(play_args &args);

// Draws what a new frame changes, or the loss of the renderer, at once. Returns whether there are
// other controls than before: the pointer may be on one of them.
bool update_progress_window();

// Makes the view one that knows windows only: their events go to them as they are, the progress
// window's close box asks, and who asks the program to end gets that, paused or not.
void install_window_view();

// The same, and binds the progress window's key. For loops in which the Player Tool's window has no
// part.
void install_progress_view();

void destroy_progress_window();

} // namespace player
