#include "player/player_loop.h"

#include "platform/clock/program_clock.h"
#include "platform/gl/input.h"
#include "platform/gl/queue.h"
#include "player/engine.h"
#include "player/frame_reader.h"
#include "player/link_session.h"
#include "player/player_window.h"
#include "player/quit_signals.h"
#include "player/translate_event.h"
#include "toolkit/demons/cursor_filters.h"
#include "toolkit/demons/demons.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/timers.h"
#include "toolkit/system.h"
#include "toolkit/widgets/pulldowns.h"

#include <array>
#include <cstdio>
#include <poll.h>

namespace player {

namespace {

constexpr int wait_yes = 255; // gl_event_get sleeps until there is something

toolkit::demon_message current_message;

// Ends the loops when there is no point in going on. Returns true when it did.
bool is_over() {
    if (quit_signal_arrived()) {
        state.quit_requested = true;
    } else if (gl::is_display_lost() && !state.quit_requested) {
        std::fprintf(stderr, "%s: The display is lost.\n", gMe);
        state.quit_requested = true;
    }
    return state.quit_requested;
}

// Sleeps until the event queue has something or a signal has come. A test's clock is moved by the
// queue's own waiting, so with such a clock that does the sleeping.
void sleep_until_input() {
    while (gl::qtest() == gl::NULLDEV && !is_over() && !program_clock::is_manual()) {
        std::array<pollfd, 2> sources{pollfd{gl::qgetfd(), POLLIN, 0},
                                      pollfd{quit_signal_fd(), POLLIN, 0}};
        poll(sources.data(), sources.size(), -1);
    }
}

void thaw_window(int window) {
    view.thaw(window);
    thaw_playing(playback, open_movie, window);
}

// What the toolkit's input layer calls for window events that it reads.
void install_window_calls() {
    toolkit::set_window_calls({[](int window) { view.refresh(window); },
                               [](int window) { view.freeze(window); }, thaw_window,
                               [](int window) { view.close(window); }});
}

struct input_event {
    std::int16_t type = toolkit::input_nothing;
    std::int16_t value = 0;
    toolkit::screen_point position;
};

// The next toolkit event. Class input_nothing also when it had to be slept for: what has come may
// be for the loop itself, which looks before the input layer takes it.
input_event next_event() {
    input_event e;
    const int wait = program_clock::is_manual() ? wait_yes : 0;
    if (gl_event_get(&e.type, &e.value, &e.position, wait, nullptr, nullptr) == 0) {
        sleep_until_input();
        return {};
    }
    // The input layer polls a pointer that has just come to rest. Its next move is worth no busy
    // waiting: it comes through the queue.
    if (e.type == toolkit::input_motion && e.position == current_message.point) {
        gl::qdevice(gl::MOUSEX);
        gl::qdevice(gl::MOUSEY);
    }
    return e;
}

// Handlers get a copy: a loop within one goes on with the message of its own.
void wait_and_route() {
    const input_event e = next_event();
    if (!translate_event(e.type, e.value, e.position, &current_message))
        return;
    const toolkit::demon_message m = current_message;
    route_event(e.type, m);
}

// Tells everybody where the pointer is.
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

void stopped_turn() {
    const gl::device d = gl::qtest();
    if (d != gl::WINTHAW && d != gl::WINDROP) {
        wait_and_route();
        return;
    }
    short value = 0;
    static_cast<void>(gl::qread(&value));
    if (d == gl::WINTHAW)
        thaw_window(value);
    else
        view.drop(value);
}

void playing_turn(play_args &args, movie_ref &ref) {
    sleep_until_input();
    if (is_over())
        return;
    short value = 0;
    const gl::device d = gl::qread(&value);
    switch (d) {
    case gl::TIMER0:
        view.make_current();
        advance_frame(args, ref);
        break;
    case gl::REDRAW:
        view.refresh(value);
        break;
    case gl::WINFREEZE:
        freeze_playing(args, value);
        view.freeze(value);
        break;
    case gl::WINTHAW:
        thaw_window(value);
        break;
    case gl::WINQUIT:
    case gl::WINSHUT:
        view.close(value);
        break;
    case gl::WINDROP:
        view.drop(value);
        break;
    case gl::QFULL:
        std::fprintf(stderr, "%s: Input queue overflow - Events have been lost.\n", gMe);
        break;
    default:
        view.take_device(d, value);
        break;
    }
}

// The pointer is not followed while a movie plays: nothing is under it then, until playing ends.
void follow_transport(bool was_playing) {
    if (!was_playing && state.playing)
        toolkit::demon_box_out_message(toolkit::inq_demon_god());
    else if (was_playing && !state.playing && !state.quit_requested)
        deliver_pointer_position();
}

} // namespace

void player_event_loop(play_args &args, movie_ref &ref) {
    install_window_calls();
    note_player_tool_placed();
    state.quit_requested = false;
    state.leave_loop = false;
    while (!is_over() && !state.leave_loop) {
        const bool was_playing = state.playing;
        if (args.render == 0 && state.playing)
            playing_turn(args, ref);
        else if (args.render == 0)
            stopped_turn();
        else
            wait_and_route();
        follow_transport(was_playing);
        const bool resumed = link_status(parent_link) == status_resumed;
        if (resumed && (args.render == 0 || state.session_playback))
            state.leave_loop = true;
    }
    state.leave_loop = false;
    if (state.playing)
        stop_playing(args);
}

void player_main_loop(int /*flag_a*/, int /*flag_b*/, int step) {
    state.quit_requested = false;
    if (step != 0)
        toolkit::locator_step_on();
    toolkit::cursor_filter = toolkit::null_filter;
    deliver_pointer_position();
    if (!state.standalone)
        run_linked_session(parent_link, playback, open_movie);
    if (!state.quit_requested && playback.render == 0) {
        close_link(parent_link);
        read_frame_from_file(playback, open_movie);
        if (state.standalone || build_player_tool(playback) == 0) {
            toolkit::activatePullDownChoice(player_tool.quit.get());
            player_event_loop(playback, open_movie);
        }
    }
    detach_link_status(parent_link);
    toolkit::system_terminate();
}

} // namespace player
