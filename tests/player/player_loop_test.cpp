#include "platform/display/display_memory.h"
#include "player/interim_window.h"
#include "player/play_file.h"
#include "player/play_stats.h"
#include "player/player_loop.h"
#include "tests/player/player_fixture.h"

namespace {

using namespace player;
using player_test::frame_colour;
using player_test::side;

std::int64_t draw_us = 0; // how long each draw takes
void (*window_draw)(const play_args &) = nullptr;

void slow_draw(const play_args &args) {
    window_draw(args);
    program_clock::advance_us(draw_us);
}

struct stats_line {
    std::string text;
    double number(const std::string &name) const {
        const std::size_t at = text.find("\"" + name + "\":");
        return at == std::string::npos ? -1.0 : std::stod(text.substr(at + name.size() + 3));
    }
    // A member of a nested record, as "late_ms", "worst".
    double number(const std::string &record, const std::string &name) const {
        return stats_line{text.substr(text.find("\"" + record + "\":"))}.number(name);
    }
};

class player_loop_test : public player_test::player_fixture {
protected:
    void SetUp() override {
        player_fixture::SetUp();
        stats_path = folder + "/stats";
        setenv("PLAYER_STATS", stats_path.c_str(), 1);
        init_play_stats();
        draw_us = 0;
        ASSERT_EQ(build_player_tool(args), 0);
        window = display::memory::windows().back();
    }

    void TearDown() override {
        unsetenv("PLAYER_STATS");
        init_play_stats();
        player_fixture::TearDown();
    }

    void load(const player_test::movie_plan &plan, const std::string &name = "test.reel") {
        state.play_file_name = write_movie(plan, name);
        ASSERT_EQ(load_play_file(args, ref), 0);
    }

    void key_at(int ms, int code) {
        display::event e;
        e.kind = display::event_kind::key;
        e.window = window;
        e.code = code;
        for (const bool pressed : {true, false}) {
            e.pressed = pressed;
            display::memory::push_at(ms * program_clock::us_per_ms, e);
        }
    }

    void event_at(std::int64_t ms, display::event_kind kind, display::rectangle area = {}) {
        display::event e;
        e.kind = kind;
        e.window = window;
        e.area = area;
        display::memory::push_at(ms * program_clock::us_per_ms, e);
    }

    void run() { player_event_loop(args, ref); }

    std::vector<stats_line> stats() {
        std::ifstream in(stats_path);
        std::vector<stats_line> lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back({line});
        return lines;
    }

    // The pixel that a user sees x, y pixels from the window's lower left corner, 0xAABBGGRR.
    std::uint32_t seen(int x, int y) {
        const auto p = display::memory::picture(window);
        if (x < 0 || x >= p.width || y < 0 || y >= p.height)
            return 0xDEAD;
        const std::uint32_t rgb =
            p.pixels[static_cast<std::size_t>((p.height - 1 - y) * p.width + x)];
        return (rgb & 0xFF) << 16 | (rgb & 0xFF00) | (rgb >> 16 & 0xFF);
    }

    std::string stats_path;
    display::window_id window = 0;
};

TEST_F(player_loop_test, ten_seconds_of_film_drop_nothing_and_show_what_is_due) {
    load({.frames = 48, .rate = 24});
    key_at(0, 'l');
    key_at(0, ' ');
    key_at(10'000, 'q');
    run();
    EXPECT_TRUE(state.quit_requested);
    EXPECT_FALSE(state.playing);
    ASSERT_EQ(stats().size(), 1U);
    const stats_line s = stats()[0];
    EXPECT_EQ(s.number("due"), 1 + 10'000 / 41) << s.text;
    EXPECT_EQ(s.number("shown"), s.number("due"));
    EXPECT_EQ(s.number("dropped"), 0);
    EXPECT_NEAR(s.number("seconds"), 10.0, 0.05);
    EXPECT_LE(s.number("late_ms", "worst"), 17.0) << "one tick";
    EXPECT_GT(s.number("peak_resident_kb"), 0);
    EXPECT_NE(s.text.find(R"("movie":"test.reel","mode":"loop","rate":24,)"), std::string::npos);
    EXPECT_EQ(args.current, 10'000 / 41 % 48);
    EXPECT_EQ(seen(args.image_x + side * args.zoom - 1, args.image_y), frame_colour(args.current));
    EXPECT_NE(seen(args.image_x - 1, args.image_y), frame_colour(args.current));
}

TEST_F(player_loop_test, a_slow_display_drops_frames_and_keeps_the_time) {
    load({.frames = 1000, .rate = 25});
    window_draw = view.draw_frame;
    view.draw_frame = slow_draw;
    draw_us = 100'000;
    key_at(0, ' ');
    key_at(8'000, ' ');
    key_at(8'500, 'q');
    run();
    ASSERT_EQ(stats().size(), 1U);
    const stats_line s = stats()[0];
    EXPECT_NEAR(s.number("due"), 8'000 / 40, 5) << s.text;
    EXPECT_EQ(s.number("shown") + s.number("dropped"), s.number("due"));
    EXPECT_NEAR(s.number("shown"), 8'000 / 117, 12) << s.text;
    EXPECT_GE(s.number("late_ms", "worst"), 100.0);
    EXPECT_NEAR(args.current, 8'000 / 40, 5);
}

TEST_F(player_loop_test, normal_mode_owes_each_frame_once_and_every_frame_skips_none) {
    load({.frames = 20, .rate = 30});
    key_at(0, ' ');
    key_at(5'000, 'e');
    key_at(5'000, 'r'); // from the last frame back
    key_at(9'000, 'q');
    run();
    ASSERT_EQ(stats().size(), 2U);
    for (const stats_line &s : stats()) {
        EXPECT_EQ(s.number("due"), 20) << s.text;
        EXPECT_EQ(s.number("shown"), 20) << s.text;
    }
    EXPECT_NEAR(stats()[0].number("seconds"), 20 * 0.033, 0.03);
    EXPECT_NEAR(stats()[1].number("seconds"), 20.0 / 60, 0.03);
    EXPECT_EQ(args.current, 0);
}

TEST_F(player_loop_test, an_icon_does_not_play_and_goes_on_where_it_was) {
    load({.frames = 100, .rate = 25});
    key_at(0, 'l');
    key_at(100, 'b'); // double speed backwards, from the end
    event_at(1'000, display::event_kind::iconify);
    event_at(3'000, display::event_kind::deiconify);
    key_at(3'900, ' ');
    key_at(4'000, 'q');
    run();
    EXPECT_EQ(args.direction, direction_fast_reverse);
    EXPECT_EQ(stats().size(), 2U);
    EXPECT_NEAR(args.current, 99 - 1'800 / 20, 4) << "as long as it was no icon";
}

TEST_F(player_loop_test, keys_step_zoom_and_buffer) {
    load({.frames = 5});
    window_draw = view.draw_frame;
    key_at(0, '.');
    key_at(1, '.');
    key_at(2, ',');
    key_at(3, '4');
    key_at(4, 'd');
    key_at(5, '.');
    key_at(6, '.');
    key_at(7, 's');
    event_at(8, display::event_kind::close);
    run();
    EXPECT_EQ(args.current, 3);
    EXPECT_EQ(args.zoom, 4);
    EXPECT_EQ(args.double_buffer, 1);
    EXPECT_EQ(args.mode, mode_swing);
    EXPECT_TRUE(state.quit_requested);
    EXPECT_EQ(seen(args.image_x + 4 * side - 1, args.image_y), frame_colour(3));
    EXPECT_NE(seen(args.image_x + 4 * side, args.image_y), frame_colour(3));
    EXPECT_EQ(display::memory::facts(window).title, "Player Tool - test.reel");
}

TEST_F(player_loop_test, a_picture_larger_than_screen_or_window_is_shown_whole) {
    load({.frames = 1, .width = 2560, .height = 512});
    EXPECT_EQ(args.zoom, 1);
    const display::rectangle area = display::memory::facts(window).area;
    EXPECT_EQ(area.width, 1280);
    EXPECT_EQ(area.height, 256);
    EXPECT_GE(area.x, 0);
    for (const auto &[x, y] : {std::pair{0, 0}, {1279, 0}, {0, 255}, {1279, 255}})
        EXPECT_EQ(seen(x, y), frame_colour(0)) << x << " " << y;
    event_at(10, display::event_kind::geometry, {50, 60, 320, 100});
    key_at(20, 'q');
    run();
    EXPECT_EQ(args.image_y, 18);
    EXPECT_EQ(seen(0, 18), frame_colour(0));
    EXPECT_EQ(seen(319, 81), frame_colour(0));
    EXPECT_EQ(seen(160, 10), 0x303030U);
}

TEST_F(player_loop_test, a_dropped_movie_is_opened_even_while_another_plays) {
    load({.frames = 9, .rate = 25}, "one.reel");
    const std::string other = write_movie({.frames = 3, .rate = 12}, "two.reel");
    key_at(0, 'l');
    key_at(0, ' ');
    key_at(2'000, 'q');
    display::memory::push_drop(window, other.c_str());
    run();
    EXPECT_STREQ(args.name.data(), "two.reel");
    EXPECT_EQ(args.count, 3);
    EXPECT_EQ(args.rate, 12.0F);
}

TEST_F(player_loop_test, a_file_that_is_dropped_while_the_player_sleeps_is_taken) {
    program_clock::use_system_clock(); // the loop then sleeps as it does for a user
    const std::int64_t now = program_clock::now_us() / program_clock::us_per_ms;
    static int drops;
    drops = 0;
    view.drop = [](int) { ++drops; };
    event_at(now + 100, display::event_kind::drop);
    event_at(now + 200, display::event_kind::close);
    run();
    EXPECT_EQ(drops, 1);
}

TEST_F(player_loop_test, a_bad_movie_leaves_an_empty_window_that_still_answers) {
    state.play_file_name = folder + "/missing.reel";
    testing::internal::CaptureStderr();
    EXPECT_EQ(load_play_file(args, ref), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    for (const int key : {' ', 'r', 'f', 'b', '.', ',', 'e', '9', 'd'})
        key_at(1, key);
    key_at(2, 'q');
    run();
    EXPECT_TRUE(state.quit_requested);
    EXPECT_TRUE(stats().empty());
    EXPECT_EQ(seen(100, 100), 0x303030U);
}

TEST_F(player_loop_test, a_lost_display_ends_the_loop) {
    load({.frames = 3});
    key_at(0, ' ');
    event_at(50, display::event_kind::lost);
    testing::internal::CaptureStderr();
    run();
    EXPECT_TRUE(state.quit_requested);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "playertool: The display is lost.\n");
}

} // namespace
