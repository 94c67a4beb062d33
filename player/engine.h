// The engine: from the playback record to pictures on the screen, and the transport commands.
//
//   player::view.draw_frame = my_draw;              // how to reach the screen
//   args.mode = mode_loop;
//   player::play_forward(args, open_movie);         // shows the first frame, starts the ticks
//   ...
//   player::advance_frame(args, open_movie);        // at each TIMER0 tick while state.playing
//   player::stop_playing(args);
//
// The engine knows no window. It calls the window through the record below; every entry may be
// replaced, none may be null.
#pragma once

#include "platform/gl/devices.h"
#include "player/frame_reader.h"
#include "player/play_args.h"

namespace player {

struct player_view {
    // Puts args.pixels on the screen.
    void (*draw_frame)(const play_args &args) = [](const play_args &) {};
    // The same in strips, while a movie plays.
    strip_view strips;
    // args.current has changed: time field and slider.
    void (*show_position)(const play_args &args) = [](const play_args &) {};
    // Another movie or size: adapts the window to args.
    void (*fit)(play_args &args) = [](play_args &) {};
    // Queues what the window needs beyond the engine's own devices, which have just been queued.
    void (*queue_devices)(bool playing) = [](bool) {};
    // A device that was read while playing and that the loop does not handle itself.
    void (*take_device)(gl::device d, short value) = [](gl::device, short) {};
    // Makes the player's window the current one.
    void (*make_current)() = [] {};
    // Whether a window is the one that shows the picture.
    bool (*is_player_window)(int window) = [](int) { return false; };
    // What the window system says about a window: draw it again, it became an icon, it came
    // back, the user wants it closed, a file was dropped on it.
    void (*refresh)(int window) = [](int) {};
    void (*freeze)(int window) = [](int) {};
    void (*thaw)(int window) = [](int) {};
    void (*close)(int window) = [](int) {};
    void (*drop)(int window) = [](int) {};
};

extern player_view view;

// Reads frame args.current and draws it; a running player stops first.
void show_frame(play_args &args, movie_ref &ref);

// One tick: works out which frame is due and shows it when it is another one than now. Normal mode
// stops at its end. A corrupt mode is reported ("%s: Corrupt play_args!") and becomes Loop.
void advance_frame(play_args &args, movie_ref &ref);

// Start playing in a direction; a running player only changes its direction. Normal and Loop begin
// anew at the far end: forward when on the last frame, both reverses when on the first, fast
// forward always. Nothing happens without a frame to play.
void play_forward(play_args &args, movie_ref &ref);
void play_reverse(play_args &args, movie_ref &ref);
void play_fast_forward(play_args &args, movie_ref &ref);
void play_fast_reverse(play_args &args, movie_ref &ref);

// Stops the ticks and gives all input back to the toolkit.
void stop_playing(const play_args &args);

// One frame on or back; a running player stops. At the ends nothing happens.
void step_forward(play_args &args, movie_ref &ref);
void step_back(play_args &args, movie_ref &ref);

// The first and the last frame; a running player stops.
void go_to_first(play_args &args, movie_ref &ref);
void go_to_last(play_args &args, movie_ref &ref);

// A window became an icon: when it is the player's, a running player stops and remembers its
// direction. It came back: a player that was stopped so goes on in that direction.
void freeze_playing(const play_args &args, int window);
void thaw_playing(play_args &args, movie_ref &ref, int window);

} // namespace player
