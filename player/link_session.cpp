#include "player/link_session.h"

#include <cstdio>

namespace player {

ipc_link parent_link;

int open_link(ipc_link &parent) {
    parent.socket = 0;
    if (parent.port <= 0)
        return 0;
    std::fprintf(stderr, "%s: Not linked to port %d: this version plays movie files only.\n", gMe,
                 parent.port);
    return -1;
}

void attach_link_status(ipc_link & /*parent*/) {}

void detach_link_status(ipc_link &parent) {
    parent.status_block = {};
    parent.status_id = -1;
}

int link_status(const ipc_link &parent) {
    constexpr std::size_t state_byte = 1;
    return parent.status_block.size() > state_byte ? parent.status_block[state_byte] : -1;
}

void send_pid(ipc_link & /*parent*/) {}

void run_linked_session(ipc_link & /*parent*/, play_args & /*args*/, movie_ref & /*ref*/) {}

void close_link(ipc_link &parent) {
    detach_link_status(parent);
    parent.socket = 0;
}

} // namespace player
