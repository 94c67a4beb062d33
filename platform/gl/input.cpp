#include "platform/gl/input.h"

#include "platform/display/display.h"
#include "platform/gl/event_pump.h"
#include "platform/gl/queue_state.h"

#include <algorithm>

namespace gl {
namespace {

bool is_pointer(device d) {
    return d == MOUSEX || d == MOUSEY;
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

bool is_caps_locked() {
    pump_display();
    const bool now = display::server().caps_locked();
    pump_display(); // what came before the answer
    const bool switched = count_waiting(CAPSLOCKKEY, 1) % 2 != 0;
    return now != switched;
}

} // namespace gl
