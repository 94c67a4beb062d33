// The Player Tool's window on a display that is not there, used by hands.
#pragma once

#include "platform/display/display_memory.h"
#include "platform/gl/queue.h"
#include "player/play_file.h"
#include "player/player_loop.h"
#include "player/player_window.h"
#include "tests/player/player_fixture.h"
#include "toolkit/demons/cursor_filters.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/objects/object_names.h"
#include "toolkit/widgets/pulldowns.h"

#include <array>
#include <deque>
#include <functional>
#include <string_view>
#include <utility>

namespace player_test {

class window_fixture : public player_fixture {
protected:
    void SetUp() override {
        player_fixture::SetUp();
        build();
    }
    void TearDown() override {
        EXPECT_TRUE(probes.empty() || player::state.quit_requested);
        probes.clear();
        toolkit::cursor_filter = toolkit::null_filter;
        player::destroy_player_tool();
        unsetenv("PLAYER_SCREEN");
        player_fixture::TearDown();
    }

    // An empty player on a new display.
    void build(const char *screen = "1280x1024") {
        player::destroy_player_tool();
        toolkit::system_terminate();
        setenv("PLAYER_SCREEN", screen, 1);
        program_clock::use_manual_clock(0);
        player::state = {};
        player::playback = {};
        player::open_movie = {};
        toolkit::system_init();
        toolkit::init_dialogs();
        ASSERT_EQ(player::build_player_tool(args), 0);
        window = display::memory::windows().back();
        screen_height = gl::getgdesc(gl::GD_YPMAX);
        due_us = 0;
        told.clear();
        probes.clear();
        toolkit::cursor_filter = note_dialog;
        window_drop = player::view.drop;
        player::view.drop = take_probe;
    }
    void load(const movie_plan &plan, const std::string &name = "test.reel") {
        player::state.play_file_name = write_movie(plan, name);
        ASSERT_EQ(player::load_play_file(args, ref), 0);
    }

    // ---- hands: places are pixels from the screen's lower left corner

    void send(display::event_kind kind, int code = 0, bool pressed = false,
              display::rectangle area = {}) {
        display::event e;
        e.kind = kind;
        e.window = window;
        e.code = code;
        e.pressed = pressed;
        e.pointer = {at.x, screen_height - 1 - at.y};
        e.area = area;
        display::memory::push_at(due_us += step_us, e);
    }
    // With a test's clock the toolkit sleeps, and takes what comes first: that is to be nothing
    // which the player's loop looks for itself.
    void wake() {
        send(display::event_kind::key, 'z', false);
        due_us -= step_us;
    }
    void move(toolkit::screen_point to) {
        at = to;
        send(display::event_kind::motion);
    }
    void press(bool down) { send(display::event_kind::button, display::button_left, down); }
    void press_and_release() {
        press(true);
        press(false);
    }
    void click(toolkit::screen_point where) {
        move(where);
        press_and_release();
    }
    void click(const toolkit::demon_ref &widget) { click(middle(widget)); }
    void tap(int code, const std::vector<int> &with = {}) {
        for (const int held : with)
            send(display::event_kind::key, held, true);
        send(display::event_kind::key, code, true);
        send(display::event_kind::key, code, false);
        for (const int held : with)
            send(display::event_kind::key, held, false);
    }
    void type(std::string_view text) {
        for (const char c : text)
            tap(c == ':' ? ';' : c,
                c == ':' ? std::vector<int>{display::key_shift_left} : std::vector<int>{});
    }
    void confirm() { tap(display::key_return); }
    void pause(int ms) { due_us += std::int64_t{ms} * program_clock::us_per_ms; }

    // What the test itself does then, playing or not; not within dialogs.
    void then(std::function<void()> what) {
        probes.push_back(std::move(what));
        wake();
        send(display::event_kind::drop);
    }
    // Lets all that come in.
    void run() {
        then([] { player::state.leave_loop = true; });
        player::player_event_loop(args, ref);
        due_us = std::max(due_us, program_clock::now_us());
    }
    // Chooses it in its menu; the hands then do what is answered to a question.
    void choose(const toolkit::demon_ref &choice, const std::function<void()> &answer = nullptr) {
        const toolkit::demon_ref owner = toolkit::as_pulldown(choice.get()->parent.get())->owner;
        if (toolkit::as_pulldown_choice(owner.get()) != nullptr)
            choose(owner);
        else
            click(owner);
        run();
        click(choice);
        if (answer)
            answer();
        run();
    }
    static std::size_t windows_titled(std::string_view title) {
        std::size_t count = 0;
        for (const display::window_id each : display::memory::windows())
            count += display::memory::facts(each).title == title ? 1U : 0U;
        return count;
    }

    // ---- what is there

    static toolkit::screen_point middle(const toolkit::demon_ref &widget) {
        const toolkit::screen_box &box = widget.get()->box;
        return {static_cast<std::int16_t>(box.x + box.width / 2),
                static_cast<std::int16_t>(box.y + box.height / 2)};
    }
    static const toolkit::demon_ref &button(player::transport which) {
        return player::player_tool.buttons[static_cast<std::size_t>(which)];
    }
    static bool is_active(const toolkit::demon_ref &choice) {
        return toolkit::as_pulldown_choice(choice.get())->active != 0;
    }
    static bool is_checked(const toolkit::demon_ref &choice) {
        return toolkit::as_pulldown_choice(choice.get())->state != 0;
    }
    static std::string label_of(const toolkit::demon_ref &choice) {
        return toolkit::as_pulldown_choice(choice.get())->label.data();
    }
    static std::string text_of(const toolkit::demon_ref &widget) {
        toolkit::widget_value value;
        toolkit::getWidgetValue(widget.get(), &value);
        return std::string(value.text);
    }
    static int number_of(const toolkit::demon_ref &widget) {
        toolkit::widget_value value;
        toolkit::getWidgetValue(widget.get(), &value);
        return static_cast<int>(value.number);
    }
    // The pixel x, y pixels from the lower left corner, 0xAABBGGRR.
    static std::uint32_t seen(const display::memory::shown_picture &p, int x, int y) {
        if (x < 0 || x >= p.width || y < 0 || y >= p.height)
            return 0xDEAD;
        const std::uint32_t rgb =
            p.pixels[static_cast<std::size_t>((p.height - 1 - y) * p.width + x)];
        return (rgb & 0xFF) << 16 | (rgb & 0xFF00) | (rgb >> 16 & 0xFF);
    }
    // The whole picture, to its corners and not beyond, shows a frame to the user.
    void expect_frame(int frame, const std::string &what = "") const {
        const toolkit::screen_box &picture = player::player_tool.picture.get()->box;
        const toolkit::screen_box &in = player::player_tool.window.get()->box;
        const int left = picture.x - in.x;
        const int low = picture.y - in.y;
        const int right = left + picture.width - 1;
        const int high = low + picture.height - 1;
        const std::uint32_t colour = frame_colour(frame);
        const auto shown = display::memory::picture(window);
        for (const auto &[x, y] : {std::pair{left, low}, {right, low}, {left, high}, {right, high}})
            EXPECT_EQ(seen(shown, x, y), colour) << what << " at " << x << " " << y;
        for (const auto &[x, y] :
             {std::pair{left - 1, low}, {right + 1, low}, {left, low - 1}, {left, high + 1}})
            EXPECT_NE(seen(shown, x, y), colour) << what << " beside " << x << " " << y;
    }
    // The text of the message or question that keys go to; "" when there is none.
    static std::string dialog_text() {
        constexpr std::string_view start = "Yes/No: ";
        std::array<char, toolkit::object_name_size> name{};
        toolkit::get_name_of_object(toolkit::inq_event_receiver(toolkit::input_keyboard),
                                    name.data());
        const std::string_view text = name.data();
        return std::string(text.starts_with(start) ? text.substr(start.size()) : "");
    }

    display::window_id window = 0;
    int screen_height = 0;
    toolkit::screen_point at{5, 5};
    std::int64_t due_us = 0;
    std::int64_t step_us = 20'000;  // between what the hands do
    static inline std::string told; // by dialogs, one behind the other

private:
    static void note_dialog(toolkit::screen_point in, toolkit::screen_point *out) {
        program_clock::advance_process_us(100'000); // the cursor rests soon
        *out = in;
        const std::string now = dialog_text();
        if (!now.empty() && !told.ends_with(now))
            told += now;
    }
    // Hands drop files that have no name.
    static void take_probe(int which) {
        if (*gl::dropped_file() != 0 || probes.empty()) {
            window_drop(which);
            return;
        }
        const auto probe = std::move(probes.front());
        probes.pop_front();
        probe();
    }

    static inline std::deque<std::function<void()>> probes;
    static inline void (*window_drop)(int) = nullptr;
};

} // namespace player_test
