#include "tests/toolkit/demons/dispatch_fixture.h"

namespace toolkit {

class filters_test : public dispatch_fixture {
protected:
    static screen_point filtered(screen_point in) {
        screen_point out{-1, -1};
        cursor_filter(in, &out);
        return out;
    }
    static screen_point real_cursor() {
        screen_point at;
        gl_get_valuator(&at.x, &at.y);
        return at;
    }
};

TEST_F(filters_test, a_box_holds_the_cursor) {
    struct {
        screen_box box;
        screen_point in, out;
    } const rows[] = {
        {{100, 200, 50, 40}, {99, 199}, {100, 200}},
        {{100, 200, 50, 40}, {100, 239}, {100, 239}},
        {{100, 200, 50, 40}, {150, 240}, {149, 239}},
        {{100, 200, 50, 40}, {-32768, 32767}, {100, 239}},
        {{100, 200, 1, 1}, {120, 220}, {100, 200}},
        {{100, 200, 0, 40}, {7, 8}, {7, 8}},
        {{100, 200, 50, -3}, {7, 8}, {7, 8}},
        {{32000, 10, 32767, 10}, {32767, 5}, {32767, 10}},
    };
    for (const auto &row : rows) {
        push_filter(row.box, no_window);
        move_pointer({500, 500});
        static_cast<void>(gl::qtest());
        EXPECT_EQ(filtered(row.in), row.out) << &row - rows;
        const bool held = row.box.width > 0 && row.box.height > 0;
        const screen_point seen = real_cursor();
        EXPECT_EQ(seen.x, held ? std::min<int>(row.out.x, 1280) : 500) << &row - rows;
        EXPECT_EQ(seen.y, held ? row.out.y : 500) << &row - rows;
        EXPECT_EQ(pop_filter(), 1);
    }
}

TEST_F(filters_test, a_cursor_over_another_window_is_left_alone) {
    const int first = gl_win_open("first", make_demon({100, 100, 100, 100}, god));
    const int other = gl_win_open("other", make_demon({400, 100, 100, 100}, god));
    ASSERT_NE(first, other);
    push_filter({120, 120, 10, 10}, first);
    EXPECT_EQ(filtered({450, 150}), (screen_point{450, 150}));
    EXPECT_EQ(filtered({190, 190}), (screen_point{129, 129})) << "its own";
    EXPECT_EQ(filtered({700, 700}), (screen_point{129, 129})) << "no window";
    push_filter({120, 120, 10, 10}, no_window);
    EXPECT_EQ(filtered({450, 150}), (screen_point{129, 129})) << "a box of no window";
}

TEST_F(filters_test, boxes_are_a_stack) {
    cursor_filter = pass_time;
    EXPECT_EQ(pop_filter(), 0);
    EXPECT_EQ(cursor_filter, pass_time) << "nothing changes";

    push_filter({10, 10, 5, 5}, no_window);
    set_filter(filter_box, {50, 50, 5, 5}, no_window);
    set_filter(7, {90, 90, 5, 5}, no_window);
    EXPECT_EQ(filtered({0, 0}), (screen_point{50, 50}));
    EXPECT_EQ(pop_filter(), 1);
    EXPECT_EQ(filtered({0, 0}), (screen_point{10, 10}));
    EXPECT_EQ(pop_filter(), 1);
    EXPECT_EQ(filtered({0, 0}), (screen_point{0, 0}));

    for (int i = 0; i < 2; ++i)
        push_filter({10, 10, 5, 5}, no_window);
    set_filter(filter_off, {}, no_window);
    EXPECT_EQ(cursor_filter, null_filter);
    EXPECT_EQ(pop_filter(), 0);
}

TEST_F(filters_test, the_newest_filter_routes_the_classes_of_its_mask) {
    demon *a = make_demon({10, 10, 50, 50}, god);
    demon *b = make_demon({100, 10, 50, 50}, god);
    set_event_filter(a, input_keyboard);
    EXPECT_EQ(inq_event_filters(), 1U) << "the first one is made";
    EXPECT_EQ(inq_event_receiver(input_keyboard), a);
    EXPECT_EQ(inq_event_receiver(input_button), god);
    push_event_filter(b, input_button | input_none);
    EXPECT_EQ(inq_event_receiver(input_keyboard), god) << "only the newest counts";
    EXPECT_EQ(inq_event_receiver(input_button), b);
    set_event_filter(a, total_filter_mask);
    EXPECT_EQ(inq_event_filters(), 2U);
    EXPECT_EQ(inq_event_receiver(input_button), a);
    EXPECT_EQ(inq_event_receiver(input_none), god);
    pop_event_filter();
    EXPECT_EQ(inq_event_receiver(input_keyboard), a);
    clear_event_filter();
    EXPECT_EQ(inq_event_receiver(input_keyboard), god);
    pop_event_filter(); // of none

    for (demon *d : {a, b, b})
        push_event_filter(d, total_filter_mask);
    pop_event_filters_to(1);
    pop_event_filters_to(5);
    EXPECT_EQ(inq_event_filters(), 1U);
    EXPECT_EQ(inq_event_receiver(input_button), a);

    set_demon_god(b);
    EXPECT_EQ(inq_event_receiver(input_button), b) << "the filters were the other god's";
    set_demon_god(nullptr);
    push_event_filter(a, total_filter_mask);
    EXPECT_EQ(inq_event_receiver(input_button), nullptr);
    EXPECT_EQ(inq_event_filters(), 0U);
}

TEST_F(filters_test, a_destroyed_receiver_uncovers_the_filter_below) {
    demon *a = make_demon({10, 10, 50, 50}, god);
    demon *b = make_demon({100, 10, 50, 50}, god);
    push_event_filter(a, total_filter_mask);
    push_event_filter(b, total_filter_mask);
    god->box_in_child = b;
    demon_destroy_message(b);
    EXPECT_EQ(inq_event_receiver(input_motion), a);
    EXPECT_EQ(god->box_in_child, a);
    pop_event_filter(); // the one made for b
    EXPECT_EQ(inq_event_receiver(input_motion), a);
    demon *in_its_record = make_demon({100, 10, 50, 50}, god);
    ASSERT_EQ(in_its_record, b);
    demon_destroy_message(a);
    EXPECT_EQ(inq_event_receiver(input_motion), god);
}

TEST_F(filters_test, the_way_to_a_receiver_of_motion_is_linked) {
    demon *window = make_demon({0, 0, 500, 500}, god);
    demon *panel = make_demon({10, 10, 200, 200}, window);
    demon *other = make_demon({600, 0, 100, 100}, god);
    demon *inner = make_demon({20, 20, 9, 9}, panel);
    const auto unlink = [&] {
        god->box_in_child = other;
        window->box_in_child = panel->box_in_child = nullptr;
    };
    const auto is_linked = [&] {
        return god->box_in_child == window && window->box_in_child == panel &&
               panel->box_in_child == inner;
    };
    unlink();
    push_event_filter(inner, input_keyboard | input_button);
    EXPECT_EQ(god->box_in_child, other) << "not for motion";
    push_event_filter(inner, input_motion);
    EXPECT_TRUE(is_linked());
    push_event_filter(other, input_motion);
    EXPECT_EQ(god->box_in_child, other);
    pop_event_filter();
    EXPECT_TRUE(is_linked()) << "uncovered";
    unlink();
    set_event_filter(other, input_keyboard);
    EXPECT_FALSE(is_linked()) << "what a replaced filter covers stays covered";
}

TEST_F(filters_test, a_total_filter_hands_the_event_on_at_once) {
    demon *dialog = make_demon({100, 100, 300, 300}, god);
    demon *button = make_demon({110, 110, 20, 20}, dialog);
    demon_message m;
    m.code = msg_box_in;
    m.point = {115, 116};
    m.propagate = demon_on;
    set_total_filter(dialog, god, &m);
    EXPECT_EQ(dialog->cursor, m.point) << "nobody to hand it to";
    EXPECT_TRUE(notes.empty());
    dialog->box_in_child = button;
    set_total_filter(dialog, god, &m);
    EXPECT_EQ(notes, (std::vector<noted_message>{{button, msg_box_in, m.point, 0, 0, dialog}}));
    EXPECT_EQ(inq_event_filters(), 2U);
    for (const std::int16_t c : {input_motion, input_keyboard, input_button})
        EXPECT_EQ(inq_event_receiver(c), dialog);
    EXPECT_EQ(inq_event_receiver(input_none), god);

    on_message = [](demon *d, demon_message *) { demon_destroy_message(d->parent.get()); };
    set_total_filter(dialog, god, &m);
    EXPECT_EQ(inq_event_receiver(input_button), god);
    set_total_filter(god, nullptr, nullptr);
}

} // namespace toolkit
