// The pointer's shape over the current window.
//
//   gl::setcursor(gl::CURSOR_CROSS);
#pragma once

namespace gl {

inline constexpr int CURSOR_ARROW = 0; // of every new window
inline constexpr int CURSOR_CROSS = 1;
inline constexpr int CURSOR_HAND = 2;
inline constexpr int CURSOR_WAIT = 3;
inline constexpr int CURSOR_TEXT = 4;

void setcursor(int cursor); // other numbers are ignored
[[nodiscard]] int getcursor();
void curson();
void cursoff(); // no pointer is seen over the window

} // namespace gl
