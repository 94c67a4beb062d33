// The gallery as its user meets it: the program itself on a virtual X server, without and with a
// window manager, seen by another program.
#include "examples/gallery.h"
#include "platform/clock/program_clock.h"
#include "tests/platform/display/x11_observer.h"
#include "tests/support/virtual_server.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <xcb/xcb.h>

namespace gallery {

struct shown_gallery : testing::TestWithParam<bool> {
    static constexpr std::int64_t patience_us = 8'000'000;

    void SetUp() override {
        server.emplace(virtual_server::options{.window_manager = GetParam()});
        ASSERT_TRUE(server->is_running());
        server->make_current();
        setenv("PLAYER_DISPLAY", "x11", 1);
        user.emplace(server->name());
        connection = xcb_connect(server->name().c_str(), nullptr);
        user->move_pointer({5, 5});
        journal = testing::TempDir() + "gallery_e2e_" + std::to_string(getpid());
    }
    void TearDown() override {
        if (program > 0) {
            kill(program, SIGKILL);
            waitpid(program, nullptr, 0);
        }
        std::filesystem::remove(journal);
        user.reset();
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
    void start(const char *flag) {
        std::string name = GALLERY_PROGRAM, option = flag;
        char *argv[] = {name.data(), option.data(), journal.data(), nullptr};
        ASSERT_EQ(posix_spawn(&program, GALLERY_PROGRAM, nullptr, nullptr, argv, environ), 0);
    }
    // Whether the program ends by itself, without complaint.
    bool ends() {
        int status = -1;
        return becomes([&] {
                   if (waitpid(program, &status, WNOHANG) != program)
                       return false;
                   program = -1;
                   return true;
               }) &&
               WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    }

    // ---- windows

    // Where a place in a window, in pixels from its lower left corner, is on the screen.
    display::point place(const char *title, const toolkit::screen_box &window, int x, int y) {
        auto *at = xcb_translate_coordinates_reply(
            connection,
            xcb_translate_coordinates(
                connection, user->find(title),
                xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root, 0, 0),
            nullptr);
        if (at == nullptr)
            return {-1, -1};
        const display::point found = {at->dst_x + x, at->dst_y + window.height - 1 - y};
        std::free(at);
        return found;
    }
    display::point in_main(int x, int y) { return place(main_title, main_window, x, y); }
    display::point in_tray(int x, int y) { return place(tray_title, tray_window, x, y); }

    void move_window(const char *title, display::point to) {
        const std::uint32_t values[] = {static_cast<std::uint32_t>(to.x),
                                        static_cast<std::uint32_t>(to.y)};
        xcb_configure_window(connection, user->find(title),
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
        xcb_flush(connection);
    }
    void close_window(const char *title) {
        if (GetParam())
            user->send(user->find(title), "_NET_CLOSE_WINDOW", {0, 2}, true);
        else
            user->send(user->find(title), "WM_PROTOCOLS", {user->atom("WM_DELETE_WINDOW"), 0});
    }

    // ---- what is seen

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
    void press(display::point at) {
        for (int count = 0; count < 6; ++count) {
            at.x ^= 1;
            user->move_pointer(at);
            pause();
        }
        user->press_button(1, true);
        pause(); // the program looks where the pointer is: hands are not elsewhere at once
        user->press_button(1, false);
        pause();
    }
    static void pause() { std::this_thread::sleep_for(std::chrono::milliseconds(30)); }

    std::optional<virtual_server> server;
    std::optional<x11_observer> user;
    xcb_connection_t *connection = nullptr;
    std::string journal;
    pid_t program = -1;
};

TEST_P(shown_gallery, lives_in_overlapping_windows) {
    // Within the outermost of the nested demons: its left edge, and places in it.
    constexpr toolkit::screen_box nested = section_place(0, 2);
    constexpr int left = nested.x + contents.x, bottom = nested.y + contents.y;
    constexpr int chip_x = 60, chip_y = 110; // of the chip in the tray
    const auto edge = [&] { return pixel(in_main(left, bottom + 50)); };
    const auto chip = [&] { return pixel(in_tray(chip_x - 17, chip_y)); }; // its face
    const auto show_tray = [&] {
        constexpr toolkit::screen_box section = section_place(1, 0);
        press(in_main(section.x + 350, section.y + 71));
    };
    start("-r");
    ASSERT_TRUE(
        becomes([&] { return user->find(main_title) != 0 && user->find(tray_title) != 0; }));
    ASSERT_TRUE(becomes([&] { return edge() != pixel({5, 5}) && chip() != pixel({5, 5}); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // until all is drawn and placed
    const std::uint32_t plain_edge = edge(), plain_chip = chip();

    // The pointer in one window, then in the other.
    EXPECT_TRUE(
        comes_with_pointer(in_main(left + 20, bottom + 50), [&] { return edge() != plain_edge; }));
    const std::uint32_t lit_edge = edge();
    EXPECT_TRUE(comes_with_pointer(in_tray(chip_x, chip_y), [&] { return chip() != plain_chip; }));
    const std::uint32_t lit_chip = chip();
    EXPECT_EQ(edge(), plain_edge);

    // The tray comes over the nested demons, and its own demons with it.
    const display::point shared = in_main(left + 250, bottom + 50);
    const display::point before = in_tray(chip_x, chip_y),
                         corner = in_tray(0, tray_window.height - 1);
    move_window(tray_title, {corner.x + shared.x - before.x, corner.y + shared.y - before.y});
    show_tray();
    ASSERT_TRUE(comes_with_pointer(shared, [&] { return chip() == lit_chip; }));
    EXPECT_LT(std::abs(in_tray(chip_x, chip_y).x - shared.x), 30);
    EXPECT_EQ(edge(), plain_edge) << "below another window";
    EXPECT_TRUE(
        comes_with_pointer(in_main(left + 20, bottom + 50), [&] { return edge() == lit_edge; }));
    EXPECT_EQ(chip(), plain_chip);

    if (GetParam()) { // an icon, and back
        user->send(user->find(tray_title), "WM_CHANGE_STATE", {3}, true);
        EXPECT_TRUE(
            comes_with_pointer(shared, [&] { return chip() != plain_chip && edge() == lit_edge; }));
        show_tray();
        ASSERT_TRUE(comes_with_pointer(shared, [&] { return chip() == lit_chip; }));
    }

    // The tray can be closed and shown again; the gallery ends with its first window.
    close_window(tray_title);
    ASSERT_TRUE(becomes([&] { return user->find(tray_title) == 0; }));
    show_tray();
    ASSERT_TRUE(becomes([&] { return user->find(tray_title) != 0 && chip() == plain_chip; }));
    close_window(main_title);
    EXPECT_TRUE(ends());

    // What was recorded plays to the same end, without hands.
    EXPECT_GT(std::filesystem::file_size(journal), 0U);
    start("-p");
    EXPECT_TRUE(ends());
}

INSTANTIATE_TEST_SUITE_P(gallery, shown_gallery, testing::Bool(), [](const auto &row) {
    return row.param ? "with_a_window_manager" : "without_a_window_manager";
});

} // namespace gallery
