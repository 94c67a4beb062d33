// A window with a menu bar on a display that is not there, used by hand and keyboard.
#pragma once

#include "platform/clock/program_clock.h"
#include "platform/display/display_memory.h"
#include "platform/gl/queue.h"
#include "platform/gl/screen.h"
#include "toolkit/demons/cursor_filters.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/events/timers.h"
#include "toolkit/system.h"
#include "toolkit/widgets/pulldowns.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace toolkit {

// What the choices' functions were called with; and what the next call does besides.
inline std::vector<word> called;
inline std::function<void()> also;

inline void note_call(word argument) {
    called.push_back(argument);
    if (also)
        std::exchange(also, nullptr)();
}

class menu_fixture : public testing::Test {
protected:
    static constexpr int screen_width = 1280, screen_height = 1024;

    menu_fixture() {
        setenv("PLAYER_DISPLAY", "memory", 1);
        gl::gexit();
        program_clock::use_manual_clock(0);
        called.clear();
        also = nullptr;
        system_init();
        make_window(300, 500);
    }
    ~menu_fixture() override {
        also = nullptr;
        cursor_filter = null_filter;
        gl::unqdevice(gl::TIMER2);
        timer2_function = nullptr;
        setHelp(0);
        system_terminate();
        program_clock::use_system_clock();
    }
    menu_fixture(const menu_fixture &) = delete;
    menu_fixture &operator=(const menu_fixture &) = delete;

    void make_window(int x, int y, int width = 420, int height = 300) {
        window = create_iris_window_demon(nullptr, x, y, width, height, "test", nullptr, 0);
        bar = addMenuBar(window, 0, height - 30, width, 30);
    }
    // A choice whose function notes its number: 1, 2, ... in the order of making.
    demon *add(demon *pulldown, const char *label, pulldown_kind kind = pulldown_kind::command,
               bool state = false, bool active = true, demon *sub = nullptr) {
        const bool notes = kind != pulldown_kind::cascade;
        return addPullDownChoice(pulldown, nullptr, label, false, kind, 0, 0, nullptr,
                                 notes ? note_call : nullptr, ++made, sub, state, active);
    }
    // Two menus with choices of all kinds; the numbers that they note are behind them.
    void fill_bar() {
        file = addPullDown(bar, "File", 0);
        add(file, "Open");                                       // 1
        add(file, "Gone", pulldown_kind::command, false, false); // 2
        add(file, "Quit");                                       // 3
        play = addPullDown(bar, "Play", 0);
        add(play, "Normal", pulldown_kind::radio, true); // 4
        add(play, "Loop", pulldown_kind::radio);         // 5
        add(play, "Buffer", pulldown_kind::toggle);      // 6
        rates = addSubPullDown();
        add(rates, "Film", pulldown_kind::radio); // 7
        add(rates, "Tape", pulldown_kind::radio); // 8
        add(play, "Rate", pulldown_kind::cascade, false, true, rates);
        demon_draw_message(window);
        run();
    }

    // Runs the event loop until nothing more has happened for a second.
    static void run() {
        static int depth = 0; // loops within loops
        cursor_filter = [](screen_point in, screen_point *out) {
            program_clock::advance_process_us(100'000);
            *out = in;
        };
        enable_timer2_events(bump, gl::ticks_per_second);
        ++depth;
        main_event_loop();
        if (--depth == 0)
            gl::unqdevice(gl::TIMER2);
    }
    static void move_to(int x, int y) {
        display::memory::push_motion({x, screen_height - 1 - y});
        run();
    }
    static void press(bool pressed, int button = display::button_left) {
        display::memory::push_button(button, pressed);
        run();
    }
    static void key(int code) {
        display::memory::push_key(code, true);
        display::memory::push_key(code, false);
        run();
    }
    static void happen(display::event_kind what, display::window_id where) {
        display::event e;
        e.kind = what;
        e.window = where;
        display::memory::push(e);
        run();
    }

    // The switch or choice of that label.
    [[nodiscard]] demon *find(std::string_view label) const {
        for (demon *kid = bar->kids; kid != nullptr; kid = kid->next)
            if (label == as_pulldown_switch(kid)->label.data())
                return kid;
        return find_choice(label);
    }
    static pulldown_choice *find_choice(std::string_view label) {
        for (set_walk walk(Pulldown_Choice_Set); object *o = walk.next();)
            if (auto *choice = static_cast<pulldown_choice *>(o); label == choice->label.data())
                return choice;
        return nullptr;
    }
    // Words: press, release (right_press, ...), a key, outside (of all windows), panel (in the
    // window, beside all), or the label of what the pointer goes to; with > behind it, to the
    // right end of that.
    void act(const std::string &script) {
        std::istringstream words(script);
        for (std::string w; words >> w;)
            act_word(w);
    }
    static std::size_t popups() {
        std::size_t count = 0;
        for (const display::window_id id : display::memory::windows())
            count += display::memory::facts(id).kind == display::window_kind::popup ? 1U : 0U;
        return count;
    }
    static display::window_id window_on_display() {
        for (const display::window_id id : display::memory::windows())
            if (display::memory::facts(id).title == "test")
                return id;
        return 0;
    }
    // Nothing of a menu is left: no window, no filter, no grab of arrow keys or shortcuts.
    static void expect_no_menu() {
        EXPECT_EQ(popups(), 0U);
        EXPECT_EQ(inq_event_filters(), 0U);
        aliasKeystroke('z', 0, note_call, 99);
        called.clear();
        key('z');
        EXPECT_EQ(called, std::vector<word>{99}) << "shortcuts are off";
        called.clear();
        const int x = gl_inq_event()->point.x;
        key(display::key_right);
        EXPECT_EQ(gl_inq_event()->point.x, x + 1) << "arrow keys are taken";
    }

    iris_window_demon *window = nullptr;
    demon *bar = nullptr, *file = nullptr, *play = nullptr, *rates = nullptr;

private:
    void act_word(std::string w) {
        static constexpr std::array<std::pair<std::string_view, int>, 6> keys = {
            {{"Escape", display::key_escape},
             {"Return", display::key_return},
             {"Left", display::key_left},
             {"Right", display::key_right},
             {"Up", display::key_up},
             {"Down", display::key_down}}};
        for (const auto &[name, code] : keys)
            if (name == w)
                return key(code);
        if (w == "press" || w == "release")
            return press(w == "press");
        if (w == "right_press" || w == "right_release")
            return press(w == "right_press", display::button_right);
        if (w == "outside")
            return move_to(1200, 100);
        if (w == "panel")
            return move_to(window->box.x + 400, window->box.y + 50);
        const bool at_end = w.back() == '>';
        if (at_end)
            w.pop_back();
        const demon *d = find(w);
        ASSERT_NE(d, nullptr) << w;
        move_to(at_end ? d->box.x + d->box.width - 10 : d->box.x + 10, d->box.y + 12);
    }

    word made = 0;
};

} // namespace toolkit
