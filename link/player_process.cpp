#include "link/player_process.h"

#include "ipc/process_link.h"
#include "link/link_messages.h"
#include "link/reel_link.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <new>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace render_link {

namespace fs = std::filesystem;

namespace {

constexpr const char *player_name = "playertool";
constexpr const char *player_variable = "REEL_PLAYER";

bool is_program(const fs::path &file) {
    std::error_code error;
    return fs::is_regular_file(file, error) && ::access(file.c_str(), X_OK) == 0;
}

bool find_along_path(const std::string &name, std::string &program) {
    const char *path = std::getenv("PATH");
    std::string folders = path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin";
    folders += ':';
    for (std::size_t begin = 0, end; (end = folders.find(':', begin)) != std::string::npos;
         begin = end + 1) {
        const std::string folder = folders.substr(begin, end - begin);
        const fs::path file = fs::path(folder.empty() ? "." : folder) / name;
        if (is_program(file)) {
            program = file;
            return true;
        }
    }
    return false;
}

// A path, or a name along PATH.
bool find_program(const std::string &wanted, std::string &program) {
    if (wanted.find('/') == std::string::npos)
        return find_along_path(wanted, program);
    program = wanted;
    return is_program(wanted);
}

bool find_beside_us(std::string &program) {
    std::error_code error;
    const fs::path own = fs::read_symlink("/proc/self/exe", error);
    program = own.parent_path() / player_name;
    return !error && is_program(program);
}

// Players that live on after their session, to be waited for when they have ended.
std::mutex left_guard;
std::vector<pid_t> &left_players() {
    static std::vector<pid_t> processes;
    return processes;
}

void reap_left() {
    const std::scoped_lock lock(left_guard);
    std::erase_if(left_players(),
                  [](pid_t process) { return ::waitpid(process, nullptr, WNOHANG) != 0; });
}

// A signal for a process that has not been waited for, so that its number is still its own.
void signal_process(pid_t process, int signal) {
    if (::waitid(P_PID, static_cast<id_t>(process), nullptr, WEXITED | WNOHANG | WNOWAIT) == 0)
        ::kill(process, signal);
}

// Why await_linked has failed.
int say_unlinked(int error, const char *program, linked_player &player, call_text &text) {
    int status = unknown_status;
    if (error == ECHILD && await_end(player.process, time_limit(1000), &status))
        return say(text, REEL_LINK_NOT_LINKED, "%s ended (%s) before it had linked itself", program,
                   describe_end(status).c_str());
    if (error == ETIMEDOUT)
        return say(text, REEL_LINK_NOT_LINKED, "%s did not link itself in time", program);
    return say(text, REEL_LINK_SYSTEM, "no link to %s: %s", program, std::strerror(error));
}

int shake_hands(const std::string &program, const time_limit &limit, linked_player &player,
                call_text &text) {
    std::uint16_t id = 0;
    std::uint16_t instance = 0;
    const int answer = ipc::answer_init_request("reel_link", program.c_str(), player.socket, own_id,
                                                own_instance, &id, &instance, limit.left());
    if (answer == ipc::IPC_INITDATARDY)
        return REEL_LINK_OK;
    if (answer == ipc::code_kill_answer)
        return say(text, REEL_LINK_NOT_LINKED, "%s does not want to be linked", program.c_str());
    if (limit.is_over())
        return say(text, REEL_LINK_NOT_LINKED, "%s did not link itself in time", program.c_str());
    return say(text, REEL_LINK_NOT_LINKED,
               "%s does not link itself as a player does; is it another program?", program.c_str());
}

} // namespace

int find_player(const char *wanted, std::string &program, call_text &text) {
    const char *variable = std::getenv(player_variable);
    if (wanted == nullptr && (variable == nullptr || *variable == '\0')) {
        if (find_beside_us(program) || find_along_path(player_name, program))
            return REEL_LINK_OK;
        return say(text, REEL_LINK_NO_PLAYER, "no %s beside this program or along PATH",
                   player_name);
    }
    if (find_program(wanted != nullptr ? wanted : variable, program))
        return REEL_LINK_OK;
    return say(text, REEL_LINK_NO_PLAYER, "no program to start: %s%s",
               wanted != nullptr ? wanted : variable,
               wanted != nullptr ? "" : " (from the environment variable REEL_PLAYER)");
}

int start_player(const std::string &program, const time_limit &limit, linked_player &player,
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
    player.socket = ipc::await_linked(listener, player.process, limit.left());
    const int error = errno;
    ::close(listener);
    int result = REEL_LINK_OK;
    if (player.socket < 0)
        result = say_unlinked(error, program.c_str(), player, text);
    else
        result = shake_hands(program, limit, player, text);
    if (result == REEL_LINK_OK)
        return result;
    if (player.socket >= 0)
        ::close(player.socket);
    player.socket = -1;
    end_player(player.process, true, 0);
    return result;
}

bool await_end(pid_t &process, const time_limit &limit, int *status) {
    *status = unknown_status;
    while (process > 0) {
        const pid_t ended = ::waitpid(process, status, WNOHANG);
        if (ended == 0 && limit.is_over())
            return false;
        if (ended == 0)
            std::this_thread::sleep_for(limit.at_most(std::chrono::milliseconds(2)));
        else if (ended == process || errno != EINTR)
            process = -1;
    }
    return true;
}

bool end_player(pid_t &process, bool at_once, int limit) {
    int status = 0;
    const int part = limit < 0 ? limit : limit / 2;
    if (!at_once && await_end(process, time_limit(part), &status))
        return true;
    if (process > 0)
        signal_process(process, SIGTERM);
    if (await_end(process, time_limit(at_once ? limit : limit - part), &status))
        return true;
    signal_process(process, SIGKILL);
    (void)await_end(process, time_limit(-1), &status);
    return false;
}

void leave_player(pid_t &process) {
    int status = 0;
    if (!await_end(process, time_limit(0), &status)) {
        try {
            const std::scoped_lock lock(left_guard);
            left_players().push_back(process);
        } catch (const std::bad_alloc &) {
            process = -1; // the system waits for it when this program ends
        }
    }
    process = -1;
    reap_left();
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
