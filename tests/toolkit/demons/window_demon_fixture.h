// Window demons on a display that is not there, whose handlers note what happens.
#pragma once

#include "platform/clock/program_clock.h"
#include "platform/display/display_memory.h"
#include "platform/gl/queue.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/graphics/run_modes.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/system.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>

namespace toolkit {

enum class kind { plain, popped, pushed };
inline constexpr std::array kinds = {kind::plain, kind::popped, kind::pushed};

// What happened, in order; and what handlers do besides noting it.
inline std::string noted;
inline std::function<void()> also;

inline void act() {
    if (also)
        std::exchange(also, nullptr)();
}

inline void act_on_move(object *, object *, const box_move *) {
    act();
}

template <char letter, demon_handler method>
void note(demon *self, object *sender, demon_message *m) {
    noted += letter;
    const demon_ref kept = refer_to_demon(self);
    act();
    if (kept.get() != nullptr)
        method(self, sender, m);
}

inline word note_end(word argument, callback *) {
    noted += static_cast<char>(argument);
    act();
    return 0;
}

inline void send(demon *to, std::uint32_t code, screen_point at = {}, std::int16_t key = 0) {
    demon_message m;
    m.code = code;
    m.point = at;
    m.key = key;
    send_demon_message(to, nullptr, m);
}

inline void point_at(int x, int y) {
    send(inq_demon_god(), msg_pointer_moved,
         {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)});
}

inline std::size_t windows_open() {
    return display::memory::windows().size();
}

struct window_demons : testing::Test {
    static constexpr int screen_height = 1024;

    window_demons() {
        setenv("PLAYER_DISPLAY", "memory", 1);
        gl::gexit();
        program_clock::use_manual_clock(0);
        noted.clear();
        also = nullptr;
        system_init();
    }
    ~window_demons() override {
        also = nullptr;
        setTarnBatchMode(0);
        system_terminate();
        program_clock::use_system_clock();
    }
    window_demons(const window_demons &) = delete;
    window_demons &operator=(const window_demons &) = delete;

    // A window of 200 x 100 pixels whose end is noted by a letter; with a kid, which has one too.
    iris_window_demon *make(kind which, int x = 100, int y = 200, char letter = '!') {
        const auto create = which == kind::plain    ? create_iris_window_demon
                            : which == kind::popped ? create_iris_window_demon_popped
                                                    : create_iris_window_demon_pushed;
        iris_window_demon *made = create(nullptr, x, y, 200, 100, "test", note_end, letter);
        kid = create_generic_demon(nullptr, 60, 40, nullptr);
        set_demon(kid, made, 10, 10);
        add_demon(kid, made);
        grandkid = create_generic_demon(nullptr, 10, 10, nullptr);
        set_demon(grandkid, kid, 5, 5);
        add_demon(grandkid, kid);
        hidden = create_generic_demon(nullptr, 10, 10, nullptr);
        set_demon(hidden, made, 50, 50);
        add_pop_demon(hidden, made);
        return made;
    }
    iris_window_demon *make_shown(kind which, int x = 100, int y = 200, char letter = '!') {
        iris_window_demon *made = make(which, x, y, letter);
        demon_pop_message(made);
        gl::qreset();
        return made;
    }
    static display::window_id on_display(const demon *d) {
        for (const display::window_id id : display::memory::windows()) {
            const auto area = display::memory::facts(id).area;
            if (area.x == d->box.x && area.y == screen_height - d->box.y - d->box.height)
                return id;
        }
        return 0;
    }
    static void happen(display::event_kind what, display::window_id where,
                       display::rectangle area = {}) {
        display::event e;
        e.kind = what;
        e.window = where;
        e.area = area;
        display::memory::push(e);
        EXPECT_EQ(dispatch_check_event(-1), 0);
    }
    // All that must hold of a live window demon, whatever was done to it.
    static void check(iris_window_demon *d) {
        const bool is_up = d->list == demon_list::kids;
        EXPECT_EQ(d->popped, is_up ? demon_on : 0);
        EXPECT_EQ(d->parent.get(), inq_demon_god());
        EXPECT_NE(d->list, demon_list::none);
        EXPECT_EQ((d->flags & flag_visible) != 0, is_up);
        if (is_up)
            EXPECT_EQ(gl_get_wid_demon(d->window), d);
        else
            EXPECT_EQ(d->window, no_window);
        do_demon_tree(d->kids, [](demon *k) { EXPECT_EQ(k->window, k->parent.get()->window); });
        do_demon_tree(d->pop_list, [](demon *k) {
            EXPECT_TRUE(k->window == no_window || k->window == k->parent.get()->window);
        });
    }

    generic_demon *kid = nullptr, *grandkid = nullptr, *hidden = nullptr;
};

} // namespace toolkit
