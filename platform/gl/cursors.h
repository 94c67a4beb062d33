// The pointer's shape over the current window.
//
//   gl::setcursor(gl::CURSOR_CROSS);
//
//   gl::defcursor(2, picture);                    // number 2 looks like this from now on
//   gl::curorigin(2, 8, 8);
//   gl::setcursor(2);
#pragma once

#include <array>
#include <cstdint>

namespace gl {

inline constexpr int CURSOR_ARROW = 0; // of every new window
inline constexpr int CURSOR_CROSS = 1;
inline constexpr int CURSOR_HAND = 2;
inline constexpr int CURSOR_WAIT = 3;
inline constexpr int CURSOR_TEXT = 4;

void setcursor(int cursor); // other numbers are ignored
[[nodiscard]] int getcursor();

// A look of the program's own: 16 x 16 pixels, bits of rows from the TOP down, the leftmost pixel
// highest. Black where dark, white where light only, nothing elsewhere.
inline constexpr int cursor_size = 16;
struct cursor_bitmap {
    std::array<std::uint16_t, cursor_size> dark{};
    std::array<std::uint16_t, cursor_size> light{};
};

// Gives cursor 1 .. CURSOR_TEXT this look, with its lower left pixel as origin, wherever it is set
// from now on, until gexit. Other numbers are ignored.
void defcursor(int cursor, const cursor_bitmap &picture);

// The pixel of a defined cursor that points, 0 .. 15 from its lower left corner.
void curorigin(int cursor, int x, int y);
void curson();
void cursoff(); // no pointer is seen over the window

} // namespace gl
