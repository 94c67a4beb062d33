#include "tests/toolkit/events/input_fixture.h"

#include "platform/gl/input.h"
#include "toolkit/events/key_table.h"

#include <string>

namespace toolkit {
namespace {

using program_clock::advance_process_us;
using program_clock::advance_us;

class event_input_test : public input_fixture {};

std::string window_log;
void log_refresh(int window) {
    window_log += "refresh " + std::to_string(window) + "\n";
}
void log_freeze(int window) {
    window_log += "freeze " + std::to_string(window) + "\n";
}
void log_thaw(int window) {
    window_log += "thaw " + std::to_string(window) + "\n";
}
void log_close(int window) {
    window_log += "close " + std::to_string(window) + "\n";
}

TEST_F(event_input_test, modifiers_have_codes_and_bits) {
    struct {
        gl::device key;
        int pressed;
        std::uint32_t bit;
    } const rows[] = {{143, 1000, 1}, {144, 1002, 1}, {3, 1004, 2},
                      {145, 1006, 2}, {6, 1008, 4},   {5, 1010, 4}};
    for (const auto &row : rows) {
        EXPECT_EQ(typed(row.key, 1), row.pressed);
        EXPECT_EQ(typed(row.key, 1), row.pressed) << "repeated";
        EXPECT_EQ(inq_special_key(), row.bit);
        EXPECT_EQ(inq_last_alt_key_state(), row.bit == 1 ? 255 : 0);
        EXPECT_EQ(typed(row.key, 0), row.pressed + 1);
        EXPECT_EQ(inq_special_key(), 0U);
    }
    typed(gl::LEFTSHIFTKEY, 1);
    typed(gl::RIGHTSHIFTKEY, 1);
    typed(gl::LEFTALTKEY, 1);
    typed(gl::RIGHTSHIFTKEY, 0);
    EXPECT_EQ(inq_special_key(), 1U) << "either key of a pair clears its bit";
    gl_input_init(); // what was released while others had the queue is not held
    EXPECT_EQ(inq_special_key(), 0U);
}

TEST_F(event_input_test, keys_type_characters) {
    EXPECT_EQ(typed(gl::AKEY), 'a');
    EXPECT_EQ(typed(gl::AKEY), 'a') << "repeated";
    EXPECT_EQ(typed(gl::AKEY, 0), 0);
    EXPECT_EQ(typed(gl::ESCKEY), 27);
    EXPECT_EQ(typed(gl::ESCKEY, 0), 27);
    EXPECT_EQ(typed(gl::F10KEY), 0);
    typed(gl::RIGHTSHIFTKEY);
    EXPECT_EQ(typed(gl::AKEY), 'A');
    EXPECT_EQ(typed(gl::ONEKEY), '!');
    typed(gl::RIGHTSHIFTKEY, 0);

    EXPECT_EQ(enter(gl::CAPSLOCKKEY, 1).event_class, input_nothing);
    enter(gl::CAPSLOCKKEY, 0);
    EXPECT_EQ(typed(gl::AKEY), 'A');
    EXPECT_EQ(typed(gl::ONEKEY), '1');
    enter(gl::CAPSLOCKKEY, 1);
    EXPECT_EQ(typed(gl::AKEY), 'a');
    gl_is_Cypress = true;
    for (const short locked : {short{1}, short{1}, short{0}}) {
        enter(gl::CAPSLOCKKEY, locked);
        EXPECT_EQ(typed(gl::AKEY), locked != 0 ? 'A' : 'a');
    }
}

TEST_F(event_input_test, caps_lock_switched_behind_our_back_is_known) {
    const auto press_caps_lock = [] {
        display::memory::push_key(display::key_caps_lock, true);
        return gl::qtest();
    };
    gl::unqdevice(gl::CAPSLOCKKEY);
    EXPECT_EQ(press_caps_lock(), gl::NULLDEV);
    gl_input_init();
    EXPECT_EQ(typed(gl::AKEY), 'A');
    EXPECT_EQ(press_caps_lock(), gl::CAPSLOCKKEY); // waits while the queue is handed back
    gl_input_init();
    EXPECT_EQ(read().event_class, input_nothing);
    EXPECT_EQ(typed(gl::AKEY), 'a');
    gl::unqdevice(gl::CAPSLOCKKEY); // as if another program had the keyboard
    EXPECT_EQ(press_caps_lock(), gl::NULLDEV);
    EXPECT_EQ(typed(gl::AKEY), 'a');
    enter(gl::INPUTCHANGE, 1);
    EXPECT_EQ(typed(gl::AKEY), 'A');
}

TEST_F(event_input_test, keyboard_of_the_display_arrives) {
    display::memory::push_key(display::key_shift_left, true);
    display::memory::push_key('b', true);
    EXPECT_EQ(read(1), (delivered_event{input_keyboard, 1008, start}));
    EXPECT_EQ(read(1), (delivered_event{input_keyboard, 'B', start}));
    EXPECT_EQ(is_shift_key_down(), 255);
    EXPECT_EQ(is_ctrl_key_down(), 0);
    EXPECT_EQ(is_alt_key_down(), 0);
    display::memory::push_button(display::button_right, true);
    EXPECT_EQ(gl_inq_b3_down(), 255);
    EXPECT_EQ(gl_inq_b1_down(), 0);
}

TEST_F(event_input_test, buttons_click_and_double_click) {
    struct step {
        gl::device button;
        short value;
        screen_point at; // from where the pointer started
        char expected;
    };
    const std::vector<std::vector<step>> runs = {
        {{103, 1, {}, 'a'},
         {103, 0, {}, 'A'},
         {103, 1, {4, -4}, 'D'},
         {103, 0, {}, 'A'},
         {103, 1, {}, 'a'},
         {103, 1, {}, 'D'}}, // the count starts over
        {{102, 1, {}, 'b'}, {102, 0, {}, 'B'}, {102, 1, {}, 'E'}},
        {{101, 1, {}, 'c'}, {101, 0, {}, 'C'}, {101, 1, {}, 'F'}},
        {{103, 1, {}, 'a'}, {103, 1, {5, 0}, 'a'}, {103, 1, {5, 0}, 'D'}}, // 5 pixels are far
        {{103, 1, {}, 'a'}, {103, 1, {0, -5}, 'a'}},
        {{103, 1, {}, 'a'}, {101, 1, {}, 'c'}, {103, 1, {}, 'D'}, {101, 1, {}, 'F'}},
    };
    for (const auto &run : runs) {
        gl_input_init();
        for (const step &s : run) {
            gl::qenter(gl::MOUSEX, static_cast<short>(start.x + s.at.x));
            read();
            gl::qdevice(gl::MOUSEY);
            gl::qenter(gl::MOUSEY, static_cast<short>(start.y + s.at.y));
            read();
            const delivered_event e = enter(s.button, s.value);
            EXPECT_EQ(e.event_class, input_button);
            EXPECT_EQ(e.value, s.expected) << (&run - runs.data()) << "/" << (&s - run.data());
            gl::qdevice(gl::MOUSEX);
        }
    }
}

TEST_F(event_input_test, double_click_ends_at_the_second_tick) {
    advance_us(1'000'000);
    EXPECT_EQ(read().event_class, input_nothing);
    advance_us(1'000'000);
    read();
    EXPECT_FALSE(gl::isqueued(gl::TIMER1)) << "two ticks after the start";
    struct {
        int ticks;
        char second;
    } const rows[] = {{1, 'D'}, {2, 'a'}};
    for (const auto &row : rows) {
        EXPECT_EQ(enter(gl::LEFTMOUSE).value, 'a');
        EXPECT_TRUE(gl::isqueued(gl::TIMER1));
        for (int i = 0; i < row.ticks; ++i) {
            advance_us(290'000);
            read();
            EXPECT_EQ(pending, 0) << "18 ticks are 300 ms";
            advance_us(12'000);
            EXPECT_EQ(read().event_class, input_nothing);
            EXPECT_EQ(pending, 1);
        }
        EXPECT_EQ(gl::isqueued(gl::TIMER1), row.ticks == 1);
        EXPECT_EQ(enter(gl::LEFTMOUSE).value, row.second);
        gl_input_init();
    }
}

TEST_F(event_input_test, cursor_is_polled_until_it_rests) {
    EXPECT_EQ(read(), (delivered_event{0, 0, start}));
    EXPECT_EQ(pending, 0) << "resting, nothing queued";

    move_pointer({700, 512});
    EXPECT_EQ(read(1), (delivered_event{input_motion, 0, {700, 512}}));
    EXPECT_FALSE(gl::isqueued(gl::MOUSEX)) << "polling from here on";
    advance_process_us(300'000);
    move_pointer({701, 90});
    EXPECT_EQ(read(1), (delivered_event{input_motion, 0, {701, 90}}));
    advance_process_us(500'000);
    EXPECT_EQ(read(1), (delivered_event{input_motion, 0, {701, 90}})) << "not long enough";
    EXPECT_EQ(typed(gl::AKEY), 'a') << "what waits comes first";
    advance_process_us(1);
    EXPECT_EQ(read(), (delivered_event{0, 0, {701, 90}}));
    EXPECT_EQ(pending, 0);
    EXPECT_TRUE(gl::isqueued(gl::MOUSEX) && gl::isqueued(gl::MOUSEY));

    move_pointer({702, 90});
    read(1);
    EXPECT_FALSE(gl::isqueued(gl::MOUSEX));
    EXPECT_EQ(enter(gl::INPUTCHANGE, 3).event_class, input_nothing);
    EXPECT_FALSE(gl::isqueued(gl::MOUSEX));
    enter(gl::INPUTCHANGE, 0);
    EXPECT_TRUE(gl::isqueued(gl::MOUSEX) && gl::isqueued(gl::MOUSEY)) << "the focus is lost";
}

TEST_F(event_input_test, arrow_keys_move_the_cursor) {
    struct {
        gl::device key;
        screen_point by;
    } const rows[] = {{gl::LEFTARROWKEY, {-1, 0}},
                      {gl::DOWNARROWKEY, {0, -1}},
                      {gl::RIGHTARROWKEY, {1, 0}},
                      {gl::UPARROWKEY, {0, 1}}};
    for (const auto &row : rows) {
        gl_set_valuator(start.x, start.y);
        gl::qreset();
        EXPECT_EQ(gl_arrow_key(row.key), 255);
        EXPECT_EQ(gl_arrow_key(row.key + 0x200), 255) << "the low 8 bits count";
        EXPECT_EQ(enter(row.key, 0).event_class, input_nothing);
        EXPECT_EQ(gl::getvaluator(gl::MOUSEX), start.x);
        EXPECT_EQ(enter(row.key, 1).event_class, input_nothing);
        EXPECT_EQ(gl::getvaluator(gl::MOUSEX), start.x + row.by.x);
        EXPECT_EQ(gl::getvaluator(gl::MOUSEY), start.y + row.by.y);
    }
    EXPECT_EQ(gl_arrow_key(gl::AKEY), 0);
}

TEST_F(event_input_test, editing_keys_are_delivered_to_who_takes_them) {
    static bool wanted;
    set_editing_key_question([](std::int16_t) { return wanted; });
    struct {
        gl::device key;
        std::int16_t taken, else_typed;
    } const rows[] = {{gl::HOMEKEY, home_pressed, 0},
                      {gl::ENDKEY, end_pressed, 0},
                      {gl::PAGEUPKEY, page_up_pressed, 0},
                      {gl::PAGEDOWNKEY, page_down_pressed, 0},
                      {gl::DELKEY, delete_pressed, backspace_character}};
    for (const auto &row : rows)
        for (const int taker : {0, 1, 2}) {
            wanted = taker == 1;
            if (taker == 2)
                take_arrow_keys();
            const std::int16_t value = taker != 0 ? row.taken : row.else_typed;
            const delivered_event pressed = enter(row.key, 1);
            EXPECT_EQ(pressed.value, value) << row.key;
            EXPECT_EQ(pressed.event_class, value != 0 ? input_keyboard : input_nothing);
            EXPECT_EQ(enter(row.key, 0).event_class, input_nothing);
            if (taker == 2)
                give_back_arrow_keys();
        }
    set_editing_key_question(nullptr);
}

TEST_F(event_input_test, cursor_stays_in_its_box_and_on_the_screen) {
    screen_point at;
    gl_set_valuator(-5, 100'000);
    gl_get_valuator(&at.x, &at.y);
    EXPECT_EQ(at, (screen_point{0, 1023}));
    gl_set_mouse_box(100, 200, 50, 10);
    gl_constrain_mouse();
    gl_get_valuator(&at.x, &at.y);
    EXPECT_EQ(at, (screen_point{100, 209}));
    while (read().event_class == input_motion && pending != 0)
        advance_process_us(600'000);
    move_pointer({500, 205});
    while (read().event_class == input_motion && pending != 0)
        advance_process_us(600'000);
    gl_get_valuator(&at.x, &at.y);
    EXPECT_EQ(at, (screen_point{149, 205})) << "brought back";
    EXPECT_EQ(read().position, at);
    gl_unconstrain_mouse();
    gl_set_valuator(500, 205);
    EXPECT_EQ(gl::getvaluator(gl::MOUSEX), 500);

    EXPECT_EQ(inq_cursor_speed(), 1);
    gl_toggle_cursor_speed();
    EXPECT_EQ(inq_cursor_speed(), 10);
    gl_toggle_cursor_speed();
    EXPECT_EQ(inq_cursor_speed(), 1);
}

TEST_F(event_input_test, window_events_call_the_installed_functions) {
    const auto enter_all = [this] {
        for (const gl::device d :
             {gl::REDRAW, gl::WINFREEZE, gl::WINTHAW, gl::WINQUIT, gl::WINSHUT})
            EXPECT_EQ(enter(d, static_cast<short>(d)), (delivered_event{0, 0, start}));
    };
    window_log.clear();
    enter_all();
    EXPECT_EQ(window_log, "") << "none installed";
    set_window_calls({log_refresh, log_freeze, log_thaw, log_close});
    enter_all();
    EXPECT_EQ(window_log, "refresh 528\nfreeze 539\nthaw 540\nclose 542\nclose 546\n");
    window_log.clear();
    set_close_question([](int window) { return window != gl::WINSHUT; });
    enter_all();
    set_close_question(nullptr);
    EXPECT_EQ(window_log, "refresh 528\nfreeze 539\nthaw 540\nclose 542\n");
}

TEST_F(event_input_test, overflow_is_reported) {
    for (int i = 0; i < gl::queue_capacity + 5; ++i)
        gl::qenter(gl::AKEY, 1);
    testing::internal::CaptureStdout();
    int typed_keys = 0;
    while (read().event_class == input_keyboard)
        ++typed_keys;
    EXPECT_EQ(typed_keys, gl::queue_capacity - 1);
    EXPECT_EQ(pending, 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Warning: Input Queue Overflow.\n         Events have been lost. \n");
    gl::qenter(gl::AKEY, 1);
    gl_qreset();
    read();
    EXPECT_EQ(pending, 0);
}

TEST_F(event_input_test, lost_display_does_not_hold_the_caller) {
    display::event lost;
    lost.kind = display::event_kind::lost;
    display::memory::push(lost);
    EXPECT_EQ(read(1).event_class, input_nothing);
    EXPECT_EQ(pending, 1);
}

} // namespace
} // namespace toolkit
