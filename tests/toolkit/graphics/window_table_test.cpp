#include "tests/toolkit/graphics/graphics_fixture.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/cursors.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/spaces.h"

namespace toolkit {

struct window_table : graphics_fixture {};

TEST_F(window_table, the_first_window_starts_everything_once) {
    noting_demon *first = make_demon();
    const int a = gl_win_open("one", first);
    const int b = gl_win_open(nullptr, make_demon({300, 200, 20, 30}));
    EXPECT_EQ(a, 0);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(num_wids, 2);
    EXPECT_EQ(curr_wid, b);
    EXPECT_EQ(script.god, first);
    EXPECT_EQ(script.inits, 1);
    using namespace display;
    const auto one = memory::facts(memory::windows()[0]);
    const auto two = memory::facts(memory::windows()[1]);
    EXPECT_EQ(one.title, "one");
    EXPECT_EQ(one.kind, window_kind::normal);
    EXPECT_EQ(one.area, (rectangle{100, screen_height - 240, 60, 40}));
    EXPECT_EQ(one.cursor, cursor_shape::hand); // number 2
    EXPECT_EQ(two.kind, window_kind::popup);
    EXPECT_EQ(memory::defined_cursor(cursor_shape::hand).origin, (point{8, 7}));
    for (const auto shape : {cursor_shape::cross, cursor_shape::hand, cursor_shape::wait})
        EXPECT_NE(memory::defined_cursor(shape), cursor_picture{});
    EXPECT_NE(gl_inq_screenspace(), 0);
    for (const std::uint32_t seen : picture())
        ASSERT_EQ(seen, pixel_of(colour_background));
}

TEST_F(window_table, records_are_used_again_and_bad_ids_are_harmless) {
    const int a = open_window(), b = open_window();
    object *of_b = gl_get_wid_demon(b);
    gl_win_close(a);
    EXPECT_EQ(curr_wid, no_window);
    EXPECT_EQ(gl_get_wid_demon(a), nullptr);
    const int c = open_window();
    EXPECT_EQ(c, a);
    EXPECT_EQ(num_wids, 2);
    EXPECT_EQ(gl_get_wid_demon(b), of_b);
    for (const int wid : {-1, num_wids, num_wids + 1000, batch_mode_window}) {
        EXPECT_EQ(gl_get_wid_demon(wid), nullptr);
        gl_set_wid_demon(wid, of_b);
        gl_win_close(wid);
        gl_win_pop(wid);
        gl_double_buffer(wid, true);
        gl_set_win(wid);
        EXPECT_EQ(gl_get_win(), no_window);
    }
    gl_close_iris_wid(12345);
    gl_refresh(12345);
    EXPECT_EQ(display::memory::windows().size(), 2U);
    // An owner that was taken away: the record is free, and its window does not stay behind.
    gl_set_wid_demon(b, nullptr);
    EXPECT_EQ(open_window(), b);
    EXPECT_EQ(display::memory::windows().size(), 2U);
    display::memory::refuse_open(true);
    EXPECT_EQ(gl_win_open("no", make_demon()), no_window);
    EXPECT_EQ(num_wids, 2);
}

TEST_F(window_table, batch_mode_opens_nothing) {
    setTarnBatchMode(1);
    EXPECT_EQ(gl_win_open("no", make_demon()), -2);
    EXPECT_EQ(num_wids, 0);
    EXPECT_TRUE(display::memory::windows().empty());
}

TEST_F(window_table, owners_and_users_are_asked_before_closing) {
    const int wid = open_window();
    auto *d = static_cast<noting_demon *>(gl_get_wid_demon(wid));
    const int gl_window = gl_window_of(wid);
    const auto closes = [&] {
        gl_close_iris_wid(gl_window);
        return gl_get_window_record(wid)->gl_window == no_window;
    };
    d->flags |= flag_stays_open | flag_ends_program;
    EXPECT_FALSE(closes());
    EXPECT_EQ(script.questions, 0);
    d->flags = flag_ends_program;
    EXPECT_FALSE(closes()); // no
    EXPECT_EQ(script.questions, 1);
    EXPECT_EQ(display::memory_driver().pointer(), (display::point{159, screen_height - 240}));
    static word asked;
    set_quit_function([](word argument) { return static_cast<int>(asked = argument); },
                      quit_refused);
    EXPECT_FALSE(closes());
    EXPECT_EQ(asked, quit_refused);
    EXPECT_EQ(script.questions, 1) << "the function is asked instead";
    EXPECT_EQ(d->destroyed, 0);
    EXPECT_EQ(curr_wid, wid) << "asking leaves the current window";
    set_quit_function([](word) { return 1; }, 0);
    EXPECT_TRUE(closes());
    EXPECT_EQ(d->destroyed, 1);
    EXPECT_FALSE(gl::is_window(gl_window));
    gl_win_close(wid);
    EXPECT_EQ(d->destroyed, 1) << "closed once only";
}

TEST_F(window_table, without_hooks_the_answer_is_no) {
    noting_demon *d = make_demon();
    set_window_hooks({});
    const int wid = gl_win_open("test", d);
    ASSERT_EQ(wid, 0);
    d->flags = flag_ends_program;
    gl_win_close(wid);
    EXPECT_NE(gl_window_of(wid), no_window);
    gl_refresh(all_windows);
    d->flags = 0;
    gl_win_close(wid);
    EXPECT_EQ(gl_window_of(wid), no_window);
}

TEST_F(window_table, anything_may_happen_while_closing) {
    // The owner deletes itself, and opens another window, which takes the record.
    const int wid = open_window();
    noting_demon *successor = make_demon();
    script.on_destroy = [&](noting_demon *d) {
        gl_win_close(wid);
        delete_object(d);
        EXPECT_EQ(gl_win_open("next", successor), wid);
    };
    gl_win_close(wid);
    EXPECT_EQ(gl_get_wid_demon(wid), successor);
    EXPECT_TRUE(gl::is_window(gl_window_of(wid)));
    EXPECT_EQ(curr_wid, wid);

    // The question's loop closes the window itself and opens another one with its id.
    script.on_destroy = [](noting_demon *d) { delete_object(d); };
    successor->flags = flag_ends_program;
    noting_demon *third = make_demon();
    script.answer = toolkit_true;
    script.on_question = [&] {
        successor->flags = 0;
        gl_win_close(wid);
        EXPECT_EQ(gl_win_open("third", third), wid);
    };
    gl_win_close(wid);
    EXPECT_EQ(gl_get_wid_demon(wid), third) << "the new window was not asked for";

    // An owner that is gone has no say and is told nothing, nor is who took its record.
    delete_object(third);
    noting_demon *stranger = make_demon();
    ASSERT_EQ(stranger, third);
    stranger->flags = flag_stays_open;
    EXPECT_EQ(gl_get_wid_demon(wid), nullptr);
    const int gl_window = gl_window_of(wid);
    gl_new_win("not its own", stranger);
    EXPECT_EQ(gl_window_of(wid), gl_window);
    gl_refresh(all_windows);
    gl_win_close(wid);
    EXPECT_EQ(stranger->destroyed + stranger->drawn, 0);
    EXPECT_TRUE(display::memory::windows().empty());
}

TEST_F(window_table, reopening_keeps_id_mode_and_the_current_window) {
    const int a = open_window(), b = open_window({300, 200, 20, 30}, true);
    auto *of_b = static_cast<noting_demon *>(gl_get_wid_demon(b));
    of_b->box = {320, 210, 50, 70};
    gl_set_win(a);
    const int before = gl_window_of(b);
    gl_new_win("new", of_b);
    EXPECT_FALSE(gl::is_window(before));
    EXPECT_EQ(gl_get_win(), a);
    EXPECT_EQ(gl::winget(), gl_window_of(a)) << "both sides agree on the current window";
    gl_set_win(b);
    EXPECT_EQ(gl_inq_color_mode(), 0);
    EXPECT_EQ(picture(), std::vector<std::uint32_t>(std::size_t{50} * 70, colour_background));
    gl_new_win("new", of_b);
    EXPECT_EQ(gl_get_win(), no_window);
    gl_set_win(b);
    int x = 0, y = 0;
    gl::getorigin(&x, &y);
    EXPECT_EQ(std::pair(x, y), std::pair(320, 210));
    gl_new_win("nobody's", make_demon());
    EXPECT_EQ(num_wids, 2);
}

TEST_F(window_table, windows_open_on_the_screen) {
    struct place {
        screen_box wanted;
        int x, y;
    };
    for (const place &p : {place{{10, 20, 30, 40}, 10, 20},
                           {{-5, -6, 30, 40}, 0, 0},
                           {{1270, 1000, 30, 40}, 1250, 984},
                           {{50, 60, 2000, 1500}, 0, 1024 - 1500},
                           {{-32768, 32767, 10, 10}, 0, 1014},
                           {{40, 40, 0, 0}, 40, 40}}) {
        noting_demon *d = make_demon(p.wanted);
        gl_check_demon_extent(d);
        EXPECT_EQ(d->box.x, p.x);
        EXPECT_EQ(d->box.y, p.y);
    }
}

TEST_F(window_table, the_window_under_a_point_is_the_one_seen_there) {
    const int below = open_window({100, 100, 100, 100}), above = open_window({150, 150, 100, 100});
    EXPECT_EQ(gl_get_win_pos(99, 100), no_window);
    EXPECT_EQ(gl_get_win_pos(100, 100), below);
    EXPECT_EQ(gl_get_win_pos(150, 150), above);
    EXPECT_EQ(gl_get_win_pos(249, 249), above);
    EXPECT_EQ(gl_get_win_pos(250, 249), no_window);
    gl_win_pop(below);
    EXPECT_EQ(gl_get_win_pos(150, 150), below);
    EXPECT_EQ(gl_get_win(), above);
    gl::iconify(gl_window_of(below));
    EXPECT_EQ(gl_get_win_pos(150, 150), above);
    gl_win_close(above);
    EXPECT_EQ(gl_get_win_pos(150, 150), no_window);
    EXPECT_EQ(gl_get_win_pos(INT_MIN, INT_MAX), no_window);
}

TEST_F(window_table, frozen_windows_are_drawn_when_they_thaw) {
    const int a = open_window(), b = open_window();
    const auto drawn = [&] {
        return std::pair(static_cast<noting_demon *>(gl_get_wid_demon(a))->drawn,
                         static_cast<noting_demon *>(gl_get_wid_demon(b))->drawn);
    };
    gl_refresh(all_windows);
    EXPECT_EQ(drawn(), std::pair(1, 1));
    gl_win_freeze(gl_window_of(a));
    gl_refresh(all_windows);
    gl_refresh(gl_window_of(a));
    EXPECT_EQ(drawn(), std::pair(1, 2));
    EXPECT_EQ(gl_get_win(), b);
    gl_win_thaw(gl_window_of(a));
    gl_win_thaw(gl_window_of(a));
    EXPECT_EQ(drawn(), std::pair(2, 2));
    gl_win_freeze(gl_window_of(b));
    gl_win_thaw(gl_window_of(b)); // nothing was missed
    EXPECT_EQ(drawn(), std::pair(2, 2));
}

} // namespace toolkit
