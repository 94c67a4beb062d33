#include "ipc/process_link.h"

#include "ipc/reports.h"
#include "ipc/waiting.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ipc {

namespace {

constexpr int look_interval = 100; // ms between looks at whether a child still lives
constexpr int answer_limit = 1000; // ms for a record that has begun, or for one to be taken
constexpr int init_wait = 1000;    // ms
constexpr int most_init_waits = 5; // of which only the first sees anything
constexpr int init_limit = 10'000; // ms, however many signals restart a wait
constexpr int first_unshared_descriptor = 3; // standard streams are below
constexpr const char *default_path = "/bin:/usr/bin";

bool is_program(const std::string &path) {
    struct stat status {};
    if (access(path.c_str(), X_OK) != 0 || stat(path.c_str(), &status) != 0)
        return false;
    if (S_ISREG(status.st_mode))
        return true;
    errno = EACCES; // a directory, which may be "executable" too
    return false;
}

// What a started program begins with, owned.
struct start_settings {
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t files;

    start_settings() {
        posix_spawnattr_init(&attributes);
        posix_spawn_file_actions_init(&files);
    }
    ~start_settings() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
    }
    start_settings(const start_settings &) = delete;
    start_settings &operator=(const start_settings &) = delete;
};

// The child begins with no signal held, and without what we did for ourselves: children that are
// not waited for, broken pipes that are ignored. What our caller ignores otherwise (as a program
// in the background ignores the terminal's signals) it ignores, too.
int prepare_start(start_settings &settings) {
    sigset_t none;
    sigset_t ours;
    sigemptyset(&none);
    sigemptyset(&ours);
    sigaddset(&ours, SIGCHLD);
    sigaddset(&ours, SIGPIPE);
    posix_spawnattr_setsigmask(&settings.attributes, &none);
    posix_spawnattr_setsigdefault(&settings.attributes, &ours);
    posix_spawnattr_setflags(&settings.attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    return posix_spawn_file_actions_addclosefrom_np(&settings.files, first_unshared_descriptor);
}

constexpr int may_start = 1;

// Returns may_start, already_running, or -1 after a report.
int check_program(const char *program, bool skip_running_check) {
    const std::string file = find_program(program);
    if (file.empty()) {
        report_error("doexec:");
        return -1;
    }
    if (skip_running_check)
        return may_start;
    // The system lets nobody write to a file that is being executed.
    const int descriptor = open(file.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (descriptor >= 0) {
        close(descriptor);
        return may_start;
    }
    if (errno == ETXTBSY)
        return already_running;
    report("doexec: General error opening \"%s\"\n", program);
    return -1;
}

int start_and_accept(const char *program, int listener, std::uint16_t port, pid_t *process) {
    const pid_t child = launch_linked(program, port);
    if (child < 0)
        return -1;
    const int socket = await_linked(listener, child, no_time_limit);
    if (socket >= 0) {
        *process = child;
    } else if (errno == ECHILD) {
        errno = ESRCH; // what there is to say of a process that is gone
        report_error("doexec: prctl");
    } else {
        report("doexec: Failed to open.\n");
        kill(child, SIGKILL);
    }
    return socket;
}

// As waitforprocessresponse does, for one socket of whatever number and with a time limit.
int wait_for_record(int socket, socket_record &record, int time_limit) {
    if (wait_ready(socket, POLLIN, moment_after(time_limit)) <= 0) {
        report("waitforprocessresponse: General error getting ready fd.\n");
        return -1;
    }
    if (readsockdata(socket, record, answer_limit) != 0) {
        report("waitforprocessresponse: Error while reading socket.\n");
        return -1;
    }
    return 0;
}

// Gives up a link that connecttoprocess made.
int drop_link(int socket, link_socket_set &links, int result) {
    links.remove(socket);
    close(socket);
    return result;
}

// Has a process connect to a new socket of ours.
int take_connection(socket_record &request, int intermediary) {
    std::uint16_t port = 0;
    const int listener = createsocket(&port);
    if (listener < 0) {
        report("connecttoprocess: Cannot create socket\n");
        return -1;
    }
    request.numof_longs = 1;
    request.longdata[0] = port;
    int socket = -1;
    if (sendsockdata(intermediary, request, answer_limit) != 0) {
        report("connecttoprocess: Error sending init data.\n");
    } else {
        socket = accept_link(listener);
        if (socket < 0)
            report("connecttoprocess: Failed to open gizmo.\n");
    }
    close(listener);
    return socket;
}

// Waits until init data may have come; false after five waits without, or after a report.
bool await_init_data(int socket) {
    const moment last = moment_after(init_limit);
    bool watching = true;
    int waits = 0;
    while (waits < most_init_waits && !is_over(last)) {
        pollfd parent{socket, POLLIN, 0};
        const int ready = poll(&parent, watching ? 1 : 0, init_wait);
        if (ready == 0) {
            waits++;
            watching = false;
        } else if (ready > 0 && (parent.revents & POLLNVAL) == 0) {
            return true;
        } else if (ready < 0 && errno == EINTR) {
            watching = true;
        } else {
            if (ready > 0)
                errno = EBADF;
            report_error("getinitdata: select error\n");
            return false;
        }
    }
    return false;
}

} // namespace

std::string find_program(const char *program) {
    if (std::string_view(program).find('/') != std::string_view::npos)
        return is_program(program) ? program : "";
    const char *const path = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe)
    std::string_view left = path != nullptr ? path : default_path;
    while (true) {
        const std::string_view folder = left.substr(0, left.find(':'));
        std::string file(folder.empty() ? "." : folder);
        file.append("/").append(program);
        if (is_program(file))
            return file;
        if (folder.size() == left.size())
            break;
        left.remove_prefix(folder.size() + 1);
    }
    errno = ENOENT;
    return "";
}

pid_t launch_linked(const char *program, std::uint16_t port) {
    start_settings settings;
    std::string name = program;
    std::string option = port_option;
    std::string number = std::to_string(port);
    const std::array<char *, 4> arguments{name.data(), option.data(), number.data(), nullptr};
    pid_t process = -1;
    int error = prepare_start(settings);
    if (error == 0)
        error = posix_spawnp(&process, program, &settings.files, &settings.attributes,
                             arguments.data(), environ);
    if (error == 0)
        return process;
    errno = error;
    report_error(error == EAGAIN || error == ENOMEM ? "doexec: sproc" : "doexec: exec failed");
    return -1;
}

bool is_child_running(pid_t process) {
    if (process <= 0)
        return false;
    siginfo_t ended{};
    int result = -1;
    do {
        result = waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOHANG | WNOWAIT);
    } while (result != 0 && errno == EINTR);
    if (result == 0)
        return ended.si_pid == 0;
    return kill(process, 0) == 0 || errno == EPERM; // one that is never waited for
}

int await_linked(int listener, pid_t process, int time_limit) {
    const moment until = moment_after(time_limit);
    while (true) {
        const bool running = is_child_running(process); // asked first: it may connect and end
        const int left = milliseconds_left(until);
        const bool last = left != no_time_limit && left <= look_interval;
        const int slice = last ? left : look_interval;
        const int socket = accept_link(listener, running ? slice : 0);
        if (socket >= 0 || errno != ETIMEDOUT)
            return socket;
        if (!running) {
            errno = ECHILD;
            return -1;
        }
        if (last)
            return -1;
    }
}

int doexec(const char *program, bool skip_running_check, pid_t *process) {
    const int check = check_program(program, skip_running_check);
    if (check != may_start)
        return check;
    std::signal(SIGCHLD, SIG_IGN);
    std::uint16_t port = 0;
    const int listener = createsocket(&port);
    if (listener < 0) {
        report("doexec: Cannot create socket\n");
        return -1;
    }
    const int socket = start_and_accept(program, listener, port, process);
    close(listener);
    return socket;
}

int answer_init_request(const char *caller, const char *program, int socket, std::uint16_t own_id,
                        std::uint16_t own_instance, std::uint16_t *id, std::uint16_t *instance,
                        int time_limit) {
    socket_record record;
    if (wait_for_record(socket, record, time_limit) != 0) {
        report("%s: Error waiting for \"%s\".\n", caller, program);
        return -1;
    }
    const int message_class = record.datacmd[word_class];
    const int code = record.datacmd[word_code];
    if (message_class == class_kill && code == code_kill_answer) {
        report("%s: Got kill.\n", caller);
        return code_kill_answer;
    }
    *id = record.datacmd[word_sender];
    *instance = record.datacmd[word_sender_instance];
    if (message_class != class_init || code != IPC_INITDATARDY) {
        report("%s: Unknown init response (%d) from '%s'.\n", caller, code, program);
        return -1;
    }
    fill_header(record, own_id, own_instance, *id, *instance, class_init_answer, code_init_data);
    if (sendsockdata(socket, record, answer_limit) != 0) {
        report("%s: Error while sending init data.\n", caller);
        return -1;
    }
    return IPC_INITDATARDY;
}

int startsomeprocess(const char *program, bool skip_running_check, std::uint16_t own_id,
                     std::uint16_t own_instance, link_socket_set &links, pid_t *process,
                     std::uint16_t *id, std::uint16_t *instance) {
    const int socket = doexec(program, skip_running_check, process);
    if (socket < 0) {
        report("startsomeprocess: Error initializing socket to \"%s\".\n", program);
        return -1;
    }
    if (socket == already_running) {
        report("startsomeprocess:  \"%s\" is already executing.\n", program);
        return start_already_running;
    }
    links.add(socket);
    const int answer = answer_init_request("startsomeprocess", program, socket, own_id,
                                           own_instance, id, instance);
    if (answer == IPC_INITDATARDY)
        return socket;
    return drop_link(socket, links, answer == code_kill_answer ? start_killed : -1);
}

int connecttoprocess(std::uint16_t id, std::uint16_t instance, std::uint16_t to_id,
                     std::uint16_t to_instance, int intermediary, link_socket_set &links) {
    socket_record record;
    fill_header(record, id, instance, to_id, to_instance, class_connect, code_connect);
    const int socket = take_connection(record, intermediary);
    if (socket < 0)
        return -1;
    links.add(socket);
    if (waitforprocessresponse(record, links, true) < 0) {
        report("connecttoprocess: Error waiting\n");
        return drop_link(socket, links, -1);
    }
    const int code = record.datacmd[word_code];
    if (code == code_kill_answer) {
        report("connecttoprocess: Got kill.\n");
        return drop_link(socket, links, start_killed);
    }
    if (code != IPC_INITDATARDY) {
        report("connecttoprocess: Unknown init response.  ");
        report("Received %d instead of IPC_INITDATARDY.\n", code);
        return drop_link(socket, links, -1);
    }
    fill_header(record, id, instance, to_id, to_instance, class_init, code_init_data);
    record.numof_longs = 1;
    record.longdata[0] = getpid();
    if (sendsockdata(socket, record, answer_limit) != 0) {
        report("connecttoprocess: Error while sending init data.\n");
        return drop_link(socket, links, -1);
    }
    return socket;
}

int sendinitrequest(std::uint16_t id, std::uint16_t instance, int socket, socket_record &record) {
    fill_header(record, id, instance, anybody, anybody, class_init, IPC_INITDATARDY);
    if (sendsockdata(socket, record, answer_limit) == 0)
        return 0;
    report("sendinitrequest: Error while sending init data\n");
    return -1;
}

int getinitdata(std::uint16_t /*id*/, std::uint16_t /*instance*/, int socket,
                socket_record &record) {
    if (!await_init_data(socket))
        return -1;
    if (readsockdata(socket, record, answer_limit) != 0) {
        report("getinitdata: Error reading init data\n");
        return -1;
    }
    const int code = record.datacmd[word_code];
    if (code == code_init_data)
        return 1;
    report("getinitdata: Invalid init from parent, ");
    report("received %d instead\n", code);
    return 0;
}

} // namespace ipc
