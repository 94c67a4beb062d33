// Text fields, typed into by hands.
#include "tests/toolkit/widgets/text_entry_fixture.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/timers.h"
#include "toolkit/widgets/string_demon.h"

#include <algorithm>
#include <array>
#include <span>

namespace toolkit {

TEST_F(text_entry, keys_edit_the_field_that_has_the_keyboard) {
    EXPECT_EQ(after([&] { move(150, 20), type("xyz\r"); }), "")
        << "the pointer alone is not enough";
    EXPECT_EQ(seen(name), "one two");
    EXPECT_EQ(after([&] { enter_name(), type(".5"), move(300, 250), type("x"); }), "");
    EXPECT_EQ(seen(name), "one two.5x") << "wherever in the window the pointer is";
    EXPECT_EQ(text_of(name), "one two") << "nothing is accepted yet";
    EXPECT_EQ(holder(), name);
    EXPECT_EQ(after([&] { type("\b\r"); }), "n");
    EXPECT_EQ(text_of(name), "one two.5");
    EXPECT_EQ(holder(), nullptr);
    EXPECT_EQ(after([&] { rest(), enter_name(), type("\r"); }), "") << "the same text";
    EXPECT_EQ(after([&] { rest(), enter_name(), type("z\x1b"); }), "");
    EXPECT_EQ(seen(name), "one two.5");
    EXPECT_EQ(asked, "");
}

TEST_F(text_entry, arrows_step_in_the_field_and_move_the_pointer_else) {
    const auto keys = [&](std::initializer_list<std::pair<int, int>> all) {
        for (const auto &[code, with] : all)
            tap(code, with);
    };
    constexpr int shift = display::key_shift_left, ctrl = display::key_control_left;
    enter_name();
    keys({{display::key_left, ctrl}, {'3', 0}, {display::key_up, 0}, {display::key_right, shift}});
    run();
    EXPECT_EQ(seen(name), "one 3two");
    EXPECT_EQ(selected_text(name->line), "o");
    keys({{'c', ctrl}, {display::key_down, 0}, {'v', ctrl}, {'v', ctrl}, {'s', ctrl}});
    run();
    EXPECT_EQ(seen(name), "one 3twooo");
    keys({{'a', ctrl}, {'x', ctrl}});
    run();
    EXPECT_EQ(seen(name), "");
    EXPECT_EQ(display::memory::offered_text(display::text_offer::clipboard), "one 3twooo");
    keys({{'A', 0}, {'b', shift}, {display::key_backspace, ctrl}, {'v', ctrl}});
    run();
    EXPECT_EQ(seen(name), "one 3twooo");
    type("\r");
    run();
    screen_point before, behind;
    gl_get_valuator(&before.x, &before.y);
    tap(display::key_left);
    run();
    gl_get_valuator(&behind.x, &behind.y);
    EXPECT_EQ(behind.x, before.x - 1);
}

TEST_F(text_entry, the_mouse_places_the_marker_and_selects) {
    const int left = name->box.x - window_box.x, y = 20;
    enter_name();
    move(left + 6, y);
    rest();
    press();
    move(350, 200); // far outside
    release();
    run();
    EXPECT_EQ(selected_text(name->line), "one two");
    rest();
    click(left + 6, y);
    run();
    EXPECT_EQ(name->line.cursor, 0);
    EXPECT_EQ(selected_text(name->line), "");
    send(display::event_kind::key, display::key_shift_left, true);
    rest();
    click(199, y);
    send(display::event_kind::key, display::key_shift_left, false);
    run();
    EXPECT_EQ(selected_text(name->line), "one two") << "from where the marker was";
    rest();
    press();
    release();
    press(); // a double click behind the text: its last word
    release();
    run();
    EXPECT_EQ(selected_text(name->line), "two");
    enter_size();
    run();
    EXPECT_EQ(name->line.selection_start, no_selection);
    rest();
    move(left + 8, y);
    press();
    release();
    move(left + 8, y);
    run();
    rest();
    type("\r");
    run();
    // A quick second press on a field that lost the keyboard arrives as a double click alone.
    demon_message m;
    m.code = msg_left_double;
    m.point = {static_cast<std::int16_t>(name->box.x + 8),
               static_cast<std::int16_t>(name->box.y + 8)};
    send_demon_message(name, nullptr, m);
    EXPECT_EQ(holder(), name);
    EXPECT_EQ(selected_text(name->line), "one");
}

TEST_F(text_entry, leaving_settles_what_was_typed_by_the_policy) {
    const struct {
        std::uint16_t policy;
        const char *prompt;
        int answer;
        bool is_visible;
        const char *text, *noted, *asked;
    } rows[] = {
        {on_leave_accept, "", answer_no, true, "one two5", "n", ""},
        {on_leave_accept, "", answer_no, false, "one two5", "n", ""},
        {on_leave_revert, "", answer_yes, true, "one two", "", ""},
        {on_leave_ask, "", answer_no, true, "one two", "",
         "You did not press enter to accept \"one two5\".  Do you want to accept it now?"},
        {77, "Shot", answer_yes, true, "one two5", "n",
         "You did not press enter to accept \"one two5\" for \"Shot\".  Do you want to accept it "
         "now?"},
        {on_leave_ask, "", answer_yes, false, "one two", "", ""},
    };
    for (const auto &row : rows) {
        asked.clear();
        answer = row.answer;
        name->on_leave = row.policy;
        set_control_label(name, row.prompt);
        edit_string_demon_set_string(name, "one two");
        const std::string told = after([&] {
            rest(), enter_name(), type("5");
            if (row.is_visible)
                rest(), enter_size();
            else
                run(), setVisibilityWidget(name, false);
        });
        EXPECT_EQ(seen(name), row.text) << row.policy;
        EXPECT_EQ(text_of(name), row.text) << row.policy;
        EXPECT_EQ(told, row.noted) << row.policy;
        EXPECT_EQ(asked, row.asked);
        EXPECT_EQ(edit_string_question, 0);
        EXPECT_EQ(holder(), row.is_visible ? size : nullptr);
        EXPECT_EQ(name->hilited, 0) << row.policy;
        setVisibilityWidget(name, true);
        after([&] { rest(), enter_name(), rest(), enter_size(), type("\r"); });
        EXPECT_EQ(asked, row.asked) << "once";
    }
}

TEST_F(text_entry, a_question_takes_the_pointer_from_the_field_that_was_pressed) {
    name->on_leave = on_leave_ask;
    while_asked = [&] { // as a dialog does it
        push_event_filter(window, input_keyboard | input_button);
        run();
        pop_event_filter();
    };
    after([&] { enter_name(), type("5"), rest(), enter_size(); });
    EXPECT_NE(asked, "");
    EXPECT_EQ(holder(), size);
    EXPECT_FALSE(size->is_held);
    EXPECT_EQ(inq_event_filters(), 0U);
}

TEST_F(text_entry, values_are_read_clamped_and_told) {
    while_told = [&] {
        EXPECT_EQ(holder(), nullptr) << "the message takes the keys and the pointer";
        EXPECT_FALSE(is_pointer_in_field(size));
    };
    const struct {
        float minimum, maximum;
        const char *label, *typed;
        float value;
        const char *text, *noted, *message;
    } rows[] = {
        {0, 0, "Size", "-123456", -123456, "-1.2346e+05", "s", ""},
        {0, 0, "Size", "1e5", 15, "15", "s", ""},
        {0, 0, "Size", "+2 .5x", 2.5, "2.5", "s", ""},
        {0, 100, "Size", "50", 50, "50", "", ""},
        {0, 100, "Size", "150", 100, "100", "s",
         "150 exceeds maximum 100 of \"Size\".  \"Size\" set to 100."},
        {0, 100, "", "100.5", 100, "100", "s", "100.5 exceeds maximum 100.  Reset to 100."},
        {10, 100, "Size", "-", 10, "10", "s",
         "0 is less than minimum 10 of \"Size\".  \"Size\" set to 10."},
        {10, 100, "", "9", 10, "10", "s", "9 is less than minimum 10.  Reset to 10."},
        {0, 100, "Size", "7\b8", 8, "8", "s", ""},
    };
    for (const auto &row : rows)
        for (const bool by_question : {false, true}) {
            asked.clear();
            answer = answer_yes;
            edit_value_demon_set_bounds(size, row.minimum, row.maximum);
            set_control_label(size, row.label);
            edit_value_demon_update(size, 50);
            const std::string told = after([&] {
                rest(), enter_size(), tap('a', display::key_control_left), type(row.typed);
                if (by_question)
                    run(), demon_keyboard_client_message(size, nullptr);
                else
                    type("\r");
            });
            EXPECT_EQ(told, row.noted) << row.typed;
            EXPECT_EQ(number_of(size), row.value) << row.typed;
            EXPECT_EQ(seen(size), row.text) << row.typed;
            const std::size_t question =
                asked.starts_with("You did not") ? asked.find("now?") + 4 : 0;
            EXPECT_EQ(asked.substr(question), row.message) << row.typed;
            EXPECT_EQ(question > 0, by_question && row.value != 50) << row.typed;
            EXPECT_EQ(holder(), nullptr);
            EXPECT_NE(demon_is_visible(size), false);
            after([&] { rest(), enter_name(), type("\r"); });
            EXPECT_EQ(asked.find("You did not", question), std::string::npos)
                << "never after Enter";
        }
    EXPECT_EQ(edit_value_demon_bounds_check(size, 100), toolkit_true);
    EXPECT_EQ(edit_value_demon_bounds_check(size, 100.5F), toolkit_false);
    EXPECT_EQ(edit_value_demon_bounds_check(size, -1), toolkit_false);
    edit_value_demon_set_bounds(size, 0, 0);
    EXPECT_EQ(edit_value_demon_bounds_check(size, -1), toolkit_true);
}

TEST_F(text_entry, values_have_routines_and_callbacks) {
    setFToSValueWidget(size, [](float value, std::span<char> buffer) {
        std::snprintf(buffer.data(), buffer.size(), "%.0f", static_cast<double>(value) * 2);
    });
    setSToFValueWidget(size, [](std::string_view text, float *value) {
        if (text.empty())
            return 0;
        *value = std::strtof(std::string(text).c_str(), nullptr) / 2;
        return toolkit_true;
    });
    EXPECT_EQ(seen(size), "100");
    const object_ref target = refer_to(name);
    static std::string told;
    told.clear();
    name->on.set_value = [](demon *, object *sender, word value) -> word {
        const auto *given = from_word<const widget_value *>(value);
        told += std::to_string(to_word(sender)) + ":" +
                (given != nullptr ? std::to_string(static_cast<int>(given->number)) : "-") + " ";
        return 0;
    };
    edit_value_add_callback(size, {msg_set_value, 7, target, value_callback_kind::value});
    edit_value_add_callback(size, {msg_set_value, 8, target, value_callback_kind::plain});
    edit_value_add_callback(size, {msg_set_value, 9, refer_to(size)});
    edit_value_remove_callbacks(size, size);
    after([&] { enter_size(), tap('a', display::key_control_left), type("60\r"); });
    EXPECT_EQ(told, "7:30 8:- ");
    after([&] { rest(), enter_size(), tap('a', display::key_control_left), type("300\r"); });
    EXPECT_EQ(asked, "300 exceeds maximum 200 of \"Size\".  \"Size\" set to 200.");
    after([&] { rest(), enter_size(), tap('a', display::key_control_left), type("\b\r"); });
    EXPECT_EQ(seen(size), "200") << "no value in it";
    EXPECT_EQ(told, "7:30 8:- 7:100 8:- 7:100 8:- ") << "after each accepted value";
    set_clipboard_text("1e2\xC3\xA9 x");
    after([&] {
        rest(), enter_size(), tap('a', display::key_control_left),
            tap('v', display::key_control_left), type("\r");
    });
    EXPECT_EQ(seen(size), "12");
}

TEST_F(text_entry, who_is_told_of_a_value_may_give_the_keyboard_to_another_field) {
    name->on.set_value = [](demon *self, object *, word) -> word {
        demon_keyboard_client_message(self, self);
        return 0;
    };
    edit_value_add_callback(size, {msg_set_value, 0, refer_to(name)});
    after([&] { enter_size(), type("\b\r"); });
    EXPECT_EQ(number_of(size), 5);
    EXPECT_EQ(holder(), name);
    EXPECT_FALSE(size->has_keyboard);
}

TEST_F(text_entry, a_field_shows_whether_keys_come_to_it) {
    static_cast<void>(addWindow(800, 200, 100, 100, "other", nullptr, 0));
    const display::window_id other = display::memory::windows().back();
    const screen_box edge = {10, 10, 200, 1};
    const auto focus = [&](display::window_id where) {
        std::swap(on_display, where);
        send(display::event_kind::focus_in);
        std::swap(on_display, where);
        run();
    };
    const auto idle = picture(edge);
    after([&] { enter_name(), move(300, 200); });
    const auto typed_at = picture(edge);
    EXPECT_NE(typed_at, idle);
    focus(other);
    EXPECT_EQ(holder(), name);
    EXPECT_NE(picture(edge), typed_at);
    focus(on_display);
    EXPECT_EQ(picture(edge), typed_at);
}

TEST_F(text_entry, programs_set_values_without_taking_what_is_typed) {
    EXPECT_EQ(after([&] { setWidgetValue(size, 70); }), "s");
    EXPECT_EQ(after([&] { setWidgetValue(size, 700), updateWidgetValue(size, 20); }), "s");
    EXPECT_EQ(seen(size), "20");
    EXPECT_EQ(after([&] { setWidgetValue(name, "x"), setWidgetValue(name, "x"); }), "n");
    after([&] { enter_size(), type("5"); });
    updateWidgetValue(size, 30);
    EXPECT_EQ(seen(size), "205");
    answer = answer_no;
    after([&] { rest(), enter_name(); });
    EXPECT_EQ(seen(size), "30");
    EXPECT_EQ(number_of(size), 30);
}

TEST_F(text_entry, times_are_frames_within_their_range) {
    set_smpte_display_smpte();
    set_smpte_frame_rate(25);
    auto *time = static_cast<edit_string_demon *>(
        addTimeWidget(window, 10, 90, 300, 24, 0, 2000, 1501, 11, note, 't'));
    drawWidget(window);
    EXPECT_LT(time->box.width, 200);
    const struct {
        const char *typed;
        float value;
        const char *text, *noted;
    } rows[] = {
        {"1:2\r", 27, "00:00:01:02", "t"},      {"53\r", 53, "00:00:02:03", "t"},
        {"1:20:1\r", 53, "00:00:02:03", ""}, // 2001
        {"-1\r", 53, "00:00:02:03", ""},        {"\b\r", 53, "00:00:02:03", ""},
        {"abc\r", 53, "00:00:02:03", ""},       {"1:2x\r", 53, "00:00:02:03", ""},
        {"0:0:0:1:2\r", 53, "00:00:02:03", ""}, {"5\t", 5, "00:00:00:05", "t"}, // on leaving
    };
    for (const auto &row : rows) {
        EXPECT_EQ(after([&] {
                      rest(), click(30, 100), tap('a', display::key_control_left), type(row.typed);
                  }),
                  row.noted)
            << row.typed;
        EXPECT_EQ(number_of(time), row.value) << row.typed;
        EXPECT_EQ(seen(time), row.text) << row.typed;
    }
    set_smpte_display_cells();
    updateWidgetValue(time, number_of(time));
    EXPECT_EQ(seen(time), "5");
    EXPECT_EQ(
        after([&] { rest(), click(30, 100), tap('a', display::key_control_left), type("no\r"); }),
        "");
    EXPECT_EQ(seen(time), "5");
    setRangeTimeWidget(time, 10, 20);
    EXPECT_EQ(seen(time), "10");
    set_smpte_frame_rate(30);
}

TEST_F(text_entry, tab_goes_round) {
    demon *third = addStringWidget(window, 10, 130, 200, 24, "", "3", note, '3');
    demon *off = addStringWidget(window, 10, 170, 200, 24, "", "4", note, '4');
    setEnabledWidget(off, false);
    const demon *const round[] = {size, third, name, size};
    enter_name();
    run();
    for (const demon *next : round) {
        type("\t");
        run();
        EXPECT_EQ(holder(), next);
        EXPECT_EQ(static_cast<const edit_string_demon *>(next)->line.selection_start, 0);
    }
    tap(display::key_tab, display::key_shift_left);
    run();
    EXPECT_EQ(holder(), name);
    setEnabledWidget(name, false);
    EXPECT_EQ(holder(), nullptr);
}

TEST_F(text_entry, long_texts_scroll_and_the_marker_blinks) {
    const std::string long_text(100, 'w');
    edit_string_demon_set_string(name, long_text);
    EXPECT_EQ(name->hidden, 0);
    const screen_box inside = {14, 12, 190, 20};
    const auto beginning = picture(inside);
    name->shows_end = true;
    drawWidget(name);
    EXPECT_GT(name->hidden, 300);
    name->shows_end = false;
    after([&] { enter_name(); });
    EXPECT_NE(timer3_function, nullptr);
    name->is_marker_lit = false;
    edit_string_draw_marker(name);
    const auto dark = picture(inside);
    due_us += second_us;
    run();
    name->is_marker_lit = true;
    edit_string_draw_marker(name);
    EXPECT_NE(picture(inside), dark);
    name->is_marker_lit = false;
    edit_string_draw_marker(name);
    EXPECT_EQ(picture(inside), dark) << "nothing of it stays";
    tap(display::key_down);
    run();
    EXPECT_GT(name->hidden, 300);
    type("\r");
    run();
    move(300, 200);
    run();
    EXPECT_EQ(picture(inside), beginning);
    EXPECT_EQ(timer3_function, nullptr);
    setEnabledWidget(name, false);
    drawWidget(name);
    const auto disabled = picture(inside);
    edit_string_draw_marker(name);
    EXPECT_EQ(picture(inside), disabled);
    edit_string_demon_set_string(name, "");
    const auto empty = picture(inside);
    EXPECT_EQ(std::count(empty.begin(), empty.end(), empty[0]), std::ssize(empty));
}

TEST_F(text_entry, who_is_told_may_destroy_anything) {
    enum class victim { field, other, scene };
    const struct {
        const char *how;
        std::uint16_t policy;
        bool by_enter;
    } rows[] = {{"enter", on_leave_accept, true},
                {"leaving", on_leave_accept, false},
                {"asked", on_leave_ask, false}};
    const struct {
        const char *name;
        demon *(*add)(demon *scene);
    } kinds[] = {
        {"value",
         [](demon *s) { return addValueWidget(s, 10, 10, 200, 24, "", 5, 0, 0, note, 'f'); }},
        {"string",
         [](demon *s) { return addStringWidget(s, 10, 10, 200, 24, "", "5", note, 'f'); }},
        {"time",
         [](demon *s) { return addTimeWidget(s, 10, 10, 200, 24, 0, 99, 5, 8, note, 'f'); }},
    };
    set_smpte_display_cells();
    for (std::size_t i = 0; i < std::size(rows) * std::size(kinds); ++i)
        for (const victim which : {victim::field, victim::other, victim::scene}) {
            const auto &row = rows[i / std::size(kinds)];
            const auto &kind = kinds[i % std::size(kinds)];
            SCOPED_TRACE(testing::Message() << kind.name << row.how << static_cast<int>(which));
            demon *scene = addWindow(100, 600, 300, 200, "scene", nullptr, 0);
            demon *field = kind.add(scene);
            demon *other = addStringWidget(scene, 10, 50, 200, 24, "", "", note, 'o');
            drawWidget(scene);
            const demon_ref kept = refer_to_demon(scene);
            demon *gone = which == victim::field ? field : which == victim::other ? other : scene;
            static_cast<edit_string_demon *>(field)->on_leave = row.policy;
            const auto kill = [gone] { demon_destroy_message(gone); };
            (row.policy == on_leave_ask ? while_asked : also) = kill;
            answer = answer_yes;
            static_cast<iris_window_demon *>(scene)->on.destroy = iris_demon_destroy;
            demon_keyboard_client_message(field, field);
            demon_message m;
            m.code = msg_key;
            m.key = '7';
            send_demon_message(scene, nullptr, m);
            m.key = '\r';
            if (row.by_enter)
                send_demon_message(scene, nullptr, m);
            else
                demon_keyboard_client_message(other, other);
            EXPECT_FALSE(while_asked || also) << "it was told";
            demon_destroy_message(kept.get());
        }
    EXPECT_EQ(timer3_function, nullptr);
}

TEST_F(text_entry, fields_that_die_with_the_keyboard_leave_nothing) {
    after([&] { enter_name(), type("5"); });
    name->on_leave = on_leave_ask;
    EXPECT_EQ(after([&] { destroyWidget(name); }), "");
    EXPECT_EQ(asked, "");
    EXPECT_EQ(timer3_function, nullptr);
    EXPECT_EQ(holder(), nullptr);
    screen_point before, behind;
    gl_get_valuator(&before.x, &before.y);
    tap(display::key_right);
    run();
    gl_get_valuator(&behind.x, &behind.y);
    EXPECT_EQ(behind.x, before.x + 1) << "the arrow keys are given back";
}

TEST_F(text_entry, plain_string_demons_take_keys_under_the_pointer) {
    string_demon *plain = create_string_demon(nullptr, 100, 24, "a");
    positionWidgetRel(plain, window, 10, 130);
    addWidget(plain, window);
    drawWidget(window);
    after([&] { move(50, 140), type("bc\b1\r\t"), tap(display::key_f1); });
    EXPECT_EQ(toolkit::text_of(plain->line), "ab1");
}

} // namespace toolkit
