// Which pixels coordinates mean, and which may be touched, in the current window.
//
//   gl_viewport view = gl_get_viewport();          // an application's own, around toolkit calls
//   gl_matrix matrix = gl_get_matrix();
//   gl_screenspace();
//   gl_set_clip_box(box);
//   ... draw ...
//   gl_reset_clip_box();
//   gl_put_viewport(view);
//   gl_put_matrix(matrix);
//
// The toolkit draws in screen coordinates: pixels from the screen's lower left corner. Applications
// may draw in coordinates of their own. Both belong to the window. Without a current window
// everything here does nothing.
#pragma once

#include "platform/gl/drawing.h"
#include "toolkit/graphics/screen_box.h"

namespace toolkit {

// --- the screen ----------------------------------------------------------------------------------

// Its size in pixels.
void gl_inq_screen_size(int *width, int *height);
void gl_get_device_extent(int *width, int *height); // the same

// --- coordinates ---------------------------------------------------------------------------------

// Screen coordinates from now on, the whole window to draw in. Nothing changes when they are
// selected already: a clip box stays.
void gl_screenspace();

// 255 while screen coordinates are selected, else 0.
[[nodiscard]] int gl_inq_screenspace();

using gl_matrix = gl::matrix_state;
[[nodiscard]] gl_matrix gl_get_matrix();
void gl_put_matrix(const gl_matrix &matrix);

// Edges in window pixels, from the window's lower left corner; all four inside.
struct gl_viewport {
    int left = 0;
    int right = 0;
    int bottom = 0;
    int top = 0;
    bool operator==(const gl_viewport &) const = default;
};
[[nodiscard]] gl_viewport gl_get_viewport();
void gl_put_viewport(const gl_viewport &viewport); // and no clip box

// --- clipping ------------------------------------------------------------------------------------

// Only pixels of the box are touched from now on, and of those only the ones that were let through
// before, so that a thing within a thing never draws outside of it. In the coordinates selected.
void gl_set_clip_box(const screen_box &box);

// Undoes the last gl_set_clip_box of this window: call it once for each. They may be
// gl::stack_depth deep.
void gl_reset_clip_box();

} // namespace toolkit
