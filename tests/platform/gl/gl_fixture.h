// A fresh memory display and a manual clock for each test of platform/gl.
#pragma once

#include "platform/clock/program_clock.h"
#include "platform/display/display.h"
#include "platform/display/display_memory.h"
#include "platform/gl/queue.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"

#include <gtest/gtest.h>

#include <utility>

namespace gl_test {

inline constexpr std::int64_t tick_us = 1'000'000 / gl::ticks_per_second;

struct gl_fixture : testing::Test {
    gl_fixture() {
        program_clock::use_manual_clock(1'000'000);
        (void)gl::getgdesc(gl::GD_XPMAX); // connects
    }
    ~gl_fixture() override {
        gl::gexit();
        program_clock::use_system_clock();
    }
    gl_fixture(const gl_fixture &) = delete;
    gl_fixture &operator=(const gl_fixture &) = delete;

    // Opens a window and reads away what its opening entered.
    static int open_window(int left, int bottom, int width, int height) {
        gl::prefposition(left, left + width - 1, bottom, bottom + height - 1);
        const int w = gl::winopen("test");
        gl::qreset();
        return w;
    }

    // The display's own window of the newest one opened.
    static display::window_id newest() { return display::memory::windows().back(); }

    static void push(display::event_kind kind, display::window_id window,
                     display::rectangle area = {}) {
        display::event e;
        e.kind = kind;
        e.window = window;
        e.area = area;
        display::memory::push(e);
    }

    static std::pair<gl::device, int> read() {
        short value = 0;
        const gl::device d = gl::qread(&value);
        return {d, value};
    }
};

} // namespace gl_test
