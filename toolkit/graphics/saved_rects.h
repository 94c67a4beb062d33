// Rectangles of a window's pixels: kept and put back, and written.
//
//   saved_rect *under = gl_save_rect(box);         // before something is drawn over it
//   ...
//   gl_draw_rect(under);
//   gl_delete_rect(under);
//
// A saved rectangle belongs to the window that was current when it was saved, and goes with it when
// it moves. The handle is this module's; it is good until gl_delete_rect. Null, and what is no
// handle any more, is ignored.
#pragma once

#include "toolkit/graphics/screen_box.h"

#include <cstdint>
#include <span>

namespace toolkit {

struct saved_rect;

// Keeps what the current window shows of the box. Null when there is no current window or the box
// has no pixel in it.
[[nodiscard]] saved_rect *gl_save_rect(const screen_box &box);

// Puts the pixels back where they were, whatever window is current, clip box or write mask. Nothing
// when the window was closed or has another colour mode meanwhile; what a smaller window has lost
// is left out.
void gl_draw_rect(const saved_rect *rect);

void gl_delete_rect(saved_rect *rect);

// All of them.
void gl_delete_all_rects();

// Writes a picture into the current window: rows from the bottom up, 0xAABBGGRR. Corners are
// inclusive, in the coordinates selected. Colour-map windows have no place for such pixels: nothing
// is written there, nor when `pixels` is too short.
void gl_rect_write(int x1, int y1, int x2, int y2, std::span<const std::uint32_t> pixels);

} // namespace toolkit
