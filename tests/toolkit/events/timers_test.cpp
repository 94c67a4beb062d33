#include "tests/toolkit/events/input_fixture.h"

#include <limits>

namespace toolkit {
namespace {

using program_clock::advance_us;
using program_clock::us_per_second;

class timers_test : public input_fixture {};

int calls_of_first = 0;
int calls_of_second = 0;
void first_function() {
    ++calls_of_first;
}
void second_function() {
    ++calls_of_second;
}

TEST_F(timers_test, frame_clock_counts_milliseconds_and_frames) {
    constexpr int most = std::numeric_limits<int>::max();
    constexpr int least = std::numeric_limits<int>::min();
    struct {
        int first, period, ms, frame;
    } const rows[] = {
        {10, 40, 0, 10},    {10, 40, 1000, 35},        {0, 33, 98, 2},
        {0, 33, 99, 3},     {5, -40, 1000, -20},       {0, -33, 98, -2},
        {7, 0, 1000, 7},    {most - 1, 1, 1000, most}, {least + 1, -1, 1000, least},
        {0, most, 1000, 0}, {0, least, 1000, 0},
    };
    for (const auto &row : rows) {
        start_timer(row.first);
        advance_us(row.ms * program_clock::us_per_ms);
        EXPECT_EQ(elapsed_time(), row.ms);
        EXPECT_EQ(elapsed_frames(row.period), row.frame) << row.first << " " << row.period;
    }
}

TEST_F(timers_test, frame_clock_is_loaded_again_when_it_runs_out) {
    advance_us(123);
    start_timer(0);
    advance_us(200'000 * us_per_second - 1'000);
    EXPECT_EQ(elapsed_time(), 199'999'999);
    advance_us(1'000);
    EXPECT_EQ(elapsed_time(), 0);
    advance_us(2'000'000);
    EXPECT_EQ(elapsed_time(), 2'000);
    advance_us(1);
    EXPECT_EQ(elapsed_time(), 2'001) << "what is left is rounded down";
}

TEST_F(timers_test, event_clock_runs_with_the_processor_for_ever) {
    restart_event_timer();
    const std::int64_t full = inq_event_clock();
    EXPECT_EQ(full, 86'400 * us_per_second);
    program_clock::sleep_until_us(program_clock::now_us() + 5 * us_per_second);
    EXPECT_EQ(inq_event_clock(), full) << "sleeping is no processor time";
    program_clock::advance_process_us(600'000);
    EXPECT_EQ(full - inq_event_clock(), 600'000);
    program_clock::advance_process_us(3 * full);
    EXPECT_EQ(full - inq_event_clock(), 600'000);
}

TEST_F(timers_test, idle_ticks_come_at_their_rate_until_disabled) {
    enable_null_events(6);
    EXPECT_EQ(read().event_class, input_nothing);
    advance_us(us_per_second / 10 + 1);
    EXPECT_EQ(read(), (delivered_event{input_none, 0, start}));

    adjust_null_event_freq(30);
    advance_us(us_per_second / 10 + 1);
    read();
    EXPECT_EQ(pending, 0);
    advance_us(us_per_second / 2);
    EXPECT_EQ(gl::qtest(), gl::TIMER0);
    disable_null_events(); // with a tick still waiting
    EXPECT_EQ(read().event_class, input_nothing);
    EXPECT_EQ(pending, 1);
    advance_us(us_per_second);
    EXPECT_NE(gl::qtest(), gl::TIMER0);
}

TEST_F(timers_test, registered_functions_are_called_and_replaced) {
    calls_of_first = calls_of_second = 0;
    enable_timer2_events(first_function, 1);
    enable_timer3_events(second_function, 1);
    EXPECT_EQ(enter(gl::TIMER2, 0).event_class, input_nothing);
    enter(gl::TIMER3, 0);
    EXPECT_EQ(calls_of_first, 1);
    EXPECT_EQ(calls_of_second, 1);
    enable_timer2_events(second_function, 1);
    enter(gl::TIMER2, 0);
    EXPECT_EQ(calls_of_first, 1);
    EXPECT_EQ(calls_of_second, 2);
    enable_timer2_events(nullptr, 1);
    enable_timer3_events(nullptr, 1);
    enter(gl::TIMER2, 0);
    EXPECT_EQ(pending, 1);
}

TEST_F(timers_test, flags_are_kept) {
    locator_step_on();
    EXPECT_EQ(inq_locator_step(), 255);
    locator_step_off();
    EXPECT_EQ(inq_locator_step(), 0);
    testing::internal::CaptureStdout();
    post_null_event();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "tick...\n");
    EXPECT_TRUE(is_null_event_posted());
}

} // namespace
} // namespace toolkit
