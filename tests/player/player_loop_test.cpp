#include "player/play_stats.h"
#include "player/quit_signals.h"
#include "player/session_decisions.h"
#include "tests/player/window_fixture.h"

#include <csignal>

namespace {

using namespace player;
using toolkit::demon_ref;

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

class player_loop_test : public player_test::window_fixture {
protected:
    void SetUp() override {
        window_fixture::SetUp();
        stats_path = folder + "/stats";
        setenv("PLAYER_STATS", stats_path.c_str(), 1);
        init_play_stats();
        draw_us = 0;
    }

    void TearDown() override {
        unsetenv("PLAYER_STATS");
        init_play_stats();
        window_fixture::TearDown();
    }

    // The hands go on at that time of the program clock.
    void at_ms(std::int64_t ms) {
        due_us = ms * program_clock::us_per_ms;
        step_us = 0;
    }
    void key_at(int ms, int code) {
        at_ms(ms);
        tap(code);
    }
    // By its key, which counts while nothing plays; and in any case.
    void quit_at(int ms) {
        at_ms(ms);
        tap('q', {display::key_control_left});
    }
    void end_at(int ms) {
        then_at(ms, [] { quit_player(0); });
    }
    void event_at(std::int64_t ms, display::event_kind kind) {
        at_ms(ms);
        send(kind);
    }
    void then_at(int ms, std::function<void()> what) {
        at_ms(ms);
        then(std::move(what));
    }

    // Until the player is told to quit.
    void run_to_end() { player_event_loop(args, ref); }

    std::vector<stats_line> stats() {
        std::ifstream in(stats_path);
        std::vector<stats_line> lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back({line});
        return lines;
    }

    std::string stats_path;
};

TEST_F(player_loop_test, ten_seconds_of_film_drop_nothing_and_show_what_is_due) {
    load({.frames = 48, .rate = 24});
    key_at(0, 'l');
    key_at(0, ' ');
    quit_at(5'000); // not listened to
    end_at(10'000);
    run_to_end();
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
    expect_frame(args.current);
    EXPECT_EQ(number_of(player_tool.slider), args.current);
    EXPECT_EQ(number_of(player_tool.time), args.current);
}

TEST_F(player_loop_test, a_slow_display_drops_frames_and_keeps_the_time) {
    load({.frames = 1000, .rate = 25});
    window_draw = view.draw_frame;
    view.draw_frame = slow_draw;
    view.strips = {}; // by which it would go past that
    draw_us = 100'000;
    key_at(0, ' ');
    key_at(8'000, ' ');
    quit_at(8'500);
    run_to_end();
    EXPECT_TRUE(state.quit_requested);
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
    then_at(5'000, [this] { set_rate(args, every_frame_rate); });
    key_at(5'000, 'r'); // from the last frame back
    quit_at(9'000);
    run_to_end();
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
    then_at(100, [this] { play_fast_reverse(args, ref); }); // from the end
    event_at(1'000, display::event_kind::iconify);
    event_at(3'000, display::event_kind::deiconify);
    key_at(3'900, ' ');
    quit_at(4'000);
    run_to_end();
    EXPECT_EQ(args.direction, direction_fast_reverse);
    EXPECT_EQ(stats().size(), 2U);
    EXPECT_NEAR(args.current, 99 - 1'800 / 20, 4) << "as long as it was no icon";
    expect_frame(args.current);
}

TEST_F(player_loop_test, keys_step_zoom_and_change_the_mode) {
    load({.frames = 5}); // at zoom 27
    const int zoom = args.zoom;
    struct row {
        int key, with;
        int current, mode, zoom;
    };
    constexpr int plain = 0;
    constexpr int shift = display::key_shift_left;
    for (const row &r : std::vector<row>{
             {'.', plain, 1, mode_normal, zoom},
             {'.', plain, 2, mode_normal, zoom},
             {',', plain, 1, mode_normal, zoom},
             {display::key_end, plain, 4, mode_normal, zoom},
             {'.', plain, 4, mode_normal, zoom},
             {display::key_home, plain, 0, mode_normal, zoom},
             {',', plain, 0, mode_normal, zoom},
             {display::key_end, display::key_control_left, 0, mode_normal, zoom},
             {'l', plain, 0, mode_loop, zoom},
             {'l', plain, 0, mode_swing, zoom},
             {'-', plain, 0, mode_swing, zoom - 1},
             {'=', shift, 0, mode_swing, zoom},
             {'.', plain, 1, mode_swing, zoom},
             {'0', plain, 1, mode_swing, 1},
             {'l', plain, 1, mode_normal, 1},
         }) {
        if (r.with != 0)
            tap(r.key, {r.with});
        else
            tap(r.key);
        run();
        const std::string what = std::to_string(r.key).append(" is the key");
        EXPECT_EQ(args.current, r.current) << what;
        EXPECT_EQ(args.mode, r.mode) << what;
        EXPECT_EQ(args.zoom, r.zoom) << what;
        EXPECT_TRUE(is_checked(player_tool.modes[static_cast<std::size_t>(r.mode)])) << what;
        EXPECT_EQ(number_of(player_tool.slider), r.current) << what;
        expect_frame(r.current, what);
    }
    EXPECT_EQ(display::memory::facts(window).title, "Player Tool - test.reel");
    EXPECT_TRUE(stats().empty());
}

TEST_F(player_loop_test, a_dropped_movie_is_opened_even_while_another_plays) {
    load({.frames = 9, .rate = 25}, "one.reel");
    const std::string other = write_movie({.frames = 3, .rate = 12}, "two.reel");
    key_at(0, 'l');
    key_at(0, ' ');
    then_at(1'000, [&] {
        EXPECT_TRUE(state.playing);
        display::memory::push_drop(window, other.c_str());
    });
    quit_at(2'000);
    run_to_end();
    EXPECT_TRUE(state.quit_requested);
    EXPECT_STREQ(args.name.data(), "two.reel");
    EXPECT_EQ(args.count, 3);
    EXPECT_EQ(args.rate, 12.0F);
    EXPECT_EQ(text_of(player_tool.label), format_movie_label(args));
}

TEST_F(player_loop_test, a_file_that_is_dropped_while_the_player_sleeps_is_taken) {
    program_clock::use_system_clock(); // the loop then sleeps as it does for a user
    const std::int64_t now = program_clock::now_us() / program_clock::us_per_ms;
    static int drops;
    drops = 0;
    view.drop = [](int) { ++drops; };
    event_at(now + 100, display::event_kind::drop);
    event_at(now + 200, display::event_kind::close);
    run_to_end();
    EXPECT_EQ(drops, 1);
}

TEST_F(player_loop_test, a_bad_movie_leaves_an_empty_window_that_still_answers) {
    load({.frames = 3});
    state.play_file_name = folder + "/missing.reel";
    confirm();
    testing::internal::CaptureStderr();
    EXPECT_EQ(load_play_file(args, ref), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    for (const int key :
         {+' ', +'r', +'.', +',', +'-', +'0', +display::key_home, +display::key_end, +'l', +'='})
        tap(key);
    for (const demon_ref &each : player_tool.buttons)
        click(each);
    run();
    EXPECT_FALSE(state.playing);
    EXPECT_TRUE(stats().empty());
    EXPECT_EQ(args.mode, mode_loop);
    EXPECT_EQ(args.zoom, 1);
    quit_at(5'000);
    run_to_end();
    EXPECT_TRUE(state.quit_requested);
}

TEST_F(player_loop_test, a_lost_display_ends_the_loop) {
    load({.frames = 3});
    key_at(0, ' ');
    event_at(50, display::event_kind::lost);
    testing::internal::CaptureStderr();
    run_to_end();
    EXPECT_TRUE(state.quit_requested);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "playertool: The display is lost.\n");
}

TEST_F(player_loop_test, a_signal_and_the_close_box_end_it_playing_or_not) {
    for (const bool playing : {true, false}) {
        build();
        load({.frames = 3});
        set_mode(args, mode_loop);
        if (playing)
            key_at(0, ' ');
        event_at(300, display::event_kind::close);
        run_to_end();
        EXPECT_TRUE(state.quit_requested);
        EXPECT_FALSE(state.playing);
        EXPECT_EQ(player_tool.window.get(), nullptr);
        EXPECT_LE(program_clock::now_us(), 400'000);
    }
    const auto end_by_signal = [this] { // in a process of its own: it is remembered
        build();
        load({.frames = 3});
        set_mode(args, mode_loop);
        install_quit_signals();
        key_at(0, ' ');
        then_at(200, [] { std::raise(SIGTERM); });
        run_to_end();
        std::_Exit(state.quit_requested && !state.playing && !gl::is_display_lost() ? 7 : 1);
    };
    EXPECT_EXIT(end_by_signal(), testing::ExitedWithCode(7), "");
}

} // namespace
