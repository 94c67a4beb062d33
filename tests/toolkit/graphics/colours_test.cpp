#include "tests/toolkit/graphics/graphics_fixture.h"
#include "tests/toolkit/objects/written.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/standard_colours.h"

#include <climits>
#include <cmath>
#include <fstream>
#include <random>
#include <sstream>

namespace toolkit {
namespace {

int first_of_new(color_map *map, int count) {
    return gl_get_color_map_index(map, gl_create_color_block(map, count));
}

// The colour that the display's table has for an index, packed.
std::uint32_t shown(int index) {
    int red = 0, green = 0, blue = 0;
    gl::getmcolor(index, &red, &green, &blue);
    std::uint32_t colour = 0;
    gl_pack_color(&colour, red, green, blue);
    return colour;
}

std::uint32_t stored(const color_map *map, int index) {
    std::uint32_t colour = 0;
    gl_get_color_map_entry(map, index, &colour);
    return colour;
}

} // namespace

struct colours : graphics_fixture {
    color_map *map = gl_create_local_color_map(1024, 1);
};

TEST_F(colours, blocks_are_found_first_fit_up_to_the_ends) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(gl_create_color_block(map, 895), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ran out of unused color blocks of size 895 between 128 and 1024\n");
    EXPECT_EQ(first_of_new(map, 16), 128);
    EXPECT_EQ(first_of_new(map, 1), 144);
    EXPECT_EQ(gl_define_color_block(map, 0, 150, 10), 2);
    EXPECT_EQ(first_of_new(map, 5), 145) << "exactly the gap";
    EXPECT_EQ(first_of_new(map, 5), 160);
    EXPECT_EQ(gl_get_color_map_index(map, 2), 150);

    color_map *full = gl_create_local_color_map(16, 0);
    EXPECT_EQ(first_of_new(full, 894), 128);
    EXPECT_EQ(full->size, 1022) << "a map grows to what it hands out";
    testing::internal::CaptureStderr();
    for (const int count : {1, 0, -1, INT_MIN, INT_MAX, 896})
        EXPECT_EQ(gl_create_color_block(full, count), -1) << count;
    testing::internal::GetCapturedStderr();

    color_map *ends = gl_create_local_color_map(1024, 3);
    gl_define_color_block(ends, 128, 128, 893);
    EXPECT_EQ(first_of_new(ends, 1), 1021);
    testing::internal::CaptureStderr();
    EXPECT_EQ(gl_create_color_block(ends, 1), -1) << "1022 and 1023 are never handed out";
    testing::internal::GetCapturedStderr();
}

// Against a plain table of taken indices, with blocks of the caller's choice in between.
TEST_F(colours, any_series_of_blocks_is_first_fit) {
    std::mt19937 random(6);
    std::vector<bool> taken(4096);
    testing::internal::CaptureStderr();
    for (int i = 0; i < 300; i++) {
        const int count = 1 + static_cast<int>(random() % 12);
        int expected = -1;
        if (i % 5 == 0) {
            expected = static_cast<int>(random() % 1000);
            gl_define_color_block(map, expected, expected, count);
        } else {
            for (int s = 128; s < 1023 - count && expected < 0; s++)
                if (std::find(taken.begin() + s, taken.begin() + s + count, true) ==
                    taken.begin() + s + count)
                    expected = s;
            ASSERT_EQ(first_of_new(map, count), expected);
        }
        if (expected >= 0)
            std::fill_n(taken.begin() + expected, count, true);
    }
    testing::internal::GetCapturedStderr();
    EXPECT_GT(map->blocks.size(), 100U);
    EXPECT_EQ(map->capacity, static_cast<int>(map->blocks.size())) << "grown one by one";
}

TEST_F(colours, entries_are_written_where_their_block_says) {
    const int ramp = gl_define_color_block(map, 2000, 300, 4);
    gl_define_color_block(map, 2100, 302, 4); // overlaps: the first one counts
    gl_set_color_map_entry(map, 303, 0x11223300);
    EXPECT_EQ(stored(map, 303), 0x11223300U);
    EXPECT_EQ(shown(2003), 0U) << "nobody has the map";

    const int a = open_window({100, 200, 60, 40}, true), b = open_window();
    gl_set_window_color_map(a, map);
    EXPECT_EQ(shown(2003), 0x11223300U);
    gl_set_window_color_map_entry(a, 302, 0x44556600);
    gl_window_map_color(a, 305, 1, 2, 3);
    gl_set_color_map_entry(map, 400, 0x77000000); // in no block
    EXPECT_EQ(shown(2002), 0x44556600U);
    EXPECT_EQ(shown(2103), 0x01020300U);
    EXPECT_EQ(shown(400), 0x77000000U);
    std::uint32_t of_b = 1;
    gl_get_window_color_map_entry(b, 302, &of_b);
    EXPECT_EQ(of_b, 0U) << "b has the default map";

    const int copy = gl_copy_color_block(map, ramp);
    EXPECT_EQ(stored(map, gl_get_color_map_index(map, copy) + 3), 0x11223300U);
    testing::internal::CaptureStderr();
    for (const int block : {-1, 99, INT_MAX}) {
        EXPECT_EQ(gl_copy_color_block(map, block), -1);
        EXPECT_EQ(gl_get_color_map_index(map, block), -1);
    }
    for (const int bad : {-1, 4096, INT_MIN, INT_MAX}) {
        gl_set_color_map_entry(map, bad, 0xFF000000);
        EXPECT_EQ(stored(map, bad), 0U);
        EXPECT_EQ(gl_define_color_block(map, bad, 0, 1), -1);
        EXPECT_EQ(gl_define_color_block(map, 0, bad, 2), -1);
    }
    EXPECT_EQ(gl_define_color_block(map, 4095, 4095, 2), -1);
    testing::internal::GetCapturedStderr();
    std::int16_t red = 0, green = 0, blue = 0;
    gl_unpack_color(0xFF8001AA, &red, &green, &blue);
    EXPECT_EQ((std::array{red, green, blue}), (std::array<std::int16_t, 3>{255, 128, 1}));
}

TEST_F(colours, the_last_window_gives_the_table_back) {
    const std::uint32_t face = stored(nullptr, colour_face);
    gl_define_color_block(map, colour_face, 128, 1);
    gl_set_color_map_entry(map, 128, 0xABCDEF00);
    const int a = open_window(), b = open_window();
    gl_set_window_color_map(a, map);
    gl_set_window_color_map(b, map);
    gl_set_window_color_map(a, nullptr);
    EXPECT_EQ(shown(colour_face), 0xABCDEF00U);
    gl_win_close(b);
    EXPECT_EQ(shown(colour_face), face);
    gl_set_window_color_map(a, map);
    gl_destroy_local_color_map(&map);
    EXPECT_EQ(map, nullptr);
    EXPECT_EQ(gl_get_window_color_map(a), nullptr);
    EXPECT_EQ(shown(colour_face), face);
    gl_destroy_local_color_map(&map);
    gl_set_window_color_map(-1, nullptr);
    gl_set_window_color_map(INT_MAX, nullptr);
}

TEST_F(colours, overlay_colours_are_pushed_and_popped) {
    const auto overlay_colour = [](int index) {
        gl::drawmode(gl::OVERDRAW);
        const std::uint32_t colour = shown(index);
        gl::drawmode(gl::NORMALDRAW);
        return colour;
    };
    push_overlay_colors(); // without a window
    open_window();
    gl_overlay_map_color(1, 10, 20, 30);
    push_overlay_colors();
    gl_overlay_map_color(1, 40, 50, 60);
    push_overlay_colors();
    gl_overlay_map_color(1, 70, 80, 90);
    pop_overlay_colors();
    EXPECT_EQ(overlay_colour(1), 0x28323C00U);
    pop_overlay_colors();
    pop_overlay_colors(); // more than were pushed
    EXPECT_EQ(overlay_colour(1), 0x0A141E00U);
    EXPECT_EQ(shown(1), 0xFF000000U) << "the colour map has its own";
}

TEST_F(colours, the_fixed_table_is_as_it_was_agreed) {
    std::ifstream golden(GRAPHICS_GOLDENS "/colour_table.txt");
    std::stringstream expected;
    expected << golden.rdbuf();
    EXPECT_EQ(written([](std::FILE *stream) { tabulate_colours(stream, nullptr); }),
              expected.str());
    EXPECT_EQ(gl_get_color_map_index(nullptr, gl_inquire_bevel_button_block()), bevel_block_first);
    EXPECT_EQ(first_of_new(nullptr, 1), bevel_block_first + bevel_block_count);
}

// What can be read, what can be told apart, and no tint but the accents'.
TEST_F(colours, the_look_is_neutral_and_readable) {
    const auto lightness = [](int index) {
        const double v = stored(nullptr, index) >> 24;
        return v <= 10 ? v / 3294.6 : std::pow((v / 255 + 0.055) / 1.055, 2.4);
    };
    const auto contrast = [&](int a, int b) {
        const auto [low, high] = std::minmax({lightness(a), lightness(b)});
        return (high + 0.05) / (low + 0.05);
    };
    for (const int lit : {0, 1}) {
        for (const int ground :
             {colour_background, colour_dark_gray, colour_face, colour_well,
              bevel_block_first + bevel_face, bevel_block_first + bevel_pressed}) {
            EXPECT_GT(contrast(colour_text + lit, ground + lit), 4.5) << ground;
            EXPECT_LT(contrast(colour_disabled_text + lit, ground + lit),
                      contrast(colour_text + lit, ground + lit) / 1.8)
                << ground;
        }
        EXPECT_LT(lightness(colour_picture_ground + lit), lightness(colour_face + lit) / 2);
    }
    EXPECT_GT(contrast(colour_text_hilited, colour_face), 4.5);
    const auto tint = [](int index) {
        const std::uint32_t c = stored(nullptr, index);
        return (c >> 24) != (c >> 16 & 0xFFU) || (c >> 24) != (c >> 8 & 0xFFU);
    };
    for (const standard_colour &c : standard_colours()) {
        const bool may = c.index == colour_accent || c.index == colour_accent_ground ||
                         c.index == colour_progress || c.index == bevel_block_first + bevel_accent;
        EXPECT_EQ(tint(c.index), may) << c.name;
        EXPECT_EQ(tint(hilited(c.index)), may) << c.name;
    }
}

} // namespace toolkit
