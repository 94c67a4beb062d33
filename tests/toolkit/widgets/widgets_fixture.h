// Widgets in a window of a display that is not there, used by hands.
#pragma once

#include "platform/clock/program_clock.h"
#include "platform/display/display_memory.h"
#include "platform/gl/queue.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "toolkit/demons/cursor_filters.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/system.h"
#include "toolkit/widgets/controls.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace toolkit {

class widgets_fixture : public testing::Test {
protected:
    static constexpr int screen_height = 1024;
    static constexpr screen_box window_box = {100, 200, 400, 300};

    // What functions of widgets have noted, in order; and what the next one does besides.
    static inline std::string noted;
    static inline std::function<void()> also;
    static void note(word argument) {
        noted += static_cast<char>(argument);
        if (also)
            std::exchange(also, nullptr)();
    }

    widgets_fixture() {
        setenv("PLAYER_DISPLAY", "memory", 1);
        noted.clear();
        also = nullptr;
        open_window();
    }
    ~widgets_fixture() override {
        also = nullptr;
        setTarnBatchMode(0);
        system_terminate();
        cursor_filter = null_filter;
        gl::gexit();
        program_clock::use_system_clock();
    }
    widgets_fixture(const widgets_fixture &) = delete;
    widgets_fixture &operator=(const widgets_fixture &) = delete;

    // The window, on a new display: when it closes, what still was to come in for it is lost, and
    // the display then. A key ends what `run` began.
    void open_window() {
        system_terminate();
        gl::gexit();
        program_clock::use_manual_clock(0);
        due_us = 0;
        system_init();
        static_cast<generic_demon *>(inq_demon_god())->on.keystroke =
            [](demon *, object *, demon_message *) { bump(); };
        window = addWindow(window_box.x, window_box.y, window_box.width, window_box.height, "test",
                           note, '!');
        on_display = display::memory::windows().back();
    }

    // ---- hands: places are pixels from the window's lower left corner

    void send(display::event_kind kind, int code = 0, bool pressed = false) {
        display::event e;
        e.kind = kind;
        e.window = on_display;
        e.code = code;
        e.pressed = pressed;
        e.pointer = {at.x, screen_height - 1 - at.y};
        display::memory::push_at(due_us += step_us, e);
    }
    void move(int x, int y) {
        for (const int away : {1, 0}) {
            at = {static_cast<std::int16_t>(window_box.x + x + away),
                  static_cast<std::int16_t>(window_box.y + y)};
            send(display::event_kind::motion);
        }
    }
    void press() { send(display::event_kind::button, display::button_left, true); }
    void release() { send(display::event_kind::button, display::button_left, false); }
    void click(int x, int y) {
        move(x, y);
        press();
        release();
    }
    void wheel(int code) {
        send(display::event_kind::button, code, true);
        send(display::event_kind::button, code, false);
    }
    // Lets all that come in.
    void run() {
        due_us += 2 * step_us;
        send(display::event_kind::key, 'q', true);
        send(display::event_kind::key, 'q', false);
        cursor_filter = [](screen_point in, screen_point *out) {
            program_clock::advance_process_us(100'000); // the cursor rests soon
            *out = in;
        };
        main_event_loop();
        due_us = std::max(due_us, program_clock::now_us());
    }
    std::string after(const std::function<void()> &hands) {
        noted.clear();
        hands();
        run();
        return noted;
    }

    static float number_of(demon *widget) {
        widget_value value;
        getWidgetValue(widget, &value);
        return value.number;
    }
    static std::string text_of(demon *widget) {
        widget_value value;
        getWidgetValue(widget, &value);
        return std::string(value.text);
    }
    // What a user sees of a box of the window.
    [[nodiscard]] std::vector<std::uint32_t> picture(const screen_box &box) const {
        gl::flush_windows();
        const auto all = display::memory::picture(on_display);
        std::vector<std::uint32_t> part;
        for (int y = box.y; y < box.y + box.height; ++y)
            for (int x = box.x; x < box.x + box.width; ++x)
                part.push_back(
                    all.pixels[static_cast<std::size_t>((all.height - 1 - y) * all.width + x)]);
        return part;
    }

    demon *window = nullptr;
    display::window_id on_display = 0;
    screen_point at;
    std::int64_t due_us = 0;
    std::int64_t step_us = 50'000; // between what the hands do
};

} // namespace toolkit
