// What commands compute and draw, without files: JSON, bars, differences, sheets.
#include "tools/reel/bars.h"
#include "tools/reel/difference.h"
#include "tools/reel/digits.h"
#include "tools/reel/json.h"
#include "tools/reel/painting.h"
#include "tools/reel/parallel.h"
#include "tools/reel/sheet_layout.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <random>

namespace reel {

namespace {

TEST(json, is_well_formed_whatever_the_text) {
    const struct {
        std::string text;
        const char *expected;
    } cases[] = {
        {"a b é 影", "\"a b é 影\""},
        {"\"\\\n\x01", "\"\\u0022\\u005c\\u000a\\u0001\""},
        {"x\xFF\x80y", "\"x\\ufffd\\ufffdy\""},
        {"\xC3", "\"\\ufffd\""},                                  // cut off
        {"\xC0\xAF", "\"\\ufffd\\ufffd\""},                       // longer than it need be
        {"\xE0\x80\xAF", "\"\\ufffd\\ufffd\\ufffd\""},            // likewise
        {"\xED\xA0\x80", "\"\\ufffd\\ufffd\\ufffd\""},            // half of a pair
        {"\xF4\x90\x80\x80", "\"\\ufffd\\ufffd\\ufffd\\ufffd\""}, // beyond the last character
        {"\xF0\x9F\x8E\xAC", "\"\xF0\x9F\x8E\xAC\""},
    };
    for (const auto &each : cases) {
        json_text json;
        add_json(json, each.text);
        EXPECT_EQ(json.text, each.expected);
    }
}

TEST(json, commas_stand_between_values_only) {
    json_text json;
    open_json(json, '[');
    for (int i = 0; i < 2; ++i) {
        break_json(json);
        open_json(json, '{');
        name_json(json, "a"), add_json(json, i);
        name_json(json, "b");
        open_json(json, '[');
        close_json(json, ']');
        name_json(json, "c"), add_json(json, std::numeric_limits<double>::infinity(), 3);
        name_json(json, "d"), add_json(json, 0.5, 3);
        name_json(json, "e"), add_json(json, true);
        close_json(json, '}');
    }
    close_json(json, ']');
    EXPECT_EQ(json.text, "[{\"a\": 0, \"b\": [], \"c\": null, \"d\": 0.500, \"e\": true},\n"
                         " {\"a\": 1, \"b\": [], \"c\": null, \"d\": 0.500, \"e\": true}]");
}

TEST(bars, show_what_is_there) {
    const double none = std::nan("");
    const struct {
        std::vector<double> values;
        bar_kind kind;
        const char *expected;
    } cases[] = {
        {{}, bar_kind::peaks, ""},
        {{0, 0}, bar_kind::peaks, "  "},
        {{8, 4, 1, 0, none}, bar_kind::peaks, "@=. x"},
        {{5, 5, 0, 5}, bar_kind::levels, "@@ @"},
        {{100, 108, 104, 0, none}, bar_kind::levels, ".@= x"},
    };
    for (const auto &each : cases)
        EXPECT_EQ(draw_bars(each.values, each.kind, false), each.expected);

    // One frame of a thousand is not lost between the others.
    std::vector<double> many(1000, 1);
    many[517] = 100;
    const std::string peaks = draw_bars(many, bar_kind::peaks, false);
    EXPECT_EQ(peaks.size(), max_bars);
    EXPECT_EQ(peaks.find('@'), 517 * max_bars / 1000);
    EXPECT_EQ(draw_bars({many.data(), 1}, bar_kind::peaks, true), "█");
}

image_buffer make_noise(int width, int height, unsigned seed) {
    std::mt19937 random(seed);
    image_buffer made = make_picture(width, height, 0);
    for (std::uint32_t &word : made.words)
        word = static_cast<std::uint32_t>(random()); // with something in the unused byte
    return made;
}

int channel_of(const image_buffer &picture, int x, int y, int channel) {
    const auto at = static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                    static_cast<std::size_t>(x);
    return static_cast<int>(picture.words[at] >> (8 * channel) & 0xFF);
}

// Against the plain definition, on rows longer than a run of the measuring loop.
TEST(difference, is_that_of_the_definition) {
    for (const picture_part &part : {picture_part{1, 1}, {37, 5}, {32767, 2}}) {
        const image_buffer a = make_noise(part.width + 3, part.height, 1);
        image_buffer b = make_noise(part.width, part.height + 2, 2);
        b.words[0] = a.words[0] ^ 0xFF000000;
        picture_difference found;
        measure_difference(a, b, part, found);
        picture_difference expected;
        expected.samples = std::int64_t{3} * part.width * part.height;
        for (int y = 0; y < part.height; ++y)
            for (int x = 0; x < part.width; ++x) {
                bool differs = false;
                for (int i = 0; i < 3; ++i) {
                    const int by = std::abs(channel_of(a, x, y, i) - channel_of(b, x, y, i));
                    differs = differs || by > 0;
                    expected.greatest = std::max(expected.greatest, by);
                    expected.squared_error += static_cast<std::uint64_t>(by * by);
                }
                expected.pixels += differs ? 1 : 0;
            }
        EXPECT_EQ(found.samples, expected.samples);
        EXPECT_EQ(found.squared_error, expected.squared_error);
        EXPECT_EQ(found.pixels, expected.pixels);
        EXPECT_EQ(found.greatest, expected.greatest);
    }
    // Black against white, the greatest there is, must not overflow.
    picture_difference found;
    measure_difference(make_picture(32767, 1, 0), make_picture(32767, 1, 0xFFFFFF), {32767, 1},
                       found);
    EXPECT_EQ(found.squared_error, 3ULL * 255 * 255 * 32767);
    EXPECT_EQ(psnr(found.squared_error, found.samples), 0);
    EXPECT_NEAR(psnr(1, 3), 20 * std::log10(255.0) + 10 * std::log10(3.0), 1e-9);
    EXPECT_TRUE(std::isinf(psnr(0, 3)));
}

TEST(difference, is_painted_so_that_it_is_seen) {
    const image_buffer a = make_picture(16, 4, 0x102030);
    image_buffer b = a;
    b.words[5] = 0x101D30; // green by 3
    const picture_part part = {16, 4};
    EXPECT_EQ(choose_gain(a, a, part), 1);
    EXPECT_EQ(choose_gain(a, b, part), 64);
    EXPECT_EQ(choose_gain(a, make_picture(16, 4, 0xFF2030), part), 1);
    image_buffer made;
    ASSERT_EQ(paint_difference(a, b, part, 64, false, made), 0);
    ASSERT_EQ(made.width, 3 * 16 + 2 * 8);
    EXPECT_EQ(made.words[0], a.words[0]);
    EXPECT_EQ(made.words[24 + 5], b.words[5]);
    EXPECT_EQ(made.words[48 + 5], 64U * 3 << 8);
    EXPECT_EQ(made.words[48 + 4], 0U);
    ASSERT_EQ(paint_difference(a, b, part, 255, true, made), 0);
    EXPECT_EQ(made.width, 16);
    EXPECT_EQ(made.words[5], 0xFF00U); // no overflow into the next channel

    // What is too wide for a row of three stands in a column, the first one on top.
    const image_buffer wide = make_picture(20000, 1, 0x0000FF);
    ASSERT_EQ(paint_difference(wide, make_picture(20000, 1, 0), {20000, 1}, 1, false, made), 0);
    EXPECT_EQ(made.height, 3 + 2 * 8);
    EXPECT_EQ(made.words.back(), 0x0000FFU);
}

// Whatever the sizes, no light is lost and none is made.
TEST(painting, resampling_keeps_the_mean) {
    for (const auto &[width, height] : {std::pair(7, 5), {3, 11}, {64, 48}, {1, 1}, {50, 1}}) {
        image_buffer made;
        resample_picture(make_picture(50, 31, 0xC86432), width, height, made);
        for (const std::uint32_t word : made.words)
            ASSERT_EQ(word, 0xC86432U);
        const image_buffer noise = make_noise(50, 31, 3);
        resample_picture(noise, width, height, made);
        ASSERT_EQ(made.words.size(), static_cast<std::size_t>(width * height));
        for (int i = 0; i < 3; ++i) {
            double before = 0;
            double after = 0;
            for (int y = 0; y < 31; ++y)
                for (int x = 0; x < 50; ++x)
                    before += channel_of(noise, x, y, i) / (50.0 * 31);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    after += channel_of(made, x, y, i) / (1.0 * width * height);
            EXPECT_NEAR(before, after, 0.5) << width << "x" << height;
        }
    }
    // Twice as large: every pixel four times, none of them blurred.
    const image_buffer noise = make_noise(9, 6, 4);
    image_buffer made;
    resample_picture(noise, 18, 12, made);
    for (int y = 0; y < 12; ++y)
        for (int x = 0; x < 18; ++x)
            ASSERT_EQ(channel_of(made, x, y, 1), channel_of(noise, x / 2, y / 2, 1));
}

TEST(painting, digits_stay_in_their_place) {
    std::vector<std::vector<std::uint32_t>> shapes;
    for (const char c : std::string("0123456789:-")) {
        const std::string text = {c};
        image_buffer picture = make_picture(2 * digits_width(text, 2) + 4, 30, 0);
        draw_digits(picture, 2, 4, text, 2, 1);
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                if (channel_of(picture, x, y, 0) != 0) {
                    EXPECT_TRUE(x >= 2 && x < 2 + digits_width(text, 2)) << c;
                    EXPECT_TRUE(y >= 4 && y < 4 + 2 * digits_height) << c;
                }
        for (const auto &other : shapes)
            EXPECT_NE(other, picture.words) << c;
        shapes.push_back(picture.words);
    }
    image_buffer small = make_picture(5, 5, 0);
    draw_digits(small, -3, -3, "88888", 3, 1); // mostly outside
    EXPECT_NE(small.words, make_picture(5, 5, 0).words);
}

TEST(sheet_layout, cells_are_apart_and_inside) {
    const sheet_wishes cases[] = {
        {1, 640, 480, 0, 0, 0},          {7, 640, 480, 0, 0, 0},     {96, 480, 360, 0, 0, 0},
        {100000, 1920, 1080, 0, 0, 0},   {240, 1080, 1920, 0, 0, 0}, {240, 16, 16, 0, 0, 0},
        {240, 1920, 1080, 100, 10, 777}, {50, 640, 480, 80, 0, 0},   {240, 4096, 400, 0, 3, 8000},
        {1000, 320, 240, 0, 50, 4000},   {12, 640, 480, 12, 5, 900},
    };
    for (const sheet_wishes &wishes : cases) {
        SCOPED_TRACE(std::to_string(wishes.pictures) + " of " +
                     std::to_string(wishes.picture_width));
        sheet_layout layout;
        std::string fault;
        ASSERT_EQ(lay_out_sheet(wishes, layout, &fault), 0) << fault;
        if (wishes.count > 0) {
            EXPECT_EQ(layout.count, std::min<std::int64_t>(wishes.count, wishes.pictures));
        }
        if (wishes.width > 0) {
            EXPECT_EQ(layout.width, wishes.width);
        }
        std::int64_t before = -1;
        for (int cell = 0; cell < layout.count; ++cell) {
            const std::int64_t position = position_of_cell(layout, wishes.pictures, cell);
            EXPECT_GT(position, before);
            before = position;
            const cell_place at = place_of_cell(layout, cell);
            ASSERT_TRUE(at.x >= 0 && at.y >= layout.label_height &&
                        at.x + layout.box_width <= layout.width &&
                        at.y + layout.box_height <= layout.height);
            for (int other = 0; other < cell; ++other) {
                const cell_place there = place_of_cell(layout, other);
                ASSERT_TRUE(std::abs(at.x - there.x) >= layout.box_width ||
                            std::abs(at.y - there.y) >= layout.box_height + layout.label_height);
            }
        }
        EXPECT_EQ(position_of_cell(layout, wishes.pictures, 0), 0);
        if (layout.count > 1) {
            EXPECT_EQ(before, wishes.pictures - 1);
        }
    }
    sheet_layout layout;
    std::string fault;
    EXPECT_EQ(lay_out_sheet({100, 640, 480, 100, 100, 500}, layout, &fault), -1);
    EXPECT_EQ(lay_out_sheet({5000, 640, 480, 5000, 1, 0}, layout, &fault), -1);
    EXPECT_NE(fault.find("pixels high"), std::string::npos) << fault;
}

TEST(parallel, all_work_is_done_and_faults_come_back) {
    std::atomic<int> next = 0;
    std::vector<int> done(1000);
    run_parallel(max_workers, [&](int worker) {
        EXPECT_TRUE(worker >= 0 && worker < count_workers());
        for (int i = next++; i < 1000; i = next++)
            ++done[static_cast<std::size_t>(i)];
    });
    EXPECT_EQ(done, std::vector<int>(1000, 1));
    EXPECT_THROW(run_parallel(2, [](int) { throw std::bad_alloc(); }), std::bad_alloc);
}

} // namespace

} // namespace reel
