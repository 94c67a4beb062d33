#include "player/progress_loop.h"

#include "platform/clock/program_clock.h"
#include "platform/gl/queue.h"
#include "player/input_turns.h"
#include "player/progress_window.h"
#include "player/session_decisions.h"

namespace player {

namespace {

// A parent that always has the next frame ready is not to keep pictures from the screen; nor need
// there be more of them than a screen shows.
constexpr std::int64_t most_reading_us = 16'000;

// The pointer's moves come through the queue: the input layer, which would poll it as long as it
// moves, is asked only when there is something.
void take_input() {
    while (gl::qtest() != gl::NULLDEV && !is_over() && !state.leave_loop)
        if (route_waiting())
            cancel_session(0);
    gl::qdevice(gl::MOUSEX);
    gl::qdevice(gl::MOUSEY);
}

// Whether a preview has come to its end, and can be played. What the parent still says then is not
// listened to.
bool is_preview_over(const ipc_link &parent, const play_args &args) {
    return args.render == 0 && (parent.is_lost || is_session_complete(args));
}

// Takes what the parent has sent, and shows the newest frame.
void take_messages(ipc_link &parent, play_args &args, movie_ref &ref) {
    const bool was_lost = parent.is_lost;
    const std::uint64_t frames_before = state.frames_received;
    const std::int64_t until = program_clock::now_us() + most_reading_us;
    while (handle_link_event(parent, args, ref) && !state.quit_requested &&
           !is_preview_over(parent, args) && program_clock::now_us() < until) {
    }
    if (state.quit_requested)
        return;
    const bool is_new = state.frames_received != frames_before || parent.is_lost != was_lost;
    if (is_new && update_progress_window())
        deliver_pointer_position();
}

} // namespace

void progress_loop(ipc_link &parent, play_args &args, movie_ref &ref) {
    state.leave_loop = false;
    if (parent.socket <= 0 && !parent.is_lost)
        return;
    install_progress_view();
    install_window_calls();
    if (parent.is_lost)
        update_progress_window();
    take_input();
    deliver_pointer_position();
    while (!is_over() && !state.leave_loop && !is_session_paused()) {
        if (is_preview_over(parent, args)) {
            destroy_progress_window();
            break;
        }
        sleep_until_input({parent.socket > 0 ? parent.socket : -1});
        take_input();
        if (!state.quit_requested && !state.leave_loop && !is_session_paused())
            take_messages(parent, args, ref);
    }
    state.leave_loop = false;
}

} // namespace player
