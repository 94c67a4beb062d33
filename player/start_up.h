// What main does before there is a window.
//
//   player::read_font_variables();
//   player::parse_command_line(argc, argv);
//   player::setup_ipc_stuff(parent_link, playback);
#pragma once

#include "player/link_session.h"
#include "player/play_args.h"

namespace player {

// Hands the faces of VORTAN_FONT_SMALL, _NORM1, _NORM2, _BOLD and _IBOLD (each NAME:POINTS) to the
// toolkit, when all five are set. One that can not be read is reported; the built-in fonts are
// used then.
void read_font_variables();

// Clears frame buffers, movie and link, as they are before anything is known.
void clear_player();

// Takes the arguments: "-ipc_link_port N" makes the player linked (a port that is no number is
// dropped), any other one is the movie to load; the last one wins.
void parse_command_line(int argc, char **argv);

// Gives the playback record its start values, keeping display_info, then opens the link. A link
// that fails has said so and leaves the socket 0; the player goes on without a parent.
void setup_ipc_stuff(ipc_link &parent, play_args &args);

// Starts playing the loaded movie when PLAYER_AUTOPLAY (normal, loop or swing) asks for it.
void start_autoplay(play_args &args, movie_ref &ref);

} // namespace player
