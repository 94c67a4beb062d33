// What reel encode is made of: the writer's table, the pipeline, raw pixels, edits, the progress.
#include "tests/tools/reel/scratch_folder.h"
#include "tools/reel/encode_pipeline.h"
#include "tools/reel/movie_writer.h"
#include "tools/reel/progress.h"
#include "tools/reel/raw_pixels.h"
#include "tools/reel/reel_file.h"
#include "tools/reel/verify.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <random>
#include <set>
#include <thread>

namespace reel {

namespace {

using words = std::vector<std::uint32_t>;
using bytes = std::vector<std::uint8_t>;

// Picture n of a film in which all differ, noise in some places and even in others.
words picture_of(std::int64_t n, int width, int height) {
    std::minstd_rand noise(static_cast<unsigned>(n + 1));
    words made(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (std::size_t i = 0; i < made.size(); ++i)
        made[i] =
            i % 3 == 0 ? noise() & 0xFFFFFF : static_cast<std::uint32_t>(n * 0x010305 & 0xFFFFFF);
    return made;
}

bytes compress(const words &image, int width, int height) {
    bytes packed(movie::ir1_worst_case(width, height));
    packed.resize(static_cast<std::size_t>(movie::IR1_compress(image, width, height, packed, 12)));
    return packed;
}

// ---- the writer

TEST(movie_writer, the_table_fits_in_the_end) {
    const struct {
        std::int64_t guess;
        int frames;
        std::set<int> missing;
    } cases[] = {
        {-1, 0, {}},    {-1, 1, {}},      {-1, 256, {}},     {-1, 257, {}},
        {-1, 1100, {}}, {0, 0, {}},       {0, 5, {}},        {10, 3, {}},
        {10, 0, {}},    {10, 10, {}},     {10, 11, {}},      {3, 700, {}},
        {700, 3, {}},   {-1, 300, {255}}, {4, 6, {0, 4, 5}}, {-1, 258, {256, 257}},
        {1000, 2, {1}},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE("guess " + std::to_string(each.guess) + ", " + std::to_string(each.frames) +
                     " frames");
        const scratch_folder folder;
        const std::string name = folder / "a.reel";
        movie_writer writer;
        ASSERT_EQ(start_movie(name, {8, 8, 24, 12, each.guess}, writer), 0);
        const auto shown = [](int i) { return i % 5 == 4 ? i - 1 : i; }; // every fifth repeats
        for (int i = 0; i < each.frames; ++i)
            ASSERT_EQ(each.missing.contains(i)
                          ? add_missing_frame(writer)
                          : add_frame(writer, compress(picture_of(shown(i), 8, 8), 8, 8)),
                      0);
        ASSERT_EQ(finish_movie(writer), 0);
        EXPECT_EQ(folder.names(), std::vector<std::string>{"a.reel"});
        EXPECT_EQ(run_verify({{name}}), each.missing.empty() ? 0 : 1);

        reel_file film;
        ASSERT_EQ(open_reel(name, film), 0);
        ASSERT_EQ(film.frames.size(), static_cast<std::size_t>(each.frames));
        std::int64_t used = 28 + 4 * each.frames;
        frame_buffer buffer;
        for (int i = 0; i < each.frames; ++i) {
            const frame_entry &frame = film.frames[static_cast<std::size_t>(i)];
            EXPECT_EQ(frame.state == frame_state::missing, each.missing.contains(i)) << i;
            if (frame.state == frame_state::missing)
                continue;
            EXPECT_EQ(frame.offset, used) << i;
            used += 18 + frame.size;
            EXPECT_EQ(frame.state == frame_state::repeat,
                      i % 5 == 4 && !each.missing.contains(i - 1));
            ASSERT_EQ(decode_frame(film, frame.source, buffer), frame_fault::none);
            EXPECT_TRUE(buffer.packed == compress(picture_of(shown(i), 8, 8), 8, 8)) << i;
        }
        EXPECT_EQ(film.bytes, used) << "nothing is left of a larger table";
    }
}

// ---- the pipeline

constexpr int side = 20;

enum class source_kind { any_order, in_order, in_two_steps, in_parts };

// `count` pictures that take uneven times; the one at `broken` cannot be read, the one at `odd`
// is of another size.
frame_source make_source(source_kind kind, std::int64_t count, std::int64_t broken = -1,
                         std::int64_t odd = -1) {
    frame_source source;
    const auto read = [=](std::int64_t i, image_buffer &picture, std::string *fault) {
        if (i >= count)
            return read_result::end;
        std::this_thread::sleep_for(std::chrono::microseconds(i * 7919 % 13 * 40));
        *fault = "film (frame " + std::to_string(i) + "): broken";
        if (i == broken)
            return read_result::failed;
        picture.width = i == odd ? side + 1 : side;
        picture.height = side;
        picture.words = picture_of(i, picture.width, side);
        return read_result::got;
    };
    source.read = read;
    source.any_order = kind == source_kind::any_order || kind == source_kind::in_parts;
    source.count = source.any_order ? count : -1;
    source.name_of = [](std::int64_t i) { return "film (frame " + std::to_string(i) + ")"; };
    source.width = source.height = side;
    if (kind == source_kind::in_two_steps)
        source.fetch = [=](std::int64_t i, image_buffer &picture, std::string *fault) {
            const read_result result = read(i, picture, fault);
            if (result != read_result::got)
                return result;
            picture.scratch.resize(picture.words.size() * 4);
            std::memcpy(picture.scratch.data(), picture.words.data(), picture.scratch.size());
            picture.words.clear();
            return result;
        };
    if (kind == source_kind::in_two_steps || kind == source_kind::in_parts)
        source.unpack = [=](std::int64_t i, image_buffer &picture, int top, int rows,
                            std::span<std::uint32_t> part, std::string *fault) {
            *fault = "film (frame " + std::to_string(i) + "): broken";
            words whole = picture_of(i, side, side);
            if (kind == source_kind::in_two_steps)
                std::memcpy(whole.data(), picture.scratch.data(), whole.size() * 4);
            std::copy_n(whole.begin() + (side - top - rows) * side, rows * side, part.begin());
            return i == broken ? -1 : 0;
        };
    return source;
}

struct pipeline_result {
    int result = 0;
    std::string fault;
    std::vector<bytes> streams;
};

pipeline_result encode(frame_source source, int threads, std::int64_t full_at = -1) {
    edit_plan plan;
    pipeline_result got;
    EXPECT_EQ(plan_edit({}, side, side, plan, &got.fault), 0);
    image_buffer first;
    EXPECT_EQ(source.read(0, first, &got.fault), read_result::got);
    const auto sink = [&](std::span<const std::uint8_t> stream) {
        if (static_cast<std::int64_t>(got.streams.size()) == full_at)
            return -1;
        got.streams.emplace_back(stream.begin(), stream.end());
        return 0;
    };
    got.result = run_pipeline({&source, &plan, 12, threads}, std::move(first), sink, &got.fault);
    return got;
}

TEST(encode_pipeline, keeps_the_order_and_the_bytes) {
    constexpr int count = 200;
    std::vector<bytes> expected;
    for (int i = 0; i < count; ++i)
        expected.push_back(compress(picture_of(i, side, side), side, side));
    for (const source_kind kind : {source_kind::any_order, source_kind::in_order,
                                   source_kind::in_two_steps, source_kind::in_parts})
        for (const int threads : {1, 2, 3, 8}) {
            SCOPED_TRACE(std::to_string(static_cast<int>(kind)) + " on " + std::to_string(threads));
            const pipeline_result got = encode(make_source(kind, count), threads);
            EXPECT_EQ(got.result, 0) << got.fault;
            EXPECT_TRUE(got.streams == expected);
            EXPECT_EQ(encode(make_source(kind, 1), threads).streams.size(), 1U);
        }
}

// Whatever else goes wrong behind it, the first fault in order is told, and all before it is
// written.
TEST(encode_pipeline, tells_the_first_fault) {
    for (const source_kind kind : {source_kind::any_order, source_kind::in_order,
                                   source_kind::in_two_steps, source_kind::in_parts})
        for (const int threads : {1, 4})
            for (const std::int64_t at : {1, 2, 17}) {
                SCOPED_TRACE(std::to_string(static_cast<int>(kind)) + " " + std::to_string(at));
                const std::string frame = "film (frame " + std::to_string(at) + "): ";
                const pipeline_result broken = encode(make_source(kind, 40, at, at + 1), threads);
                EXPECT_EQ(broken.result, -1);
                EXPECT_EQ(broken.fault, frame + "broken");
                EXPECT_EQ(broken.streams.size(), static_cast<std::size_t>(at));
                const pipeline_result full = encode(make_source(kind, 40, at + 1), threads, at);
                EXPECT_EQ(full.result, -1);
                EXPECT_EQ(full.fault, "") << "the sink has told it";
                if (kind == source_kind::in_parts || kind == source_kind::in_two_steps)
                    continue; // pictures of one size
                const pipeline_result odd = encode(make_source(kind, 40, at + 1, at), threads);
                EXPECT_EQ(odd.fault, frame + "it is 21x20, but the frames before it are 20x20");
            }
}

// A picture in strips is the picture as a whole, whatever its size.
TEST(encode_pipeline, strips_make_the_same_stream) {
    const struct {
        int width, height;
    } cases[] = {{4, 4}, {5, 7}, {1922, 71}, {3000, 33}, {32767, 9}, {7, 3000}};
    for (const auto &each : cases) {
        const int width = each.width;
        const int height = each.height;
        frame_source source;
        source.width = width;
        source.height = height;
        source.count = 2;
        source.any_order = true;
        const words image = picture_of(3, width, height);
        source.unpack = [&](std::int64_t, image_buffer &, int top, int rows,
                            std::span<std::uint32_t> part, std::string *) {
            std::copy_n(image.begin() + std::ptrdiff_t{height - top - rows} * width,
                        std::ptrdiff_t{rows} * width, part.begin());
            return 0;
        };
        edit_plan plan;
        std::string fault;
        ASSERT_EQ(plan_edit({}, width, height, plan, &fault), 0);
        std::vector<bytes> streams;
        const auto sink = [&](std::span<const std::uint8_t> stream) {
            streams.emplace_back(stream.begin(), stream.end());
            return 0;
        };
        image_buffer first;
        first.width = width;
        first.height = height;
        first.words = image;
        ASSERT_EQ(run_pipeline({&source, &plan, 12, 2}, first, sink, &fault), 0) << fault;
        ASSERT_EQ(streams.size(), 2U);
        EXPECT_TRUE(streams[0] == compress(image, width, height));
        EXPECT_TRUE(streams[1] == streams[0]) << width << "x" << height;
    }
}

// ---- raw pixels

TEST(raw_pixels, every_format_and_width) {
    std::mt19937 random(7);
    const struct {
        raw_format format;
        std::size_t size;
        int red, green, blue, alpha; // bytes of a pixel
    } cases[] = {
        {raw_format::rgb24, 3, 0, 1, 2, -1}, {raw_format::bgr24, 3, 2, 1, 0, -1},
        {raw_format::rgba, 4, 0, 1, 2, 3},   {raw_format::bgra, 4, 2, 1, 0, 3},
        {raw_format::gray8, 1, 0, 0, 0, -1},
    };
    for (const auto &each : cases) {
        EXPECT_EQ(bytes_per_pixel(each.format), each.size);
        for (int width = 1; width < 40; ++width) {
            constexpr int height = 3;
            // Exactly as large as it has to be: the sanitizer sees what goes beyond.
            std::vector<std::byte> in(each.size * static_cast<std::size_t>(width * height));
            for (std::byte &value : in)
                value = static_cast<std::byte>(random() % 4 == 0 ? 255 : random());
            words fast(static_cast<std::size_t>(width * height), ~0U);
            words plain = fast;
            unpack_pixels(each.format, in, width, height, fast);
            unpack_pixels_plainly(each.format, in, width, height, plain);
            EXPECT_EQ(fast, plain);
            for (int i = 0; i < width * height; ++i) {
                const auto at = [&](int channel) {
                    return std::to_integer<int>(in[each.size * static_cast<std::size_t>(i) +
                                                   static_cast<std::size_t>(channel)]);
                };
                const double alpha = each.alpha < 0 ? 1 : at(each.alpha) / 255.0;
                const auto level = [&](int channel) {
                    return static_cast<std::uint32_t>(std::lround(at(channel) * alpha));
                };
                const int row = height - 1 - i / width;
                EXPECT_EQ(fast[static_cast<std::size_t>(row * width + i % width)],
                          level(each.blue) << 16 | level(each.green) << 8 | level(each.red));
            }
        }
    }
}

// ---- edits

TEST(picture_edit, texts) {
    std::optional<crop_area> crop;
    std::optional<picture_size> size;
    std::optional<double> scale;
    for (const char *text : {"", "8x8", "8x8+1", "8x8+1+", "8x8+1+1x", "0x8+0+0", "8x8-1+0",
                             "8x8+-1+0", "99999999999x1+0+0", " 8x8+0+0"})
        EXPECT_EQ(parse_crop(text, &crop), -1) << text;
    for (const char *text : {"", "8", "8x", "x8", "0x0", "-1x0", "-2x8", "8x8x8", "8 x 8"})
        EXPECT_EQ(parse_size(text, &size), -1) << text;
    for (const char *text : {"", "%", "0", "0%", "-1", "nan", "inf", "1e9", "50 %", "a"})
        EXPECT_EQ(parse_scale(text, &scale), -1) << text;
    EXPECT_FALSE(crop.has_value() || size.has_value() || scale.has_value());
    EXPECT_EQ(parse_crop("8x4+2+1", &crop), 0);
    EXPECT_TRUE(crop->width == 8 && crop->height == 4 && crop->left == 2 && crop->top == 1);
    EXPECT_EQ(parse_scale("50%", &scale), 0);
    EXPECT_DOUBLE_EQ(*scale, 0.5);
    EXPECT_EQ(parse_scale("0.25", &scale), 0);
    EXPECT_DOUBLE_EQ(*scale, 0.25);
}

TEST(picture_edit, crop_counts_from_the_top_left) {
    const struct {
        crop_area part;
        const char *fault; // part of it, or null
        words kept;        // from the bottom up
    } cases[] = {
        // 6 x 5, the value telling row from the top and column
        {{4, 4, 0, 0}, nullptr, {30, 31, 32, 33, 20, 21, 22, 23, 10, 11, 12, 13, 0, 1, 2, 3}},
        {{4, 4, 2, 1}, nullptr, {42, 43, 44, 45, 32, 33, 34, 35, 22, 23, 24, 25, 12, 13, 14, 15}},
        {{4, 4, 3, 0}, "4x4+3+0 is not inside the picture of 6x5", {}},
        {{4, 4, 0, 2}, "is not inside", {}},
        {{7, 4, 0, 0}, "is not inside", {}},
        {{4, 4, 2147483647, 0}, "is not inside", {}},
        {{4, 3, 0, 0}, "it is 4x3 pixels; a movie has 4x4", {}},
    };
    for (const auto &each : cases) {
        image_buffer picture;
        picture.width = 6;
        picture.height = 5;
        for (std::uint32_t row = 5; row-- > 0;)
            for (std::uint32_t column = 0; column < 6; ++column)
                picture.words.push_back(row * 10 + column);
        edit_plan plan;
        std::string fault;
        words spare;
        EXPECT_EQ(plan_edit({each.part, {}, {}}, 6, 5, plan, &fault), each.fault ? -1 : 0);
        if (each.fault != nullptr) {
            EXPECT_NE(fault.find(each.fault), std::string::npos) << fault;
            continue;
        }
        ASSERT_EQ(apply_edit(plan, picture, spare, &fault), 0) << fault;
        EXPECT_EQ(picture.words, each.kept);
        EXPECT_TRUE(picture.width == 4 && picture.height == 4);
    }
}

// ---- progress

TEST(progress, what_is_shown) {
    progress meter;
    meter.verb = "encoding";
    meter.done = 60;
    const struct {
        std::int64_t total;
        int columns;
        const char *text;
    } cases[] = {
        {-1, 0, "encoding 60 frames, 30.0 frames/s"},
        {59, 80, "encoding 60 frames, 30.0 frames/s"}, // a guess that was too low
        {240, 0, "encoding 60 of 240 frames, 30.0 frames/s, 0:06 to go"},
        {240, 80, "encoding [####--------------]  25% 60 of 240 frames, 30.0 frames/s, 0:06 to go"},
        {240, 66, "encoding  25% 60 of 240 frames, 30.0 frames/s, 0:06 to go"},
        {240, 20, "encoding  25% 60 of"},
        {60, 200,
         "encoding [########################################] 100% 60 of 60 frames, 30.0 frames/s, "
         "0:00 to go"},
    };
    for (const auto &each : cases) {
        meter.total = each.total;
        const std::string text = format_progress(meter, 2, each.columns);
        EXPECT_EQ(text, each.text);
        EXPECT_TRUE(each.columns == 0 || text.size() < static_cast<std::size_t>(each.columns));
    }
}

} // namespace

} // namespace reel
