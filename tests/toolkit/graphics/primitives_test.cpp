#include "tests/toolkit/graphics/graphics_fixture.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/spaces.h"

#include <algorithm>
#include <random>

namespace toolkit {

// In RGB windows and in colour-map windows.
struct primitives : graphics_fixture, testing::WithParamInterface<bool> {
    static constexpr screen_box area{100, 200, 60, 40};
    primitives() {
        wid = open_window(area, GetParam());
        gl_set_win(wid);
    }
    // Of the current window.
    static int count(int index) {
        const std::vector<std::uint32_t> all = picture();
        return static_cast<int>(std::count(all.begin(), all.end(), pixel_of(index)));
    }
    static void scribble(unsigned seed) {
        std::mt19937 random(seed);
        for (int y = 0; y < area.height; y++)
            for (int x = 0; x < area.width; x++) {
                gl_set_draw_value(fixed_colours_first + 2 * static_cast<int>(random() % 16));
                gl_draw_point(area.x + x, area.y + y);
            }
    }
    int wid = 0;
};
INSTANTIATE_TEST_SUITE_P(both_modes, primitives, testing::Bool(), [](const auto &mode) {
    return mode.param ? std::string("by_index") : std::string("rgb");
});

TEST_P(primitives, boxes_have_their_pixels_and_their_colours) {
    EXPECT_EQ(gl_inq_color_mode() == 0, GetParam());
    gl_fill_box({110, 210, 8, 5}, colour_accent);
    EXPECT_EQ(count(colour_accent), 40);
    EXPECT_EQ(pixel(110, 210), pixel_of(colour_accent));
    EXPECT_EQ(pixel(118, 210), pixel_of(colour_background));
    gl_draw_box({130, 210, 8, 5}); // still in the accent
    EXPECT_EQ(count(colour_accent), 40 + 22);
    gl_outline_fill_box({110, 210, 8, 5}, colour_well, colour_light_gray);
    EXPECT_EQ(count(colour_well), 6 * 3);
    EXPECT_EQ(count(colour_light_gray), 22);
    for (const screen_box &nothing : {screen_box{110, 220, 0, 5}, {110, 220, 5, -3}, {}}) {
        gl_fill_box(nothing, colour_white);
        gl_draw_box(nothing);
    }
    gl_outline_fill_box({150, 230, 1, 1}, colour_black, colour_white);
    EXPECT_EQ(count(colour_white), 1);
    EXPECT_EQ(count(colour_black), 0);
    EXPECT_EQ(inside({-32768, 32767, 5, 32767}, 30000), (screen_box{-2768, 32767, 0, 0}));
    gl_set_draw_value(-1);
    gl_set_draw_value(default_map_size);
    gl_draw_line(120, 230, 125, 230);
    EXPECT_EQ(count(colour_white), 7) << "a bad index changes nothing";
}

TEST_P(primitives, a_colour_is_what_the_map_says_when_it_is_drawn) {
    gl_fill_box({110, 210, 4, 4}, colour_gray);
    gl_map_color(colour_gray, 1, 2, 3);
    gl_fill_box({120, 210, 4, 4}, colour_gray);
    EXPECT_EQ(count(colour_gray), GetParam() ? 32 : 16) << "indices change with their map";
    gl::flush_windows();
    const auto seen = display::memory::picture(display::memory::windows().back());
    EXPECT_EQ(seen.pixels[static_cast<std::size_t>((area.height - 1 - 10) * area.width + 20)],
              0x010203U);
}

TEST_P(primitives, clip_boxes_nest) {
    gl_set_clip_box({110, 210, 20, 10});
    gl_set_clip_box({105, 205, 10, 10});
    gl_fill_box(area, colour_accent);
    EXPECT_EQ(count(colour_accent), 5 * 5) << "left and below";
    gl_reset_clip_box();
    gl_set_clip_box({126, 217, 20, 10});
    gl_fill_box(area, colour_gray);
    EXPECT_EQ(count(colour_gray), 4 * 3) << "right and above";
    gl_screenspace(); // selected already: the box stays
    gl_fill_box(area, colour_text);
    EXPECT_EQ(count(colour_text), 4 * 3);
    gl_set_clip_box({500, 500, 10, 10});
    gl_fill_box(area, colour_white);
    EXPECT_EQ(count(colour_white), 0) << "nothing in common";
    gl_reset_clip_box();
    gl_reset_clip_box();
    gl_fill_box(area, colour_well);
    EXPECT_EQ(count(colour_well), 20 * 10);
    gl_reset_clip_box();
    gl_reset_clip_box(); // once too often
    gl_fill_box(area, colour_text);
    EXPECT_EQ(count(colour_text), area.width * area.height);
}

TEST_P(primitives, an_applications_own_coordinates_come_back) {
    gl::reshapeviewport();
    gl::viewport(10, 29, 5, 24);
    gl::ortho2(0, 10, 0, 10);
    EXPECT_EQ(gl_inq_screenspace(), 0);
    const gl_viewport view = gl_get_viewport();
    const gl_matrix matrix = gl_get_matrix();
    gl_set_win(wid);
    EXPECT_NE(gl_inq_screenspace(), 0);
    gl_fill_box(area, colour_face); // the whole window, not the application's part
    EXPECT_EQ(count(colour_face), area.width * area.height);
    gl_put_viewport(view);
    gl_put_matrix(matrix);
    EXPECT_EQ(gl_inq_screenspace(), 0);
    EXPECT_EQ(gl_get_viewport(), (gl_viewport{10, 29, 5, 24}));
    gl_set_draw_value(colour_accent);
    gl::rectfi(5, 5, 6, 6);
    EXPECT_EQ(count(colour_accent), 9) << "two pixels each";
    gl_win_set(wid); // leaves them
    EXPECT_EQ(gl_inq_screenspace(), 0);
}

TEST_P(primitives, saved_rectangles_come_back_exactly) {
    scribble(1);
    const std::vector<std::uint32_t> before = picture();
    saved_rect *inner = gl_save_rect({110, 210, 20, 15});
    saved_rect *edge = gl_save_rect({90, 190, 30, 300}); // partly outside
    ASSERT_TRUE(inner != nullptr && edge != nullptr);
    EXPECT_EQ(gl_save_rect({0, 0, 50, 50}), nullptr);
    EXPECT_EQ(gl_save_rect({110, 210, 0, 5}), nullptr);
    gl_fill_box({110, 210, 20, 15}, colour_accent);
    gl_fill_box({100, 200, 20, 40}, colour_accent);
    ASSERT_NE(picture(), before);
    // Under the hardest circumstances: moved, clipped, masked, and another window current.
    gl::winposition(400, 459, 300, 339);
    gl_set_clip_box({0, 0, 1, 1});
    gl::writemask(1);
    const int other = open_window({700, 300, 30, 30});
    gl_draw_rect(inner);
    gl_draw_rect(edge);
    EXPECT_EQ(gl_get_win(), other);
    EXPECT_EQ(gl::winget(), gl_window_of(other));
    gl_set_win(wid);
    EXPECT_EQ(picture(), before);
    EXPECT_EQ(gl::getwritemask(), 1U) << "they are still in force";
    gl::writemask(gl::all_bits);
    gl_reset_clip_box();

    gl_delete_rect(edge);
    gl_draw_rect(edge); // no handle any more
    gl_delete_rect(edge);
    gl_set_win_color_mode(wid, !GetParam());
    gl_draw_rect(inner); // its pixels mean nothing now
    EXPECT_EQ(count(colour_background), area.width * area.height);
    gl_win_close(wid);
    gl_draw_rect(inner);
    gl_draw_rect(nullptr);
}

TEST_P(primitives, double_buffered_windows_are_drawn_in_both_buffers) {
    scribble(2);
    const std::vector<std::uint32_t> before = picture();
    gl_double_buffer(wid, true);
    EXPECT_EQ(picture(), before);
    gl_fill_box({110, 210, 8, 5}, colour_accent);
    const std::vector<std::uint32_t> after = picture();
    gl::swapbuffers();
    EXPECT_EQ(picture(), after);
    gl_double_buffer(wid, false);
    EXPECT_EQ(picture(), after);
}

TEST_P(primitives, pictures_are_written_where_there_are_colours) {
    const std::vector<std::uint32_t> four{0x010203, 0x040506, 0x070809, 0x0A0B0C};
    const std::vector<std::uint32_t> before = picture();
    gl_rect_write(110, 210, 111, 211, four);
    if (GetParam())
        EXPECT_EQ(picture(), before);
    else
        EXPECT_EQ(pixel(110, 211), four[2]);
}

} // namespace toolkit
