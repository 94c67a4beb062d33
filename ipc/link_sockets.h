// Link sockets: listening, connecting, and waiting on a set of them, if wanted together with the
// graphics event queue.
//
//   ipc::link_socket_set links;
//   const int parent = ipc::getservsock(port);
//   links.add(parent);
//   switch (const int ready = ipc::getsockfd(links, false, false, 0, 0)) ...
//   ipc::closesock(&parent, links);
//
// All sockets are TCP on this machine alone (the loopback address), send small records at once, and
// are not inherited by programs that are started.
#pragma once

#include "ipc/socket_records.h"

#include <bitset>

namespace ipc {

inline constexpr int max_set_sockets = 1024;
inline constexpr int max_answered_socket = 255; // sockets above are waited for, never answered

// Some sockets, which the record does not own.
struct link_socket_set {
    std::bitset<max_set_sockets> members;

    // Descriptors outside 0 .. max_set_sockets - 1 are no members and can not become any.
    void add(int socket);
    void remove(int socket);
    [[nodiscard]] bool has(int socket) const;
};

// Makes a listening socket on a port that the system chooses, written to *port. The caller closes
// it. Returns the descriptor, or -1 after "createsocket: ..." with the call that failed.
[[nodiscard]] int createsocket(std::uint16_t *port);

// Connects to a port of this machine; the caller owns the descriptor. Returns it, or -1 after
// "getservsock: ...". Children that end are not waited for by this program from then on.
[[nodiscard]] int getservsock(int port);

// Takes the connection that comes first.
//   time_limit  milliseconds, or no_time_limit
// Returns the descriptor, which the caller owns; or -1: errno tells why (ETIMEDOUT: nobody came).
[[nodiscard]] int accept_link(int listener, int time_limit = no_time_limit);

// Has small writes go out at once. Returns 0, or -1 without a report.
int set_socket_nodelay(int socket);

// How getsockfd finds the descriptor that is readable while the event queue has something: null
// (at first) when there is no queue, then only links are waited for.
void set_event_queue(int (*descriptor)());

inline constexpr int wait_event = 0;    // the event queue has something
inline constexpr int wait_failed = -1;  // after a report
inline constexpr int wait_timeout = -2; // nothing in time

// Waits until a member can be read (also: has ended), or unless links_only the event queue.
//   use_timeout  wait for seconds and microseconds at most; else without limit
// Returns the lowest such member, wait_event, wait_timeout or wait_failed. Members win over the
// queue. Signals do not end the wait.
[[nodiscard]] int getsockfd(const link_socket_set &links, bool links_only, bool use_timeout,
                            long seconds, long microseconds);

// Waits as getsockfd does, without time limit, and reads one record. Returns the socket, wait_event
// or wait_failed, both after a report.
[[nodiscard]] int waitforprocessresponse(socket_record &record, const link_socket_set &links,
                                         bool links_only);

// Tells every member (up to max_answered_socket) to end, then closes and removes it.
void killsocks(std::uint16_t own_id, std::uint16_t own_instance, link_socket_set &links);

// Closes and removes a member, and sets *socket to -1. Returns 0; or -1 when *socket is -1, or,
// after "closesock: fd not set", is no member (it stays open then).
int closesock(int *socket, link_socket_set &links);

} // namespace ipc
