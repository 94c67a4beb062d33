// The Player Tool's menu bar, the shortcuts of its choices, and the keys that work the transport.
//
//   add_player_menus(bar, args);
//
// Keys, wherever the pointer is in the window: space play and stop, "," "." step, Home and End the
// first and last frame, r backwards, l the next of Normal, Loop and Swing. While a movie plays
// only space is listened to.
#pragma once

#include "player/play_args.h"
#include "toolkit/demons/demons.h"

namespace player {

// Adds both menus, with the choices as args asks for, and notes them in player_tool.
void add_player_menus(toolkit::demon *menu_bar, const play_args &args);

// Binds the keys, and takes them away.
void bind_player_keys();
void release_player_keys();

} // namespace player
