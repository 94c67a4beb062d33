// Starting a program that links itself back to us, and both sides of the handshake.
//
// The parent:
//   ipc::link_socket_set links;
//   pid_t process; std::uint16_t id, instance;
//   const int child = ipc::startsomeprocess("./playertool", true, 1, 1, links, &process, &id,
//                                           &instance);
// The child, started as PROGRAM -ipc_link_port PORT:
//   const int parent = ipc::getservsock(port);
//   ipc::sendinitrequest(102, 17, parent, record);
//   if (ipc::getinitdata(102, 17, parent, record) == 1) ...    // linked
//
// The child sends the init request first, the parent answers with init data.
#pragma once

#include "ipc/link_sockets.h"

#include <string>
#include <sys/types.h>

namespace ipc {

inline constexpr const char *port_option = "-ipc_link_port";

// Classes and codes of the handshake.
inline constexpr std::uint16_t class_init_answer = 1; // init data from startsomeprocess
inline constexpr std::uint16_t class_kill = 2;        // kill, kill answer
inline constexpr std::uint16_t class_init = 3;        // init request, init data of connecttoprocess
inline constexpr std::uint16_t class_connect = 4;     // connect request
inline constexpr std::uint16_t code_init_data = 101;  // from the parent
inline constexpr std::uint16_t code_kill_answer = 201; // from who will not be linked
inline constexpr std::uint16_t IPC_INITDATARDY = 300;  // from the child: init request
inline constexpr std::uint16_t code_kill = 400;
inline constexpr std::uint16_t code_connect = 402; // longdata[0]: the port to connect to

// The program file that starting `program` executes, looked for along PATH when it has no slash;
// "" with errno set when there is none, or none that we may execute.
[[nodiscard]] std::string find_program(const char *program);

// Starts a program with the port option, without waiting for anything: nothing is shared with it
// but standard streams. program is looked for along PATH when it has no slash. Returns its process
// number, or -1 after "doexec: exec failed: ...". The caller sees to its end (SIGCHLD, waitpid).
[[nodiscard]] pid_t launch_linked(const char *program, std::uint16_t port);

// Waits for the connection of a process that launch_linked started.
//   time_limit  milliseconds, or no_time_limit
// Returns the descriptor, which the caller owns, or -1 with errno: ECHILD when the process has
// ended, ETIMEDOUT, or what accept said. No report.
[[nodiscard]] int await_linked(int listener, pid_t process, int time_limit);

// Whether a child of ours still runs. It stays to be waited for.
[[nodiscard]] bool is_child_running(pid_t process);

inline constexpr int already_running = 0; // of doexec

// Starts a program linked and waits until it has connected. Children are not waited for by this
// program from then on.
//   skip_running_check  else a program whose file is being executed is not started again; the check
//                       needs the right to write to the file
//   process             out: the child's process number
// Returns the descriptor, which the caller owns; already_running; or -1 after "doexec: ..."
[[nodiscard]] int doexec(const char *program, bool skip_running_check, pid_t *process);

// Who is at the other end of a socket, by its init request, and our answer to it.
//   time_limit  milliseconds for each record, or no_time_limit
// Returns the code of the request: IPC_INITDATARDY when it has been answered with init data; or
// code_kill_answer; or -1 after a report that begins with caller and names program. This is what
// startsomeprocess does once the child has connected.
[[nodiscard]] int answer_init_request(const char *caller, const char *program, int socket,
                                      std::uint16_t own_id, std::uint16_t own_instance,
                                      std::uint16_t *id, std::uint16_t *instance,
                                      int time_limit = no_time_limit);

inline constexpr int start_killed = 0;           // of startsomeprocess, connecttoprocess
inline constexpr int start_already_running = -2; // of startsomeprocess

// doexec, then the parent's side of the handshake; the socket becomes a member of links.
//   id, instance  out: what the child calls itself
// Returns the descriptor; start_killed when the child answers that it will not be linked;
// start_already_running; or -1. All but the first after a report, with nothing left open or in
// links.
[[nodiscard]] int startsomeprocess(const char *program, bool skip_running_check,
                                   std::uint16_t own_id, std::uint16_t own_instance,
                                   link_socket_set &links, pid_t *process, std::uint16_t *id,
                                   std::uint16_t *instance);

// Asks a process, reached through the socket intermediary, to connect to us directly: sends the
// connect request with the four identity words (id and instance: ours; to_id, to_instance: whom we
// mean), takes the connection, however late it comes, and answers its init request. The new socket
// becomes a member of links. A record that another member of links sends before is taken for the
// init request: call this while they are silent. Returns the new descriptor, start_killed, or -1;
// the last two after a report, with the new socket closed.
[[nodiscard]] int connecttoprocess(std::uint16_t id, std::uint16_t instance, std::uint16_t to_id,
                                   std::uint16_t to_instance, int intermediary,
                                   link_socket_set &links);

// The child's side. sendinitrequest says who we are: 0, or -1 after a report. getinitdata waits for
// the answer: 1 when init data came, 0 (after a report) when something else did; -1 when nothing
// came within the first second (known after five, without a report) or, after a report, the socket
// failed. record is the callers' buffer, and holds what came.
[[nodiscard]] int sendinitrequest(std::uint16_t id, std::uint16_t instance, int socket,
                                  socket_record &record);
[[nodiscard]] int getinitdata(std::uint16_t id, std::uint16_t instance, int socket,
                              socket_record &record);

} // namespace ipc
