// A whole linked session in this process. The player runs on the main thread as its main has it, on
// the memory display with the system's clock. The renderer is a thread; it is the user's hands, too:
// what these do, and look at, is done on the main thread, between two events.
#pragma once

#include "platform/display/display_memory.h"
#include "player/player_loop.h"
#include "player/player_window.h"
#include "player/progress_window.h"
#include "player/start_up.h"
#include "tests/player/renderer.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/events/timers.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace player_test {

using demon_ref = toolkit::demon_ref;

class session_fixture : public testing::Test {
protected:
    static constexpr const char *player_title = "Player Tool"; // of its window

    static void SetUpTestSuite() {
        ::setenv("PLAYER_DISPLAY", "memory", 1);
        has_own_namespace();
        toolkit::system_init(); // what stays open from the first time on
        toolkit::system_terminate();
    }
    void TearDown() override { EXPECT_EQ(count_segments(), 0); }

    // Runs a session until the player ends, by a quit when the script is over. Returns what was said
    // on standard error.
    std::string run(const std::function<void(renderer &)> &script) {
        std::string said;
        const std::ptrdiff_t descriptors = count_descriptors();
        {
            renderer parent;
            is_over_ = false;
            patience_ = patience_ms;
            testing::internal::CaptureStderr();
            std::thread thread([&] {
                script(parent);
                quit();
            });
            run_player(parent.port);
            end();
            thread.join();
            said = testing::internal::GetCapturedStderr();
        }
        player::open_movie = {};
        player::playback = {};
        EXPECT_EQ(count_descriptors(), descriptors);
        return said;
    }
    static std::string lost_text() {
        return std::string(player::gMe).append(": The link to the parent is lost.\n");
    }

    // ---- from the renderer's thread

    // Has the main thread do it. False: the player has ended.
    static bool ask(const std::function<void()> &what) {
        std::unique_lock lock(guard_);
        wish_ = &what;
        done_.wait_for(lock, std::chrono::milliseconds(patience_),
                       [] { return wish_ == nullptr || is_over_; });
        return note(std::exchange(wish_, nullptr) == nullptr);
    }
    static bool wait_for(const std::function<bool()> &condition) {
        bool holds = false;
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(patience_);
        while (!holds && std::chrono::steady_clock::now() < end)
            if (!ask([&] { holds = condition(); }))
                return false;
        return note(holds);
    }
    static bool has_ended() {
        std::unique_lock lock(guard_);
        return done_.wait_for(lock, std::chrono::milliseconds(patience_ms),
                              [] { return is_over_; });
    }
    static void click(const demon_ref &widget) {
        ask([&] {
            const toolkit::screen_box &box = widget.get()->box;
            display::memory::push_motion(
                {box.x + box.width / 2, screen_height - 1 - box.y - box.height / 2});
        });
        ask([] { display::memory::push_button(display::button_left, true); });
        ask([] { display::memory::push_button(display::button_left, false); });
    }
    static void close_box(std::string_view title) {
        ask([&] {
            for (const display::window_id each : display::memory::windows()) {
                display::event e;
                e.kind = display::event_kind::close;
                e.window = each;
                if (display::memory::facts(each).title == title)
                    display::memory::push(e);
            }
        });
    }
    static void tap(int code, int with = 0) {
        for (const bool pressed : {true, false})
            ask([&] {
                if (with != 0 && pressed)
                    display::memory::push_key(with, true);
                display::memory::push_key(code, pressed);
                if (with != 0 && !pressed)
                    display::memory::push_key(with, false);
            });
    }
    static bool has_window(std::string_view title) { // on the main thread
        return std::ranges::any_of(display::memory::windows(), [&](display::window_id each) {
            return display::memory::facts(each).title == title;
        });
    }
    static bool is_titled(std::string_view title) {
        bool is = false;
        ask([&] { is = has_window(title); });
        return is;
    }
    static bool is_shown(std::string_view title, bool wanted = true) {
        return wait_for([&] { return has_window(title) == wanted; });
    }
    // What the user sees in the middle of a part, 0xAABBGGRR.
    static std::uint32_t seen(const demon_ref &window, const demon_ref &part) {
        if (window.get() == nullptr || part.get() == nullptr)
            return 0xDEAD;
        const toolkit::screen_box &in = window.get()->box;
        const toolkit::screen_box &box = part.get()->box;
        for (const display::window_id each : display::memory::windows()) {
            const display::rectangle area = display::memory::facts(each).area;
            if (area !=
                display::rectangle{in.x, screen_height - in.y - in.height, in.width, in.height})
                continue;
            const auto p = display::memory::picture(each);
            const int y = p.height - 1 - (box.y - in.y + box.height / 2);
            const std::uint32_t rgb =
                p.pixels[static_cast<std::size_t>(y * p.width + box.x - in.x + box.width / 2)];
            return (rgb & 0xFF) << 16 | (rgb & 0xFF00) | (rgb >> 16 & 0xFF);
        }
        return 0xDEAD;
    }
    static bool shows(const demon_ref &window, const demon_ref &part, int number) {
        return wait_for([&] { return seen(window, part) == frame_colour(number); });
    }
    static bool progress_shows(int number) {
        return shows(player::progress.window, player::progress.picture, number);
    }
    static bool player_shows(int number) {
        return shows(player::player_tool.window, player::player_tool.picture, number);
    }

    static constexpr int screen_height = 1024;

private:
    static void run_player(std::uint16_t port) {
        using namespace player;
        std::string name = "playertool";
        std::string option = ipc::port_option;
        std::string number = std::to_string(port);
        std::array argv{name.data(), option.data(), number.data()};
        state = {};
        clear_player();
        parse_command_line(static_cast<int>(argv.size()), argv.data());
        setup_ipc_stuff(parent_link, playback);
        attach_link_status(parent_link);
        state.session_start_us = program_clock::now_us();
        toolkit::system_init();
        toolkit::init_dialogs();
        toolkit::enable_timer2_events(take_wish, 1);
        if (parent_link.socket > 0) {
            EXPECT_EQ(build_progress_window(playback), 0);
            send_pid(parent_link);
        }
        player_main_loop(0, 0, 0);
    }
    // What has failed once may fail again and again: the test is to end before ctest ends it.
    static bool note(bool has_come) {
        if (!has_come)
            patience_ = 1000;
        return has_come;
    }
    static void take_wish() {
        const std::scoped_lock lock(guard_);
        if (wish_ == nullptr)
            return;
        (*std::exchange(wish_, nullptr))();
        done_.notify_all();
    }
    static void end() {
        const std::scoped_lock lock(guard_);
        is_over_ = true;
        done_.notify_all();
    }
    static void quit() {
        for (int tries = 0; tries < 200 && ask([] { player::state.quit_requested = true; });
             ++tries)
            ::usleep(50'000);
        if (has_ended())
            return;
        std::fputs("the player hangs\n", stdout);
        std::fflush(stdout);
        std::abort();
    }

    static inline std::mutex guard_;
    static inline std::condition_variable done_;
    static inline const std::function<void()> *wish_ = nullptr;
    static inline bool is_over_ = false;
    static inline int patience_ = patience_ms;
};

} // namespace player_test
