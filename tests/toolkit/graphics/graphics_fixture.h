// Toolkit windows on a display that is not there, owned by demons that only note what they are
// told.
#pragma once

#include "platform/clock/program_clock.h"
#include "platform/display/display_memory.h"
#include "platform/gl/drawing.h"
#include "platform/gl/pixels.h"
#include "platform/gl/queue.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "toolkit/graphics/colours.h"
#include "toolkit/graphics/run_modes.h"
#include "toolkit/graphics/saved_rects.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/objects/object_model.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

namespace toolkit {

struct noting_demon : object {
    screen_box box;
    int destroyed;
    int drawn;
};

// What the newest fixture's demons and hooks do beyond noting.
struct graphics_script {
    object *god = nullptr;
    int inits = 0;
    int questions = 0;
    int answer = toolkit_false;
    std::function<void(noting_demon *)> on_destroy = [](noting_demon *) {};
    std::function<void()> on_question = [] {};
};
inline graphics_script script;

class graphics_fixture : public testing::Test {
protected:
    static constexpr int screen_height = 1024;

    graphics_fixture() {
        setenv("PLAYER_DISPLAY", "memory", 1);
        gl::gexit();
        program_clock::use_manual_clock(0);
        script = {};
        object_class *cls = derive_object_class(inq_object_class(), "noting demon");
        set_method<destroy>(cls, msg_destroy);
        demons = create_set_of<noting_demon>(4, 1, cls);
        set_window_hooks({.set_demon_god = [](object *d) { script.god = d; },
                          .demon_box = [](object *d) { return own(d)->box; },
                          .move_demon = move,
                          .draw_demon = [](object *d) { own(d)->drawn++; },
                          .gl_input_init = [] { script.inits++; },
                          .ask_yes_no = ask});
    }
    ~graphics_fixture() override {
        script = {};
        script.on_destroy = [](noting_demon *d) { delete_object(d); };
        gl_free_window_table();
        gl_delete_all_rects();
        gl_free_color_maps();
        set_quit_function(nullptr, 0);
        setTarnBatchMode(0);
        terminate_objects();
        gl::gexit();
        program_clock::use_system_clock();
    }
    graphics_fixture(const graphics_fixture &) = delete;
    graphics_fixture &operator=(const graphics_fixture &) = delete;

    noting_demon *make_demon(screen_box box = {100, 200, 60, 40}) {
        auto *d = create_object_of<noting_demon>(demons);
        d->box = box;
        return d;
    }
    // Opens a window at a box and reads away what its opening entered.
    int open_window(screen_box box = {100, 200, 60, 40}, bool by_index = false) {
        const int wid = gl_win_open("test", make_demon(box));
        gl_set_win_color_mode(wid, by_index);
        gl::qreset();
        return wid;
    }
    static int gl_window_of(int wid) { return gl_get_window_record(wid)->gl_window; }

    // A pixel of the current window, in the coordinates selected.
    static std::uint32_t pixel(int x, int y) {
        std::array<std::uint32_t, 1> read{};
        gl::lrectread(x, y, x, y, read);
        return read[0];
    }
    // What a fixed colour's pixel holds in the current window.
    static std::uint32_t pixel_of(int index) {
        if (!gl::is_rgb_mode())
            return static_cast<std::uint32_t>(index);
        std::uint32_t colour = 0;
        gl_get_color_map_entry(nullptr, index, &colour);
        return colour >> 24 | (colour >> 8 & 0xFF00U) | (colour << 8 & 0xFF0000U);
    }
    // All pixels of the current window.
    static std::vector<std::uint32_t> picture() {
        int width = 0, height = 0, x = 0, y = 0;
        gl::getsize(&width, &height);
        gl::getorigin(&x, &y);
        std::vector<std::uint32_t> words(static_cast<std::size_t>(width * height));
        gl::pushmatrix();
        gl::screenspace();
        gl::lrectread(x, y, x + width - 1, y + height - 1, words);
        gl::popmatrix();
        return words;
    }

    object_set *demons = nullptr;

private:
    static noting_demon *own(object *d) { return static_cast<noting_demon *>(d); }
    static void destroy(noting_demon *d) {
        d->destroyed++;
        script.on_destroy(d);
    }
    static void move(object *d, int dx, int dy) {
        own(d)->box.x = static_cast<std::int16_t>(own(d)->box.x + dx);
        own(d)->box.y = static_cast<std::int16_t>(own(d)->box.y + dy);
    }
    static int ask(const char *question) {
        EXPECT_STREQ(question, "Do you want to exit? ");
        script.questions++;
        script.on_question();
        return script.answer;
    }
};

} // namespace toolkit
