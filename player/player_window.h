// The Player Tool's window: menu bar, picture, slider, time field, transport buttons and the label
// that names the movie.
//
//   if (build_player_tool(playback) == 0)
//       ... load_play_file(playback, open_movie) ...          // fits the window to the movie
//   player_event_loop(playback, open_movie);
//
// The window's own close box, and Quit in its menu, end the program (state.quit_requested). Other
// parts find its widgets below; all are gone once it is closed.
#pragma once

#include "player/play_args.h"
#include "toolkit/demons/demons.h"

#include <array>
#include <string>

namespace player {

// The frame-rate choices, in their order in the menu.
enum class rate_choice : std::size_t { ntsc, pal, film, custom, every_frame };
inline constexpr std::size_t rate_choice_count = 5;

// The transport buttons.
enum class transport : std::size_t {
    reverse,
    fast_reverse,
    fast_forward,
    play,
    stop,
    step_back,
    step_forward
};
inline constexpr std::size_t transport_count = 7;

struct player_widgets {
    toolkit::demon_ref window;
    toolkit::demon_ref menu_bar;
    toolkit::demon_ref picture;
    toolkit::demon_ref controls;
    toolkit::demon_ref slider;
    toolkit::demon_ref time;
    toolkit::demon_ref label;
    std::array<toolkit::demon_ref, transport_count> buttons;

    toolkit::demon_ref load_file_tool;
    toolkit::demon_ref save_file_tool;
    toolkit::demon_ref open;
    toolkit::demon_ref save_as;
    toolkit::demon_ref quit;
    std::array<toolkit::demon_ref, 3> modes; // by play_args.mode
    toolkit::demon_ref zoom_up;
    toolkit::demon_ref zoom_down;
    toolkit::demon_ref restore;
    toolkit::demon_ref double_buffer;
    std::array<toolkit::demon_ref, rate_choice_count> rates;
};
extern player_widgets player_tool;

// Builds and shows the window for args, and has the engine work in it (player_view). Standalone,
// the picture area is empty_width x empty_height at first. Returns 0, or -1 when the display
// refuses it: then the program is to end.
int build_player_tool(play_args &args);

// The desktop has had its time to place the window: from now on, it knows where that is.
void note_player_tool_placed();

// Closes it without ending the program, and lets go of its keys and the view; these are left over
// when its close box has closed it.
void destroy_player_tool();

// After loading and zooming: sizes the window for the zoomed picture, its upper left corner staying
// where it is as far as the screen allows; gives slider and time field their range; names the
// movie; draws all.
void fit_player_window(play_args &args);

// The check marks of the rates, and which choices can be chosen, for args.
void update_rate_menu(const play_args &args);

// The label's and the title's text for args.
void relabel_player_tool(const play_args &args);
[[nodiscard]] std::string format_movie_label(const play_args &args);

// What the menus do, but for quit_player; they are called with the window open, set_mode without
// one, too.
void zoom_up(play_args &args);
void zoom_down(play_args &args);
void restore_zoom(play_args &args);
void set_rate(play_args &args, float rate);
void ask_custom_rate(play_args &args);
void set_mode(play_args &args, std::int32_t mode);
void toggle_double_buffer(play_args &args);

} // namespace player
