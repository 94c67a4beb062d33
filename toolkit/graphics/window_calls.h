// What is done with the toolkit's windows once they are open: which is current, where, refreshed.
//
//   int before = gl_get_win();
//   gl_set_win(wid);                               // current, in screen coordinates
//   ... draw ...
//   gl_win_set(before);                            // current as it was
//
// wid: a toolkit window id (window_table.h). Calls with the id of no open window do nothing, unless
// they say otherwise, and leave the current window as it was.
#pragma once

namespace toolkit {

// --- the current window --------------------------------------------------------------------------

// The current window, or no_window.
[[nodiscard]] int gl_get_win();

// Makes a window current and selects screen coordinates; gl_win_set leaves the window's coordinates
// as they are. With an id of no open window none of the toolkit's counts as current.
void gl_set_win(int wid);
void gl_win_set(int wid);

// The window that is seen at a place of the screen, or no_window: where nothing or another
// program's window is.
[[nodiscard]] int gl_get_win_pos(int x, int y);

// --- one window ----------------------------------------------------------------------------------

void gl_win_pop(int wid); // above the others, and back from an icon

// Switches double buffering. The picture stays. Afterwards drawing goes to both buffers, so that
// widgets need not know; who draws frames chooses the buffers for the time being.
void gl_double_buffer(int wid, bool on);

// Switches between RGB mode and colour-map mode, in which the window is reopened too. Its picture
// is lost: it is cleared.
void gl_set_win_color_mode(int wid, bool by_index);

// --- by the GL's number, as events name windows --------------------------------------------------

// Draws a window again, or all of them with all_windows. Frozen ones wait until they thaw. The
// current window stays the current one.
inline constexpr int all_windows = -1;
void gl_refresh(int gl_window);

void gl_win_freeze(int gl_window); // it became an icon: it is not drawn again until it comes back
void gl_win_thaw(int gl_window);   // it came back: draws it if something was missed
void gl_close_iris_wid(int gl_window); // gl_win_close

} // namespace toolkit
