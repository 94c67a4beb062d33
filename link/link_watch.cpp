#include "link/link_watch.h"

#include "link/player_process.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace render_link {

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// How often shared memory is looked at: a frame is taken within milliseconds, a user takes seconds.
constexpr microseconds first_step{50};
constexpr microseconds taken_step = milliseconds(1);
constexpr microseconds slow_step = milliseconds(10); // once the player has been asked
constexpr microseconds decision_step = milliseconds(20);

constexpr milliseconds ask_after{250}; // a player that takes longer for a frame may have refused it
constexpr int messages_at_once = 64;   // so that a player that talks without end does not hold us
constexpr int end_limit = 1000;        // for a player that has closed its link to end, too

std::atomic_ref<std::uint8_t> status_byte(const watched_link &link, std::size_t place) {
    return std::atomic_ref(static_cast<std::uint8_t *>(link.status.address)[place]);
}

// Notes that the frame has been taken: the player says so before it begins to copy.
void note_taken(watched_link &link) {
    if (link.on_its_way == nullptr || status_byte(link, ipc::status_taken).load() == 0 ||
        status_byte(link, ipc::status_busy).load() != 0)
        return;
    mark_shared(*link.on_its_way);
    link.on_its_way = nullptr;
    link.has_last = link.is_last;
}

int end_session(watched_link &link, int code) {
    link.over = code;
    close_watch(link);
    return code;
}

int end_finished(watched_link &link) {
    say(link.over_text, 0,
        link.is_render ? "the user has closed the window of the finished render"
                       : "the preview is complete and goes on at the user's");
    return end_session(link, REEL_LINK_FINISHED);
}

// What the status block says of an end, if anything.
int read_end(watched_link &link) {
    note_taken(link);
    const std::uint8_t state = status_byte(link, ipc::status_state).load();
    if (state == ipc::state_cancelled && link.is_render && link.has_last)
        return end_finished(link);
    if (state == ipc::state_cancelled) {
        say(link.over_text, 0, "the user has cancelled");
        return end_session(link, REEL_LINK_CANCELLED);
    }
    if (state == ipc::state_preview_over && link.has_last)
        return end_finished(link);
    return REEL_LINK_OK;
}

// The player has closed its end of the link.
int judge_end(watched_link &link) {
    if (read_end(link) != REEL_LINK_OK)
        return link.over;
    if (status_byte(link, ipc::status_state).load() == ipc::state_preview_over) {
        say(link.over_text, 0, "the player has given up the link; it plays what it has");
        return end_session(link, REEL_LINK_LOST);
    }
    int status = unknown_status;
    if (!await_end(link.child, ipc::moment_after(end_limit), &status)) {
        say(link.over_text, 0, "the player (process %ld) has closed the link, but runs on",
            link.player);
        return end_session(link, REEL_LINK_LOST);
    }
    if (status != unknown_status && WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        if (link.is_render && link.has_last)
            return end_finished(link);
        say(link.over_text, 0, "the user has closed the player");
        return end_session(link, REEL_LINK_CLOSED);
    }
    say(link.over_text, 0, "the player (process %ld) has ended: %s", link.player,
        describe_end(status).c_str());
    return end_session(link, REEL_LINK_LOST);
}

// The answer to our question comes behind the frame: when that is not taken now, it never is. An
// answer that comes late, to what was asked of a frame before, tells nothing of this one.
void take_message(watched_link &link, const ipc::socket_record &message) {
    if (link.unanswered == 0 || !is_answer(message, ipc::code_pid, 1))
        return;
    if (--link.unanswered > 0 || !link.asked)
        return;
    link.asked = false;
    note_taken(link);
    link.refused = link.on_its_way != nullptr;
    link.on_its_way = nullptr;
}

// Waits for the socket to have something, for one step at most.
void sleep_at_socket(const watched_link &link, microseconds step, ipc::moment until) {
    (void)ipc::wait_ready(link.socket, POLLIN, std::min(until, steady_clock::now() + step));
}

int ask_if_refused(watched_link &link) {
    if (link.asked || is_paused(link) || steady_clock::now() < link.sent + ask_after)
        return REEL_LINK_OK;
    ipc::socket_record message;
    fill_plain(message, ipc::class_request, ipc::code_request_pid);
    link.asked = true;
    ++link.unanswered;
    return send_message(link, message);
}

} // namespace

int read_message(int socket, ipc::socket_record &message, ipc::moment until) {
    if (ipc::wait_ready(socket, POLLIN, until) == 0)
        return message_none;
    char byte;
    if (::recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) <= 0)
        return message_ended;
    return ipc::readsockdata(socket, message, send_limit) == 0 ? 0 : message_ended;
}

int look(watched_link &link) {
    if (link.over != REEL_LINK_OK || read_end(link) != REEL_LINK_OK)
        return link.over;
    ipc::socket_record message;
    for (int count = 0; count < messages_at_once; ++count) {
        const int result = read_message(link.socket, message, ipc::moment_after(0));
        if (result == message_ended)
            return judge_end(link);
        if (result == message_none)
            break;
        take_message(link, message);
    }
    return REEL_LINK_OK;
}

bool is_paused(const watched_link &link) {
    return link.over == REEL_LINK_OK &&
           status_byte(link, ipc::status_state).load() == ipc::state_paused;
}

int await_taken(watched_link &link, ipc::moment until, bool through_pause) {
    for (microseconds step = first_step;; step = std::min(2 * step, taken_step)) {
        if (look(link) != REEL_LINK_OK)
            return link.over;
        if (link.refused) {
            link.refused = false;
            return REEL_LINK_REFUSED;
        }
        const bool paused = is_paused(link);
        if (paused && !through_pause)
            return REEL_LINK_PAUSED;
        if (link.on_its_way == nullptr)
            return REEL_LINK_OK;
        // Before the time is over: who only looks, again and again, would never learn of a refusal.
        if (ask_if_refused(link) != REEL_LINK_OK)
            return link.over;
        if (ipc::is_over(until))
            return REEL_LINK_TIMEOUT;
        sleep_at_socket(link, link.asked || paused ? slow_step : step, until);
    }
}

int await_decision(watched_link &link, ipc::moment until) {
    for (microseconds step = taken_step;; step = std::min(2 * step, decision_step)) {
        if (look(link) != REEL_LINK_OK)
            return link.over;
        if (is_paused(link) != link.told_paused) {
            link.told_paused = !link.told_paused;
            return link.told_paused ? REEL_LINK_PAUSED : REEL_LINK_RESUMED;
        }
        if (ipc::is_over(until))
            return REEL_LINK_OK;
        sleep_at_socket(link, step, until);
    }
}

int send_message(watched_link &link, const ipc::socket_record &message) {
    const int result = ipc::sendsockdata(link.socket, message, send_limit);
    if (result == 0)
        return REEL_LINK_OK;
    if (result == ipc::link_closed)
        return judge_end(link);
    say(link.over_text, 0, "the player (process %ld) does not take messages", link.player);
    return end_session(link, REEL_LINK_LOST);
}

int send_frame(watched_link &link, own_segment &block, std::size_t bytes, int frame, bool is_last) {
    ipc::socket_record message;
    fill_frame_ready(message, block.key, bytes, frame);
    status_byte(link, ipc::status_taken).store(0);
    link.on_its_way = &block;
    link.is_last = is_last;
    link.sent = steady_clock::now();
    link.asked = false;
    return send_message(link, message);
}

void close_watch(watched_link &link) {
    if (link.socket >= 0)
        ::close(link.socket);
    link.socket = -1;
    link.on_its_way = nullptr;
    release_segment(link.status);
    for (own_segment &block : link.blocks)
        release_segment(block);
}

} // namespace render_link
