// Either side of a session is killed at any moment, as real processes: orbit and the player. The other
// one ends or goes on as it says; nothing stays behind. SESSION_KILLS in the environment is how
// often; the usual number is less where everything is slow.
#include "link/own_segments.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <sched.h>
#include <string>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int at_a_time = 4;
constexpr int step_us = 1000;
constexpr int patience = 20'000; // steps

int kill_count() {
    const char *wanted = std::getenv("SESSION_KILLS");
    return wanted != nullptr ? std::atoi(wanted) : SESSION_KILLS;
}

// Tries what it is given until that answers yes.
template <typename condition> bool comes_true(condition holds) {
    for (int i = 0; i < patience; ++i, ::usleep(step_us))
        if (holds())
            return true;
    return false;
}

// A session in namespaces and a folder of its own; its process has all the others for children, also
// those whose parent is dead.
struct trial {
    unsigned seed;
    fs::path folder;
    pid_t orbit = 0;

    bool kills_player = false;
    int kill_us = 0;

    [[nodiscard]] std::string log() const {
        std::ifstream file(folder / "log");
        return {std::istreambuf_iterator<char>(file), {}};
    }
    int fail(const char *what) const {
        std::fprintf(stderr, "%s killed after %d us (seed %u): %s\n%s\n",
                     kills_player ? "player" : "orbit", kill_us, seed, what, log().c_str());
        return EXIT_FAILURE;
    }
    void start(bool is_preview) {
        orbit = ::fork();
        if (orbit != 0)
            return;
        const int log_file = ::open((folder / "log").c_str(), O_CREAT | O_WRONLY | O_APPEND, 0600);
        ::dup2(log_file, STDOUT_FILENO);
        ::dup2(log_file, STDERR_FILENO);
        ::setenv("PLAYER_DISPLAY", "memory", 1);
        ::setenv("TMPDIR", (folder / "tmp").c_str(), 1);
        ::execl(ORBIT_PROGRAM, "orbit", is_preview ? "--preview" : "--render", "--size", "32x24",
                "--frames", "40", "--slow", "5", "--player", PLAYER_PROGRAM, nullptr);
        std::_Exit(EXIT_FAILURE);
    }
    // A child of a process; 0: it has none.
    static pid_t child_of(pid_t process) {
        const std::string name = std::to_string(process);
        std::ifstream children("/proc/" + name + "/task/" + name + "/children");
        pid_t child = 0;
        children >> child;
        return child;
    }
    static bool is_zombie(pid_t process) {
        siginfo_t info{};
        return ::waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) ==
                   0 &&
               info.si_pid == process;
    }
    static bool has_ended(pid_t process, int *status) {
        return comes_true([&] { return ::waitpid(process, status, WNOHANG) == process; });
    }
    // Whether it takes SIGTERM for a wish to quit.
    static bool is_set_up(pid_t process) {
        std::ifstream status("/proc/" + std::to_string(process) + "/status");
        std::string word;
        while (status >> word)
            if (word == "SigCgt:") {
                status >> word;
                return (std::stoull(word, nullptr, 16) >> (SIGTERM - 1) & 1) != 0;
            }
        return false;
    }

    // The player has died.
    int expect_orbit_goes_on() {
        int status = -1;
        if (!has_ended(orbit, &status))
            return fail("orbit hangs");
        const std::string said = log();
        const bool is_started = said.find("orbit: ") == std::string::npos;
        if (!WIFEXITED(status) || WEXITSTATUS(status) != (is_started ? 0 : 1))
            return fail("orbit ended otherwise");
        const bool is_done = said.find("40 of 40 frames rendered.") != std::string::npos;
        if (is_started && !is_done)
            return fail("orbit has not rendered on");
        return EXIT_SUCCESS;
    }
    // The renderer has died: its player lives on until it is told to end.
    int expect_player_ends_when_told(pid_t player) {
        int status = -1;
        if (!comes_true([&] { return is_set_up(player); }))
            return fail("the player does not come so far");
        ::usleep(static_cast<useconds_t>(seed % 3) * 20'000); // it may have heard of it or not
        if (::waitpid(player, &status, WNOHANG) != 0)
            return fail("the player has ended with its parent");
        ::kill(player, SIGTERM);
        if (!has_ended(player, &status))
            return fail("the player hangs");
        return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? EXIT_SUCCESS
                                                             : fail("the player ended otherwise");
    }
    int expect_nothing_left() const {
        // A leak check that orbit was killed in has a process of its own, which ends a moment later.
        if (!comes_true([] { return ::waitpid(-1, nullptr, WNOHANG) == -1; }))
            return fail("a process is left");
        if (!fs::is_empty(folder / "tmp"))
            return fail("a file is left");
        render_link::sweep_segments(); // as the next session does
        shm_info counts{};
        ::shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds *>(&counts));
        return counts.used_ids == 0 ? EXIT_SUCCESS : fail("a segment is left");
    }
    int run() {
        std::mt19937 random(seed);
        kills_player = random() % 2 == 0;
        kill_us = static_cast<int>(random() % (random() % 2 == 0 ? 100'000U : LONGEST_US));
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);
        if (::unshare(CLONE_NEWIPC) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWIPC) != 0)
            return fail("no namespace to count segments in");
        fs::create_directories(folder / "tmp");
        start(random() % 2 == 0);
        ::usleep(static_cast<useconds_t>(kill_us));
        int result = EXIT_SUCCESS;
        if (kills_player) {
            pid_t player = 0;
            comes_true([&] { return (player = child_of(orbit)) != 0 || is_zombie(orbit); });
            if (player != 0)
                ::kill(player, SIGKILL);
            result = expect_orbit_goes_on();
            if (player != 0)
                ::waitpid(player, nullptr, 0); // if orbit has not
            else if ((player = child_of(::getpid())) != 0 && result == EXIT_SUCCESS)
                result = expect_player_ends_when_told(player); // all was done before
        } else {
            ::kill(orbit, SIGKILL);
            ::waitpid(orbit, nullptr, 0);
            if (const pid_t player = child_of(::getpid()); player != 0)
                result = expect_player_ends_when_told(player);
        }
        return result == EXIT_SUCCESS ? expect_nothing_left() : result;
    }
};

TEST(linked_kills_test, either_side_at_any_moment) {
    const fs::path folder = fs::path(testing::TempDir()) / ("kills" + std::to_string(::getpid()));
    int running = 0;
    const auto end_one = [&] {
        int status = -1;
        EXPECT_GT(::wait(&status), 0);
        EXPECT_EQ(status, 0);
        --running;
    };
    for (int round = 0; round < kill_count(); ++round) {
        if (running == at_a_time)
            end_one();
        if (::fork() == 0) {
            trial one{static_cast<unsigned>(round), folder / std::to_string(round)};
            const int result = one.run();
            fs::remove_all(one.folder);
            std::_Exit(result);
        }
        ++running;
    }
    while (running > 0)
        end_one();
    fs::remove_all(folder);
}

} // namespace
