// Hands that use the pages of the gallery, on a display that is not there.
#pragma once

#include "examples/gallery.h"
#include "platform/clock/program_clock.h"
#include "platform/display/display_memory.h"
#include "platform/gl/queue.h"
#include "platform/gl/screen.h"
#include "toolkit/demons/cursor_filters.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/objects/object_names.h"
#include "toolkit/system.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace gallery {

using namespace toolkit;

class gallery_fixture : public testing::Test {
protected:
    static constexpr int screen_height = 1024;
    static constexpr std::int64_t step_us = 50'000;

    gallery_fixture() {
        directory = testing::TempDir() + "gallery_test_" + std::to_string(getpid());
        std::filesystem::remove_all(directory); // of a test that was killed
        std::filesystem::create_directory(directory);
    }
    ~gallery_fixture() override {
        system_terminate();
        set_dispatch_hooks({});
        set_start_up_call(nullptr, 0);
        gl::gexit();
        program_clock::use_system_clock();
        std::filesystem::remove_all(directory);
    }
    gallery_fixture(const gallery_fixture &) = delete;
    gallery_fixture &operator=(const gallery_fixture &) = delete;

    // Opens pages on a new display; `noted` is called as the run ends, in place of
    // system_terminate.
    void open_display(void (*open_pages)(), void (*noted)()) {
        setenv("PLAYER_DISPLAY", "memory", 1);
        gl::gexit();
        program_clock::use_manual_clock(0);
        system_init();
        set_dispatch_hooks({.system_terminate = noted});
        set_start_up_call([](word) { cursor_filter = pass_time; }, 0);
        due_us = 0;
        windows.clear();
        open_pages();
        for (const display::window_id each : display::memory::windows())
            windows[display::memory::facts(each).title] = each;
    }
    static void dispatch(std::vector<std::string> words) {
        words.insert(words.begin(), "gallery");
        std::vector<char *> argv;
        for (std::string &word : words)
            argv.push_back(word.data());
        dispatch_play_record(static_cast<int>(argv.size()), argv.data());
    }
    // A new journal to be kept, where the environment's variable says.
    static void keep_journal(const std::string &journal, const char *variable) {
        if (const char *keep = std::getenv(variable))
            std::filesystem::copy_file(journal, keep,
                                       std::filesystem::copy_options::overwrite_existing);
    }
    using pictures_by_title = std::map<std::string, std::vector<std::uint32_t>>;
    static pictures_by_title take_pictures() {
        static_cast<void>(gl::qtest()); // brings what was drawn to the display
        pictures_by_title pictures;
        for (const display::window_id each : display::memory::windows())
            pictures[display::memory::facts(each).title] = display::memory::picture(each).pixels;
        return pictures;
    }

    // ---- hands

    void send_to(display::window_id window, display::event_kind kind, int code = 0,
                 bool pressed = false) {
        display::event e;
        e.kind = kind;
        e.window = window;
        e.code = code;
        e.pressed = pressed;
        e.pointer = {at.x, screen_height - 1 - at.y};
        display::memory::push_at(due_us += step_us, e);
    }
    void send(display::event_kind kind, int code = 0, bool pressed = false) {
        send_to(windows.begin()->second, kind, code, pressed);
    }
    // As hands do, not in one jump: a demon is entered by one move, what is in it by the next.
    void move(screen_point to) {
        for (const int away : {1, 0}) {
            at = beside(to, away, away);
            send(display::event_kind::motion);
        }
    }
    void press(bool down) { send(display::event_kind::button, display::button_left, down); }
    void click(screen_point where) {
        move(where);
        press(true);
        press(false);
    }
    void drag(screen_point from, screen_point to, int parts = 4) {
        move(from);
        press(true);
        for (int part = 1; part <= parts; ++part)
            move(beside(from, (to.x - from.x) * part / parts, (to.y - from.y) * part / parts));
        press(false);
    }
    void key(int code) {
        send(display::event_kind::key, code, true);
        send(display::event_kind::key, code, false);
    }
    void type(const char *text) {
        for (; *text != '\0'; ++text)
            key(*text);
    }
    static demon *find(const char *name) { return static_cast<demon *>(get_named_object(name)); }
    static screen_point middle(const char *name) {
        const screen_box &box = find(name)->box;
        return {clamp_16(box.x + box.width / 2), clamp_16(box.y + box.height / 2)};
    }
    static screen_point corner(const char *name) { // inside it, beside what it holds
        return {clamp_16(find(name)->box.x + 4), clamp_16(find(name)->box.y + 4)};
    }
    static screen_point beside(screen_point p, int dx, int dy) {
        return {clamp_16(p.x + dx), clamp_16(p.y + dy)};
    }

    std::string directory;
    std::int64_t due_us = 0;
    screen_point at;
    std::map<std::string, display::window_id> windows;

private:
    // Waits need an end: the cursor rests sooner than it would by a clock that stands still.
    static void pass_time(screen_point in, screen_point *out) {
        program_clock::advance_process_us(100'000);
        *out = in;
    }
};

} // namespace gallery
