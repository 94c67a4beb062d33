#include "player/link_session.h"

#include "ipc/process_link.h"
#include "ipc/session_codes.h"
#include "ipc/shared_blocks.h"
#include "player/preview_movie.h"
#include "player/progress_window.h"
#include "player/received_frames.h"
#include "player/session_decisions.h"
#include "toolkit/demons/event_filters.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <poll.h>
#include <unistd.h>

namespace player {

ipc_link parent_link;

namespace {

constexpr long init_seconds = 10;        // that the session's parameters may take
constexpr std::int32_t min_cmds = 4;     // of a message that is taken for one during set-up
constexpr std::int32_t max_blocks = 100; // nested; more has no effect

// --- set-up --------------------------------------------------------------------------------------

int fail(ipc_link &parent, const char *text) {
    std::fprintf(stderr, "%s: %s\n", gMe, text);
    if (parent.socket > 0) {
        parent.select_mask.remove(parent.socket);
        close(parent.socket);
    }
    parent.socket = 0;
    return -1;
}

int shake_hands(ipc_link &parent) {
    parent.select_mask = {};
    parent.socket = ipc::getservsock(parent.port);
    if (parent.socket < 0)
        return fail(parent, "Error initializing socket to parent.");
    parent.select_mask.add(parent.socket);
    if (ipc::sendinitrequest(ipc::player_id, ipc::player_instance, parent.socket, parent.message) <
        0)
        return fail(parent, "Error while sending init data.");
    const int answer =
        ipc::getinitdata(ipc::player_id, ipc::player_instance, parent.socket, parent.message);
    if (answer < 0)
        return fail(parent, "Error reading initialization data.");
    if (answer == 0)
        return fail(parent, "Received kill from parent.");
    return 0;
}

int read_parameters(ipc_link &parent) {
    switch (ipc::getsockfd(parent.select_mask, true, true, init_seconds, 0)) {
    case ipc::wait_failed:
        return fail(parent, "Error getting ready descriptor.");
    case ipc::wait_event:
        return fail(parent, "Peculiar condition #1 encountered.");
    case ipc::wait_timeout:
        return fail(parent, "The parent does not say what it renders.");
    default:
        break;
    }
    if (ipc::readsockdata(parent.socket, parent.message, link_patience_ms) < 0)
        return fail(parent, "Error while reading socket (2)");
    return 0;
}

void refuse_parameter(const char *what, std::int64_t value) {
    std::fprintf(stderr, "%s: The session's %s can not be %lld.\n", gMe, what,
                 static_cast<long long>(value));
}

// Brings the session's parameters to what can be worked with.
void check_parameters(ipc_link &parent, play_args &args) {
    if (args.first == no_frame_yet) {
        refuse_parameter("first frame", args.first);
        args.first = 0;
    }
    if (args.count < 0 || std::int64_t{args.first} + args.count > INT32_MAX) {
        refuse_parameter("number of frames", args.count);
        args.count = 0;
    }
    const auto is_side = [](std::int32_t pixels) {
        return pixels >= 1 && pixels <= movie::ir1_max_dimension;
    };
    if (!is_side(args.width) || !is_side(args.height)) {
        refuse_parameter(is_side(args.width) ? "height" : "width",
                         is_side(args.width) ? args.height : args.width);
        args.width = args.height = 0;
    }
    if (!std::isfinite(args.rate) || args.rate < 0) {
        std::fprintf(stderr, "%s: The session's rate is no number of frames per second.\n", gMe);
        args.rate = play_args{}.rate;
    }
    const bool has_status = parent.status_key != -1 && parent.status_size != 0;
    if (has_status && parent.status_size < static_cast<std::int32_t>(ipc::status_bytes)) {
        refuse_parameter("status block's size", parent.status_size);
        parent.status_key = -1;
    }
}

void take_parameters(ipc_link &parent, play_args &args) {
    const auto &longs = parent.message.longdata;
    parent.session_word = longs[ipc::long_session_word];
    args.first = longs[ipc::long_first];
    args.count = longs[ipc::long_count];
    args.width = longs[ipc::long_width];
    args.height = longs[ipc::long_height];
    args.render = longs[ipc::long_render];
    args.compression = longs[ipc::long_compression];
    parent.status_key = longs[ipc::long_status_key];
    parent.status_size = longs[ipc::long_status_size];
    args.rate = parent.message.floatdata[0];
    args.current = no_frame_yet;
    check_parameters(parent, args);
    args.orig_width = args.width;
    args.orig_height = args.height;
}

// --- messages ------------------------------------------------------------------------------------

ipc::socket_record make_reply(std::uint16_t code) {
    ipc::socket_record reply;
    ipc::fill_header(reply, ipc::player_id, ipc::player_instance, ipc::anybody, ipc::anybody,
                     ipc::class_answer, code);
    return reply;
}

// Ends a session whose parent can not be understood, or reached, any more. One that has sent all its
// frames may go.
void lose_link(ipc_link &parent) {
    if (!is_session_complete(playback))
        std::fprintf(stderr, "%s: The link to the parent is lost.\n", gMe);
    parent.is_lost = true;
    close_link(parent);
}

void send(ipc_link &parent, const ipc::socket_record &reply) {
    if (parent.socket > 0 && ipc::sendsockdata(parent.socket, reply, link_patience_ms) != 0)
        lose_link(parent);
}

void block_input(ipc_link &parent) {
    if (parent.blocked == max_blocks)
        return;
    ++parent.blocked;
    // To a part that takes no input. A control would take the filter for the pointer that it holds,
    // and end it.
    toolkit::push_event_filter(progress.report.get(), toolkit::total_filter_mask);
}

void unblock_input(ipc_link &parent) {
    if (parent.blocked == 0)
        return;
    --parent.blocked;
    toolkit::pop_event_filter();
}

void take_control(ipc_link &parent, play_args &args, std::uint16_t code) {
    if (code == ipc::code_end || code == ipc::code_end_session)
        end_session(args);
    else if (code == ipc::code_block)
        block_input(parent);
    else if (code == ipc::code_unblock)
        unblock_input(parent);
}

void take_data(ipc_link &parent, play_args &args, movie_ref &ref, std::uint16_t code) {
    const ipc::socket_record &m = parent.message;
    if (code != ipc::code_frame_ready)
        return;
    if (m.numof_longs < static_cast<std::int32_t>(ipc::frame_ready_longs)) {
        std::fprintf(stderr, "%s: A frame is lost: its message has %d numbers.\n", gMe,
                     m.numof_longs);
        return;
    }
    const frame_announcement frame{m.longdata[ipc::long_frame_key],
                                   m.longdata[ipc::long_frame_bytes],
                                   m.longdata[ipc::long_frame_number]};
    receive_frame(frame, parent, args, ref);
}

void take_message(ipc_link &parent, play_args &args, movie_ref &ref) {
    const ipc::socket_record &m = parent.message;
    const bool is_for_us = m.datacmd[ipc::word_addressee] == ipc::player_id ||
                           m.datacmd[ipc::word_addressee_instance] == ipc::player_instance;
    if (m.numof_cmds < ipc::header_cmds || !is_for_us)
        return;
    const std::uint16_t code = m.datacmd[ipc::word_code];
    switch (const std::uint16_t kind = m.datacmd[ipc::word_class]) {
    case ipc::class_request:
        if (code == ipc::code_request_pid)
            send_pid(parent);
        else if (code == ipc::code_request_size)
            send_image_size(parent, args);
        break;
    case ipc::class_command:
        take_control(parent, args, code);
        break;
    case ipc::class_data:
        take_data(parent, args, ref, code);
        break;
    default:
        if (static_cast<std::int16_t>(kind) > static_cast<std::int16_t>(ipc::class_data))
            std::fprintf(stderr, "%s: Got an unknown socket event (class==%d)...\n", gMe, kind);
        break;
    }
}

std::atomic_ref<std::uint8_t> status_byte(ipc_link &parent, std::size_t which) {
    return std::atomic_ref(parent.status_block[which]);
}

} // namespace

int open_link(ipc_link &parent, play_args &args) {
    parent.socket = 0;
    if (parent.port <= 0)
        return 0;
    if (shake_hands(parent) != 0 || read_parameters(parent) != 0)
        return -1;
    const ipc::socket_record &m = parent.message;
    const bool is_message = m.numof_cmds > min_cmds ||
                            m.datacmd[ipc::word_addressee] == ipc::player_id ||
                            m.datacmd[ipc::word_addressee_instance] == ipc::player_instance;
    if (!is_message)
        return 0;
    if (m.datacmd[ipc::word_class] != ipc::class_data)
        return fail(parent, "Garbage coming over IPC link in setup_ipc_stuff().");
    if (m.datacmd[ipc::word_code] == ipc::code_play_args && m.numof_cmds >= ipc::header_cmds &&
        m.numof_longs == static_cast<std::int32_t>(ipc::play_args_longs) &&
        m.numof_floats == static_cast<std::int32_t>(ipc::play_args_floats))
        take_parameters(parent, args);
    return 0;
}

void attach_link_status(ipc_link &parent) {
    if (parent.status_key == -1 || parent.status_size == 0 || !parent.status_block.empty())
        return;
    const auto size = static_cast<std::size_t>(parent.status_size);
    void *block = ipc::shmem_attach(size, parent.status_key, &parent.status_id);
    if (block == nullptr) {
        std::perror("Player: shmem_malloc");
        parent.status_id = -1;
        return;
    }
    parent.status_block = {static_cast<std::uint8_t *>(block), size};
}

void detach_link_status(ipc_link &parent) {
    if (!parent.status_block.empty())
        ipc::shmem_free(parent.status_block.data(), parent.status_id);
    parent.status_block = {};
    parent.status_id = -1;
}

int link_status(const ipc_link &parent) {
    if (parent.status_block.empty())
        return -1;
    return std::atomic_ref(parent.status_block[ipc::status_state]).load();
}

void set_link_status(ipc_link &parent, std::uint8_t to) {
    if (!parent.status_block.empty())
        status_byte(parent, ipc::status_state) = to;
}

void set_link_busy(ipc_link &parent, bool is_busy) {
    if (parent.status_block.empty())
        return;
    status_byte(parent, ipc::status_busy) = is_busy ? 1 : 0;
    if (is_busy)
        status_byte(parent, ipc::status_taken) = 1;
}

void send_pid(ipc_link &parent) {
    ipc::socket_record reply = make_reply(ipc::code_pid);
    reply.numof_longs = 1;
    reply.longdata[0] = static_cast<std::int32_t>(getpid());
    send(parent, reply);
}

void send_image_size(ipc_link &parent, const play_args &args) {
    ipc::socket_record reply = make_reply(ipc::code_size);
    reply.numof_longs = 2;
    reply.longdata[0] = args.width;
    reply.longdata[1] = args.height;
    send(parent, reply);
}

bool handle_link_event(ipc_link &parent, play_args &args, movie_ref &ref) {
    if (parent.port <= 0 || parent.socket <= 0)
        return false;
    const int ready = ipc::getsockfd(parent.select_mask, true, true, 0, 0);
    if (ready == ipc::wait_failed) {
        std::fprintf(stderr, "%s: Error getting ready descriptor.\n", gMe);
        lose_link(parent);
    }
    if (ready != parent.socket)
        return false;
    if (ipc::readsockdata(parent.socket, parent.message, link_patience_ms) < 0) {
        std::fprintf(stderr, "%s: Error while reading socket (1).\n", gMe);
        lose_link(parent);
        return true;
    }
    if (parent.message.numof_cmds == 0) {
        if (++state.empty_reads > max_empty_reads)
            lose_link(parent);
        return true;
    }
    state.empty_reads = 0;
    take_message(parent, args, ref);
    return true;
}

bool has_parent_left(const ipc_link &parent) {
    pollfd link{parent.socket > 0 ? parent.socket : -1, POLLRDHUP, 0};
    return poll(&link, 1, 0) > 0;
}

void tell_session_end(ipc_link &parent) {
    set_link_status(parent, playback.render != 0 ? ipc::state_cancelled : ipc::state_preview_over);
}

void close_link(ipc_link &parent) {
    tell_session_end(parent);
    detach_link_status(parent);
    release_frame_blocks();
    while (parent.blocked > 0)
        unblock_input(parent);
    if (parent.socket > 0) {
        ipc::closesock(&parent.socket, parent.select_mask);
        parent.socket = 0;
    }
}

} // namespace player
