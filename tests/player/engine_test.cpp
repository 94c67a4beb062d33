#include "player/advance.h"
#include "tests/player/player_fixture.h"

#include <cmath>

namespace {

using namespace player;
using player_test::frame_colour;
using player_test::player_fixture;

// The way of a movie of n frames there and back, each end twice.
std::vector<int> there_and_back(int n) {
    std::vector<int> way;
    for (int i = 0; i < n; ++i)
        way.push_back(i);
    for (int i = n; i-- > 0;)
        way.push_back(i);
    return way;
}

struct model {
    int pos;
    bool playing;
};

// Where `steps` frames in direction `sign` lead from `start` by the clock: one frame at a time.
model walk_by_clock(int mode, int n, int start, int sign, std::int64_t steps) {
    const std::vector<int> way = there_and_back(n);
    int pos = start;
    int place = start; // on the way
    for (std::int64_t k = 0; k < steps; ++k) {
        if (mode == mode_normal && (pos + sign == n || pos + sign == -1))
            return {pos, false};
        pos = pos + sign == n ? 0 : pos + sign == -1 ? n - 1 : pos + sign;
        place = place + sign == 2 * n ? 0 : place + sign == -1 ? 2 * n - 1 : place + sign;
    }
    return {mode == mode_swing ? way[static_cast<std::size_t>(place)] : pos, true};
}

int drawn = 0;

class engine_test : public player_fixture {
protected:
    void SetUp() override {
        player_fixture::SetUp();
        drawn = 0;
        view.draw_frame = [](const play_args &) { ++drawn; };
    }

    void play(int direction) {
        if (direction > 0)
            direction == 1 ? play_forward(args, ref) : play_fast_forward(args, ref);
        else
            direction == -1 ? play_reverse(args, ref) : play_fast_reverse(args, ref);
    }

    void expect_picture(const std::string &what) {
        EXPECT_EQ(args.pixels.span()[0], frame_colour(args.current - args.first)) << what;
    }
};

TEST_F(engine_test, timed_runs_follow_the_clock_in_every_mode_and_direction) {
    for (const int n : {1, 2, 3, 17}) {
        const std::string path = write_movie({.frames = n, .rate = 25});
        for (const int first : {0, 100})
            for (const int mode : {mode_normal, mode_loop, mode_swing})
                for (const int direction : {1, -1, 2, -2}) {
                    open(path, first);
                    state = {};
                    args.rate = 24;
                    args.mode = mode;
                    args.current = first + n / 2;
                    const int period = direction == 1 || direction == -1 ? 41 : 20;
                    play(direction);
                    const int start = args.current - first;
                    ASSERT_TRUE(state.playing);
                    std::int64_t ms = 0;
                    for (int tick = 1; tick < 200 && state.playing; ++tick) {
                        const int step = tick % 7 == 0 ? 95 : 17; // now and then a slow frame
                        program_clock::advance_us(step * 1000);
                        ms += step;
                        advance_frame(args, ref);
                        const model due =
                            walk_by_clock(mode, n, start, direction < 0 ? -1 : 1, ms / period);
                        const std::string what = "n " + std::to_string(n) + " mode " +
                                                 std::to_string(mode) + " direction " +
                                                 std::to_string(direction) + " at " +
                                                 std::to_string(ms) + " ms";
                        ASSERT_EQ(args.current - first, due.pos) << what;
                        ASSERT_EQ(state.playing, due.playing) << what;
                        expect_picture(what);
                    }
                }
    }
}

TEST_F(engine_test, every_frame_runs_step_once_a_tick) {
    struct run {
        int n, mode, direction, start;
        std::vector<int> shown; // after each tick; a Normal run stops with the last one
    };
    const std::vector<run> runs{
        {3, mode_normal, 1, 0, {1, 2, 2}},
        {3, mode_normal, -1, 2, {1, 0, 0}},
        {4, mode_normal, 2, 0, {2, 3}},
        {4, mode_normal, -2, 3, {1, 0}},
        {1, mode_normal, 1, 0, {0}},
        {3, mode_loop, 1, 0, {1, 2, 0, 1}},
        {3, mode_loop, -1, 1, {0, 2, 1, 0}},
        {5, mode_loop, 2, 0, {2, 4, 0, 2}},
        {5, mode_loop, -2, 1, {4, 2, 0, 4}}, // to the other end, not by the remainder
        {1, mode_loop, -2, 0, {0, 0, 0}},
        {3, mode_swing, 1, 0, {1, 2, 2, 1, 0, 0, 1}},
        {3, mode_swing, -1, 1, {0, 0, 1, 2, 2, 1, 0, 0}},
        {2, mode_swing, 2, 0, {1, 0, 1}},
        {3, mode_swing, -2, 1, {0, 2, 1, 0}},
        {1, mode_swing, 1, 0, {0, 0, 0}},
    };
    for (const run &r : runs)
        for (const int first : {0, 7}) {
            open(write_movie({.frames = r.n}), first);
            state = {};
            args.rate = every_frame_rate;
            args.mode = r.mode;
            args.direction = r.direction;
            args.current = first + r.start;
            state.playing = true;
            std::vector<int> shown;
            while (state.playing && shown.size() < r.shown.size()) {
                advance_frame(args, ref);
                shown.push_back(args.current - first);
            }
            EXPECT_EQ(shown, r.shown) << "n " << r.n << " mode " << r.mode << " by " << r.direction;
            EXPECT_EQ(state.playing, r.mode != mode_normal);
            stop_playing(args);
        }
}

TEST_F(engine_test, transport_commands_rewind_as_their_mode_asks) {
    struct rule {
        int mode, direction, from, begins;
    };
    const std::vector<rule> rules{
        {mode_normal, 1, 4, 0}, {mode_loop, 1, 4, 0},    {mode_swing, 1, 4, 4},
        {mode_normal, 1, 3, 3}, {mode_normal, -1, 0, 4}, {mode_loop, -2, 0, 4},
        {mode_swing, -1, 0, 0}, {mode_normal, -2, 1, 1}, {mode_normal, 2, 3, 0},
        {mode_loop, 2, 2, 0},   {mode_swing, 2, 2, 2},
    };
    const std::string path = write_movie({.frames = 5});
    for (const rule &r : rules) {
        open(path, 10);
        state = {};
        args.mode = r.mode;
        args.current = 10 + r.from;
        play(r.direction);
        EXPECT_EQ(args.current - 10, r.begins) << "mode " << r.mode << " by " << r.direction;
        expect_picture("start");
        EXPECT_EQ(args.direction, r.direction);
        const int before = args.current;
        play(-r.direction); // while running only the direction changes
        EXPECT_EQ(args.current, before);
        EXPECT_EQ(args.direction, -r.direction);
        EXPECT_TRUE(state.playing);
        stop_playing(args);
        EXPECT_FALSE(state.playing);
    }
}

TEST_F(engine_test, swing_is_entered_again_at_the_mirrored_frame_within_the_movie) {
    for (const auto &[first, from, begins] : std::vector<std::array<int, 3>>{
             {0, 8, 9}, {0, 0, 9}, {2, 10, 6}, {2, 4, 11}, {30, 35, 30}}) {
        open(write_movie({.frames = 10}), first);
        state = {};
        state.swing_returning = true;
        args.mode = mode_swing;
        args.current = from;
        play_forward(args, ref);
        EXPECT_EQ(args.current, begins) << "first " << first << " from " << from;
        stop_playing(args);
    }
}

TEST_F(engine_test, stepping_stops_at_the_ends_and_stops_a_running_player) {
    open(write_movie({.frames = 3}), 5);
    step_back(args, ref);
    EXPECT_EQ(drawn, 0);
    step_forward(args, ref);
    step_forward(args, ref);
    step_forward(args, ref);
    EXPECT_EQ(args.current, 7);
    EXPECT_EQ(drawn, 2);
    expect_picture("stepped");
    args.mode = mode_loop;
    play_reverse(args, ref);
    step_back(args, ref);
    EXPECT_FALSE(state.playing);
    EXPECT_EQ(args.current, 6);
}

TEST_F(engine_test, a_frozen_player_goes_on_as_it_was) {
    view.is_player_window = [](int window) { return window == 3; };
    open(write_movie({.frames = 9}));
    args.mode = mode_loop;
    for (const int direction : {1, -1, 2, -2}) {
        args.current = 4;
        play(direction);
        freeze_playing(args, 2);
        EXPECT_TRUE(state.playing) << "another window";
        freeze_playing(args, 3);
        EXPECT_FALSE(state.playing);
        thaw_playing(args, ref, 2);
        EXPECT_FALSE(state.playing) << "another window";
        thaw_playing(args, ref, 3);
        EXPECT_TRUE(state.playing);
        EXPECT_EQ(args.direction, direction);
        stop_playing(args);
        thaw_playing(args, ref, 3);
        EXPECT_FALSE(state.playing) << "only what was frozen is thawed";
    }
}

TEST_F(engine_test, unusable_records_never_play_and_corrupt_modes_are_repaired) {
    args.count = 5;
    play_forward(args, ref);
    EXPECT_FALSE(state.playing) << "no movie";
    open(write_movie({.frames = 0}));
    play_forward(args, ref);
    EXPECT_FALSE(state.playing) << "no frames";

    for (const float rate : {0.0F, 24.0F}) {
        open(write_movie({.frames = 2}));
        args.rate = rate;
        play_forward(args, ref);
        args.mode = 77;
        testing::internal::CaptureStderr();
        advance_frame(args, ref);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "playertool: Corrupt play_args!\n");
        EXPECT_EQ(args.mode, mode_loop);
        EXPECT_TRUE(state.playing);
        stop_playing(args);
    }
}

TEST(advance_test, periods_truncate_and_are_never_zero) {
    struct row {
        float rate;
        int direction, ms;
    };
    for (const row &r : std::vector<row>{{30, 1, 33},
                                         {24, 1, 41},
                                         {24, -1, -41},
                                         {25, 2, 20},
                                         {30, -2, -16},
                                         {5000, 1, 1},
                                         {5000, -2, -1},
                                         {1e-30F, -1, -INT32_MAX},
                                         {NAN, 1, INT32_MAX}})
        EXPECT_EQ(timed_period_ms(r.rate, r.direction), r.ms) << r.rate << " " << r.direction;
}

} // namespace
