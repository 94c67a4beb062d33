#include "player/input_turns.h"

#include "platform/clock/program_clock.h"
#include "platform/gl/input.h"
#include "platform/gl/queue.h"
#include "player/engine.h"
#include "player/quit_signals.h"
#include "player/translate_event.h"
#include "toolkit/demons/demons.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/key_table.h"

#include <array>
#include <cstdio>

namespace player {

namespace {

constexpr int wait_yes = 255; // gl_event_get sleeps until there is something

toolkit::demon_message current_message;

struct input_event {
    std::int16_t type = toolkit::input_nothing;
    std::int16_t value = 0;
    toolkit::screen_point position;
};

bool take_event(input_event *e, int wait) {
    if (gl_event_get(&e->type, &e->value, &e->position, wait, nullptr, nullptr) == 0)
        return false;
    // The input layer polls a pointer that has just come to rest. Its next move is worth no busy
    // waiting: it comes through the queue.
    if (e->type == toolkit::input_motion && e->position == current_message.point) {
        gl::qdevice(gl::MOUSEX);
        gl::qdevice(gl::MOUSEY);
    }
    return true;
}

// Escape is delivered when pressed and when released, and may be released by the time that the press
// is seen. It counts once it is released: then it can not answer the question that it brings up. A
// release whose press somebody else took does not count.
bool is_escape_released() {
    static bool was_pressed = false;
    const bool is_release = was_pressed && !gl::getbutton(gl::ESCKEY);
    was_pressed = !is_release;
    return is_release;
}

bool is_for_all(std::int16_t input_class) {
    return toolkit::inq_event_receiver(input_class) == toolkit::inq_demon_god();
}

// Handlers get a copy: a loop within one goes on with the message of its own.
bool route(const input_event &e) {
    const bool is_escape = e.type == toolkit::input_keyboard &&
                           e.value == toolkit::escape_character && is_escape_released() &&
                           is_for_all(toolkit::input_keyboard);
    if (!translate_event(e.type, e.value, e.position, &current_message))
        return false;
    const toolkit::demon_message m = current_message;
    route_event(e.type, m);
    return is_escape;
}

} // namespace

bool is_over() {
    if (quit_signal_arrived()) {
        state.quit_requested = true;
    } else if (gl::is_display_lost() && !state.quit_requested) {
        std::fprintf(stderr, "%s: The display is lost.\n", gMe);
        state.quit_requested = true;
    }
    return state.quit_requested;
}

void sleep_until_input(const wake_source &also) {
    while (gl::qtest() == gl::NULLDEV && !is_over() && !program_clock::is_manual()) {
        std::array<pollfd, 3> sources{pollfd{gl::qgetfd(), POLLIN, 0},
                                      pollfd{quit_signal_fd(), POLLIN, 0},
                                      pollfd{also.descriptor, also.events, 0}};
        poll(sources.data(), sources.size(), -1);
        if (sources[2].revents != 0)
            return;
    }
}

bool wait_and_route(const wake_source &also) {
    input_event e;
    if (take_event(&e, program_clock::is_manual() ? wait_yes : 0))
        return route(e);
    // What is slept for may be for the loop itself, which looks before the input layer takes it.
    sleep_until_input(also);
    return false;
}

bool route_waiting() {
    input_event e;
    return take_event(&e, 0) && route(e);
}

void deliver_pointer_position() {
    std::int16_t x = 0;
    std::int16_t y = 0;
    toolkit::gl_get_valuator(&x, &y);
    current_message = {};
    current_message.code = toolkit::msg_pointer_moved;
    current_message.point = {x, y};
    current_message.propagate = toolkit::demon_on;
    const toolkit::demon_message m = current_message;
    route_event(toolkit::input_motion, m);
}

void thaw_window(int window) {
    view.thaw(window);
    thaw_playing(playback, open_movie, window);
}

void install_window_calls() {
    toolkit::set_window_calls({[](int window) { view.refresh(window); },
                               [](int window) { view.freeze(window); }, thaw_window,
                               [](int window) { view.close(window); }});
}

} // namespace player
