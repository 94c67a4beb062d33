#include "toolkit/graphics/overlay_drawing.h"

#include "platform/gl/drawing.h"
#include "toolkit/graphics/colours.h"

namespace toolkit {

namespace {
constexpr int cursor_grey = 255; // seen on the picture and on all of the interface's greys
}

overlay_drawing::overlay_drawing(int index) {
    gl_overlay_map_color(overlay_cursor, cursor_grey, cursor_grey, cursor_grey);
    gl::drawmode(gl::OVERDRAW);
    gl::color(index);
}

overlay_drawing::~overlay_drawing() {
    gl::drawmode(gl::NORMALDRAW);
}

} // namespace toolkit
