#include "tests/toolkit/dialogs/dialogs_fixture.h"
#include "toolkit/graphics/bitmaps.h"
#include "toolkit/graphics/text.h"
#include "toolkit/widgets/pulldowns.h"

#include <algorithm>

namespace toolkit {

namespace {

constexpr int all_buttons = 3;

std::int32_t ask(const char *text, int x, int y, std::string *answer = nullptr,
                 int buttons = all_buttons) {
    return create_yes_no_dialog(nullptr, x, y, text, answer, "old", buttons > 0, buttons > 1,
                                buttons > 2);
}

} // namespace

// ---- layout

TEST_F(dialogs_fixture, a_message_is_as_high_as_its_lines_and_as_wide_as_the_widest) {
    const char *text = "One\nThe second line is the widest one\nThree";
    const text_size line =
        gl_inq_text_extent(font_slot_normal_1, "The second line is the widest one");
    then([&] {
        const demon *d = dialog("One The second line is the widest one Three");
        ASSERT_NE(d, nullptr);
        const int height = line.height + 8, width = line.width + 20;
        EXPECT_EQ(d->box,
                  (screen_box{clamp_16(400 - width / 2), clamp_16(500 - (3 * height + 55) / 2),
                              clamp_16(width), clamp_16(3 * height + 55)}));
        std::vector<screen_box> parts;
        for (const demon *part = d->kids; part != nullptr; part = part->next)
            parts.push_back(within(part, d));
        const auto at_line = [&](int i, int count) {
            return screen_box{5, clamp_16(3 * height + 50 - i * height), clamp_16(width - 10),
                              clamp_16(count * height)};
        };
        EXPECT_EQ(parts,
                  (std::vector<screen_box>{
                      {5, 5, 40, 40}, at_line(3, 3), at_line(3, 1), at_line(2, 1), at_line(1, 1)}));
    });
    confirm();
    message(text);
}

TEST_F(dialogs_fixture, dialogs_open_on_the_screen) {
    const auto box_at = [&](const char *text, int x, int y, bool has_answer = false) {
        screen_box found{};
        std::string answer;
        then([&] {
            const object *d = inq_event_receiver(input_keyboard);
            found = static_cast<const demon *>(d)->box;
            EXPECT_TRUE(std::any_of(wid_list.begin(), wid_list.end(),
                                    [d](const auto &r) { return r->demon == d; }));
        });
        escape();
        EXPECT_EQ(ask(text, x, y, has_answer ? &answer : nullptr), dialog_no);
        return found;
    };
    screen_box box = box_at("a", 0, 0);
    EXPECT_EQ(box.x, 10);
    EXPECT_EQ(box.y, 10);
    EXPECT_EQ(box.width, 210) << "three buttons side by side";
    box = box_at("a", 1279, 1023);
    EXPECT_LE(box.x + box.width, 1270);
    EXPECT_LE(box.y + box.height, 1000);
    box = box_at("a", 640, 500, true);
    EXPECT_EQ(box.width, 470);
    EXPECT_EQ(box.x, 640 - 235);
    std::string long_line(3400, 'i');
    std::fill_n(long_line.begin(), 400, 'w');
    long_line[400] = ' ';
    box = box_at(long_line.c_str(), 0, 0);
    EXPECT_LE(box.width, 1260);
    EXPECT_GT(box.height, 55 + 9 * 15);
    std::string many(4000, '\n');
    box = box_at(many.c_str(), 0, 0);
    EXPECT_GE(box.y, 0);
    EXPECT_LE(box.y + box.height, 1000);
}

// ---- answers

TEST_F(dialogs_fixture, buttons_and_keys_answer) {
    struct {
        const char *how; // e Escape, r Return, x closed; else the button's middle
        int x;
        int buttons;
        std::int32_t result;
    } const cases[] = {
        {"e", 0, 3, dialog_no},      {"e", 0, 1, dialog_yes},
        {"e", 0, 0, dialog_no},      {"r", 0, 3, dialog_yes},
        {"r", 0, 0, dialog_no},      {"x", 0, 3, dialog_no},
        {"Y", 25, 3, dialog_yes},    {"N", 105, 2, dialog_no},
        {"Q", 185, 3, dialog_abort}, {"outside, then Escape", -9, 3, dialog_no},
    };
    const std::size_t before = windows_open();
    for (const auto &c : cases) {
        const screen_box box = {clamp_16(600 - (c.buttons == 3 ? 210 : 130) / 2), 500, 0, 0};
        const auto lower = gl_inq_text_extent(font_slot_normal_1, "a").height + 8 + 55;
        if (*c.how == 'e')
            escape();
        else if (*c.how == 'r')
            confirm();
        else if (*c.how == 'x')
            then([] { gl_win_close(static_cast<demon *>(get_named_object("Yes/No: a"))->window); });
        else
            click_in_screen(box.x + c.x, 500 - lower / 2 + 25);
        if (c.x < 0)
            escape();
        EXPECT_EQ(ask("a", 600, 500, nullptr, c.buttons), c.result) << c.how;
        EXPECT_EQ(dialog_result, c.result) << c.how;
        EXPECT_EQ(windows_open(), before);
        EXPECT_EQ(inq_event_filters(), 0U);
        due_us = std::max(due_us, program_clock::now_us()) + 1'000'000;
    }
}

TEST_F(dialogs_fixture, what_is_typed_is_the_answer) {
    std::string answer = "as it was";
    type("new");
    escape();
    EXPECT_EQ(ask("a", 600, 500, &answer), dialog_no);
    EXPECT_EQ(answer, "as it was");
    type("new"); // in place of all of the old text
    confirm();
    EXPECT_EQ(ask("a", 600, 500, &answer), dialog_yes);
    EXPECT_EQ(answer, "new");
    click_in_screen(600, 460); // beside the field, which goes on
    type("er");
    confirm();
    EXPECT_EQ(ask("a", 600, 500, &answer), dialog_yes);
    EXPECT_EQ(answer, "older");
}

TEST_F(dialogs_fixture, without_a_window_the_answer_is_no_at_once) {
    display::memory::refuse_open(true);
    EXPECT_EQ(ask_yes_no("a"), answer_no);
    inform("a");
    display::memory::refuse_open(false);
    EXPECT_EQ(windows_open(), 1U);
}

// ---- the program meanwhile

TEST_F(dialogs_fixture, only_the_dialog_reacts) {
    static_cast<void>(addButton(window, 10, 10, 80, 30, "a", note, 'a'));
    const demon *button = window->kids;
    aliasKeystroke('n', 0, note, 'n');
    static_cast<generic_demon *>(inq_demon_god())->on.keystroke =
        [](demon *, object *, demon_message *m) { noted += static_cast<char>(m->key); };
    move(20, 20);
    then([&] {
        EXPECT_NE(button->hilited, 0);
        EXPECT_EQ(ask("outer", 900, 800), dialog_no);
        EXPECT_NE(button->hilited, 0) << "the pointer is on it again";
    });
    then([&] { EXPECT_EQ(button->hilited, 0) << "left behind under the pointer"; });
    move(21, 21);
    click(20, 20);
    type("nk");
    then([&] { EXPECT_EQ(button->hilited, 0); });
    escape();
    click(20, 20);
    type("n");
    then([] { bump(); });
    main_event_loop();
    EXPECT_EQ(noted, "an") << "and Escape's release went to nobody else";
    remove_keystroke_alias('n', 0);
}

TEST_F(dialogs_fixture, windows_behind_a_dialog_are_not_closed_by_their_frames) {
    const auto shut = [](const demon *d, gl::device by = gl::WINSHUT) {
        gl::qenter(by, static_cast<short>(gl_get_window_record(d->window)->gl_window));
    };
    const auto see = [](std::size_t count, const char *title) {
        EXPECT_EQ(windows_open(), count);
        EXPECT_EQ(display::memory::facts(display::memory::windows().back()).title, title);
    };
    then([&] {
        see(2, "Question");
        shut(window);
    });
    then([&] {
        see(2, "Question");
        message("inner");
    });
    then([&] {
        see(3, "Message");
        shut(window), shut(dialog("outer"));
    });
    then([&] {
        see(3, "Message");
        shut(dialog("inner"));
    });
    then([&] {
        see(2, "Question");
        shut(dialog("outer"));
    });
    EXPECT_EQ(ask_yes_no("outer"), answer_no);
    EXPECT_EQ(noted, "");
    const demon *other = addWindow(800, 200, 100, 100, "other", note, 'o');
    then([&] {
        shut(window);
        shut(other, gl::WINQUIT);
    });
    then([] { EXPECT_EQ(noted, "o") << "the program is asked to end"; });
    confirm();
    message("a");
    shut(window);
    EXPECT_EQ(dispatch_check_event(-1), 0);
    EXPECT_EQ(noted, "o!") << "the dialog is gone";
}

TEST_F(dialogs_fixture, dialogs_nest_and_end_from_outside_in) {
    then([&] {
        EXPECT_EQ(ask("inner", 300, 300), dialog_yes);
        noted += 'i';
    });
    confirm();
    escape();
    EXPECT_EQ(ask("outer", 600, 500), dialog_no);
    // The outer one is closed first: it ends as soon as the inner one has.
    then([&] {
        EXPECT_EQ(ask("inner", 300, 300), dialog_abort);
        noted += 'j';
    });
    then([&] {
        demon_destroy_message(dialog("outer"));
        EXPECT_NE(dialog("inner"), nullptr);
    });
    then([] { abort_dialog_function(0); });
    EXPECT_EQ(ask("outer", 600, 500), dialog_no);
    EXPECT_EQ(noted, "ij");
}

TEST_F(dialogs_fixture, whatever_ends_a_dialog_leaves_nothing_behind) {
    const std::function<void()> ends[] = {
        [] { demon_destroy_message(dialog("a")); },
        [] { demon_push_message(dialog("a")); },
        [] { bump(); },
        [this] {
            demon_destroy_message(window);
            yes_dialog_function(0);
        },
        [] {
            demon_destroy_message(dialog("a"));
            yes_dialog_function(0);
        },
        [] { quit_dispatch(); },
        [] { system_terminate(); },
    };
    for (std::size_t i = 0; i < std::size(ends); ++i) {
        std::string answer = "kept";
        open_window();
        init_dialogs();
        then(ends[i]);
        EXPECT_EQ(ask("a", 600, 500, &answer), i == 3 ? dialog_yes : dialog_no) << i;
        EXPECT_EQ(answer, i == 3 ? "old" : "kept") << i;
        EXPECT_EQ(inq_event_filters(), 0U) << i;
        const bool is_down = inq_demon_god() == nullptr;
        EXPECT_TRUE(is_down || windows_open() == (i == 3 ? 0U : 1U)) << i;
    }
}

TEST_F(dialogs_fixture, a_program_that_is_to_end_waits_for_no_answer) {
    static int sleeps;
    sleeps = 0;
    program_clock::use_system_clock();
    set_input_sleep([] {
        if (++sleeps == 1) {
            EXPECT_EQ(ask_yes_no("inner"), answer_no);
        }
        bump();
    });
    std::string answer = "kept";
    EXPECT_EQ(ask("outer", 600, 500, &answer), dialog_no);
    EXPECT_EQ(answer, "kept");
    message("and then");
    set_input_sleep(nullptr);
    EXPECT_EQ(sleeps, 3);
    EXPECT_EQ(windows_open(), 1U);
}

TEST_F(dialogs_fixture, a_closing_window_and_a_menu_give_way_to_a_question) {
    demon *bar = addMenuBar(window, 0, 270, 400, 30);
    demon *menu = addPullDown(bar, "Menu", 0);
    addPullDownChoice(menu, nullptr, "Choice", false, pulldown_kind::command, 0, 0, nullptr, note,
                      'c', nullptr, false, true);
    drawWidget(window);
    setConfirmDestroyWindow(window, true);
    click(20, 285);
    then([&] {
        EXPECT_EQ(windows_open(), 2U) << "the menu";
        gl_win_close(window->window);
        noted += '.';
    });
    then([&] {
        EXPECT_NE(dialog("Do you want to exit? "), nullptr);
        EXPECT_EQ(windows_open(), 2U) << "the question alone";
    });
    escape();
    then([&] { gl_win_close(window->window), bump(); });
    confirm();
    main_event_loop();
    EXPECT_EQ(noted, ".!");
}

// ---- others

TEST_F(dialogs_fixture, inform_stays_until_it_is_closed) {
    static_cast<void>(addButton(window, 10, 10, 80, 30, "a", note, 'a'));
    then([] {
        gl_set_valuator(1000, 700);
        inform("Rendered.");
    });
    click(20, 20);
    then([] { EXPECT_NE(dialog("Rendered.", "Inform: "), nullptr); });
    click_in_screen(1000 - 65 + 25, 700 - 38 + 25);
    then([] {
        EXPECT_EQ(dialog("Rendered.", "Inform: "), nullptr);
        bump();
    });
    main_event_loop();
    EXPECT_EQ(noted, "a");
    EXPECT_EQ(windows_open(), 1U);
}

TEST_F(dialogs_fixture, big_messages_are_set_in_the_big_font) {
    const int big = gl_inq_text_extent(font_slot_bold_italic, "Big").height + 8 + 55;
    then([&] { EXPECT_EQ(dialog("Big")->box.height, big); });
    confirm();
    big_message("Big");
    EXPECT_EQ(dialog_font_slot, font_slot_normal_1);
}

TEST_F(dialogs_fixture, in_batch_mode_nobody_is_asked) {
    setTarnBatchMode(1);
    std::string answer = "kept";
    testing::internal::CaptureStderr();
    message("m");
    inform("i");
    EXPECT_EQ(ask_yes_no("q"), answer_no);
    EXPECT_EQ(ask("t", 0, 0, &answer), dialog_no);
    EXPECT_EQ(answer, "kept");
    setTarnBatchOverwriteMode(1);
    EXPECT_EQ(ask_yes_no("o"), answer_yes);
    EXPECT_EQ(ask("t", 0, 0, &answer), dialog_yes);
    EXPECT_EQ(answer, "old");
    setTarnBatchOverwriteMode(0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Warning: m \nWarning: i \nError: q -- No -continue flag not set.\n"
              "Error: t -- No -continue flag not set.\nWarning: o -- Continue.\n"
              "Warning: t -- Continue.\n");
    EXPECT_EQ(windows_open(), 1U);
}

} // namespace toolkit
