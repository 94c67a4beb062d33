#include "player/session_decisions.h"

#include "ipc/session_codes.h"
#include "platform/clock/program_clock.h"
#include "player/link_session.h"
#include "player/player_window.h"
#include "player/progress_report.h"
#include "player/progress_window.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/widgets/widgets.h"

#include <vector>

namespace player {

namespace {

using toolkit::demon;
using toolkit::demon_ref;

std::int64_t paused_since_us = 0; // 0: not paused

// Closes what the user has opened: file tools, messages.
void destroy_other_windows() {
    std::vector<demon_ref> others;
    for (demon *each = toolkit::inq_demon_god()->kids; each != nullptr; each = each->next)
        if (toolkit::is_iris_window_demon(each) && each != player_tool.window.get() &&
            each != progress.window.get())
            others.push_back(toolkit::refer_to_demon(each));
    for (const demon_ref &each : others)
        toolkit::destroyWidget(each.get());
}

} // namespace

const play_args &session_args() {
    return state.session_playback && playback.render == 0 ? saved_playback : playback;
}

bool is_session_complete(const play_args &args) {
    return args.count > 0 && frames_done(args) == args.count;
}

bool is_session_over(const play_args &args) {
    return parent_link.is_lost || (args.render != 0 && is_session_complete(args));
}

void end_pause() {
    resume_session(0);
    toolkit::updateWidgetValue(progress.paused.get(), 0);
}

void quit_player(toolkit::word) {
    if (state.session_playback) {
        end_pause();
        return;
    }
    destroy_other_windows();
    state.quit_requested = true;
    detach_link_status(parent_link);
}

void cancel_session(toolkit::word) {
    if (!is_session_over(session_args()) &&
        toolkit::ask_yes_no("Are you sure you want to cancel? ") != toolkit::answer_yes)
        return;
    set_link_status(parent_link, ipc::state_cancelled);
    state.session_playback = false;
    quit_player(0);
}

void close_session(toolkit::word) {
    const bool may_go_on =
        !is_session_over(session_args()) &&
        toolkit::ask_yes_no("Keep rendering without this window? ") == toolkit::answer_yes;
    if (!may_go_on) {
        cancel_session(0);
        return;
    }
    state.session_playback = false;
    quit_player(0);
}

void pause_session(toolkit::word) {
    if (session_args().current == no_frame_yet || parent_link.socket <= 0 ||
        parent_link.status_block.empty())
        return;
    set_link_status(parent_link, ipc::state_paused);
    paused_since_us = program_clock::now_us();
}

// Without a frame there is nothing to look at, whatever the block says.
bool is_session_paused() {
    return link_status(parent_link) == ipc::state_paused && session_args().current != no_frame_yet;
}

void resume_session(toolkit::word) {
    if (session_args().current == no_frame_yet)
        return;
    destroy_other_windows();
    if (parent_link.socket > 0)
        set_link_status(parent_link, ipc::state_resumed);
    if (paused_since_us != 0)
        state.session_start_us += program_clock::now_us() - paused_since_us;
    paused_since_us = 0;
}

void end_session(play_args &args) {
    free_frame_buffers(args);
    state.session_playback = false;
    quit_player(0);
}

} // namespace player
