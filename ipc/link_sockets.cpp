#include "ipc/link_sockets.h"

#include "ipc/process_link.h"
#include "ipc/reports.h"
#include "ipc/waiting.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ipc {

namespace {

constexpr int record_limit = 1000; // ms for a record that has begun, or for one to be taken
constexpr int first_free_descriptor = 3;
constexpr long most_seconds = 1'000'000'000; // more does not differ from for ever
constexpr long most_microseconds = 1'000'000 * most_seconds;

int (*event_queue)() = nullptr;

bool can_be_member(int socket) {
    return socket >= 0 && socket < max_set_sockets;
}

// Closes without touching errno, which tells the caller what went wrong.
void close_quietly(int descriptor) {
    const int error = errno;
    close(descriptor);
    errno = error;
}

// A socket is never one of the standard streams, even where these are closed: 0 has a meaning of
// its own in what our callers return.
int keep_clear_of_streams(int descriptor) {
    if (descriptor < 0 || descriptor >= first_free_descriptor)
        return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, first_free_descriptor);
    close_quietly(descriptor);
    return moved;
}

int open_socket() {
    return keep_clear_of_streams(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

sockaddr_in loopback_address(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

const sockaddr *plain(const sockaddr_in *address) {
    return reinterpret_cast<const sockaddr *>(address);
}

int fail_socket(int socket, const char *text) {
    report_error(text);
    close_quietly(socket);
    return -1;
}

// An interrupted connect goes on by itself.
int finish_connect(int socket) {
    int error = 0;
    socklen_t size = sizeof error;
    if (wait_ready(socket, POLLOUT, never) < 0 ||
        getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        return -1;
    errno = error;
    return error == 0 ? 0 : -1;
}

// Where nobody listens, a socket may be given the very port it asks for, and meet itself.
bool meets_itself(int socket, std::uint16_t port) {
    sockaddr_in own{};
    socklen_t size = sizeof own;
    return getsockname(socket, reinterpret_cast<sockaddr *>(&own), &size) == 0 &&
           ntohs(own.sin_port) == port;
}

int connect_to(int socket, std::uint16_t port) {
    const sockaddr_in address = loopback_address(port);
    if (connect(socket, plain(&address), sizeof address) != 0 &&
        (errno != EINTR || finish_connect(socket) != 0))
        return -1;
    if (meets_itself(socket, port)) {
        errno = ECONNREFUSED;
        return -1;
    }
    return 0;
}

moment moment_in(long seconds, long microseconds) {
    return std::chrono::steady_clock::now() +
           std::chrono::seconds(std::clamp(seconds, 0L, most_seconds)) +
           std::chrono::microseconds(std::clamp(microseconds, 0L, most_microseconds));
}

int fail_condition() {
    report("getsockgd: False condition\n");
    return wait_failed;
}

using watched_descriptors = std::array<pollfd, max_set_sockets + 1>; // the queue comes last

std::size_t watch_members(const link_socket_set &links, watched_descriptors &watched) {
    std::size_t count = 0;
    for (int i = 0; i < max_set_sockets; i++) {
        if (links.members[static_cast<std::size_t>(i)])
            watched[count++] = {i, POLLIN, 0};
    }
    return count;
}

} // namespace

void link_socket_set::add(int socket) {
    if (can_be_member(socket))
        members.set(static_cast<std::size_t>(socket));
}

void link_socket_set::remove(int socket) {
    if (can_be_member(socket))
        members.reset(static_cast<std::size_t>(socket));
}

bool link_socket_set::has(int socket) const {
    return can_be_member(socket) && members[static_cast<std::size_t>(socket)];
}

int createsocket(std::uint16_t *port) {
    const int listener = open_socket();
    if (listener < 0) {
        report_error("createsocket: socket");
        return -1;
    }
    set_socket_nodelay(listener);
    sockaddr_in address = loopback_address(0);
    socklen_t size = sizeof address;
    if (bind(listener, plain(&address), size) != 0)
        return fail_socket(listener, "createsocket: bind");
    if (getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size) != 0)
        return fail_socket(listener, "createsocket: getsockname");
    if (listen(listener, 1) != 0)
        return fail_socket(listener, "createsocket: listen");
    *port = ntohs(address.sin_port);
    return listener;
}

int getservsock(int port) {
    if (port < 1 || port > 0xFFFF) {
        report("getservsock: Invalid portnumber of server\n");
        return -1;
    }
    const int server = open_socket();
    if (server < 0) {
        report_error("getservsock: opening stream socket");
        return -1;
    }
    set_socket_nodelay(server);
    if (connect_to(server, static_cast<std::uint16_t>(port)) != 0)
        return fail_socket(server, "getservsock: connecting socket");
    std::signal(SIGCHLD, SIG_IGN);
    return server;
}

// The listener does not block: a peer may have given up between our seeing and our taking it.
int accept_link(int listener, int time_limit) {
    const moment until = moment_after(time_limit);
    const int flags = fcntl(listener, F_GETFL);
    if (flags < 0 || fcntl(listener, F_SETFL, flags | O_NONBLOCK) < 0)
        return -1;
    while (wait_ready(listener, POLLIN, until) > 0) {
        const int link = keep_clear_of_streams(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
        if (link >= 0) {
            set_socket_nodelay(link);
            return link;
        }
        if (errno != EINTR && errno != EAGAIN && errno != ECONNABORTED)
            return -1;
    }
    return -1;
}

int set_socket_nodelay(int socket) {
    const int on = 1;
    return setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void set_event_queue(int (*descriptor)()) {
    event_queue = descriptor;
}

int getsockfd(const link_socket_set &links, bool links_only, bool use_timeout, long seconds,
              long microseconds) {
    watched_descriptors watched;
    const std::size_t members = watch_members(links, watched);
    std::size_t count = members;
    if (!links_only && event_queue != nullptr) {
        watched[count++] = {event_queue(), POLLIN, 0};
        if (watched[members].fd < 0) {
            report_error("getsockfd:  qgetfd failed");
            return wait_failed;
        }
    }
    if (count == 0 && !use_timeout)
        return fail_condition(); // would wait for ever
    const moment until = use_timeout ? moment_in(seconds, microseconds) : never;
    if (poll_until({watched.data(), count}, until) < 0) {
        report_error("getsockfd: select");
        return wait_failed;
    }
    for (std::size_t i = 0; i < members && watched[i].fd <= max_answered_socket; i++) {
        if (watched[i].revents != 0)
            return watched[i].fd;
    }
    if (count > members && watched[members].revents != 0)
        return wait_event;
    return use_timeout ? wait_timeout : fail_condition();
}

int waitforprocessresponse(socket_record &record, const link_socket_set &links, bool links_only) {
    const int ready = getsockfd(links, links_only, false, 0, 0);
    if (ready < 0) {
        report("waitforprocessresponse: General error getting ready fd.\n");
        return wait_failed;
    }
    if (ready == wait_event) {
        report("waitforprocessresponse: Got a NULL (gl event pending)\n");
        return wait_event;
    }
    if (readsockdata(ready, record, record_limit) != 0) {
        report("waitforprocessresponse: Error while reading socket.\n");
        return wait_failed;
    }
    return ready;
}

void killsocks(std::uint16_t own_id, std::uint16_t own_instance, link_socket_set &links) {
    socket_record message;
    fill_header(message, own_id, own_instance, anybody, anybody, class_kill, code_kill);
    for (int socket = 0; socket <= max_answered_socket; socket++) {
        if (!links.has(socket))
            continue;
        if (sendsockdata(socket, message, record_limit) != 0)
            report("Error while sending kill to %d\n", socket);
        links.remove(socket);
        close(socket);
    }
}

int closesock(int *socket, link_socket_set &links) {
    if (*socket == -1)
        return -1;
    if (!links.has(*socket)) {
        report("closesock: fd not set\n");
        return -1;
    }
    links.remove(*socket);
    close(*socket);
    *socket = -1;
    return 0;
}

} // namespace ipc
