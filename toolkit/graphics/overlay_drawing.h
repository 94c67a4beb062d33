// Drawing over the picture, in the overlay planes of the current window, for as long as a record of
// this type stands.
//
//   {
//       const overlay_drawing over(overlay_cursor);        // or overlay_clear, to take it away
//       gl::recti(x, y, x + 9, y + 9);
//   }
//
// What is drawn there does not touch the picture below, and drawing the picture does not touch it.
#pragma once

#include "toolkit/graphics/colour_indices.h"

namespace toolkit {

class overlay_drawing {
public:
    explicit overlay_drawing(int index); // overlay_...
    ~overlay_drawing();
    overlay_drawing(const overlay_drawing &) = delete;
    overlay_drawing &operator=(const overlay_drawing &) = delete;
};

} // namespace toolkit
