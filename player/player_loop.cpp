#include "player/player_loop.h"

#include "ipc/session_codes.h"
#include "platform/gl/input.h"
#include "platform/gl/queue.h"
#include "player/engine.h"
#include "player/frame_reader.h"
#include "player/input_turns.h"
#include "player/link_session.h"
#include "player/player_window.h"
#include "player/preview_movie.h"
#include "player/progress_loop.h"
#include "player/progress_window.h"
#include "player/session_decisions.h"
#include "toolkit/demons/cursor_filters.h"
#include "toolkit/demons/demons.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/timers.h"
#include "toolkit/system.h"
#include "toolkit/widgets/pulldowns.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace player {

namespace {

bool can_be_cancelled_by_key() {
    return state.session_playback && !state.playing;
}

void routed_turn(const wake_source &also = {}) {
    if (wait_and_route(also) && can_be_cancelled_by_key())
        cancel_session(0);
}

// The pause of a render ends when the renderer has gone away, for the window to say so. What it has
// still sent waits until then. (Who flips through a preview is not disturbed.)
void paused_render_turn() {
    if (has_parent_left(parent_link))
        end_pause();
    else
        routed_turn({parent_link.socket, POLLRDHUP});
}

void stopped_turn() {
    const gl::device d = gl::qtest();
    if (d != gl::WINTHAW && d != gl::WINDROP) {
        routed_turn();
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
            paused_render_turn();
        follow_transport(was_playing);
        const bool resumed = link_status(parent_link) == ipc::state_resumed;
        if (resumed && (args.render == 0 || state.session_playback))
            state.leave_loop = true;
    }
    state.leave_loop = false;
    if (state.playing)
        stop_playing(args);
}

namespace {

void watch_paused_render() {
    state.session_playback = true;
    player_event_loop(playback, open_movie);
    state.session_playback = false;
    toolkit::gl_qreset();
}

// Plays what has come so far, until the session goes on.
void play_paused_preview() {
    static_cast<play_settings &>(saved_playback) = playback;
    saved_playback.pixels = std::move(playback.pixels);
    saved_playback.packed = std::move(playback.packed);
    state.session_playback = true;
    if (prepare_preview(playback, open_movie, playback.current) == 0)
        read_frame_from_file(playback, open_movie);
    if (build_player_tool(playback) == 0)
        player_event_loop(playback, open_movie);
    toolkit::gl_qreset();
    destroy_player_tool();
    playback = std::move(saved_playback);
    saved_playback = {};
    open_movie.decoded = open_movie.drawn = -1; // the pixels are the session's again
    state.swing_returning = false;
    state.previous_mode = INT32_MIN;
    state.session_playback = false;
}

void run_linked_session() {
    while (!state.quit_requested) {
        progress_loop(parent_link, playback, open_movie);
        if (state.quit_requested || !is_session_paused())
            return;
        if (playback.render != 0)
            watch_paused_render();
        else
            play_paused_preview();
    }
}

// The renderer went away before its last frame: what has come can be played.
void keep_received_frames() {
    const std::int32_t last = last_received_frame(playback, open_movie);
    const bool has_frames = last >= playback.first;
    playback.current =
        has_frames ? std::clamp(playback.current, playback.first, last) : playback.first;
    static_cast<void>(prepare_preview(playback, open_movie, last));
}

} // namespace

void player_main_loop(int /*flag_a*/, int /*flag_b*/, int step) {
    state.quit_requested = false;
    if (step != 0)
        toolkit::locator_step_on();
    toolkit::cursor_filter = toolkit::null_filter;
    deliver_pointer_position();
    if (!state.standalone)
        run_linked_session();
    if (!state.quit_requested && playback.render == 0) {
        const bool is_cut_short = parent_link.is_lost;
        close_link(parent_link);
        if (is_cut_short)
            keep_received_frames();
        read_frame_from_file(playback, open_movie);
        if (state.standalone || build_player_tool(playback) == 0) {
            toolkit::activatePullDownChoice(player_tool.quit.get());
            player_event_loop(playback, open_movie);
        }
    }
    close_link(parent_link);
    destroy_progress_window();
    toolkit::system_terminate();
}

} // namespace player
