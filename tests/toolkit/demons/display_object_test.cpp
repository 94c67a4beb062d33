#include "tests/toolkit/graphics/graphics_fixture.h"
#include "tests/toolkit/objects/written.h"
#include "toolkit/demons/box_text.h"
#include "toolkit/demons/primitives.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/text.h"
#include "toolkit/objects/class_dump.h"

#include <algorithm>
#include <random>

namespace toolkit {

// A display object in a window, in RGB and in colour-map mode.
struct display_objects : graphics_fixture, testing::WithParamInterface<bool> {
    static constexpr screen_box area{100, 200, 120, 80};

    display_objects() {
        gl_init_font_table();
        wid = open_window(area, GetParam());
        shown = make_object({110, 210, 30, 20});
        gl_set_win(wid);
    }
    ~display_objects() override { gl_free_font_table(); }

    display_object *make_object(const screen_box &box) const {
        display_object *made = create_display_object(nullptr);
        made->box = box;
        made->window = wid;
        display_visibility_message(made, true);
        return made;
    }
    // Pixels of the box that differ from what the window showed before.
    static int changed(const std::vector<std::uint32_t> &before) {
        const std::vector<std::uint32_t> now = picture();
        int count = 0;
        for (std::size_t i = 0; i < now.size(); ++i)
            count += now[i] != before[i] ? 1 : 0;
        return count;
    }
    int wid = 0;
    display_object *shown = nullptr;
};
INSTANTIATE_TEST_SUITE_P(both_modes, display_objects, testing::Bool(), [](const auto &mode) {
    return mode.param ? std::string("by_index") : std::string("rgb");
});

TEST_P(display_objects, draws_only_while_visible_and_in_its_own_window) {
    const auto blank = picture();
    display_erase_message(shown); // and lines are drawn in the drawing colour from here on
    const int other = open_window({400, 200, 60, 40}, GetParam());
    display_draw_message(shown); // from another window
    EXPECT_EQ(gl_get_win(), wid);
    EXPECT_EQ(gl_inq_screenspace(), 255);
    EXPECT_EQ(changed(blank), 2 * 30 + 2 * 18);
    display_visibility_message(shown, false);
    EXPECT_EQ(send_message(shown, msg_get_visibility), 0);
    display_erase_message(shown);
    display_hilite_message(shown);
    EXPECT_EQ(changed(blank), 2 * 30 + 2 * 18) << "what can not be seen is left alone";
    display_visibility_message(shown, true);
    EXPECT_EQ(send_message(shown, msg_get_visibility), toolkit_true);
    display_erase_message(shown);
    EXPECT_EQ(changed(blank), 0) << "the ground is a new window's";
    shown->draw = nullptr;
    display_draw_message(shown);
    EXPECT_EQ(changed(blank), 0);

    shown->window = no_window; // found by what is seen at its place
    shown->draw = draw_do;
    gl_set_win(other);
    display_draw_message(shown);
    EXPECT_EQ(shown->window, wid);
    EXPECT_EQ(changed(blank), 96);
}

TEST_P(display_objects, moves_and_stays_within_its_numbers) {
    display_move_message(shown, {-20, 7});
    EXPECT_EQ(shown->box, (screen_box{90, 217, 30, 20}));
    shown->box.x = 32760;
    display_move_message(shown, {100, 0});
    EXPECT_EQ(shown->box.x, 32767);
    EXPECT_EQ(map_color_d_o(shown, bevel_text), bevel_block_first + bevel_text);
    shown->colour = 9999;
    EXPECT_EQ(map_color_d_o(shown, 0), -1);
}

TEST_P(display_objects, highlighting_twice_restores_every_pixel) {
    std::mt19937 random(5);
    for (int y = area.y; y < area.y + area.height; ++y)
        for (int x = area.x; x < area.x + area.width; ++x) {
            gl_set_draw_value(fixed_colours_first + 2 * static_cast<int>(random() % 24));
            gl_draw_point(x, y);
        }
    const auto before = picture();
    display_hilite_message(shown);
    const int turned = changed(before);
    EXPECT_EQ(turned, GetParam() ? 31 * 21 : 0);
    display_hilite_message(shown);
    EXPECT_EQ(changed(before), turned) << "highlighted already";
    EXPECT_EQ(shown->hilited, is_hilited);
    display_dehilite_message(shown);
    EXPECT_EQ(shown->hilited, 0);
    EXPECT_EQ(changed(before), 0);
    EXPECT_EQ(gl::getwritemask() & 0xFFFFU, 0xFFFFU);
}

TEST_P(display_objects, a_button_is_highlighted_alike_in_both_modes) {
    shown->draw = [](display_object *self) { paint_button(self->box, look_of(self)); };
    shown->hilite = do_hilite_bn;
    shown->dehilite = do_dehilite_bn;
    display_draw_message(shown);
    const auto normal = picture();
    display_hilite_message(shown);
    EXPECT_EQ(pixel(125, 220), pixel_of(hilited(bevel_block_first + bevel_face)));
    EXPECT_EQ(pixel(111, 228), pixel_of(hilited(bevel_block_first + bevel_light)));
    display_dehilite_message(shown);
    EXPECT_EQ(changed(normal), 0);
}

// Nothing paints outside of its box, whatever the box; and the states can be told apart.
TEST_P(display_objects, primitives_keep_to_their_boxes_and_show_their_states) {
    using painter = void (*)(const screen_box &, look);
    const std::vector<painter> painters = {
        paint_outlined_box,
        paint_button,
        paint_beveled_box,
        paint_rounded_box,
        [](const screen_box &b, look s) { paint_triangle(b, direction::up, s); },
        [](const screen_box &b, look s) { paint_triangle(b, direction::left, s); },
        [](const screen_box &b, look s) { draw_text_box(b, font_slot_bold, "Wide text", s); },
        [](const screen_box &b, look s) { draw_text_left_box(b, font_slot_small, "gjpq", s); },
        [](const screen_box &b, look) { contrast_box(b); },
        [](const screen_box &b, look) { erase_rounded_box(b); },
    };
    const std::vector<screen_box> boxes = {{110, 210, 60, 24}, {110, 210, 9, 40},
                                           {110, 210, 3, 3},   {110, 210, 1, 1},
                                           {110, 210, 0, 9},   {110, 210, 7, -2}};
    for (std::size_t p = 0; p < painters.size(); ++p)
        for (const screen_box &box : boxes) {
            std::vector<std::vector<std::uint32_t>> seen;
            for (const look state : {look::normal, look::hilited, look::disabled}) {
                gl_fill_box(area, colour_well);
                painters[p](box, state);
                seen.push_back(picture());
                for (int y = area.y; y < area.y + area.height; ++y)
                    for (int x = area.x; x < area.x + area.width; ++x) {
                        const screen_point at = {static_cast<std::int16_t>(x),
                                                 static_cast<std::int16_t>(y)};
                        ASSERT_TRUE(in_box(box, at) || pixel(x, y) == pixel_of(colour_well))
                            << "painter " << p << " at " << x << " " << y;
                    }
            }
            if (p < 8 && box.width > 20) {
                EXPECT_NE(seen[0], seen[1]) << p;
                EXPECT_NE(seen[0], seen[2]) << p;
            }
        }
}

TEST_P(display_objects, triangles_are_symmetrical) {
    gl_fill_box(area, colour_well);
    for (const int width : {24, 25}) {
        const screen_box box = {110, 210, static_cast<std::int16_t>(width), 18};
        gl_fill_box(box, colour_well);
        draw_up_tri(box);
        for (int y = 0; y < box.height; ++y)
            for (int x = 0; x < width / 2; ++x)
                ASSERT_EQ(pixel(box.x + x, box.y + y), pixel(box.x + width - 1 - x, box.y + y))
                    << width << " at " << x << " " << y;
    }
}

TEST_P(display_objects, an_own_cursor_leaves_the_picture_as_it_was) {
    display_draw_message(shown);
    const auto before = picture();
    boxcur(shown, {120, 215});
    erase_boxcur(shown, {120, 215});
    nullcur(shown, {120, 215});
    EXPECT_EQ(changed(before), 0);
    gl_fill_box({112, 212, 5, 5}, colour_accent);
    EXPECT_EQ(changed(before), 25) << "drawing goes to the picture again";
}

TEST_P(display_objects, long_texts_end_in_an_ellipsis_at_a_whole_character) {
    const std::string text = "\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F scene file";
    const auto width = [](std::string_view t) {
        text_size size;
        return gl_inquire_fm_font_size(t, &size, font_slot_normal_1);
    };
    EXPECT_EQ(fit_text(font_slot_normal_1, text, width(text)), text);
    std::size_t longest = text.size();
    for (int room = width(text) - 1; room > 0; --room) {
        const std::string cut = fit_text(font_slot_normal_1, text, room);
        ASSERT_TRUE(cut.ends_with("\xE2\x80\xA6"));
        ASSERT_LE(cut.size(), longest + 3);
        longest = cut.size() - 3;
        const std::string kept = cut.substr(0, longest);
        ASSERT_EQ(text.substr(0, longest), kept);
        ASSERT_TRUE((static_cast<unsigned char>(text[longest]) & 0xC0U) != 0x80U) << room;
        ASSERT_TRUE(longest == 0 || width(cut) <= room + 1) << room; // kerning
    }
}

constexpr std::string_view class_table = R"(class "display object class ", parent "object class "
  set: 1 live, 63 free, 88 bytes, 64 in a block
  slot   1 delete_object
  slot   5 init_me
  slot  10 edit_object
  slot  12 get_name_object
  slot  19 draw_me
  slot  20 erase_me
  slot  22 hilite_me
  slot  23 dehilite_me
  slot  24 move_me
  slot  27 set_my_visibility
  slot  28 get_my_visibility
)";

struct display_object_class : graphics_fixture {};
TEST_F(display_object_class, is_dumped_with_its_methods) {
    const display_object *made = create_display_object(nullptr);
    EXPECT_EQ(made->box, (screen_box{0, 0, 10, 10}));
    EXPECT_EQ(made->window, no_window);
    EXPECT_EQ(get_my_visibility(made), 0);
    const std::string all = written(dump_classes); // the newest class first
    EXPECT_EQ(all.substr(0, all.find("\nclass ") + 1), class_table);
    const std::string counts =
        written([](std::FILE *stream) { tabulate_classes(stream, nullptr); });
    EXPECT_TRUE(counts.starts_with("Class [display object class ] has 1 instances\n")) << counts;
}

TEST(boxes, know_their_pixels) {
    const screen_box box = {10, 20, 5, 4};
    EXPECT_TRUE(in_box(box, {10, 20}));
    EXPECT_TRUE(in_box(box, {14, 23}));
    EXPECT_FALSE(in_box(box, {15, 20}));
    EXPECT_FALSE(in_box(box, {10, 24}));
    EXPECT_FALSE(in_box(box, {9, 20}));
    EXPECT_TRUE(overlap_box(box, {14, 23, 1, 1}));
    EXPECT_FALSE(overlap_box(box, {15, 20, 9, 9}));
    EXPECT_FALSE(overlap_box(box, {12, 21, 0, 1}));
    EXPECT_TRUE(overlap_box({-32768, -32768, 32767, 32767}, {-5, -5, 32767, 32767}));
}

} // namespace toolkit
