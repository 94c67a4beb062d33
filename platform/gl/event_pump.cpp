#include "platform/gl/event_pump.h"

#include "platform/gl/key_devices.h"
#include "platform/gl/queue.h"
#include "platform/gl/queue_state.h"
#include "platform/gl/screen.h"
#include "platform/gl/window_record.h"

#include <bitset>
#include <string>

namespace gl {
namespace {

struct pump_state {
    std::bitset<last_button_device + 1> held{};
    display::point pointer{-1, -1}; // origin lower left; the last one entered
    display::window_id focused = 0; // ours that has the keyboard; 0: none
    bool lost = false;
    std::string dropped;
};
pump_state state;
void (*lost_call)() = nullptr;

void take_pointer(display::point on_display, enter_call enter) {
    const display::point p = turned(on_display);
    const display::point before = state.pointer;
    state.pointer = p;
    if (p.x != before.x)
        enter(MOUSEX, static_cast<short>(p.x));
    if (p.y != before.y)
        enter(MOUSEY, static_cast<short>(p.y));
}

void take_press(device d, bool pressed, enter_call enter) {
    if (d == NULLDEV)
        return;
    if (is_wheel(d)) {
        if (pressed) {
            enter(d, 1);
            enter(d, 0);
        }
        return;
    }
    state.held.set(static_cast<std::size_t>(d), pressed);
    enter(d, pressed ? 1 : 0);
}

// What is held when the keyboard goes elsewhere is released there, out of our sight.
void release_keys(enter_call enter) {
    for (device d = NULLDEV + 1; d <= last_button_device; d++) {
        const bool is_button = d >= RIGHTMOUSE && d <= LEFTMOUSE;
        if (!is_button && state.held.test(static_cast<std::size_t>(d)))
            take_press(d, false, enter);
    }
}

void take_geometry(window_record &w, rectangle area, enter_call enter) {
    const rectangle before = w.area;
    w.area = area;
    if (area.width == before.width && area.height == before.height)
        return;
    const box &port = w.view.port;
    const bool was_whole = port.left == 0 && port.bottom == 0 && port.right == before.width - 1 &&
                           port.top == before.height - 1;
    if (was_whole)
        w.view.port = w.view.mask = {0, area.width - 1, 0, area.height - 1};
    renew_rasters(w, before.width, before.height);
    const auto number = static_cast<short>(w.number);
    if (count_waiting(REDRAW, number) == 0)
        enter(REDRAW, number);
}

void take_window_event(const display::event &e, window_record &w, enter_call enter) {
    const auto number = static_cast<short>(w.number);
    switch (e.kind) {
    case display::event_kind::focus_in:
        state.focused = e.window;
        enter(INPUTCHANGE, number);
        break;
    case display::event_kind::close:
        enter(WINSHUT, number);
        break;
    case display::event_kind::iconify:
        w.iconic = true;
        enter(WINFREEZE, number);
        break;
    case display::event_kind::deiconify:
        w.iconic = false;
        enter(WINTHAW, number);
        break;
    case display::event_kind::redraw:
        w.damage = display::enclose(w.damage, e.area);
        show_damage(w);
        break;
    case display::event_kind::geometry:
        take_geometry(w, e.area, enter);
        break;
    case display::event_kind::drop:
        state.dropped = display::server().dropped_path();
        enter(WINDROP, number);
        break;
    default:
        break;
    }
}

void take_event(const display::event &e, enter_call enter) {
    switch (e.kind) {
    case display::event_kind::key:
        take_pointer(e.pointer, enter);
        take_press(key_device(e.code), e.pressed, enter);
        return;
    case display::event_kind::button:
        take_pointer(e.pointer, enter);
        take_press(button_device(e.code), e.pressed, enter);
        return;
    case display::event_kind::motion:
    case display::event_kind::enter:
    case display::event_kind::leave:
        take_pointer(e.pointer, enter);
        return;
    case display::event_kind::focus_out:
        state.focused = 0;
        release_keys(enter);
        enter(INPUTCHANGE, 0);
        return;
    case display::event_kind::paste:
        enter(PASTED, 0);
        return;
    case display::event_kind::lost:
        state.lost = true;
        if (lost_call != nullptr)
            lost_call();
        return;
    default:
        if (window_record *w = find_window_by_id(e.window))
            take_window_event(e, *w, enter);
    }
}

} // namespace

void take_display_events(enter_call enter) {
    display::event e;
    while (!state.lost && display::server().next(&e))
        take_event(e, enter);
}

void give_up_focus(display::window_id window, enter_call enter) {
    if (window != state.focused)
        return;
    state.focused = 0;
    release_keys(enter);
    enter(INPUTCHANGE, 0);
}

display::point turned(display::point p) {
    return {p.x, getgdesc(GD_YPMAX) - 1 - p.y};
}

void reset_event_pump() {
    state = pump_state{};
}

void on_display_lost(void (*f)()) {
    lost_call = f;
}

bool is_display_lost() {
    return state.lost;
}

const char *dropped_file() {
    return state.dropped.c_str();
}

bool is_held(device d) {
    return d > NULLDEV && d <= last_button_device && state.held.test(static_cast<std::size_t>(d));
}

} // namespace gl
