#include "tests/toolkit/demons/dispatch_fixture.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace toolkit {

class dispatch_test : public dispatch_fixture {
protected:
    void SetUp() override {
        dispatch_fixture::SetUp();
        directory = testing::TempDir() + "dispatch_test_" + std::to_string(getpid());
        std::filesystem::remove_all(directory); // of a test that was killed
        std::filesystem::create_directory(directory);
        happened.clear();
    }
    void TearDown() override {
        std::filesystem::remove_all(directory);
        dispatch_fixture::TearDown();
    }
    [[nodiscard]] std::string path(const char *name) const { return directory + "/" + name; }
    static std::string contents(const std::string &name) {
        std::stringstream text;
        text << std::ifstream(name).rdbuf();
        return text.str();
    }
    // What a run says on standard output, standard error.
    using output = std::pair<std::string, std::string>;
    static output run(std::vector<std::string> words) {
        std::vector<char *> argv;
        for (std::string &w : words)
            argv.push_back(w.data());
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        dispatch_play_record(static_cast<int>(argv.size()), argv.data());
        std::fflush(stdout);
        return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
    }
    // Keys call the function; 'q' bumps.
    static void obey_keys(const std::function<void(int key)> &also) {
        on_message = [also](demon *, demon_message *m) {
            if (m->code != msg_key)
                return;
            also(m->key);
            if (m->key == 'q')
                bump();
        };
    }
    static inline std::string happened; // in this order
    std::string directory;
};

TEST_F(dispatch_test, input_is_translated_by_class_and_value) {
    cursor_filter = [](screen_point in, screen_point *out) {
        *out = {static_cast<std::int16_t>(in.x + 1), in.y};
    };
    struct {
        std::int16_t input_class, value;
        std::uint32_t code; // msg_none: nothing to deliver
        screen_point from, to;
    } const rows[] = {
        {1, 0, 45, {3, 4}, {9, 4}},    {1, 0, 36, {9, 4}, {9, 4}},   {2, 'x', 48, {3, 4}, {9, 4}},
        {2, 1003, 48, {9, 4}, {9, 4}}, {4, 'a', 38, {3, 4}, {9, 4}}, {4, 'A', 37, {9, 4}, {9, 4}},
        {4, 'b', 40, {3, 4}, {9, 4}},  {4, 'B', 39, {3, 4}, {9, 4}}, {4, 'c', 42, {3, 4}, {9, 4}},
        {4, 'C', 41, {3, 4}, {9, 4}},  {4, 'D', 56, {3, 4}, {9, 4}}, {4, 'E', 57, {3, 4}, {9, 4}},
        {4, 'F', 58, {3, 4}, {9, 4}},  {4, 'x', 36, {3, 4}, {9, 4}}, {4, 0, 36, {3, 4}, {9, 4}},
        {8, 0, 36, {3, 4}, {3, 4}},    {0, 'a', 36, {3, 4}, {3, 4}}, {16, 'a', 36, {3, 4}, {3, 4}},
        {3, 'a', 36, {3, 4}, {3, 4}},  {4, 'u', 59, {3, 4}, {9, 4}}, {4, 'd', 60, {3, 4}, {9, 4}},
        {-1, 'a', 36, {3, 4}, {3, 4}},
    };
    for (const auto &row : rows) {
        demon_message m{999, row.from, 0, demon_on, 5, god, 77};
        EXPECT_EQ(translate_input(row.input_class, row.value, {8, 4}, &m), row.code != msg_none);
        EXPECT_EQ(m.code, row.code) << row.input_class << " " << row.value;
        EXPECT_EQ(m.point, row.to) << row.input_class << " " << row.value;
        EXPECT_EQ(m.key, row.code == msg_key ? row.value : 0);
        EXPECT_TRUE(m.propagate == 0 && m.value == 0 && m.picked == nullptr);
    }
}

TEST_F(dispatch_test, events_reach_the_god_and_the_filter) {
    demon *button = make_demon({600, 500, 100, 100}, god);
    demon *dialog = make_demon({0, 0, 50, 50}, god);
    obey_keys([&](int key) {
        if (key == 'f')
            push_event_filter(dialog, input_button);
    });
    enter_key(gl::FKEY);
    gl::qenter(gl::RIGHTMOUSE, 1);
    gl::qenter(gl::MOUSEX, 641);
    gl::qenter(gl::MOUSEX, 641); // no move
    gl::qenter(gl::LEFTMOUSE, 1);
    enter_key(gl::QKEY);
    move_pointer({641, 512});
    bump(); // of no loop
    run_loop();
    const screen_point moved{641, 512};
    EXPECT_EQ(notes, (std::vector<noted_message>{
                         {god, msg_key, start, 'f', 0, nullptr},
                         {dialog, msg_right_down, start, 0, 0, nullptr},
                         {god, msg_pointer_moved, moved, 0, 0, nullptr},
                         {button, msg_box_in, moved, 0, 0, god},
                         {button, msg_pointer_moved, moved, 0, 0, god},
                         {dialog, msg_left_down, moved, 0, 0, nullptr},
                         {god, msg_key, moved, 'q', 0, nullptr},
                         {button, msg_key, moved, 'q', 0, nullptr},
                     }));
    EXPECT_EQ(gl_inq_event()->key, 'q');
}

TEST_F(dispatch_test, loops_nest_and_a_bump_ends_the_innermost) {
    on_message = [&](demon *, demon_message *m) {
        if (m->code != msg_key)
            return;
        const demon_message before = *m;
        happened += m->key == 'n' ? '(' : static_cast<char>(m->key);
        if (m->key == 'n')
            main_event_loop();
        if (m->key == 'q')
            bump();
        if (m->key == 'z')
            quit_dispatch();
        happened += before.key == 'n' ? ")" : "";
        EXPECT_EQ(m->key, before.key) << "the message of a handler is its own";
    };
    for (const gl::device d : {gl::AKEY, gl::NKEY, gl::BKEY, gl::NKEY, gl::CKEY, gl::QKEY, gl::DKEY,
                               gl::QKEY, gl::EKEY, gl::QKEY, gl::FKEY})
        enter_key(d);
    run_loop();
    EXPECT_EQ(happened, "a(b(cq)dq)eq");
    gl::qreset();
    happened.clear();
    for (const gl::device d : {gl::NKEY, gl::NKEY, gl::ZKEY, gl::AKEY})
        enter_key(d);
    run_loop();
    EXPECT_EQ(happened, "((z))");
    main_event_loop();
    EXPECT_EQ(happened, "((z))") << "the program ends: nothing is waited for";
}

TEST_F(dispatch_test, the_loss_of_the_display_ends_all_loops) {
    int loops = 0;
    obey_keys([&](int) {
        run_loop();
        ++loops;
    });
    enter_key(gl::AKEY);
    run_loop(); // nothing more can come: the display reports its loss
    EXPECT_TRUE(gl::is_display_lost());
    EXPECT_EQ(loops, 1);
    main_event_loop();
    EXPECT_EQ(dispatch_check_event(input_keyboard), 0);
}

TEST_F(dispatch_test, idle_ticks_go_to_the_none_event_demon_alone) {
    demon *blinker = make_demon({10, 10, 20, 20}, god);
    push_event_filter(god, input_none | total_filter_mask);
    const auto tick = [] {
        enable_null_events(1);
        program_clock::advance_us(20'000);
        return dispatch_check_event(input_keyboard);
    };
    tick();
    EXPECT_TRUE(notes.empty()) << "nobody wants them";
    gl_set_none_event_demon(blinker);
    on_message = [](demon *d, demon_message *m) {
        if (m->code == msg_none)
            demon_destroy_message(d);
    };
    tick();
    EXPECT_EQ(notes, (std::vector<noted_message>{{blinker, msg_none, {}, 0, 0, nullptr}}));
    make_demon({10, 10, 20, 20}, god);
    tick();
    EXPECT_EQ(notes.size(), 1U) << "it is gone";
}

TEST_F(dispatch_test, checking_delivers_what_waits_but_motion) {
    obey_keys([](int) { EXPECT_TRUE(play_switch == 0 && record_switch == 0); });
    play_switch = record_switch = 7;
    enter_key(gl::AKEY);
    gl::qenter(gl::MOUSEX, 700);
    gl::qenter(gl::LEFTMOUSE, 1);
    move_pointer({700, 512});
    EXPECT_EQ(dispatch_check_event(input_none), 0) << "and ends, though the cursor is polled";
    EXPECT_EQ(codes_of(god), (std::vector<std::uint32_t>{msg_key, msg_left_down}));
    EXPECT_TRUE(play_switch == 7 && record_switch == 7);

    enter_key(gl::BKEY);
    gl::qenter(gl::RIGHTMOUSE, 1);
    enter_key(gl::QKEY);
    EXPECT_EQ(dispatch_check_event(input_button), 'c');
    EXPECT_EQ(codes_of(god).size(), 3U) << "b before it; not itself, not q";
    EXPECT_TRUE(play_switch == 0 && record_switch == 0);
    notes.clear();
    run_loop();
    ASSERT_EQ(codes_of(god), (std::vector<std::uint32_t>{msg_key}));
    EXPECT_EQ(notes[0].key, 'q');
    display::memory::push_key(1, true); // something to come, so that the loop polls
    on_message = [](demon *, demon_message *) { bump(); };
    run_loop();
    EXPECT_EQ(notes.back().code, msg_pointer_moved) << "the demons learn where the cursor is";
    EXPECT_EQ(notes.back().at, (screen_point{700, 512}));
}

TEST_F(dispatch_test, a_run_begins_and_ends_in_order) {
    set_dispatch_hooks({.getGraphics = [] { happened += "graphics "; },
                        .system_terminate = [] { happened += "terminate "; }});
    cursor_filter = pass_time;
    set_start_up_call(
        [](word argument) {
            EXPECT_EQ(argument, 77);
            EXPECT_EQ(cursor_filter, null_filter);
            EXPECT_EQ(codes_of(inq_demon_god()).at(0), msg_pointer_moved);
            happened += "start ";
            cursor_filter = pass_time;
        },
        77);
    demon *kid = make_demon({600, 500, 100, 100}, god);
    on_message = [](demon *d, demon_message *m) {
        if (m->code != msg_key || d != inq_demon_god())
            return;
        happened += "key ";
        bump();
    };
    enter_key(gl::AKEY);
    enter_key(gl::BKEY);
    locator_step_off();
    dispatch_loop(0, 0, 0, nullptr, nullptr);
    EXPECT_EQ(happened, "graphics start key terminate ");
    EXPECT_EQ(notes.at(0), (noted_message{god, msg_pointer_moved, start, 0, demon_on, nullptr}));
    EXPECT_EQ(god->box_in_child, kid);
    EXPECT_EQ(inq_locator_step(), 0);
}

TEST_F(dispatch_test, words_of_the_command_line) {
    const std::string play = path("play"), record = path("record"), none = path("no/file");
    std::ofstream(play) << "no event\n";
    struct {
        std::vector<std::string> words;
        std::string out;
        bool says_error, steps;
    } const rows[] = {
        {{"gallery", "-p"}, "", false, false},
        {{"-p", play}, "", false, false},
        {{"gallery", "x", "-p", play}, "playing from " + play + " file\n", false, false},
        {{"gallery", "-r", record, "-s"}, "recording to " + record + " file\n", false, false},
        {{"gallery", "-s", "-p", play, "-p"}, "playing from " + play + " file\n", false, true},
        {{"gallery", "-p", "-r", "-s", "x"}, "playing from -r file\n", true, true},
        {{"gallery", "-r", none, "-p", none},
         "playing from " + none + " file\nrecording to " + none + " file\n",
         true,
         false},
        {{"gallery", "-p", play, "-r", play},
         "playing from " + play + " file\nrecording to " + play + " file\n",
         true,
         false},
        {{}, "", false, false},
    };
    set_start_up_call([](word) { quit_dispatch(); }, 0);
    for (const auto &row : rows) {
        locator_step_off();
        const auto [out, err] = run(row.words);
        EXPECT_EQ(out, row.out);
        EXPECT_EQ(!err.empty(), row.says_error) << err;
        EXPECT_EQ(inq_locator_step() != 0, row.steps) << row.out;
        EXPECT_TRUE(play_switch == 0 && record_switch == 0);
    }
    EXPECT_EQ(contents(play), "no event\n") << "what is played is not overwritten";
}

TEST_F(dispatch_test, a_recorded_run_plays_to_the_same_messages) {
    demon *left = make_demon({100, 100, 400, 400}, god);
    make_demon({150, 150, 50, 50}, left);
    make_demon({600, 400, 100, 200}, god);
    obey_keys([](int) {});
    set_start_up_call([](word) { cursor_filter = pass_time; }, 0);
    const auto forget_pointer = [&] {
        for (demon *d : {god, left})
            d->box_in_child = nullptr;
        notes.clear();
    };
    // Opened for its events to come in: nothing is drawn.
    gl_win_open("tree", god);
    std::int64_t at_us = 100'000;
    const auto script = [&at_us](display::event_kind kind, int code, bool pressed, int x, int y) {
        display::event e;
        e.kind = kind;
        e.window = display::memory::windows().back();
        e.code = code;
        e.pressed = pressed;
        e.pointer = {x, screen_height - 1 - y};
        display::memory::push_at(at_us += 90'000, e);
    };
    using enum display::event_kind;
    script(button, display::button_left, true, 640, 512); // before the cursor has moved
    script(button, display::button_left, false, 640, 512);
    script(button, display::button_left, true, 640, 512);
    script(motion, 0, false, 300, 300);
    script(motion, 0, false, 160, 170);
    script(button, display::button_right, true, 160, 170);
    script(motion, 0, false, 20, 20);
    script(button, display::button_right, false, 20, 20);
    const std::string journal = path("journal"), again = path("again");
    forget_pointer();
    run({"gallery", "-r", journal});
    const std::vector<noted_message> recorded = notes;
    ASSERT_GT(recorded.size(), 12U);
    EXPECT_EQ(recorded.back().at, (screen_point{20, 20}));
    EXPECT_TRUE(contents(journal).starts_with("266 640 512 640\t\t//MOUSE\n")) << contents(journal);

    gl_free_window_table();
    gl::gexit(); // that display is lost; the next one's cursor is elsewhere
    move_pointer({5, 5});
    static_cast<void>(gl::qtest());
    gl_input_init();
    gl::qreset();
    forget_pointer();
    run({"gallery", "-p", journal, "-r", again});
    ASSERT_GT(notes.size(), recorded.size());
    const auto first = std::find_if(notes.begin(), notes.end(), [](const noted_message &n) {
        return n.at == screen_point{640, 512};
    });
    std::vector<noted_message> played(first, notes.end());
    played.at(0).propagate = demon_on; // only what the recorded run made up had it
    EXPECT_EQ(played, recorded);
    const std::string own_place = "266 5 5 5\t\t//MOUSE\n";
    EXPECT_EQ(contents(again), own_place + contents(journal));
}

TEST_F(dispatch_test, who_gets_a_message_may_destroy_anything) {
    demon *dialog = make_demon({0, 0, 50, 50}, god);
    push_event_filter(dialog, input_keyboard);
    on_message = [&](demon *d, demon_message *m) {
        if (m->key == 'a')
            demon_destroy_message(d);
    };
    for (const gl::device d : {gl::AKEY, gl::AKEY, gl::BKEY})
        enter_key(d);
    run_loop(); // until the display is lost
    ASSERT_EQ(notes.size(), 2U);
    EXPECT_EQ(notes[0].to, dialog);
    EXPECT_EQ(notes[1].to, god);
    EXPECT_EQ(inq_demon_god(), nullptr);
}

TEST_F(dispatch_test, a_handler_may_end_the_whole_toolkit) {
    set_dispatch_hooks({.system_terminate = [] {
        terminate_objects();
        gl_free_window_table();
        gl::gexit();
    }});
    obey_keys([](int) {
        std::atexit([] { std::fputs(inq_demon_god() == nullptr ? "ended" : "not ended", stderr); });
        bye();
    });
    enter_key(gl::AKEY);
    enter_key(gl::AKEY);
    EXPECT_EXIT(run_loop(), testing::ExitedWithCode(0), "^ended");
}

TEST_F(dispatch_test, an_idle_loop_sleeps) {
    gl::gexit();
    program_clock::use_system_clock();
    gl_input_init();
    constexpr std::int64_t most_us = 2'500; // of half a second
    static std::int64_t begun_us, least_us, begun_cpu_us;
    static int looks;
    begun_us = 0;
    least_us = program_clock::us_per_second;
    looks = 0;
    enable_timer2_events(
        [] {
            const std::int64_t now = program_clock::now_us();
            if (!gl::isqueued(gl::MOUSEX))
                return; // the cursor has not rested for long enough yet
            const std::int64_t now_cpu = program_clock::process_us();
            if (begun_us != 0 && now - begun_us < 500'000)
                return;
            if (begun_us != 0) // on a busy machine what it uses may be more, now and then
                least_us = std::min(least_us, now_cpu - begun_cpu_us);
            begun_us = now;
            begun_cpu_us = now_cpu;
            if (least_us < most_us || ++looks == 10)
                bump();
        },
        30);
    move_pointer({700, 500});
    main_event_loop();
    gl::unqdevice(gl::TIMER2);
    EXPECT_GT(least_us, 0);
    EXPECT_LT(least_us, most_us);
}

} // namespace toolkit
