#include "link/player_process.h"

#include "ipc/process_link.h"
#include "link/link_messages.h"
#include "link/reel_link.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace render_link {

namespace fs = std::filesystem;

namespace {

constexpr const char *player_name = "playertool";
constexpr const char *player_variable = "REEL_PLAYER";
constexpr int wait_step = 2; // milliseconds between looks at whether a process has ended

bool find_beside_us(std::string &program) {
    std::error_code error;
    const fs::path own = fs::read_symlink("/proc/self/exe", error);
    program = ipc::find_program((own.parent_path() / player_name).c_str());
    return !error && !program.empty();
}

// Players that live on after their session, to be waited for when they have ended; 0 where there is
// room. The system waits for those that find none when this program ends. Nothing here is destroyed:
// a handle may be freed at the very end of the program.
std::mutex left_guard;
std::array<pid_t, 64> left_players{};

void reap_left() {
    const std::scoped_lock lock(left_guard);
    for (pid_t &process : left_players)
        if (process != 0 && ::waitpid(process, nullptr, WNOHANG) != 0)
            process = 0;
}

// A signal for a process that has not been waited for, so that its number is still its own.
void signal_process(pid_t process, int signal) {
    if (::waitid(P_PID, static_cast<id_t>(process), nullptr, WEXITED | WNOHANG | WNOWAIT) == 0)
        ::kill(process, signal);
}

// Why await_linked has failed.
int say_unlinked(int error, const char *program, linked_player &player, call_text &text) {
    int status = unknown_status;
    if (error == ECHILD && await_end(player.process, ipc::moment_after(1000), &status))
        return say(text, REEL_LINK_NOT_LINKED, "%s ended (%s) before it had linked itself", program,
                   describe_end(status).c_str());
    if (error == ETIMEDOUT)
        return say(text, REEL_LINK_NOT_LINKED, "%s did not link itself in time", program);
    return say(text, REEL_LINK_SYSTEM, "no link to %s: %s", program, std::strerror(error));
}

int shake_hands(const std::string &program, ipc::moment until, linked_player &player,
                call_text &text) {
    std::uint16_t id = 0;
    std::uint16_t instance = 0;
    const int answer =
        ipc::answer_init_request("reel_link", program.c_str(), player.socket, own_id, own_instance,
                                 &id, &instance, ipc::milliseconds_left(until));
    if (answer == ipc::IPC_INITDATARDY)
        return REEL_LINK_OK;
    if (answer == ipc::code_kill_answer)
        return say(text, REEL_LINK_NOT_LINKED, "%s does not want to be linked", program.c_str());
    if (ipc::is_over(until))
        return say(text, REEL_LINK_NOT_LINKED, "%s did not link itself in time", program.c_str());
    return say(text, REEL_LINK_NOT_LINKED,
               "%s does not link itself as a player does; is it another program?", program.c_str());
}

} // namespace

int find_player(const char *wanted, std::string &program, call_text &text) {
    const char *variable = std::getenv(player_variable);
    if (wanted == nullptr && (variable == nullptr || *variable == '\0')) {
        if (!find_beside_us(program))
            program = ipc::find_program(player_name);
        if (!program.empty())
            return REEL_LINK_OK;
        return say(text, REEL_LINK_NO_PLAYER, "no %s beside this program or along PATH",
                   player_name);
    }
    program = ipc::find_program(wanted != nullptr ? wanted : variable);
    if (!program.empty())
        return REEL_LINK_OK;
    return say(text, REEL_LINK_NO_PLAYER, "no program to start: %s%s",
               wanted != nullptr ? wanted : variable,
               wanted != nullptr ? "" : " (from the environment variable REEL_PLAYER)");
}

int start_player(const std::string &program, ipc::moment until, linked_player &player,
                 call_text &text) {
    reap_left();
    std::uint16_t port = 0;
    const int listener = ipc::createsocket(&port);
    if (listener < 0)
        return say(text, REEL_LINK_SYSTEM, "no socket to link to: %s", std::strerror(errno));
    player.process = ipc::launch_linked(program.c_str(), port);
    if (player.process < 0) {
        const int error = errno;
        ::close(listener);
        return say(text, REEL_LINK_NO_PLAYER, "%s can not be started: %s", program.c_str(),
                   std::strerror(error));
    }
    player.socket = ipc::await_linked(listener, player.process, ipc::milliseconds_left(until));
    const int error = errno;
    ::close(listener);
    int result = REEL_LINK_OK;
    if (player.socket < 0)
        result = say_unlinked(error, program.c_str(), player, text);
    else
        result = shake_hands(program, until, player, text);
    if (result == REEL_LINK_OK)
        return result;
    if (player.socket >= 0)
        ::close(player.socket);
    player.socket = -1;
    end_player(player.process, true, 0);
    return result;
}

bool await_end(pid_t &process, ipc::moment until, int *status) {
    *status = unknown_status;
    while (process > 0) {
        const pid_t ended = ::waitpid(process, status, WNOHANG);
        if (ended == 0 && ipc::is_over(until))
            return false;
        if (ended == 0)
            std::this_thread::sleep_until(std::min(until, ipc::moment_after(wait_step)));
        else if (ended == process || errno != EINTR)
            process = -1;
    }
    return true;
}

bool end_player(pid_t &process, bool at_once, int limit) {
    int status = 0;
    const int part = limit < 0 ? limit : limit / 2;
    if (!at_once && await_end(process, ipc::moment_after(part), &status))
        return true;
    if (process > 0)
        signal_process(process, SIGTERM);
    if (await_end(process, ipc::moment_after(at_once ? limit : limit - part), &status))
        return true;
    signal_process(process, SIGKILL);
    (void)await_end(process, ipc::moment_after(-1), &status);
    return false;
}

void leave_player(pid_t &process) {
    reap_left();
    int status = 0;
    if (!await_end(process, ipc::moment_after(0), &status)) {
        const std::scoped_lock lock(left_guard);
        if (auto *const room = std::ranges::find(left_players, 0); room != left_players.end())
            *room = process;
    }
    process = -1;
}

std::string describe_end(int status) {
    if (status == unknown_status)
        return "nobody knows how";
    if (WIFSIGNALED(status))
        return "signal " + std::to_string(WTERMSIG(status)) + " (" + ::strsignal(WTERMSIG(status)) +
               ")";
    return "exit status " + std::to_string(WEXITSTATUS(status));
}

} // namespace render_link
