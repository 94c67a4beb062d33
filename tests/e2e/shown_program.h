// Programs on a virtual X server of the test's own, and somebody who looks at them and uses them.
//
//   start_server(true);                        // with a window manager
//   start(GALLERY_PROGRAM, {"-r", journal});
//   ASSERT_TRUE(becomes([&] { return user->find("Gallery") != 0; }));
//   press(place("Gallery", main_window, 30, 40));
//   EXPECT_TRUE(ends());
#pragma once

#include "platform/clock/program_clock.h"
#include "tests/platform/display/x11_observer.h"
#include "tests/support/virtual_server.h"
#include "toolkit/graphics/screen_box.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>

namespace gallery {

class shown_program {
protected:
    static constexpr std::int64_t patience_us = 60'000'000;

    void start_server(bool with_manager) {
        has_manager = with_manager;
        server.emplace(virtual_server::options{.window_manager = with_manager});
        ASSERT_TRUE(server->is_running());
        server->make_current();
        setenv("PLAYER_DISPLAY", "x11", 1);
        user.emplace(server->name());
        connection = xcb_connect(server->name().c_str(), nullptr);
        root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        user->move_pointer({5, 5});
    }
    void stop_server() {
        for (const pid_t program : programs) {
            kill(program, SIGKILL);
            waitpid(program, nullptr, 0);
        }
        programs.clear();
        user.reset();
        if (connection != nullptr)
            xcb_disconnect(connection);
    }

    static bool becomes(const std::function<bool()> &is_so) {
        const std::int64_t end = program_clock::now_us() + patience_us;
        while (!is_so()) {
            if (program_clock::now_us() > end)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return true;
    }
    void start(std::string name, std::vector<std::string> words = {}) {
        std::vector<char *> argv = {name.data()};
        for (std::string &word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        pid_t program = -1;
        ASSERT_EQ(posix_spawn(&program, name.c_str(), nullptr, nullptr, argv.data(), environ), 0);
        programs.push_back(program);
    }
    // Whether the program started last ends by itself, without complaint.
    bool ends() {
        int status = -1;
        const bool has_ended =
            becomes([&] { return waitpid(programs.back(), &status, WNOHANG) == programs.back(); });
        if (has_ended)
            programs.pop_back();
        return has_ended && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    }

    // ---- windows

    // Where a place in a window, in pixels from its lower left corner, is on the screen.
    display::point place(const char *title, const toolkit::screen_box &window, int x, int y) {
        auto *at = xcb_translate_coordinates_reply(
            connection, xcb_translate_coordinates(connection, user->find(title), root, 0, 0),
            nullptr);
        if (at == nullptr)
            return {-1, -1};
        const display::point found = {at->dst_x + x, at->dst_y + window.height - 1 - y};
        std::free(at);
        return found;
    }
    void move_window(const char *title, display::point to) {
        const std::uint32_t values[] = {static_cast<std::uint32_t>(to.x),
                                        static_cast<std::uint32_t>(to.y)};
        xcb_configure_window(connection, user->find(title),
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
        xcb_flush(connection);
        pause();
    }
    void close_window(const char *title) {
        if (has_manager)
            user->send(user->find(title), "_NET_CLOSE_WINDOW", {0, 2}, true);
        else
            send_close(title);
    }
    // Past the window manager: before the keys and buttons that follow.
    void send_close(const char *title) {
        user->send(user->find(title), "WM_PROTOCOLS", {user->atom("WM_DELETE_WINDOW"), 0});
    }
    void iconify_window(const char *title) {
        user->send(user->find(title), "WM_CHANGE_STATE", {3}, true);
        pause();
    }

    // ---- eyes and hands

    std::uint32_t pixel(display::point at) {
        const auto seen = user->look({at.x, at.y, 1, 1});
        return seen.empty() ? 0 : seen[0];
    }
    // Moves the pointer about a place until what is looked at is so.
    bool comes_with_pointer(display::point to, const std::function<bool()> &is_so) {
        return becomes([&] {
            to.x ^= 1;
            user->move_pointer(to);
            return is_so();
        });
    }
    // Not at once: a window is entered by one move, what is in it by the next.
    void point_at(display::point at) {
        for (int count = 0; count < 4; ++count) {
            at.x ^= 1;
            user->move_pointer(at);
            pause();
        }
    }
    void press(display::point at) {
        point_at(at);
        user->press_button(1, true);
        pause();
        user->press_button(1, false);
        pause();
    }
    // Until all that was started, servers too, has done what there is to do: programs look where the
    // pointer is, so hands are not elsewhere before they have.
    static void pause() {
        constexpr std::int64_t most_us = 5'000'000;
        const std::int64_t end = program_clock::now_us() + most_us;
        const all_threads begin = threads_of_children();
        do
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
        while (!have_done(begin) && program_clock::now_us() < end);
    }

    struct thread_state {
        char letter = 'R';
        long runs = 0; // how often it has gone to sleep
        bool operator==(const thread_state &) const = default;
    };
    using all_threads = std::map<std::string, thread_state>;

    static all_threads threads_of_children() {
        namespace fs = std::filesystem;
        all_threads all;
        std::error_code gone;
        std::ifstream children("/proc/self/task/" + std::to_string(getpid()) + "/children");
        for (std::string child; children >> child;)
            for (const auto &thread : fs::directory_iterator("/proc/" + child + "/task", gone)) {
                std::ifstream status(thread.path() / "status");
                thread_state &state = all[thread.path()];
                for (std::string word; status >> word;)
                    if (word == "State:")
                        status >> state.letter;
                    else if (word == "voluntary_ctxt_switches:")
                        status >> state.runs;
            }
        return all;
    }
    // A thread has done when it sleeps and has not run meanwhile (who is woken runs at once as far as
    // its state is concerned), or when it has slept this often: a program that has nothing else to do
    // asks for a while where the pointer is.
    static bool have_done(all_threads begin) {
        constexpr long often = 200;
        all_threads before = threads_of_children();
        for (const auto &[name, now] : threads_of_children()) {
            const bool runs = now.letter == 'R' || now.letter == 'D' || !(before[name] == now);
            if (runs && now.runs - begin[name].runs < often)
                return false;
        }
        return true;
    }

    std::optional<virtual_server> server;
    std::optional<x11_observer> user;
    xcb_connection_t *connection = nullptr;
    xcb_window_t root = 0;
    bool has_manager = false;
    std::vector<pid_t> programs; // that run
};

} // namespace gallery
