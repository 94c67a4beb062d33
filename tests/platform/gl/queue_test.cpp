#include "platform/gl/input.h"
#include "platform/gl/tick_timers.h"
#include "tests/platform/gl/gl_fixture.h"

#include <sys/select.h>

using gl_test::tick_us;
using entry = std::pair<gl::device, int>;

namespace {

bool is_readable(int fd) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(fd, &set);
    timeval none{};
    return select(fd + 1, &set, nullptr, nullptr, &none) == 1;
}

} // namespace

struct gl_queue : gl_test::gl_fixture {};

TEST_F(gl_queue, enters_only_what_is_queued_and_in_order) {
    open_window(0, 0, 50, 50);
    gl::qdevice(gl::AKEY);
    gl::qdevice(gl::LEFTMOUSE);
    display::memory::push_key('b', true);
    display::memory::push_key('a', true);
    display::memory::push_button(display::button_left, true);
    display::memory::push_key('a', false);
    EXPECT_EQ(gl::qtest(), gl::AKEY);
    EXPECT_EQ(read(), entry(gl::AKEY, 1));
    EXPECT_TRUE(gl::getbutton(gl::LEFTMOUSE));
    EXPECT_TRUE(gl::getbutton(gl::BKEY)); // held, though not queued
    EXPECT_FALSE(gl::getbutton(gl::AKEY));
    EXPECT_EQ(read(), entry(gl::LEFTMOUSE, 1));
    EXPECT_EQ(read(), entry(gl::AKEY, 0));
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    gl::unqdevice(gl::AKEY);
    display::memory::push_key('a', true);
    gl::qenter(gl::AKEY, 1);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    for (const gl::device d : {-1, 0, gl::last_device + 1, 1 << 20}) {
        gl::qdevice(d);
        gl::qenter(d, 1);
        EXPECT_FALSE(gl::isqueued(d));
    }
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
}

TEST_F(gl_queue, every_key_has_its_own_device) {
    open_window(0, 0, 50, 50);
    std::vector<int> codes;
    for (const char c : std::string("abcdefghijklmnopqrstuvwxyz0123456789 ;.,'`-/\\=[]"))
        codes.push_back(c);
    for (const int c :
         {display::key_backspace,  display::key_tab,          display::key_linefeed,
          display::key_return,     display::key_pause,        display::key_scroll_lock,
          display::key_escape,     display::key_home,         display::key_left,
          display::key_up,         display::key_right,        display::key_down,
          display::key_page_up,    display::key_page_down,    display::key_end,
          display::key_print,      display::key_insert,       display::key_num_lock,
          display::key_pad_enter,  display::key_pad_multiply, display::key_pad_add,
          display::key_pad_divide, display::key_pad_subtract, display::key_pad_decimal,
          display::key_shift_left, display::key_shift_right,  display::key_control_left,
          display::key_caps_lock,  display::key_alt_left,     display::key_control_right,
          display::key_alt_right,  display::key_delete})
        codes.push_back(c);
    for (int i = 0; i < 10; i++)
        codes.push_back(display::key_pad_0 + i);
    for (int i = 0; i < 12; i++)
        codes.push_back(display::key_f1 + i);
    for (gl::device d = 1; d <= gl::last_button_device; d++)
        gl::qdevice(d);
    std::vector<bool> seen(gl::last_button_device + 1);
    for (const int code : codes) {
        display::memory::push_key(code, true);
        ASSERT_NE(gl::qtest(), gl::NULLDEV) << "code " << code;
        const gl::device d = read().first;
        EXPECT_FALSE(seen[static_cast<std::size_t>(d)]) << "code " << code << " device " << d;
        seen[static_cast<std::size_t>(d)] = true;
    }
    display::memory::push_key(0xffff + 1, true);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
}

TEST_F(gl_queue, moves_are_turned_and_merged_until_read) {
    open_window(0, 0, 50, 50);
    gl::qdevice(gl::MOUSEX);
    gl::qdevice(gl::MOUSEY);
    for (int i = 1; i <= 1000; i++)
        display::memory::push_motion({i, 2 * i % 1024});
    EXPECT_EQ(read(), entry(gl::MOUSEX, 1000));
    EXPECT_EQ(read(), entry(gl::MOUSEY, 1023 - 2000 % 1024));
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(gl::getvaluator(gl::MOUSEX), 1000);
    gl::setvaluator(gl::MOUSEY, 5000, 0, 1023);
    EXPECT_EQ(gl::getvaluator(gl::MOUSEY), 1023);
    EXPECT_EQ(read(), entry(gl::MOUSEY, 1023)); // a move of our own is news like any other
}

TEST_F(gl_queue, overflow_is_said_once_and_ends_with_reading) {
    gl::qdevice(gl::QFULL);
    gl::qdevice(gl::AKEY);
    for (int i = 0; i < 2 * gl::queue_capacity; i++)
        gl::qenter(gl::AKEY, static_cast<short>(i));
    for (int i = 0; i < gl::queue_capacity - 1; i++)
        ASSERT_EQ(read(), entry(gl::AKEY, i));
    gl::qenter(gl::AKEY, 6);
    EXPECT_EQ(read(), entry(gl::QFULL, 0));
    EXPECT_EQ(read(), entry(gl::AKEY, 6));
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);

    // A reader that frees one place at a time is not told again for each event lost.
    for (int i = 0; i < gl::queue_capacity; i++)
        gl::qenter(gl::AKEY, 1);
    int said = 0;
    for (int i = 0; i < gl::queue_capacity / 2; i++) {
        said += read().first == gl::QFULL ? 1 : 0;
        gl::qenter(gl::AKEY, 1);
        gl::qenter(gl::AKEY, 1);
    }
    while (gl::qtest() != gl::NULLDEV)
        said += read().first == gl::QFULL ? 1 : 0;
    EXPECT_LE(said, 2);
    gl::qenter(gl::AKEY, 7);
    EXPECT_EQ(read(), entry(gl::AKEY, 7));

    // A tick that found no room does not stop its timer.
    gl::qdevice(gl::TIMER1);
    for (int i = 0; i < gl::queue_capacity; i++)
        gl::qenter(gl::AKEY, 1);
    program_clock::advance_us(2 * tick_us);
    EXPECT_EQ(gl::qtest(), gl::AKEY);
    gl::qreset();
    program_clock::advance_us(2 * tick_us);
    EXPECT_EQ(gl::qtest(), gl::TIMER1);
}

TEST_F(gl_queue, timers_tick_by_noise_and_never_pile_up) {
    gl::qdevice(gl::TIMER0);
    gl::qdevice(gl::TIMER2);
    gl::noise(gl::TIMER2, 30);
    const std::int64_t begun = program_clock::now_us();
    int ticks0 = 0;
    int ticks2 = 0;
    while (program_clock::now_us() < begun + 10'000'000 - tick_us)
        (read().first == gl::TIMER0 ? ticks0 : ticks2)++;
    gl::noise(gl::TIMER2, 30); // what is in force already does not put the next tick off
    EXPECT_NEAR(ticks0, 599, 1);
    EXPECT_NEAR(ticks2, 19, 1);

    // A second without reading leaves one tick of each; the next ones lie on the old grid.
    program_clock::advance_us(1'005'000);
    EXPECT_NE(gl::qtest(), gl::NULLDEV);
    read();
    read();
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(read().first, gl::TIMER0);
    const std::int64_t phase = (program_clock::now_us() - begun) % 50'000; // 3 ticks
    EXPECT_TRUE(phase % tick_us <= 2 || tick_us - phase % tick_us <= 2) << phase;

    gl::unqdevice(gl::TIMER0);
    gl::unqdevice(gl::TIMER2);
    gl::qreset();
    program_clock::advance_us(1'000'000);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
}

TEST(tick_timer, next_tick_is_after_a_late_read_for_every_noise) {
    for (const int noise : {1, 2, 7, 18, 30, 60}) {
        gl::tick_timer t;
        t.noise = noise;
        gl::start_timer(t, 12345);
        std::int64_t now = 12345;
        for (int i = 0; i < 200; i++) {
            now = gl::next_due_us(t) + (i * 7919) % 90'000;
            ASSERT_TRUE(gl::take_due_tick(t, now));
            ASSERT_FALSE(gl::take_due_tick(t, now + 10'000'000)) << "merged while it waits";
            gl::tick_was_read(t, now);
            const std::int64_t due = gl::next_due_us(t);
            ASSERT_GT(due, now);
            ASSERT_LE(due, now + noise * 1'000'000 / gl::ticks_per_second + 1)
                << "noise " << noise << " step " << i;
        }
    }
}

TEST_F(gl_queue, window_events_carry_the_window) {
    const int w = open_window(0, 0, 50, 50);
    const display::window_id id = newest();
    for (const gl::device d :
         {gl::WINSHUT, gl::WINFREEZE, gl::WINTHAW, gl::INPUTCHANGE, gl::WINDROP, gl::LEFTSHIFTKEY})
        gl::qdevice(d);
    push(display::event_kind::iconify, id);
    EXPECT_EQ(read(), entry(gl::WINFREEZE, w));
    EXPECT_TRUE(gl::is_iconic(w));
    push(display::event_kind::deiconify, id);
    EXPECT_EQ(read(), entry(gl::WINTHAW, w));
    push(display::event_kind::close, id);
    EXPECT_EQ(read(), entry(gl::WINSHUT, w));
    EXPECT_TRUE(gl::is_window(w)); // closing is the program's decision
    push(display::event_kind::focus_in, id);
    EXPECT_EQ(read(), entry(gl::INPUTCHANGE, w));
    display::memory::push_drop(id, "/films/a b.reel");
    EXPECT_EQ(read(), entry(gl::WINDROP, w));
    EXPECT_STREQ(gl::dropped_file(), "/films/a b.reel");

    // A key that is down when the keyboard goes elsewhere does not stay down.
    display::memory::push_key(display::key_shift_left, true);
    EXPECT_EQ(read(), entry(gl::LEFTSHIFTKEY, 1));
    push(display::event_kind::focus_out, id);
    EXPECT_EQ(read(), entry(gl::LEFTSHIFTKEY, 0));
    EXPECT_EQ(read(), entry(gl::INPUTCHANGE, 0));
    EXPECT_FALSE(gl::getbutton(gl::LEFTSHIFTKEY));

    push(display::event_kind::close, id);
    EXPECT_EQ(gl::qtest(), gl::WINSHUT);
    gl::winclose(w);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV) << "events of a closed window are gone";
}

TEST_F(gl_queue, descriptor_is_readable_while_something_waits) {
    const int fd = gl::qgetfd();
    EXPECT_FALSE(is_readable(fd));
    gl::qdevice(gl::AKEY);
    gl::qenter(gl::AKEY, 1);
    gl::qenter(gl::AKEY, 0);
    EXPECT_TRUE(is_readable(fd));
    read();
    EXPECT_TRUE(is_readable(fd));
    read();
    EXPECT_FALSE(is_readable(fd));
    open_window(0, 0, 50, 50);
    EXPECT_FALSE(is_readable(fd));
    display::memory::push_key('a', true);
    EXPECT_TRUE(is_readable(fd));
    EXPECT_EQ(gl::qtest(), gl::AKEY);
    EXPECT_TRUE(is_readable(fd));
    gl::qreset();
    EXPECT_FALSE(is_readable(fd));
}

TEST_F(gl_queue, a_lost_display_ends_waiting) {
    static int calls = 0;
    calls = 0;
    gl::on_display_lost([] { calls++; });
    const int w = open_window(0, 0, 50, 50);
    gl::qdevice(gl::AKEY);
    display::memory::push_key('a', true);
    push(display::event_kind::lost, 0);
    EXPECT_EQ(read(), entry(gl::AKEY, 1)); // what came before is still there
    EXPECT_EQ(read(), entry(gl::NULLDEV, 0));
    EXPECT_EQ(read(), entry(gl::NULLDEV, 0));
    EXPECT_TRUE(gl::is_display_lost());
    EXPECT_EQ(calls, 1);
    gl::winclose(w);
    gl::on_display_lost(nullptr);
}
