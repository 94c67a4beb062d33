// Facts about the screen.
//
//   int width = gl::getgdesc(gl::GD_XPMAX);
#pragma once

namespace gl {

inline constexpr int GD_XPMAX = 0;         // width of the screen in pixels
inline constexpr int GD_YPMAX = 1;         // height of the screen in pixels
inline constexpr int GD_BITS_OVERLAY = 17; // overlay planes of a window
inline constexpr int GD_DISPLAY_INFO = 66; // device pixels along one of ours

// Answers one of the questions above; -1 for any other. Connects to the display when nothing has
// yet; without a display that ends the process with exit status 1 and a message.
[[nodiscard]] int getgdesc(int inquiry);

// Gives the display back: all windows are closed, the queue is empty, everything may start anew.
void gexit();

} // namespace gl
