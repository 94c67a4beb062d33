// What the window's menus, buttons and fields do when hands use them.
#include "platform/gl/windows.h"
#include "player/start_up.h"
#include "tests/player/window_fixture.h"

#include "toolkit/text/smpte.h"

namespace {

using namespace player;
using toolkit::demon_ref;

class player_window_test : public player_test::window_fixture {
protected:
    // "30" for the rate that is checked alone, by its place in the menu.
    static std::string checked_rates() {
        std::string checked;
        for (std::size_t i = 0; i < rate_choice_count; ++i)
            if (is_checked(player_tool.rates[i]))
                checked += static_cast<char>('0' + i);
        return checked;
    }
    static const demon_ref &rate(rate_choice which) {
        return player_tool.rates[static_cast<std::size_t>(which)];
    }
    // Save As, Zoom Up, Zoom Down and Restore: which can be chosen.
    static std::string active() {
        std::string letters;
        for (const auto &[choice, letter] : {std::pair{&player_tool.save_as, 's'},
                                             {&player_tool.zoom_up, 'u'},
                                             {&player_tool.zoom_down, 'd'},
                                             {&player_tool.restore, 'r'}})
            if (is_active(*choice))
                letters += letter;
        return letters;
    }
};

TEST_F(player_window_test, the_playback_menu_sets_mode_and_rate) {
    load({.frames = 5, .rate = 24});
    EXPECT_EQ(checked_rates(), "2");
    for (const std::int32_t mode : {mode_loop, mode_swing, mode_normal}) {
        state.swing_returning = true;
        choose(player_tool.modes[static_cast<std::size_t>(mode)]);
        EXPECT_EQ(args.mode, mode);
        EXPECT_EQ(state.swing_returning, mode != mode_swing);
        for (std::size_t i = 0; i < player_tool.modes.size(); ++i)
            EXPECT_EQ(is_checked(player_tool.modes[i]), static_cast<std::int32_t>(i) == mode);
    }
    for (const auto &[which, value] : {std::pair{rate_choice::ntsc, 30.0F},
                                       {rate_choice::every_frame, 0.0F},
                                       {rate_choice::pal, 25.0F},
                                       {rate_choice::film, 24.0F}}) {
        choose(rate(which));
        EXPECT_EQ(args.rate, value);
        EXPECT_EQ(checked_rates(),
                  std::string(1, static_cast<char>('0' + static_cast<int>(which))));
    }
}

TEST_F(player_window_test, the_menu_has_the_mode_that_the_environment_asks_for) {
    load({.frames = 5});
    setenv("PLAYER_AUTOPLAY", "swing", 1);
    start_autoplay(args, ref);
    unsetenv("PLAYER_AUTOPLAY");
    EXPECT_TRUE(state.playing);
    EXPECT_TRUE(is_checked(player_tool.modes[mode_swing]));
    EXPECT_FALSE(is_checked(player_tool.modes[mode_normal]));
    tap(' '), tap('l');
    run();
    EXPECT_EQ(args.mode, mode_normal);
}

TEST_F(player_window_test, other_rates_are_custom_ones) {
    struct row {
        const char *typed; // null: the question is left by Escape; "": what stands there is taken
        float rate;
        const char *label, *checked;
    };
    EXPECT_EQ(label_of(rate(rate_choice::custom)), "Custom (10)...");
    for (const row &r : std::vector<row>{{nullptr, 30, "Custom (10)...", "0"},
                                         {"", 10, "Custom (10)...", "3"},
                                         {"0", 1, "Custom (1)...", "3"},
                                         {"48", 48, "Custom (48)...", "3"},
                                         {"2147483647", 0x1p31F, "Custom (2147483647)...", "3"},
                                         {"25", 25, "Custom (25)...", "1"}}) {
        told.clear();
        choose(rate(rate_choice::custom), [&] {
            if (r.typed == nullptr) {
                tap(display::key_escape);
                return;
            }
            type(r.typed);
            confirm();
        });
        const std::string what = r.label;
        EXPECT_EQ(told, "Frame Rate:") << what;
        EXPECT_EQ(args.rate, r.rate) << what;
        EXPECT_EQ(label_of(rate(rate_choice::custom)), r.label);
        EXPECT_EQ(checked_rates(), r.checked) << what;
    }
    load({.rate = 12});
    EXPECT_EQ(args.rate, 12.0F);
    EXPECT_EQ(checked_rates(), "3");
}

TEST_F(player_window_test, zooms_end_where_the_screen_does) {
    EXPECT_EQ(active(), "");
    load({.width = 640, .height = 480});
    struct row {
        const demon_ref *choice;
        int zoom;
        const char *active;
    };
    for (const row &r : {row{&player_tool.zoom_up, 2, "sdr"}, row{&player_tool.zoom_down, 1, "su"},
                         row{&player_tool.zoom_up, 2, "sdr"}, row{&player_tool.restore, 1, "su"}}) {
        choose(*r.choice);
        EXPECT_EQ(args.zoom, r.zoom);
        EXPECT_EQ(active(), r.active);
        EXPECT_EQ(player_tool.picture.get()->box.width, r.zoom == 1 ? 640 : 1065);
        EXPECT_EQ(text_of(player_tool.label), format_movie_label(args));
        expect_frame(0, r.active);
    }
    tap('='), tap('='); // "=" is not "+"
    tap('=', {display::key_shift_left}), tap('=', {display::key_shift_left});
    run();
    EXPECT_EQ(args.zoom, 2) << "there is no room for a third";
    EXPECT_EQ(active(), "sdr");
    load({.width = 64, .height = 48}); // covers what the picture before did
    EXPECT_EQ(args.zoom, 20);
    EXPECT_EQ(active(), "sudr");
    state.play_file_name = folder + "/none.reel";
    confirm();
    testing::internal::CaptureStderr();
    EXPECT_EQ(load_play_file(args, ref), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(active(), "");
    EXPECT_EQ(text_of(player_tool.label), "--- no segment loaded ---");
    EXPECT_EQ(display::memory::facts(window).title, "Player Tool");
}

TEST_F(player_window_test, each_button_works_its_transport) {
    struct row {
        transport which;
        int direction; // 0: it does not play
        int current;
    };
    for (const row &r : {row{transport::reverse, direction_reverse, 5},
                         row{transport::fast_reverse, direction_fast_reverse, 5},
                         row{transport::fast_forward, direction_fast_forward, 0},
                         row{transport::play, direction_forward, 5}, row{transport::stop, 0, 5},
                         row{transport::step_back, 0, 4}, row{transport::step_forward, 0, 6}}) {
        build();
        load({.frames = 10});
        args.current = 5;
        view.show_position(args);
        show_frame(args, ref);
        const std::string what = std::to_string(static_cast<int>(r.which)).append(" is the button");
        move(middle(button(r.which)));
        press(true);
        then([&] { EXPECT_FALSE(state.playing) << what; });
        press(false);
        step_us = 0;
        then([&] {
            EXPECT_EQ(state.playing, r.direction != 0) << what;
            EXPECT_EQ(args.current, r.current) << what;
        });
        step_us = 20'000;
        run();
        if (r.direction != 0) {
            EXPECT_EQ(args.direction, r.direction) << what;
        }
        EXPECT_EQ(number_of(player_tool.time), args.current) << what;
        EXPECT_EQ(number_of(player_tool.slider), args.current) << what;
        expect_frame(args.current, what);
    }
}

TEST_F(player_window_test, playing_and_stopping_need_no_pointer_that_moves) {
    load({.frames = 10});
    set_mode(args, mode_loop);
    const auto expect = [this](bool playing, const char *what) {
        then([=] { EXPECT_EQ(state.playing, playing) << what; });
    };
    click(button(transport::play));
    expect(true, "play");
    pause(200);
    click(button(transport::reverse)); // only stop is listened to
    expect(true, "not stopped");
    then([this] { EXPECT_EQ(args.direction, direction_forward); });
    click(button(transport::stop));
    expect(false, "stop");
    press_and_release();
    expect(false, "stop again");
    click(button(transport::play));
    expect(true, "play again");
    tap(' ');
    expect(false, "space");
    press_and_release(); // still on Play
    expect(true, "without having moved");
    tap(' '), tap(' ');
    expect(true, "space twice");
    tap(' ');
    run();
    EXPECT_FALSE(state.playing);
    set_mode(args, mode_normal);
    args.current = 8;
    press_and_release(); // to the end
    pause(1'000);
    expect(false, "the end");
    press_and_release(); // from the first frame
    expect(true, "from the first");
    run();
}

TEST_F(player_window_test, the_slider_shows_each_frame_that_it_is_dragged_over) {
    load({.frames = 11, .width = 320, .height = 240});
    const toolkit::screen_box &box = player_tool.slider.get()->box;
    const auto place = [&](int frame) { // the middle of its knob
        return toolkit::screen_point{
            static_cast<std::int16_t>(box.x + 7 + ((box.width - 14) * frame + 9) / 10),
            static_cast<std::int16_t>(box.y + 5)};
    };
    move(place(0));
    press(true);
    for (const int frame : {1, 2, 5, 10, 4}) {
        move(place(frame));
        wake(); // while the pointer moves, the toolkit asks for its place when nothing else comes
        due_us += step_us;
        then([this, frame] {
            EXPECT_EQ(args.current, frame);
            EXPECT_EQ(number_of(player_tool.time), frame);
            expect_frame(frame);
        });
    }
    press(false);
    move(place(9));
    run();
    EXPECT_EQ(args.current, 4);
}

TEST_F(player_window_test, the_time_field_takes_frames_that_there_are) {
    load({.frames = 50});
    toolkit::set_smpte_frame_rate(30);
    struct row {
        const char *typed;
        int current;
        const char *text;
    };
    for (const row &r : std::vector<row>{{"1:5", 35, "00:00:01:05"},
                                         {"7", 7, "00:00:00:07"},
                                         {"2:0", 7, "00:00:00:07"},
                                         {"::", 7, "00:00:00:07"},
                                         {"49", 49, "00:00:01:19"}}) {
        click(player_tool.time);
        tap(display::key_end); // of what stands there
        tap('a', {display::key_control_left});
        type(r.typed);
        then([] { EXPECT_FALSE(state.playing) << "what is typed works nothing else"; });
        confirm();
        run();
        EXPECT_EQ(args.current, r.current) << r.typed;
        EXPECT_EQ(number_of(player_tool.slider), r.current) << r.typed;
        EXPECT_EQ(text_of(player_tool.time), r.text) << r.typed;
        expect_frame(r.current, r.typed);
    }
    tap(','); // the keys are the player's again
    run();
    EXPECT_EQ(args.current, 48);
}

TEST_F(player_window_test, both_buffers_hold_the_picture) {
    load({.frames = 3, .width = 320, .height = 240});
    for (const bool on : {true, false, true}) {
        choose(player_tool.double_buffer);
        EXPECT_EQ(args.double_buffer != 0, on);
        EXPECT_EQ(is_checked(player_tool.double_buffer), on);
        view.make_current();
        EXPECT_EQ(gl::is_double_buffered(), on);
        expect_frame(args.current);
        if (on)
            gl::swapbuffers();
        expect_frame(args.current, "after swapping");
        tap('.');
        run();
        expect_frame(args.current, "after a step");
    }
    EXPECT_EQ(args.current, 2);
}

TEST_F(player_window_test, without_a_movie_only_the_menu_bar_is_alive) {
    const auto inside = [] { return player_tool.window.get()->box_in_child; };
    move(middle(button(transport::play)));
    press_and_release();
    run();
    EXPECT_EQ(inside(), nullptr);
    move(middle(player_tool.menu_bar));
    run();
    EXPECT_EQ(inside(), player_tool.menu_bar.get());
    move(middle(player_tool.time));
    run();
    EXPECT_EQ(inside(), nullptr);
    load({.frames = 3});
    move(middle(button(transport::play)));
    run();
    EXPECT_EQ(inside(), player_tool.controls.get());
    state.play_file_name = folder + "/none.reel";
    confirm();
    testing::internal::CaptureStderr();
    EXPECT_EQ(load_play_file(args, ref), -1);
    testing::internal::GetCapturedStderr();
    move(middle(player_tool.slider));
    run();
    EXPECT_EQ(inside(), nullptr) << "the movie has gone under the pointer";
}

TEST_F(player_window_test, files_are_opened_and_saved_by_their_tools) {
    const auto tool_opens = [this](int key) {
        const std::size_t before = windows_titled("File Tool");
        tap(key, {display::key_control_left});
        run();
        return windows_titled("File Tool") > before;
    };
    EXPECT_FALSE(tool_opens('s')) << "there is nothing to save";
    EXPECT_TRUE(tool_opens('o'));
    const std::string movie = write_movie({.frames = 4}, "walk.reel");
    toolkit::setWidgetValue(player_tool.load_file_tool.get(), movie.c_str()); // as accepting does
    EXPECT_STREQ(args.name.data(), "walk.reel");
    EXPECT_TRUE(tool_opens('s'));
    const std::string copy = folder + "/copy.reel";
    toolkit::setWidgetValue(player_tool.save_file_tool.get(), copy.c_str());
    EXPECT_STREQ(args.name.data(), "copy.reel");
    EXPECT_EQ(std::filesystem::file_size(copy), std::filesystem::file_size(movie));
    build();
    choose(player_tool.open);
    EXPECT_EQ(windows_titled("File Tool"), 1U);
    load({});
    choose(player_tool.save_as);
    EXPECT_EQ(windows_titled("File Tool"), 2U);
    choose(player_tool.quit);
    EXPECT_TRUE(state.quit_requested);
}

TEST_F(player_window_test, the_version_is_told) {
    tap('v', {display::key_alt_left, display::key_control_left, display::key_shift_left});
    confirm();
    tap('v', {display::key_control_left});
    run();
    EXPECT_EQ(told, "You are running Player Tool Version 2.0");
    EXPECT_EQ(windows_titled("Message"), 0U);
}

TEST_F(player_window_test, labels_name_size_scale_and_zoom) {
    struct row {
        const char *name;
        int width, height, orig_width, orig_height, zoom;
        const char *label;
    };
    for (const row &r : std::vector<row>{
             {"walk", 64, 48, 64, 48, 1, "walk    (64 x 48) "},
             {"", 64, 48, 67, 51, 1, "<no name>    (64 x 48) "},
             {"walk", 64, 48, 68, 48, 1, "walk    (64 x 48) of (68x48) "},
             {"walk", 64, 48, 64, 52, 3, "walk    (64 x 48) of (64x52) x 3.0"},
             {"walk", 64, 48, 64, 48, 12, "walk    (64 x 48) x 12.0"},
         }) {
        set_movie_name(args, r.name);
        args.width = r.width, args.height = r.height, args.zoom = r.zoom;
        args.orig_width = r.orig_width, args.orig_height = r.orig_height;
        EXPECT_EQ(format_movie_label(args), r.label);
    }
}

} // namespace
