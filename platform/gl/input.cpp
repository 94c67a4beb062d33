#include "platform/gl/input.h"

#include "platform/display/display.h"
#include "platform/gl/event_pump.h"
#include "platform/gl/queue_state.h"
#include "platform/gl/screen.h"

#include <algorithm>

namespace gl {
namespace {

bool is_pointer(device d) {
    return d == MOUSEX || d == MOUSEY;
}

display::point turned(display::point p) {
    return {p.x, getgdesc(GD_YPMAX) - 1 - p.y};
}

} // namespace

int getvaluator(device d) {
    if (!is_pointer(d))
        return 0;
    const display::point p = turned(display::server().pointer());
    return d == MOUSEX ? p.x : p.y;
}

void setvaluator(device d, int value, int low, int high) {
    if (!is_pointer(d) || low > high)
        return;
    const display::driver &server = display::server();
    const display::point at = server.pointer();
    display::point to = turned(at);
    (d == MOUSEX ? to.x : to.y) = std::clamp(value, low, high);
    to = turned(to);
    if (to != at)
        server.warp(to);
}

bool getbutton(device d) {
    pump_display();
    return is_held(d);
}

} // namespace gl
