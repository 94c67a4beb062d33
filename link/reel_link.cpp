#include "link/reel_link.h"

#include "link/frame_pixels.h"
#include "link/link_watch.h"
#include "link/player_process.h"

#include <cerrno>
#include <cfloat>
#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

using namespace render_link;

struct reel_link {
    watched_link watch;
    call_text text;
    reel_link_session session{};
    frame_size size;  // of the session's frames
    frame_size shown; // as the player shows them; 0 before the first session
    frame_scaler scaler;
    std::vector<std::uint32_t> line; // one row, for the scaler
    std::size_t next_block = 0;
    bool has_session = false; // until it is ended by its owner
};

namespace {

// Has the text say what a code means, unless it says something already.
int answer(reel_link &link, int code) {
    link.text = {};
    switch (code) {
    case REEL_LINK_OK:
        return code;
    case REEL_LINK_TIMEOUT:
        return say(link.text, code, "the player has not taken the frame before in time");
    case REEL_LINK_PAUSED:
        link.watch.told_paused = true;
        return say(link.text, code, "the user has paused");
    case REEL_LINK_RESUMED:
        return say(link.text, code, "the user has resumed");
    case REEL_LINK_REFUSED:
        return say(link.text, code, "the player has refused the frame before");
    case REEL_LINK_SYSTEM:
        return say(link.text, code, "no shared memory for the frame: %s", std::strerror(errno));
    default:
        link.text = link.watch.over_text;
        return code;
    }
}

int refuse_call(reel_link &link, const char *why) {
    return say(link.text, REEL_LINK_BAD_CALL, "%s", why);
}

constexpr const char *no_session = "there is no session";

const char *check_session(const reel_link_session &session) {
    if (session.kind != REEL_LINK_RENDER && session.kind != REEL_LINK_PREVIEW)
        return "the session's kind is neither render nor preview";
    if (!is_possible({session.width, session.height}))
        return "the session's width or height is out of range";
    if (session.count < 1 || session.first > INT_MAX - session.count || session.first == INT_MIN)
        return "the session's first frame or count is out of range";
    if (!(session.rate >= 0 && session.rate <= FLT_MAX)) // it travels as a float
        return "the session's rate is negative or no number";
    if (session.compression < -1 || session.compression > 255)
        return "the session's compression is out of range";
    return session.start_limit < 1 ? "the session's time to start is below 1" : nullptr;
}

// Waits for one answer of the player, past others.
int await_answer(reel_link &link, std::uint16_t code, std::int32_t longs, ipc::moment until,
                 ipc::socket_record &message) {
    for (;;) {
        const int result = read_message(link.watch.socket, message, until);
        if (result == message_none || ipc::is_over(until))
            return say(link.text, REEL_LINK_NOT_LINKED, "the player was not ready in time");
        if (result == message_ended)
            return say(link.text, REEL_LINK_NOT_LINKED,
                       "the player ended before its window was there");
        if (is_answer(message, code, longs))
            return REEL_LINK_OK;
    }
}

// Tells the player of the session, and waits for its window.
int open_window(reel_link &link, ipc::moment until) {
    ipc::socket_record message;
    fill_play_args(message, link.session, link.watch.status.key);
    if (ipc::sendsockdata(link.watch.socket, message, ipc::milliseconds_left(until)) != 0)
        return say(link.text, REEL_LINK_NOT_LINKED, "the player does not listen");
    int result = await_answer(link, ipc::code_pid, 1, until, message);
    if (result != REEL_LINK_OK)
        return result;
    link.watch.player = message.longdata[0];
    mark_shared(link.watch.status);
    fill_plain(message, ipc::class_request, ipc::code_request_size);
    if (ipc::sendsockdata(link.watch.socket, message, ipc::milliseconds_left(until)) != 0)
        return say(link.text, REEL_LINK_NOT_LINKED, "the player does not listen");
    result = await_answer(link, ipc::code_size, 2, until, message);
    if (result != REEL_LINK_OK)
        return result;
    link.shown = {message.longdata[0], message.longdata[1]};
    if (!is_possible(link.shown))
        return say(link.text, REEL_LINK_NOT_LINKED, "the player shows frames in %d x %d pixels",
                   link.shown.width, link.shown.height);
    return REEL_LINK_OK;
}

// What sizes frames, if the player shows them in another size.
int make_scaler(reel_link &link) {
    if (link.shown == link.size)
        return REEL_LINK_OK;
    link.line.resize(static_cast<std::size_t>(link.size.width));
    if (set_scaler(link.scaler, link.size.width, link.size.height, link.shown.width,
                   link.shown.height) != 0)
        return say(link.text, REEL_LINK_SYSTEM, "no memory to size frames");
    return REEL_LINK_OK;
}

int start_session(reel_link &link) {
    const ipc::moment until = ipc::moment_after(link.session.start_limit);
    std::string program;
    int result = find_player(link.session.player, program, link.text);
    if (result != REEL_LINK_OK)
        return result;
    sweep_segments();
    linked_player player;
    result = start_player(program, until, player, link.text);
    if (result != REEL_LINK_OK)
        return result;
    link.watch.socket = player.socket;
    link.watch.child = player.process;
    // Not before, so that there is little time in which only we know of it.
    if (create_segment(ipc::status_bytes, link.watch.status) != 0)
        return say(link.text, REEL_LINK_SYSTEM, "no shared memory: %s", std::strerror(errno));
    result = open_window(link, until);
    return result == REEL_LINK_OK ? make_scaler(link) : result;
}

// Back to a handle without a session.
void drop_session(reel_link &link) {
    close_watch(link.watch);
    link.watch.over = REEL_LINK_BAD_CALL;
    say(link.watch.over_text, 0, "%s", no_session);
    link.watch.player = 0;
    link.session = {};
    link.has_session = false;
}

// The session as it begins, before there is a player.
void clear_session(reel_link &link, const reel_link_session &session) {
    link.session = session;
    link.size = {session.width, session.height};
    link.next_block = 0;
    link.watch.is_render = session.kind == REEL_LINK_RENDER;
    link.watch.unanswered = 0;
    link.watch.asked = link.watch.refused = link.watch.has_last = link.watch.told_paused = false;
    link.text = link.watch.over_text = {};
}

const char *check_frame(const reel_link &link, int frame, const reel_link_picture *picture) {
    if (picture == nullptr)
        return "there is no picture";
    if (frame < link.session.first || frame >= link.session.first + link.session.count)
        return "the frame's number is outside the session";
    return check_picture(*picture, link.size.width);
}

int send_picture(reel_link &link, int frame, const reel_link_picture &picture, ipc::moment until,
                 bool is_waiting) {
    watched_link &watch = link.watch;
    // While the player takes the frame before out of the other block.
    int result = await_taken(watch, ipc::moment_after(0), false);
    if (result != REEL_LINK_OK && (result != REEL_LINK_TIMEOUT || !is_waiting))
        return result;
    own_segment &block = watch.blocks[link.next_block];
    const std::size_t bytes = link.shown.words() * sizeof(std::uint32_t);
    if (block.address == nullptr && create_segment(bytes, block) != 0)
        return REEL_LINK_SYSTEM;
    frame_scaler *scaler = link.shown == link.size ? nullptr : &link.scaler;
    write_frame(picture, link.size, scaler, link.line,
                {static_cast<std::uint32_t *>(block.address), link.shown.words()});
    result = await_taken(watch, until, false);
    if (result != REEL_LINK_OK)
        return result;
    link.next_block = (link.next_block + 1) % watch.blocks.size();
    const bool is_last = frame - link.session.first == link.session.count - 1;
    return send_frame(watch, block, bytes, frame, is_last);
}

int send_command(reel_link *link, std::uint16_t code) {
    if (link == nullptr)
        return REEL_LINK_BAD_CALL;
    if (look(link->watch) != REEL_LINK_OK)
        return answer(*link, link->watch.over);
    ipc::socket_record message;
    fill_plain(message, ipc::class_command, code);
    return answer(*link, send_message(link->watch, message));
}

// Lets the player have the last frame, and keep its window.
int end_kept(watched_link &watch, int limit) {
    const int result = await_taken(watch, ipc::moment_after(limit), true);
    close_watch(watch);
    leave_player(watch.child);
    return result;
}

// Has the player end, by a message if it still listens.
int end_closed(watched_link &watch, int limit) {
    int result = look(watch);
    const bool is_listening = result == REEL_LINK_OK && !is_paused(watch);
    const bool ends_by_itself = result == REEL_LINK_CANCELLED || result == REEL_LINK_CLOSED ||
                                (result == REEL_LINK_FINISHED && watch.is_render);
    if (result == REEL_LINK_OK) {
        ipc::socket_record message;
        fill_plain(message, ipc::class_command, ipc::code_end);
        result = send_message(watch, message);
    }
    if (!end_player(watch.child, !is_listening && !ends_by_itself, limit))
        result = REEL_LINK_TIMEOUT;
    return result;
}

} // namespace

reel_link *reel_link_new(void) {
    auto *link = new (std::nothrow) reel_link;
    if (link != nullptr)
        drop_session(*link);
    return link;
}

void reel_link_free(reel_link *link) {
    const std::unique_ptr<reel_link> owner(link);
    if (link != nullptr && link->has_session)
        reel_link_end(link, REEL_LINK_KEEP_WINDOW, 0);
}

void reel_link_defaults(reel_link_session *session) {
    if (session == nullptr)
        return;
    *session = {};
    session->kind = REEL_LINK_RENDER;
    session->first = 1;
    session->count = 1;
    session->rate = 24;
    session->compression = 12;
    session->start_limit = 5000;
}

int reel_link_start(reel_link *link, const reel_link_session *session) {
    if (link == nullptr)
        return REEL_LINK_BAD_CALL;
    if (link->has_session)
        return refuse_call(*link, "there is a session already");
    const char *wrong = session != nullptr ? check_session(*session) : "no session is given";
    if (wrong != nullptr)
        return refuse_call(*link, wrong);
    clear_session(*link, *session);
    int result;
    try {
        result = start_session(*link);
    } catch (const std::bad_alloc &) {
        result = say(link->text, REEL_LINK_SYSTEM, "no memory");
    }
    if (result != REEL_LINK_OK) {
        end_player(link->watch.child, true, 0);
        drop_session(*link);
        return result;
    }
    link->session.player = nullptr; // the caller's
    link->watch.over = REEL_LINK_OK;
    link->has_session = true;
    return answer(*link, REEL_LINK_OK);
}

int reel_link_send(reel_link *link, int frame, const reel_link_picture *picture, int limit) {
    if (link == nullptr)
        return REEL_LINK_BAD_CALL;
    if (!link->has_session)
        return answer(*link, link->watch.over);
    const char *wrong = check_frame(*link, frame, picture);
    if (wrong != nullptr)
        return refuse_call(*link, wrong);
    return answer(*link,
                  send_picture(*link, frame, *picture, ipc::moment_after(limit), limit != 0));
}

int reel_link_flush(reel_link *link, int limit) {
    if (link == nullptr)
        return REEL_LINK_BAD_CALL;
    return answer(*link, await_taken(link->watch, ipc::moment_after(limit), false));
}

int reel_link_wait(reel_link *link, int limit) {
    if (link == nullptr)
        return REEL_LINK_BAD_CALL;
    return answer(*link, await_decision(link->watch, ipc::moment_after(limit)));
}

int reel_link_block_input(reel_link *link) {
    return send_command(link, ipc::code_block);
}

int reel_link_unblock_input(reel_link *link) {
    return send_command(link, ipc::code_unblock);
}

int reel_link_end(reel_link *link, int mode, int limit) {
    if (link == nullptr)
        return REEL_LINK_BAD_CALL;
    if (!link->has_session)
        return answer(*link, link->watch.over);
    if (mode != REEL_LINK_KEEP_WINDOW && mode != REEL_LINK_CLOSE)
        return refuse_call(*link, "the end is neither to keep the window nor to close it");
    const int result =
        mode == REEL_LINK_CLOSE ? end_closed(link->watch, limit) : end_kept(link->watch, limit);
    answer(*link, result);
    if (result == REEL_LINK_TIMEOUT && mode == REEL_LINK_CLOSE)
        say(link->text, result, "the player had to be killed");
    drop_session(*link);
    return result;
}

const char *reel_link_text(const reel_link *link) {
    return link != nullptr ? link->text.line.data() : "";
}

int reel_link_shown_size(const reel_link *link, int *width, int *height) {
    if (link == nullptr || link->shown.width < 1)
        return REEL_LINK_BAD_CALL;
    *width = link->shown.width;
    *height = link->shown.height;
    return REEL_LINK_OK;
}

long reel_link_player_process(const reel_link *link) {
    return link != nullptr && link->has_session ? link->watch.player : 0;
}
