#include "platform/clock/program_clock.h"
#include "platform/display/display_memory.h"
#include "platform/display/surfaces.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <poll.h>

namespace {

using display::event;
using display::event_kind;
using display::window_state;

class memory_display : public testing::Test {
protected:
    void SetUp() override {
        program_clock::use_manual_clock(1000);
        display::memory::reset({800, 600});
    }
    void TearDown() override {
        display::shut_down();
        program_clock::use_system_clock();
    }

    const display::driver &d = display::server();

    display::window_id open(display::rectangle area) {
        return d.open("w", area, display::window_kind::normal, 0);
    }

    // The kinds of all events that are due, in order.
    std::vector<event_kind> take_all() {
        std::vector<event_kind> kinds;
        while (d.next(&last)) {
            kinds.push_back(last.kind);
        }
        return kinds;
    }

    [[nodiscard]] bool is_readable() const {
        pollfd p{d.fd(), POLLIN, 0};
        return poll(&p, 1, 0) == 1;
    }

    event last;
};

using kinds = std::vector<event_kind>;

TEST(rectangles, meet_and_enclose_without_overflow) {
    using display::enclose;
    using display::intersect;
    using display::rectangle;
    EXPECT_EQ(intersect({0, 0, 10, 10}, {5, -5, 10, 10}), (rectangle{5, 0, 5, 5}));
    EXPECT_EQ(intersect({0, 0, 10, 10}, {10, 0, 5, 5}), rectangle{});
    EXPECT_EQ(intersect({INT_MAX - 1, 0, INT_MAX, 5}, {0, 0, INT_MAX, 5}),
              (rectangle{INT_MAX - 1, 0, 1, 5}));
    EXPECT_EQ(enclose({0, 0, 2, 2}, {5, 6, 1, 1}), (rectangle{0, 0, 6, 7}));
    EXPECT_EQ(enclose({1, 2, 0, 5}, {5, 6, 1, 1}), (rectangle{5, 6, 1, 1}));
}

TEST_F(memory_display, shows_what_is_presented_and_nothing_else) {
    const auto w = open({10, 20, 8, 6});
    EXPECT_EQ(take_all(), kinds{event_kind::redraw});
    const display::surface s = d.frame(w, 0);
    std::fill_n(s.pixels, s.stride * s.height, 0xabcdefU);
    d.present(w, 0, {6, -3, 100, 5}); // clipped to 2 x 2 at the top right corner
    const auto picture = display::memory::picture(w);
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 8; ++x) {
            const auto at = static_cast<std::size_t>(y * 8 + x);
            EXPECT_EQ(picture.pixels[at], x >= 6 && y < 2 ? 0xabcdefU : 0U) << x << "," << y;
        }
    }
    EXPECT_EQ(display::memory::facts(w).pixels_shown, 4);
    EXPECT_NE(d.frame(w, 1).pixels, s.pixels);
    EXPECT_EQ(d.frame(w, 2).pixels, nullptr);
    d.close(w);
    EXPECT_EQ(d.frame(w, 0).pixels, nullptr);
    EXPECT_FALSE(display::memory::facts(w).open);
}

TEST_F(memory_display, resizing_waits_for_the_event_and_keeps_the_bottom_left) {
    const auto w = open({0, 0, 4, 4});
    take_all();
    display::surface s = d.frame(w, 0);
    for (std::uint32_t i = 0; i < 16; ++i) {
        s.pixels[i] = i + 1;
    }
    display::memory::misplace_windows({3, 5});
    d.configure(w, {100, 100, 9, 9});
    d.configure(w, {100, 100, 2, 6});
    EXPECT_EQ(d.frame(w, 0).width, 4);
    ASSERT_TRUE(d.next(&last));
    EXPECT_EQ(last.kind, event_kind::geometry);
    EXPECT_EQ(last.area, (display::rectangle{103, 105, 2, 6}));
    EXPECT_EQ(d.geometry(w), last.area);
    s = d.frame(w, 0);
    ASSERT_EQ(s.height, 6);
    const std::vector<std::uint32_t> now(s.pixels, s.pixels + 12);
    EXPECT_EQ(now, (std::vector<std::uint32_t>{0, 0, 0, 0, 1, 2, 5, 6, 9, 10, 13, 14}));
    EXPECT_EQ(take_all(), kinds{event_kind::redraw});
}

TEST_F(memory_display, waits_jump_to_scripted_events_and_ticks_in_order) {
    event e;
    e.kind = event_kind::close;
    display::memory::push_at(40'000, e);
    e.kind = event_kind::focus_in;
    display::memory::push_at(20'000, e);
    d.set_tick(30'000);
    EXPECT_FALSE(is_readable());
    for (const auto &[time, kind] : {std::pair{20'000, event_kind::focus_in},
                                     {30'000, event_kind::tick},
                                     {40'000, event_kind::close}}) {
        EXPECT_FALSE(d.next(&last));
        d.wait(-1);
        EXPECT_EQ(program_clock::now_us(), time);
        EXPECT_TRUE(is_readable());
        ASSERT_TRUE(d.next(&last));
        EXPECT_EQ(last.kind, kind);
        EXPECT_EQ(last.time_us, time);
        EXPECT_FALSE(is_readable());
    }
    d.wait(500);
    EXPECT_EQ(program_clock::now_us(), 40'500);
    d.wait(-1); // nothing can come any more
    d.wait(-1);
    EXPECT_EQ(take_all(), kinds{event_kind::lost});
    d.wait(-1);
    EXPECT_EQ(take_all(), kinds{});
}

TEST_F(memory_display, the_system_clock_wakes_a_poll) {
    program_clock::use_system_clock();
    const std::int64_t begun = program_clock::now_us();
    d.set_tick(begun + 20'000);
    pollfd p{d.fd(), POLLIN, 0};
    EXPECT_EQ(poll(&p, 1, 20'000), 1);
    EXPECT_EQ(take_all(), kinds{event_kind::tick});
    EXPECT_GE(program_clock::now_us() - begun, 20'000);
    EXPECT_FALSE(is_readable());
}

TEST_F(memory_display, input_goes_to_the_window_below_the_pointer_or_the_newest) {
    const auto below = open({0, 0, 100, 100});
    const auto above = open({50, 50, 100, 100});
    take_all();
    const std::pair<display::point, display::window_id> cases[] = {
        {{60, 60}, above}, {{10, 10}, below}, {{700, 500}, above}};
    for (const auto &[at, window] : cases) {
        display::memory::push_motion(at);
        display::memory::push_button(display::button_right, true);
        EXPECT_EQ(take_all(), (kinds{event_kind::motion, event_kind::button}));
        EXPECT_EQ(last.window, window);
        EXPECT_EQ(last.pointer, at);
        EXPECT_EQ(d.pointer(), at);
    }
    d.set_state(below, window_state::raised);
    EXPECT_EQ(display::memory::windows(), (std::vector{above, below}));
    display::memory::push_key('x', true);
    display::memory::push_drop(below, "/a/b");
    EXPECT_EQ(take_all(), (kinds{event_kind::key, event_kind::drop}));
    EXPECT_EQ(d.dropped_path(), "/a/b");
}

TEST_F(memory_display, icons_come_and_go) {
    const auto w = open({0, 0, 10, 10});
    take_all();
    d.set_state(w, window_state::iconic);
    EXPECT_EQ(take_all(), kinds{event_kind::iconify});
    d.set_state(w, window_state::shown);
    EXPECT_EQ(take_all(), (kinds{event_kind::deiconify, event_kind::redraw}));
    event e;
    e.kind = event_kind::iconify;
    e.window = w;
    display::memory::push(e);
    take_all();
    EXPECT_EQ(display::memory::facts(w).state, window_state::iconic);
    display::memory::push(e);
    d.close(w); // takes its events along
    EXPECT_EQ(take_all(), kinds{});
}

TEST_F(memory_display, refusals) {
    display::memory::refuse_open(true);
    EXPECT_EQ(open({0, 0, 10, 10}), 0);
    display::memory::refuse_open(false);
    EXPECT_EQ(open({0, 0, display::longest_side + 1, 10}), 0);
    EXPECT_EQ(open({0, 0, 10, 0}), 0);
    const auto w = open({0, 0, 10, 10});
    EXPECT_TRUE(d.grab(w, true));
    display::memory::refuse_grab(true);
    EXPECT_FALSE(d.grab(w, true));
}

TEST(memory_display_death, settings_that_make_no_sense_end_the_program) {
    const auto try_it = [](const char *name, const char *value) {
        display::shut_down();
        setenv(name, value, 1);
        (void)display::server();
    };
    EXPECT_EXIT(try_it("PLAYER_DISPLAY", "paper"), testing::ExitedWithCode(1), "\"paper\"");
    for (const char *bad : {"12", "12x", "0x5", "1280x99999", "axb", "1280x1024 "}) {
        EXPECT_EXIT(try_it("PLAYER_SCREEN", bad), testing::ExitedWithCode(1), "1280x1024") << bad;
    }
}

} // namespace
