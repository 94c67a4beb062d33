// A toolkit that reads events of a display that is not there, by a clock that stands still.
#pragma once

#include "platform/clock/program_clock.h"
#include "platform/display/display_memory.h"
#include "platform/gl/queue.h"
#include "platform/gl/screen.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/timers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <vector>

namespace toolkit {

struct delivered_event {
    int event_class = input_nothing;
    int value = 0;
    screen_point position;
    bool operator==(const delivered_event &) const = default;
};

inline void PrintTo(const delivered_event &e, std::ostream *out) {
    *out << "class " << e.event_class << " value " << e.value << " at " << e.position.x << ","
         << e.position.y;
}

class input_fixture : public testing::Test {
protected:
    static constexpr screen_point start{640, 512};
    static constexpr int screen_height = 1024;

    void SetUp() override {
        setenv("PLAYER_DISPLAY", "memory", 1);
        gl::gexit();
        program_clock::use_manual_clock(0);
        move_pointer(start);
        static_cast<void>(gl::qtest());
        gl_input_init();
        gl::qreset();
        gl_is_Cypress = false;
    }
    void TearDown() override {
        set_window_calls({});
        disable_null_events();
        gl_unconstrain_mouse();
        gl::gexit();
        program_clock::use_system_clock();
    }

    // The hand moves the mouse.
    static void move_pointer(screen_point to) {
        static_cast<void>(display::server());
        display::memory::push_motion({to.x, screen_height - 1 - to.y});
    }

    // Reads one event; `pending` is what gl_event_get returned.
    delivered_event read(int wait = 0) {
        std::int16_t event_class = -1;
        std::int16_t value = -1;
        delivered_event e;
        pending = gl_event_get(&event_class, &value, &e.position, wait, &play_file, record_file);
        e.event_class = event_class;
        e.value = value;
        return e;
    }

    // Enters an entry in the queue and reads what becomes of it.
    delivered_event enter(gl::device d, short value = 1) {
        gl::qenter(d, value);
        return read();
    }
    int typed(gl::device d, short value = 1) {
        const delivered_event e = enter(d, value);
        return e.event_class == input_keyboard ? e.value : 0;
    }

    int pending = 0;
    std::FILE *play_file = nullptr;
    std::FILE *record_file = nullptr;
};

} // namespace toolkit
