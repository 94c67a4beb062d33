// Where the parts of the Player Tool's window stand: pure computation, without a window.
//
//   window_layout now = fitted_layout(args, {1280, 1024});       // the size that the window wants
//   now = layout_in(args, {640, 480});                           // within a size that it was given
//
// Boxes are pixels from the window's lower left corner. The parts' own sizes are those of the
// design, shrunk on screens below 1280 x 1024 as all widgets are (scale_x, scale_y); the picture's
// pixels are never scaled but by its zoom.
#pragma once

#include "player/play_args.h"
#include "toolkit/graphics/screen_box.h"

namespace player {

struct extent {
    int width = 0;
    int height = 0;
    bool operator==(const extent &) const = default;
};

// A box of numbers, brought into the range of the toolkit's.
[[nodiscard]] toolkit::screen_box make_box(int x, int y, int width, int height);

// The controls panel, in the design's pixels.
inline constexpr int controls_width = 270;
inline constexpr int controls_height = 125;

struct window_layout {
    extent window;
    toolkit::screen_box picture;  // where the picture is drawn, whole
    toolkit::screen_box menu_bar; // along the top
    toolkit::screen_box controls;
    toolkit::screen_box label;
    float zoom = 1.0F; // of the picture as it is drawn: args.zoom, or less when that has no room
};

// The picture in the middle of a place, as large as the place and a zoom of `most` allow.
struct placed_picture {
    toolkit::screen_box box;
    float zoom = 1.0F;
};
[[nodiscard]] placed_picture place_picture(const play_args &args, float most,
                                           const toolkit::screen_box &place);

// The window as it is built, before a movie has its say: for a picture of args.width x
// args.height. Linked, narrow pictures stand in the middle, else at the left margin.
[[nodiscard]] window_layout first_layout(const play_args &args, bool standalone);

// The zoomed picture's size, brought onto the screen: a side that is too long becomes the
// screen's, the other one follows by the ratio of the sides as a whole number, which is 1 or more;
// taller pictures take the real ratio.
[[nodiscard]] extent fitted_picture(const play_args &args, extent screen);

// The largest zoom at which the picture is no larger than the screen: 1 or more. Only for a picture
// that has pixels.
[[nodiscard]] std::int32_t largest_zoom(const play_args &args, extent screen);

// The window that shows the zoomed picture, with the controls around it, as large as the screen at
// most: then the picture has less room, and is reduced into it.
[[nodiscard]] window_layout fitted_layout(const play_args &args, extent screen);

// The same parts in a window of any size: the picture in the middle of what is left to it.
[[nodiscard]] window_layout layout_in(const play_args &args, extent window);

} // namespace player
