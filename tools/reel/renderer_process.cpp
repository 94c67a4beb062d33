#include "tools/reel/renderer_process.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <spawn.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace reel {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds after_kill{2000}; // before a process that does not even die is given up
constexpr int look_for_end_ms = 100;     // where the system does not tell
constexpr int look_for_group_ms = 50;
constexpr int shortest_step_ms = 10;
constexpr int signal_base = 128; // exit status of who ended by a signal, without its number
constexpr int unknown_status = 1;
constexpr int read_end = 0; // of a pipe
constexpr int write_end = 1;
constexpr std::array streams{STDOUT_FILENO, STDERR_FILENO};

void close_end(int &descriptor) {
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

void signal_group(const renderer_process &renderer, int number) {
    if (renderer.process > 0)
        (void)::kill(-renderer.process, number);
}

// --- the guard -----------------------------------------------------------------------------------

// The other end of its line is ours alone and closes with us, however we end. All signals are held
// back here, and the session is its own: nothing that is meant for us ends it before its time. Its
// name differs from ours, so that ending all of our name spares it. Only what is safe between fork
// and exec.
[[noreturn]] void guard_group(int line, pid_t group) {
    (void)::setsid();
    (void)::prctl(PR_SET_NAME, "renderer-guard");
    (void)::dup2(line, STDIN_FILENO);
    ::closefrom(STDIN_FILENO + 1);
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, sizeof byte) < 0 && errno == EINTR) {
    }
    (void)::kill(-group, SIGCONT);
    ::_exit(0);
}

int start_guard(renderer_process &renderer) {
    std::array<int, 2> line{-1, -1};
    if (::pipe2(line.data(), O_CLOEXEC) != 0)
        return -1;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    renderer.guard = ::fork();
    if (renderer.guard == 0)
        guard_group(line[read_end], renderer.process);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::close(line[read_end]);
    renderer.guard_fd = line[write_end];
    if (renderer.guard < 0)
        close_end(renderer.guard_fd);
    return renderer.guard < 0 ? -1 : 0;
}

// What it would do has been done: there is nothing to wait for.
void end_guard(renderer_process &renderer) {
    if (renderer.guard > 0) {
        (void)::kill(renderer.guard, SIGKILL);
        while (::waitpid(renderer.guard, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    renderer.guard = -1;
    close_end(renderer.guard_fd);
}

// --- starting ------------------------------------------------------------------------------------

struct spawn_settings {
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t files;

    spawn_settings() {
        posix_spawnattr_init(&attributes);
        posix_spawn_file_actions_init(&files);
    }
    spawn_settings(const spawn_settings &) = delete;
    spawn_settings &operator=(const spawn_settings &) = delete;
    ~spawn_settings() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
    }
};

// A session of its own makes a group of its own, too.
void prepare_spawn(spawn_settings &settings, const std::array<int, 2> &its_ends, bool empty_input) {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&settings.attributes, &none);
    posix_spawnattr_setsigdefault(&settings.attributes, &all);
    posix_spawnattr_setflags(&settings.attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    for (std::size_t i = 0; i < streams.size(); ++i)
        posix_spawn_file_actions_adddup2(&settings.files, its_ends[i], streams[i]);
    if (empty_input)
        posix_spawn_file_actions_addopen(&settings.files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
}

std::string explain_failed_start(const std::string &program, int error) {
    std::string text = program;
    const bool is_path = program.find('/') != std::string::npos;
    if (error == ENOENT && is_path && ::access(program.c_str(), F_OK) == 0)
        text += ": what its first line names is not found";
    else if (error == ENOENT)
        text += is_path ? ": not found" : ": not found along PATH";
    else if (error == EACCES)
        text += ": may not be run";
    else if (error == ENOEXEC)
        text += ": not a program (a script needs a first line like #!/bin/sh)";
    else
        text.append(": cannot be run: ").append(std::strerror(error));
    return text;
}

// Returns 0 or the system's error.
int spawn_renderer(const std::vector<std::string> &command, const std::array<int, 2> &its_ends,
                   bool empty_input, pid_t *process) {
    spawn_settings settings;
    prepare_spawn(settings, its_ends, empty_input);
    std::vector<char *> words;
    words.reserve(command.size() + 1);
    for (const std::string &word : command)
        words.push_back(const_cast<char *>(word.c_str()));
    words.push_back(nullptr);
    return ::posix_spawnp(process, words.front(), &settings.files, &settings.attributes,
                          words.data(), ::environ);
}

// --- the end -------------------------------------------------------------------------------------

void note_end(renderer_process &renderer, int status, steady_time now) {
    renderer.is_running = false;
    renderer.exit_status = status;
    renderer.ended_at = now;
    for (renderer_output &output : renderer.outputs)
        note_last_output(output);
    // Children that are stopped with it could not be continued any more.
    continue_renderer(renderer);
    end_guard(renderer);
    close_end(renderer.process_fd);
}

void look_for_end(renderer_process &renderer, steady_time now) {
    siginfo_t info{};
    const int result =
        ::waitid(P_PID, static_cast<id_t>(renderer.process), &info, WEXITED | WNOHANG | WNOWAIT);
    if (result != 0 && errno == ECHILD)
        note_end(renderer, unknown_status, now); // somebody else in this program took it
    else if (result == 0 && info.si_pid != 0)
        note_end(renderer, info.si_status + (info.si_code == CLD_EXITED ? 0 : signal_base), now);
}

// "123 (name) S 1 123 ...": the name may hold anything.
struct process_state {
    char state = 0;
    pid_t group = -1;
};

process_state read_process_state(const std::string &number) {
    process_state result;
    std::ifstream file("/proc/" + number + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    const std::size_t after_name = text.rfind(')');
    pid_t parent = 0;
    if (after_name != std::string::npos)
        (void)std::sscanf(text.c_str() + after_name + 1, " %c %d %d", &result.state, &parent,
                          &result.group);
    return result;
}

// --- an ending -----------------------------------------------------------------------------------

void take_next_step(renderer_process &renderer, steady_time now) {
    // Somebody else may have stopped it meanwhile, and what is stopped hears nothing.
    signal_group(renderer, SIGCONT);
    switch (renderer.ending) {
    case ending_step::none:
        renderer.ending = ending_step::interrupted;
        renderer.next_step = now + renderer.grace.after_interrupt;
        signal_group(renderer, SIGINT);
        break;
    case ending_step::interrupted:
        renderer.ending = ending_step::terminated;
        renderer.next_step = now + renderer.grace.after_terminate;
        signal_group(renderer, SIGTERM);
        break;
    case ending_step::terminated:
        renderer.ending = ending_step::killed;
        renderer.next_step = now + after_kill;
        signal_group(renderer, SIGKILL);
        break;
    case ending_step::killed:
        break;
    }
}

// Whether an ending has still to do with the group.
bool is_ending_open(const renderer_process &renderer, steady_time now) {
    if (renderer.ending == ending_step::none)
        return false;
    if (renderer.ending == ending_step::killed && now >= renderer.next_step)
        return false;
    return renderer.is_running || !surviving_processes(renderer).empty();
}

void go_on_ending(renderer_process &renderer, steady_time now) {
    if (renderer.ending == ending_step::none || now < renderer.next_step)
        return;
    if (renderer.ending != ending_step::killed && is_ending_open(renderer, now))
        take_next_step(renderer, now);
    else if (renderer.is_running)
        note_end(renderer, signal_base + SIGKILL, now);
}

void close_what_is_over(renderer_process &renderer, steady_time now) {
    if (renderer.is_running)
        return;
    bool is_over = true;
    for (renderer_output &output : renderer.outputs) {
        if (output.from >= 0 && now - renderer.ended_at >= children_grace &&
            !is_output_owed(output))
            stop_reading(output, renderer.last_lines);
        is_over = is_over && is_output_over(output, now);
    }
    if (!is_over || is_ending_open(renderer, now))
        return;
    for (std::size_t i = 0; i < streams.size(); ++i) {
        close_output(renderer.outputs[i]);
        renderer.output_fds[i] = -1;
    }
}

int ms_until(steady_time when, steady_time now) {
    const auto left = std::chrono::ceil<milliseconds>(when - now).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, shortest_step_ms, INT32_MAX));
}

} // namespace

int start_renderer(const std::vector<std::string> &command, renderer_process &renderer,
                   std::string *fault) {
    if (command.empty() || command.front().empty()) {
        *fault = "no renderer is named";
        return -1;
    }
    struct sigaction children {};
    if (::sigaction(SIGCHLD, nullptr, &children) == 0 && children.sa_handler == SIG_IGN)
        std::signal(SIGCHLD, SIG_DFL);
    const bool empty_input = ::isatty(STDIN_FILENO) == 1 || ::fcntl(STDIN_FILENO, F_GETFD) < 0;
    std::array<int, 2> its_ends{-1, -1};
    int error = 0;
    for (std::size_t i = 0; i < streams.size() && error == 0; ++i) {
        its_ends[i] = open_output(streams[i], renderer.outputs[i]);
        renderer.output_fds[i] = renderer.outputs[i].fd;
        error = its_ends[i] < 0 ? errno : 0;
    }
    if (error == 0)
        error = spawn_renderer(command, its_ends, empty_input, &renderer.process);
    for (int &end : its_ends)
        close_end(end);
    if (error != 0) {
        *fault = explain_failed_start(command.front(), error);
        renderer.process = -1;
        finish_renderer(renderer);
        return -1;
    }
    renderer.is_running = true;
    renderer.process_fd = static_cast<int>(::syscall(SYS_pidfd_open, renderer.process, 0));
    (void)start_guard(renderer); // it can be done without
    return 0;
}

int renderer_wait_ms(const renderer_process &renderer) {
    const steady_time now = steady_clock::now();
    int shortest = -1;
    const auto at_most = [&shortest](int ms) {
        if (ms >= 0 && (shortest < 0 || ms < shortest))
            shortest = ms;
    };
    bool has_output = false;
    bool is_read = false;
    for (const renderer_output &output : renderer.outputs) {
        at_most(output_wait_ms(output, now));
        has_output = has_output || output.fd >= 0;
        is_read = is_read || output.from >= 0;
    }
    const bool is_ending = renderer.ending != ending_step::none;
    if (renderer.is_running && renderer.process_fd < 0)
        at_most(look_for_end_ms);
    if (is_ending && renderer.is_running)
        at_most(ms_until(renderer.next_step, now));
    if (is_ending && !renderer.is_running && has_output)
        at_most(look_for_group_ms);
    if (!renderer.is_running && is_read)
        at_most(ms_until(renderer.ended_at + children_grace, now));
    return shortest;
}

void service_renderer(renderer_process &renderer) {
    const steady_time now = steady_clock::now();
    for (renderer_output &output : renderer.outputs)
        move_output(output, now, renderer.last_lines);
    if (renderer.is_running)
        look_for_end(renderer, now);
    go_on_ending(renderer, now);
    close_what_is_over(renderer, now);
}

void pause_renderer(renderer_process &renderer) {
    if (!renderer.is_running || renderer.is_paused || renderer.ending != ending_step::none)
        return;
    signal_group(renderer, SIGSTOP);
    renderer.is_paused = true;
}

void continue_renderer(renderer_process &renderer) {
    if (!renderer.is_paused)
        return;
    signal_group(renderer, SIGCONT);
    renderer.is_paused = false;
}

void end_renderer(renderer_process &renderer) {
    continue_renderer(renderer);
    take_next_step(renderer, steady_clock::now());
}

std::vector<pid_t> surviving_processes(const renderer_process &renderer) {
    std::vector<pid_t> all;
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(::opendir("/proc"), ::closedir);
    if (folder == nullptr || renderer.process <= 0)
        return all;
    while (const struct dirent *entry = ::readdir(folder.get())) {
        const std::string name = entry->d_name;
        pid_t process = 0;
        if (std::from_chars(name.data(), name.data() + name.size(), process).ec != std::errc())
            continue;
        const process_state found = read_process_state(name);
        if (found.group == renderer.process && found.state != 'Z' && found.state != 'X')
            all.push_back(process);
    }
    std::sort(all.begin(), all.end());
    return all;
}

void finish_renderer(renderer_process &renderer) {
    continue_renderer(renderer);
    for (std::size_t i = 0; i < streams.size(); ++i) {
        flush_output(renderer.outputs[i], renderer.last_lines);
        close_output(renderer.outputs[i]);
        renderer.output_fds[i] = -1;
    }
    end_guard(renderer);
    close_end(renderer.process_fd);
    if (renderer.process > 0)
        (void)::waitpid(renderer.process, nullptr, WNOHANG);
    renderer.process = -1;
}

} // namespace reel
