// Where the parts of the progress window stand: pure computation, without a window. Boxes are pixels
// from the window's lower left corner; as in window_layout.h.
#pragma once

#include "player/window_layout.h"

namespace player {

struct progress_layout {
    extent window;
    toolkit::screen_box picture;
    toolkit::screen_box label;
    toolkit::screen_box bar;        // its outline
    toolkit::screen_box frame_line; // texts; both together are the band
    toolkit::screen_box time_line;
    toolkit::screen_box wide_button; // Cancel alone, or OK
    toolkit::screen_box cancel;      // Cancel beside the switch
    toolkit::screen_box paused;
    float zoom = 1.0F; // of the picture as it is drawn: 1, or less when the screen has no room
};

// The size that a picture is asked for: no larger than the screen without the window's other parts,
// 580 rows at least; in its shape, by the ratio of its sides.
[[nodiscard]] extent fitted_session_picture(extent picture, extent screen);

// The window for a picture of args.width x args.height, as large as the screen at most.
[[nodiscard]] progress_layout wanted_progress_layout(const play_args &args, extent screen);

// The same parts in a window of any size.
[[nodiscard]] progress_layout progress_layout_in(const play_args &args, extent window);

} // namespace player
