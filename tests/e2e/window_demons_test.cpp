// Window demons as their user meets them: on a virtual X server with a window manager, under real
// pointer moves, with another program's eyes on the screen.
#include "platform/clock/program_clock.h"
#include "platform/display/display.h"
#include "platform/gl/windows.h"
#include "tests/platform/display/x11_observer.h"
#include "tests/support/virtual_server.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/events/event_input.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/colours.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <optional>
#include <thread>

namespace toolkit {

struct shown_window_demons : testing::Test {
    static constexpr int screen_height = 1024;

    // Bits of the desktop's message that moves a window.
    static constexpr std::uint32_t static_gravity = 10, gives_x_y = 0x300, from_user = 0x2000;

    static constexpr std::int64_t patience_us = 60'000'000;
    static constexpr int events_at_a_time = 20;

    void SetUp() override {
        setenv("PLAYER_DISPLAY", "x11", 1);
        server.emplace(virtual_server::options{.window_manager = true});
        ASSERT_TRUE(server->is_running());
        server->make_current();
        user.emplace(server->name());
        user->move_pointer({5, 5});
        system_init();
    }
    void TearDown() override {
        system_terminate();
        user.reset();
    }

    // Takes events until something is so; false when it does not become so.
    static bool becomes(const std::function<bool()> &is_so) {
        const std::int64_t end = program_clock::now_us() + patience_us;
        do {
            std::int16_t input_class = 0, value = 0;
            screen_point at;
            for (int count = 0; count < events_at_a_time; ++count)
                if (gl_event_get(&input_class, &value, &at, 0, nullptr, nullptr) != 0 &&
                    translate_input(input_class, value, at, gl_inq_event()))
                    deliver_event(input_class, *gl_inq_event());
            if (is_so())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        } while (program_clock::now_us() < end);
        return false;
    }

    // A window with a button that fills its box, one colour for each.
    static iris_window_demon *make(const char *title, int x, int y, int colour) {
        iris_window_demon *d =
            create_iris_window_demon_popped(nullptr, x, y, 300, 200, title, nullptr, 0);
        generic_demon *button = create_generic_demon(nullptr, 120, 80, nullptr);
        set_demon_fill_color(button, colour);
        set_demon(button, d, 90, 60);
        add_demon(button, d);
        demon_draw_message(d);
        return d;
    }
    // Where a demon is seen by others: the middle of its box.
    static display::point middle(const demon *d) {
        return {d->box.x + d->box.width / 2, screen_height - 1 - d->box.y - d->box.height / 2};
    }
    bool is_seen(const demon *button) {
        std::uint32_t packed = 0; // 0xRRGGBB00
        gl_get_color_map_entry(nullptr, static_cast<int>(button->first_word), &packed);
        const screen_box &b = button->box;
        const auto seen = user->look({b.x, screen_height - b.y - b.height, b.width, b.height});
        return !seen.empty() && std::all_of(seen.begin(), seen.end(), [packed](auto pixel) {
            return (pixel & 0xFFFFFFU) == packed >> 8;
        });
    }
    // Whether the pointer, moved about there, comes to be in the demon.
    bool enters(const demon *button, display::point to) {
        const demon *window = button->parent.get();
        return becomes([&] {
            to.x ^= 1; // where it is the display may not have told yet
            user->move_pointer(to);
            return window->box_in_child == button && inq_demon_god()->box_in_child == window;
        });
    }
    // Whether the demon comes to where its window is, and what is in it is seen there.
    bool settles(const iris_window_demon *d) {
        return becomes([&] {
            follow_iris_windows();
            return is_at_its_window(d) && is_seen(d->kids);
        });
    }
    static bool is_at_its_window(const demon *d) {
        int x = 0, y = 0;
        gl::winset(gl_get_window_record(d->window)->gl_window);
        gl::getorigin(&x, &y);
        return x == d->box.x && y == d->box.y;
    }

    std::optional<virtual_server> server;
    std::optional<x11_observer> user;
};

TEST_F(shown_window_demons, live_with_a_window_manager) {
    iris_window_demon *below = make("below", 200, 300, colour_accent);
    demon *of_below = below->kids;
    ASSERT_TRUE(settles(below));
    ASSERT_TRUE(enters(of_below, middle(of_below)));

    // Another one over it, its button a little aside.
    iris_window_demon *above = make("above", 230, 320, colour_progress);
    demon *of_above = above->kids;
    ASSERT_TRUE(settles(above));
    ASSERT_TRUE(is_seen(of_above) && !is_seen(of_below));
    display::point shared = {middle(of_above).x - 10, middle(of_above).y + 5};
    EXPECT_TRUE(enters(of_above, shared));
    demon_pop_message(below);
    ASSERT_TRUE(becomes([&] { return is_seen(of_below); })) << "raised";
    EXPECT_TRUE(enters(of_below, shared));

    // The user moves it away.
    const screen_box before = of_below->box;
    user->send(user->find("below"), "_NET_MOVERESIZE_WINDOW",
               {static_gravity | gives_x_y | from_user, 700, 100}, true);
    ASSERT_TRUE(becomes([&] { return is_seen(of_above); }));
    EXPECT_TRUE(enters(of_above, shared));
    ASSERT_TRUE(becomes([&] { // the pointer's moves bring the demons along
        shared.x ^= 1;
        user->move_pointer(shared);
        return is_at_its_window(below) && of_below->box.x > before.x + 300;
    }));
    EXPECT_EQ(of_below->box.x - below->box.x, 90);
    EXPECT_EQ(of_below->box.y - below->box.y, 60);
    EXPECT_TRUE(becomes([&] { return is_seen(of_below); }));
    EXPECT_TRUE(enters(of_below, middle(of_below)));

    // An icon, and back.
    user->send(user->find("above"), "WM_CHANGE_STATE", {3}, true);
    ASSERT_TRUE(becomes([&] { // and is known as one
        return !is_seen(of_above) &&
               (gl_get_window_record(above->window)->flags & window_frozen) != 0;
    }));
    user->move_pointer(shared);
    EXPECT_TRUE(becomes([&] { return inq_demon_god()->box_in_child == nullptr; }));
    demon_pop_message(above);
    ASSERT_TRUE(becomes([&] { return is_seen(of_above); }));
    EXPECT_TRUE(enters(of_above, shared));

    // Closed by the close box: pushed, and popped again with a new window.
    user->send(user->find("above"), "_NET_CLOSE_WINDOW", {0, 2}, true);
    ASSERT_TRUE(becomes([&] { return above->list == demon_list::pop; }));
    EXPECT_TRUE(becomes([&] { return user->find("above") == 0; }));
    EXPECT_EQ(of_above->window, no_window);
    demon_pop_message(above);
    ASSERT_TRUE(settles(above));
    EXPECT_TRUE(enters(of_above, middle(of_above)));

    // The plain kind is gone with its window.
    static bool told;
    told = false;
    const auto tell = [](word, callback *) -> word { return static_cast<word>(told = true); };
    const demon_ref plain =
        refer_to_demon(create_iris_window_demon(nullptr, 900, 600, 100, 80, "plain", tell, 1));
    ASSERT_TRUE(becomes([&] { return user->find("plain") != 0; }));
    user->send(user->find("plain"), "_NET_CLOSE_WINDOW", {0, 2}, true);
    EXPECT_TRUE(becomes([&] { return plain.get() == nullptr && user->find("plain") == 0; }));
    EXPECT_TRUE(told);
    EXPECT_TRUE(is_seen(of_above));
}

} // namespace toolkit
