#include "platform/gl/cursors.h"
#include "platform/gl/drawing.h"
#include "tests/platform/gl/gl_fixture.h"

namespace memory = display::memory;
using entry = std::pair<gl::device, int>;

namespace {

constexpr int screen_height = memory::default_screen.y;

// What the user sees of a window at a place counted from its lower left corner.
std::uint32_t seen(display::window_id id, int x, int y) {
    const memory::shown_picture p = memory::picture(id);
    return p.pixels.at(static_cast<std::size_t>((p.height - 1 - y) * p.width + x));
}

void fill(int red, int x1, int y1, int x2, int y2) {
    gl::RGBcolor(red, 0, 0);
    gl::rectfi(x1, y1, x2, y2);
}

std::uint32_t word(int red) {
    return static_cast<std::uint32_t>(red) << 16;
}

} // namespace

struct gl_windows : gl_test::gl_fixture {};

TEST_F(gl_windows, open_where_they_are_asked_to) {
    const int w = open_window(100, 200, 300, 150);
    EXPECT_EQ(memory::facts(newest()).area,
              (display::rectangle{100, screen_height - 200 - 150, 300, 150}));
    int x = 0, y = 0, width = 0, height = 0;
    gl::getorigin(&x, &y);
    gl::getsize(&width, &height);
    EXPECT_EQ((std::array{x, y, width, height}), (std::array{100, 200, 300, 150}));

    gl::prefsize(40, 30);
    gl::windialog(w);
    const int dialog = gl::winopen("D");
    EXPECT_EQ(memory::facts(newest()).kind, display::window_kind::dialog);
    EXPECT_NE(memory::facts(newest()).owner, 0);
    gl::noborder();
    gl::prefposition(5, 5, 6, 6);
    const int menu = gl::winopen(nullptr);
    EXPECT_EQ(memory::facts(newest()).kind, display::window_kind::popup);
    EXPECT_EQ(memory::facts(newest()).area, (display::rectangle{5, screen_height - 7, 1, 1}));
    EXPECT_EQ(gl::winget(), menu);
    gl::winset(dialog);
    gl::wintitle("née");
    EXPECT_EQ(gl::winget(), dialog);
    gl::winset(999);
    EXPECT_EQ(gl::winget(), dialog);
    gl::windialog(w);
    gl::windialog(0); // taken back
    const int plain = gl::winopen("plain");
    EXPECT_EQ(memory::facts(newest()).kind, display::window_kind::normal);
    gl::winclose(plain);
    gl::winclose(dialog);
    EXPECT_EQ(gl::winget(), 0);
    fill(1, 0, 0, 10, 10); // no current window: nothing happens
    EXPECT_EQ(memory::windows().size(), 2U);
}

TEST_F(gl_windows, opening_that_fails_leaves_nothing) {
    memory::refuse_open(true);
    testing::internal::CaptureStderr();
    EXPECT_EQ(gl::winopen("no"), -1);
    memory::refuse_open(false);
    (void)testing::internal::GetCapturedStderr();
    EXPECT_EQ(gl::winget(), 0);

    std::vector<int> all;
    for (int i = 0; i < gl::max_windows; i++) {
        gl::prefsize(2, 2);
        all.push_back(gl::winopen("w"));
        ASSERT_GT(all.back(), 0);
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(gl::winopen("one too many"), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("256"), std::string::npos);
    for (const int w : all)
        gl::winclose(w);
    const int fresh = gl::winopen("again");
    EXPECT_EQ(std::count(all.begin(), all.end(), fresh), 0) << "numbers are not used again soon";
}

TEST_F(gl_windows, a_new_size_is_answered_keeps_the_picture_and_asks_for_redraw) {
    const int w = open_window(0, 0, 20, 10);
    const display::window_id id = newest();
    gl::clear();
    fill(200, 0, 0, 3, 3);
    gl::winposition(50, 89, 60, 79); // 40 x 20
    int width = 0, height = 0;
    gl::getsize(&width, &height);
    EXPECT_EQ(std::pair(width, height), std::pair(40, 20));
    EXPECT_EQ(read(), entry(gl::REDRAW, w));
    fill(100, 30, 15, 39, 19); // drawn at once in the new part
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 0, 0), word(200));
    EXPECT_EQ(seen(id, 4, 0), 0U);
    EXPECT_EQ(seen(id, 39, 19), word(100));

    gl::winmove(51, 60);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV) << "a move alone needs no redraw";

    // A desktop with ideas of its own does not hang the program.
    memory::misplace_windows({7, 3});
    gl::winmove(0, 0);
    int x = 0, y = 0;
    gl::getorigin(&x, &y);
    EXPECT_EQ(std::pair(x, y), std::pair(7, -3));

    // Many sizes in a row are one redraw.
    for (int i = 1; i < 50; i++)
        push(display::event_kind::geometry, id, {0, 0, 40 + i, 20 + i});
    EXPECT_EQ(read(), entry(gl::REDRAW, w));
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
}

TEST_F(gl_windows, only_what_changed_is_shown) {
    open_window(0, 0, 100, 100);
    const display::window_id id = newest();
    gl::flush_windows();
    const auto before = memory::facts(id);
    gl::flush_windows();
    EXPECT_EQ(memory::facts(id).presents, before.presents);
    fill(9, 10, 10, 19, 14);
    EXPECT_EQ(seen(id, 10, 10), 0U) << "not before the queue is looked at";
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(memory::facts(id).pixels_shown - before.pixels_shown, 10 * 5);
    push(display::event_kind::redraw, id, {0, 0, 100, 100});
    EXPECT_EQ(gl::qtest(), gl::NULLDEV) << "uncovered: shown again from what is kept";
    EXPECT_EQ(memory::facts(id).pixels_shown - before.pixels_shown, 10 * 5 + 100 * 100);
}

TEST_F(gl_windows, double_buffering_swaps) {
    open_window(0, 0, 16, 16);
    const display::window_id id = newest();
    gl::RGBcolor(1, 0, 0);
    gl::clear();
    gl::doublebuffer();
    EXPECT_FALSE(gl::is_double_buffered()) << "in force after gconfig";
    gl::gconfig();
    fill(2, 0, 0, 7, 7);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 0, 0), word(1));
    gl::swapbuffers();
    EXPECT_EQ(seen(id, 0, 0), word(2));
    EXPECT_EQ(seen(id, 8, 8), word(1)) << "the back buffer began with the picture";
    fill(3, 0, 0, 3, 3);
    gl::swapbuffers();
    EXPECT_EQ(seen(id, 0, 0), word(3));
    EXPECT_EQ(seen(id, 5, 5), word(1)) << "what was shown two swaps ago";

    // Drawn in both, it stays through the swaps.
    gl::frontbuffer(true);
    fill(4, 10, 10, 15, 15);
    gl::swapbuffers();
    EXPECT_EQ(seen(id, 12, 12), word(4));
    gl::swapbuffers();
    EXPECT_EQ(seen(id, 12, 12), word(4));
    gl::backbuffer(false);
    fill(5, 10, 0, 15, 3);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 12, 1), word(5));
    gl::swapbuffers();
    EXPECT_NE(seen(id, 12, 1), word(5));

    // A new size takes along where the buffers differ, and no more.
    push(display::event_kind::geometry, id, {0, 0, 32, 48});
    EXPECT_EQ(read().first, gl::REDRAW);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    const std::int64_t shown = memory::facts(id).pixels_shown;
    gl::swapbuffers();
    EXPECT_EQ(seen(id, 12, 1), word(5));
    EXPECT_EQ(memory::facts(id).pixels_shown - shown, 16 * 8);

    gl::singlebuffer();
    gl::gconfig();
    fill(6, 0, 0, 15, 15);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 8, 8), word(6));
}

TEST_F(gl_windows, colour_map_windows_follow_their_map) {
    open_window(0, 0, 8, 8);
    const display::window_id id = newest();
    gl::cmode();
    gl::gconfig();
    gl::mapcolor(300, 10, 20, 30);
    gl::color(300);
    gl::rectfi(0, 0, 3, 3);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 0, 0), 0x0A141EU);
    gl::mapcolor(300, 255, 0, 0);
    gl::mapcolor(-1, 1, 1, 1);
    gl::mapcolor(gl::colour_map_size, 1, 1, 1);
    gl::color(gl::colour_map_size);
    EXPECT_EQ(gl::getcolor(), 300);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 0, 0), 0xFF0000U);
    push(display::event_kind::geometry, id, {0, 0, 12, 12});
    EXPECT_EQ(read().first, gl::REDRAW);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 0, 0), 0xFF0000U);
    // The back buffer has the window's size also when it had changed while there was none.
    for (const int size : {40, 9}) {
        gl::doublebuffer();
        gl::gconfig();
        gl::singlebuffer();
        gl::gconfig();
        gl::winposition(0, size - 1, 0, size - 1);
        EXPECT_EQ(read().first, gl::REDRAW);
        gl::doublebuffer();
        gl::gconfig();
        gl::rectfi(0, 0, size, size);
        gl::swapbuffers();
        EXPECT_EQ(seen(id, size - 1, size - 1), 0xFF0000U);
    }
    gl::RGBmode();
    gl::gconfig();
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 0, 0), 0U);
}

TEST_F(gl_windows, overlay_lies_over_the_picture_and_comes_off) {
    open_window(0, 0, 8, 8);
    const display::window_id id = newest();
    fill(50, 0, 0, 7, 7);
    gl::overlay(gl::overlay_planes);
    gl::gconfig();
    gl::drawmode(gl::OVERDRAW);
    gl::mapcolor(1, 0, 255, 0);
    gl::color(1);
    gl::rectfi(2, 2, 3, 3);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 2, 2), 0x00FF00U);
    EXPECT_EQ(seen(id, 4, 4), word(50));
    gl::drawmode(gl::NORMALDRAW);
    fill(60, 0, 0, 7, 7);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 2, 2), 0x00FF00U);
    gl::drawmode(gl::OVERDRAW);
    gl::color(0);
    gl::clear();
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 2, 2), word(60));
    gl::color(1);
    gl::rectfi(2, 2, 3, 3);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    gl::overlay(0);
    gl::gconfig();
    gl::drawmode(gl::NORMALDRAW);
    fill(70, 7, 7, 7, 7);
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(seen(id, 2, 2), word(60)) << "gone with its planes";
    EXPECT_EQ(seen(id, 7, 7), word(70));
}

TEST_F(gl_windows, states_and_cursors_reach_the_display) {
    const int w = open_window(0, 0, 8, 8);
    const display::window_id id = newest();
    gl::setcursor(gl::CURSOR_HAND);
    EXPECT_EQ(memory::facts(id).cursor, display::cursor_shape::hand);
    gl::cursoff();
    gl::setcursor(99);
    EXPECT_EQ(memory::facts(id).cursor, display::cursor_shape::none);
    gl::curson();
    EXPECT_EQ(memory::facts(id).cursor, display::cursor_shape::hand);
    const int other = open_window(0, 0, 8, 8);
    const display::window_id other_id = newest();
    gl::winset(w);
    gl::winpop();
    EXPECT_EQ(memory::windows().back(), id);
    gl::winpush();
    EXPECT_EQ(memory::windows().back(), other_id);
    gl::qdevice(gl::WINFREEZE);
    gl::iconify(other);
    EXPECT_EQ(read(), entry(gl::WINFREEZE, other));
    EXPECT_TRUE(gl::grab_pointer(w));
    memory::refuse_grab(true);
    EXPECT_FALSE(gl::grab_pointer(w));
    EXPECT_FALSE(gl::grab_pointer(12345));
}
