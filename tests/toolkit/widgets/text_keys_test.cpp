// What text fields share with others: keys, the clipboard, the window that they are in.
#include "tests/toolkit/widgets/text_entry_fixture.h"
#include "toolkit/demons/keystroke_aliases.h"
#include "toolkit/events/event_input.h"

namespace toolkit {

namespace {

constexpr int shift = display::key_shift_left, ctrl = display::key_control_left;
using display::text_offer;

screen_point cursor_place() {
    screen_point place;
    gl_get_valuator(&place.x, &place.y);
    return place;
}

} // namespace

TEST_F(text_entry, editing_keys_reach_fields) {
    const struct {
        std::vector<std::pair<int, int>> keys;
        const char *text, *selected;
    } rows[] = {
        {{{display::key_home, 0}, {'x', 0}}, "xone two", ""},
        {{{display::key_home, 0}, {display::key_delete, 0}}, "ne two", ""},
        {{{display::key_home, 0}, {display::key_delete, ctrl}}, " two", ""},
        {{{display::key_delete, 0}}, "one two", ""}, // at the end
        {{{display::key_page_up, 0}, {display::key_end, shift}}, "one two", "one two"},
        {{{display::key_home, shift}, {display::key_delete, 0}}, "", ""},
        {{{display::key_home, 0}, {display::key_page_down, 0}, {'x', 0}}, "one twox", ""},
    };
    for (const auto &row : rows) {
        edit_string_demon_set_string(name, "one two");
        after([&] {
            rest(), enter_name();
            for (const auto &[code, with] : row.keys)
                tap(code, with);
        });
        EXPECT_EQ(seen(name), row.text);
        EXPECT_EQ(selected_text(name->line), row.selected);
        after([&] { type("\x1b"); });
    }
    after([&] { rest(), enter_size(), tap(display::key_home), tap(display::key_delete); });
    EXPECT_EQ(seen(size), "0");
}

TEST_F(text_entry, arrow_keys_stay_with_others_where_keys_do_not_go_to_the_field) {
    after([&] { enter_name(); });
    screen_point before = cursor_place();
    after([&] { tap(display::key_left); });
    EXPECT_EQ(cursor_place(), before) << "the field has it";
    demon *other = addWindow(700, 200, 200, 100, "other", nullptr, 0);
    drawWidget(other);
    after([&] { move(650, 50); }); // into it
    before = cursor_place();
    after([&] { tap(display::key_left); });
    EXPECT_EQ(cursor_place().x, before.x - 1);
    EXPECT_EQ(holder(), name);
}

TEST_F(text_entry, keys_that_edit_are_no_shortcuts_meanwhile) {
    for (const char key : {'c', 'x', 'a', 's'})
        aliasKeystroke(key, alias_ctrl, note, key);
    after([&] { enter_name(), tap('a', ctrl), tap('c', ctrl); });
    EXPECT_EQ(noted, "");
    EXPECT_EQ(display::memory::offered_text(text_offer::clipboard), "one two");
    EXPECT_EQ(after([&] { tap('s', ctrl), tap('x', ctrl); }), "s");
    EXPECT_EQ(seen(name), "");
    EXPECT_EQ(after([&] { type("\x1b"), tap('c', ctrl); }), "c");
}

TEST_F(text_entry, a_press_elsewhere_in_the_window_ends_typing) {
    demon *button = addButton(window, 250, 10, 80, 26, "Go", note, 'b');
    demon *slider = addSlider(window, 250, 50, 100, 20, 0, 100, 0, note, 'v');
    static_cast<void>(
        addLabel(window, 250, 90, 80, 20, "label", font_slot_bold, label_place::left));
    drawWidget(window);
    ASSERT_NE(slider, nullptr);
    const struct {
        int x, y;
        std::uint16_t policy;
        const char *text, *noted;
    } rows[] = {
        {290, 20, on_leave_accept, "one two5", "nb"}, // settled before the button's function
        {290, 20, on_leave_revert, "one two", "b"},   {300, 60, on_leave_accept, "one two5", "nv"},
        {290, 100, on_leave_accept, "one two5", "n"}, {290, 250, on_leave_accept, "one two5", "n"},
        {290, 250, on_leave_revert, "one two", ""},
    };
    for (const auto &row : rows) {
        name->on_leave = row.policy;
        edit_string_demon_set_string(name, "one two");
        updateWidgetValue(slider, 0);
        EXPECT_EQ(after([&] { rest(), enter_name(), type("5"), rest(), click(row.x, row.y); }),
                  row.noted);
        EXPECT_EQ(seen(name), row.text);
        EXPECT_EQ(holder(), nullptr);
    }
    // A question takes the button from what was pressed; so does the end of that.
    name->on_leave = on_leave_ask;
    for (const bool kills : {false, true}) {
        while_asked = [&] {
            push_event_filter(window, input_keyboard | input_button);
            run();
            pop_event_filter();
            if (kills)
                destroyWidget(button);
        };
        EXPECT_EQ(after([&] { rest(), enter_name(), type("5"), rest(), click(290, 20); }), "");
        EXPECT_NE(asked, "");
        EXPECT_EQ(holder(), nullptr);
        EXPECT_EQ(inq_event_filters(), 0U);
    }
}

// Press, moves and release wait already when the press is taken.
TEST_F(text_entry, hands_may_be_faster_than_the_program) {
    static int released;
    setWidgetB1UpFunction([](word) { ++released; });
    const int left = name->box.x - window_box.x + 6, y = 20;
    const struct {
        int to_x;
        const char *selected;
        std::int32_t cursor;
    } rows[] = {{left, "", 0}, {350, "one two", 7}, {left, "", 0}};
    for (const auto &row : rows) {
        released = 0;
        after([&] {
            move(left, y), rest();
            const std::int64_t usual = std::exchange(step_us, 0);
            press();
            if (row.to_x != left)
                move(row.to_x, y);
            release();
            step_us = usual;
        });
        EXPECT_EQ(holder(), name);
        EXPECT_EQ(name->line.cursor, row.cursor);
        EXPECT_EQ(selected_text(name->line), row.selected);
        EXPECT_EQ(released, 1);
        EXPECT_EQ(inq_event_filters(), 0U);
        after([&] { rest(), type("\x1b"); });
    }
    setWidgetB1UpFunction(nullptr);
}

TEST_F(text_entry, texts_of_other_programs_are_pasted_when_they_come) {
    const auto paste = [&] { rest(), enter_name(), tap('a', ctrl), tap('v', ctrl); };
    const std::pair<std::string_view, const char *> rows[] = {
        {"shot \xC3\xA9", "shot \xC3\xA9"},
        {"one\ntwo\r\n\tthree\r\n\n", "one two  three"},
        {"a\x01"
         "b\x7f",
         "a b"},
        {"caf\xE9!", "caf\xEF\xBF\xBD!"},
    };
    for (const auto &[given, pasted] : rows) {
        display::memory::offer_foreign_text(text_offer::clipboard, given);
        after(paste);
        EXPECT_EQ(seen(name), pasted);
    }
    const std::string long_text(edit_text_size - 1, 'w');
    display::memory::offer_foreign_text(text_offer::clipboard, long_text + long_text);
    after(paste);
    EXPECT_EQ(seen(name), long_text);
    edit_string_demon_set_string(name, "kept");
    display::memory::offer_foreign_text(text_offer::clipboard, "late", true);
    after([&] { paste(), type("x"); });
    EXPECT_EQ(seen(name), "x") << "who does not answer holds nothing up";

    display::memory::offer_foreign_text(text_offer::selection, "PICKED");
    edit_string_demon_set_string(name, "one two");
    after([&] {
        type("\x1b"), move(name->box.x - window_box.x + 6, 20);
        send(display::event_kind::button, display::button_middle, true);
        send(display::event_kind::button, display::button_middle, false);
    });
    EXPECT_EQ(seen(name), "PICKEDone two");
    EXPECT_EQ(holder(), name);

    // Who asked is gone when it comes.
    for (const bool dies : {false, true}) {
        after([&] { rest(), enter_name(); });
        display::memory::offer_foreign_text(text_offer::clipboard, "late");
        demon_message m;
        m.code = msg_key;
        m.key = 'v';
        send(display::event_kind::key, ctrl, true);
        run();
        send_demon_message(name, nullptr, m);
        dies ? destroyWidget(name) : demon_keyboard_client_message(name, nullptr);
        EXPECT_EQ(after([] {}), "");
        send(display::event_kind::key, ctrl, false);
        run();
        EXPECT_EQ(holder(), nullptr);
    }
}

} // namespace toolkit
