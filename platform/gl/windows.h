// Windows, their buffers and modes.
//
//   gl::prefposition(100, 739, 300, 779);         // left, right, bottom, top
//   int w = gl::winopen("Player Tool");           // current from here on
//   gl::doublebuffer();
//   gl::gconfig();
//   ... draw ...
//   gl::swapbuffers();
//   gl::winclose(w);
//
// Coordinates: pixels from the screen's lower left corner, y up; inclusive corners where a call
// takes two. A place is that of the drawing area, without any frame of the window manager.
//
// Every window keeps what was drawn in it. Drawing goes to the current window, the one that
// winopen or winset named last; without one it does nothing.
#pragma once

#include <cstdint>
#include <span>

namespace gl {

inline constexpr int max_windows = 256; // open at a time
inline constexpr int max_window_number = 30000;
inline constexpr int max_window_size = 16384; // pixels along a side

// --- opening ---------------------------------------------------------------------------------
// What the next winopen takes, and then forgets:
void prefposition(int left, int right, int bottom, int top);
void prefsize(int width, int height); // where it stands is left to the desktop
void noborder();                      // placed exactly, unmanaged: menus
void windialog(int owner);            // kept above window `owner`; 0: above none, after all

// Name and class of all windows opened from now on, for the desktop, and their icon: icon_width
// words 0xAARRGGBB in each row, the top row first; empty for none.
void winclass(const char *instance, const char *class_name, std::span<const std::uint32_t> icon,
              int icon_width);

// Opens a window and makes it current: RGB mode, single-buffered, cleared to black, cursor 0.
// Returns its number, 1 .. max_window_number, not used again before all others were; or -1 after
// a message.
// Without a preferred place it is default_window_width x default_window_height, in the middle.
[[nodiscard]] int winopen(const char *title);
inline constexpr int default_window_width = 640;
inline constexpr int default_window_height = 480;

// Keeps the program attached to its terminal, as it always is: winopen never detaches it.
inline void foreground() {}

// Closes a window. What still waits in the queue for it is taken out. If it was current, none is.
void winclose(int window);

// --- which -----------------------------------------------------------------------------------
void winset(int window);    // ignored when it is not open
[[nodiscard]] int winget(); // 0 when none is current
[[nodiscard]] bool is_window(int window);

// The window that is seen at a place of the screen; 0 when none of ours is.
[[nodiscard]] int window_at(int x, int y);

// --- place and look of the current window ------------------------------------------------------
void wintitle(const char *title); // UTF-8
void getorigin(int *x, int *y);   // its lower left corner on the screen
void getsize(int *width, int *height);
// Moves and sizes it; returns when the desktop has answered. When the size has changed REDRAW is
// entered; what was drawn stays at the lower left corner.
void winposition(int left, int right, int bottom, int top);
void winmove(int left, int bottom);
void winpop();  // above all others
void winpush(); // below all others
void iconify(int window);
void deiconify(int window);
[[nodiscard]] bool is_iconic(int window);
void hide(int window);
void show(int window);

// Sends every press of a button, wherever it is, to this program (0: no longer). False when
// another program holds the pointer.
bool grab_pointer(int window);

// --- modes of the current window, in force after gconfig ---------------------------------------
void RGBmode();
void cmode();
void doublebuffer();
void singlebuffer();
void gconfig();
[[nodiscard]] bool is_rgb_mode();
[[nodiscard]] bool is_double_buffered();

// --- buffers -----------------------------------------------------------------------------------
// Which buffers drawing goes to. A single-buffered window draws in front whatever is said; gconfig
// to double-buffered sets back on and front off.
void frontbuffer(bool on);
void backbuffer(bool on);

// Shows the back buffer; it becomes the front one and the front one the back one.
void swapbuffers();

// Shows at once what was drawn in front buffers; done anyway before the queue is read.
void flush_windows();

} // namespace gl
