// The Player Tool's controls panel: frame slider, frame time field and transport buttons.
//
//   add_player_controls(panel, args);
//   show_position(args);                           // after another frame is shown
#pragma once

#include "player/play_args.h"
#include "toolkit/demons/demons.h"

namespace player {

// Fills the panel, and notes what is in it in player_tool.
void add_player_controls(toolkit::demon *panel, const play_args &args);

// Slider and time field: their range and the current frame; and the frame alone.
void set_frame_range(const play_args &args);
void show_position(const play_args &args);

} // namespace player
