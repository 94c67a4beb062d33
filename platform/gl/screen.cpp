#include "platform/gl/screen.h"

#include "platform/display/display.h"
#include "platform/gl/drawing.h"
#include "platform/gl/queue_state.h"
#include "platform/gl/window_record.h"

namespace gl {

int getgdesc(int inquiry) {
    const display::driver &server = display::server();
    switch (inquiry) {
    case GD_XPMAX:
        return server.screen().x;
    case GD_YPMAX:
        return server.screen().y;
    case GD_BITS_OVERLAY:
        return overlay_planes;
    case GD_DISPLAY_INFO:
        return server.scale();
    default:
        return -1;
    }
}

void gexit() {
    for_each_window([](window_record &w) { release_record(w); });
    forget_defined_cursors();
    reset_queue_state();
    display::shut_down();
}

} // namespace gl
