// The gallery on a display that is not there: what hands do in it leaves the pictures that it
// should, and a journal of it plays to the same pictures, pixel for pixel.
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

#include <array>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <unistd.h>

namespace gallery {

using namespace toolkit;

// What a run has come to, just before it ended.
struct outcome {
    std::map<std::string, std::vector<std::uint32_t>> pictures; // by the window's title
    std::string first_field, second_field, choice;
    bool chip_is_in_tray = false;
    screen_point carriage, puck;
    bool operator==(const outcome &) const = default;
};

class gallery_test : public testing::Test {
protected:
    static constexpr int screen_height = 1024;
    static constexpr screen_point aside = {4, 4}; // over no window
    static constexpr std::int64_t step_us = 50'000;

    gallery_test() {
        directory = testing::TempDir() + "gallery_test_" + std::to_string(getpid());
        std::filesystem::create_directory(directory);
    }
    ~gallery_test() override {
        system_terminate();
        set_dispatch_hooks({});
        set_start_up_call(nullptr, 0);
        gl::gexit();
        program_clock::use_system_clock();
        std::filesystem::remove_all(directory);
    }

    // Opens the gallery on a new display.
    void begin() {
        setenv("PLAYER_DISPLAY", "memory", 1);
        gl::gexit();
        program_clock::use_manual_clock(0);
        system_init();
        set_dispatch_hooks({.system_terminate = note_outcome});
        set_start_up_call([](word) { cursor_filter = pass_time; }, 0);
        due_us = 0;
        open_windows();
        for (const display::window_id each : display::memory::windows())
            windows[display::memory::facts(each).title] = each;
        at = aside;
    }
    // Opens it, does the things, ends it with the pointer aside.
    outcome run(const std::function<void()> &hands, std::vector<std::string> words = {}) {
        begin();
        hands();
        move(aside);
        key(display::key_escape);
        return play(std::move(words));
    }
    outcome play(std::vector<std::string> words) {
        words.insert(words.begin(), "gallery");
        std::vector<char *> argv;
        for (std::string &word : words)
            argv.push_back(word.data());
        last = {};
        dispatch_play_record(static_cast<int>(argv.size()), argv.data());
        return last;
    }

    // ---- hands

    void send(display::event_kind kind, int code = 0, bool pressed = false,
              const char *window = main_title) {
        display::event e;
        e.kind = kind;
        e.window = windows[window];
        e.code = code;
        e.pressed = pressed;
        e.pointer = {at.x, screen_height - 1 - at.y};
        display::memory::push_at(due_us += step_us, e);
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
    static inline outcome last;

    // Waits need an end: the cursor rests sooner than it would by a clock that stands still.
    static void pass_time(screen_point in, screen_point *out) {
        program_clock::advance_process_us(100'000);
        *out = in;
    }
    static void note_outcome() {
        static_cast<void>(gl::qtest()); // brings what was drawn to the display
        for (const display::window_id each : display::memory::windows())
            last.pictures[display::memory::facts(each).title] =
                display::memory::picture(each).pixels;
        if (const demon *chip = find(name_chip)) {
            last.first_field = text_of_field(find(name_first_field));
            last.second_field = text_of_field(find(name_second_field));
            last.choice = chosen_line();
            const demon *shelf = find(name_tray_shelf);
            last.chip_is_in_tray = chip->parent.get() == shelf && chip->window == shelf->window;
            last.carriage = {find(name_carriage)->box.x, find(name_carriage)->box.y};
            last.puck = {find(name_puck)->box.x, find(name_puck)->box.y};
        }
        system_terminate();
    }
};

TEST_F(gallery_test, what_goes_again_leaves_no_trace) {
    const outcome untouched = run([] {});
    ASSERT_EQ(untouched.pictures.size(), 2U);
    const struct {
        const char *what;
        std::function<void()> hands;
    } rows[] = {
        {"lit demons, one in the other",
         [this] {
             for (const char *each : {name_outer, name_inner, name_puck, name_list_button})
                 move(middle(each));
         }},
        {"a list that pops up over others",
         [this] {
             click(middle(name_list_button));
             move(middle(name_list));
             move(beside(middle(name_list), 0, 40));
         }},
        {"cursors of demons",
         [this] {
             move(middle(name_crosshair));
             move(beside(middle(name_crosshair), 10, 10));
             move(beside(middle(name_crosshair), 150, 0));
             move(beside(middle(name_crosshair), 270, 9));
         }},
        {"a chip that goes to the other window and back",
         [this] {
             const screen_point here = middle(name_chip);
             const screen_box &slot = find(name_chip)->box, &shelf = find(name_tray_shelf)->box;
             // The second slot of the lower row, or near: it rests in the nearest one.
             const screen_point there =
                 beside({shelf.x, shelf.y}, 10 + 58 + slot.width / 2, 10 + slot.height / 2);
             drag(here, beside(there, 9, 6));
             drag(there, beside(here, -3, -5));
         }},
        {"a locked demon, released where it was held",
         [this] {
             drag(middle(name_puck), middle(name_puck));
             drag(corner(name_carriage), corner(name_carriage));
         }},
        {"a window that is closed and shown again",
         [this] {
             move(middle(name_tray_shelf));
             send(display::event_kind::close, 0, false, tray_title);
             click(middle(name_tray_button));
         }},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(run(row.hands) == untouched) << row.what;
}

TEST_F(gallery_test, a_journal_plays_to_the_same_pictures) {
    screen_point carriage, puck;
    const auto hands = [&] {
        carriage = {find(name_carriage)->box.x, find(name_carriage)->box.y};
        puck = {find(name_puck)->box.x, find(name_puck)->box.y};
        drag(middle(name_puck), beside(middle(name_puck), 60, 8), 1); // out of it at once
        drag(corner(name_carriage), beside(corner(name_carriage), 90, -6));
        click(middle(name_list_button));
        click(beside(middle(name_list), 0, 26)); // the second line
        move(middle(name_inner));
        click(middle(name_first_field));
        type("sh01");
        key(display::key_tab);
        type("nx");
        key(display::key_backspace);
        type("o");
        drag(middle(name_chip), middle(name_tray_shelf));
        click(middle(name_first_field));
        move(middle(name_outer));
        type("0");
    };
    const std::string journal = directory + "/journal";
    const outcome recorded = run(hands, {"-r", journal});
    EXPECT_EQ(recorded.first_field, "sh010");
    EXPECT_EQ(recorded.second_field, "no");
    EXPECT_EQ(recorded.choice, "24 frames a second");
    EXPECT_TRUE(recorded.chip_is_in_tray);
    EXPECT_EQ(recorded.carriage, beside(carriage, 90, -6));
    EXPECT_EQ(recorded.puck, beside(puck, 150, 2));
    EXPECT_FALSE(recorded.pictures == run([] {}).pictures);
    if (const char *keep = std::getenv("GALLERY_JOURNAL")) // a new one to be kept
        std::filesystem::copy_file(journal, keep,
                                   std::filesystem::copy_options::overwrite_existing);

    // Also one of another day, which is kept with this test.
    for (const std::string &name : {journal, std::string(KEPT_JOURNAL)}) {
        begin();
        const outcome played = play({"-p", name});
        EXPECT_EQ(played.first_field, recorded.first_field) << name;
        EXPECT_EQ(played.choice, recorded.choice) << name;
        EXPECT_EQ(played.carriage, recorded.carriage) << name;
        EXPECT_TRUE(played == recorded) << name;
    }
}

} // namespace gallery
