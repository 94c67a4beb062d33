#include "player/frame_reader.h"
#include "tests/player/player_fixture.h"

#include <random>

namespace {

using namespace player;
using player_test::frame_colour;
using player_test::packed_frame;

class frame_reader_test : public player_test::player_fixture {
protected:
    // Asks for a frame; every pixel of the buffer must then have the colour of frame `shown`.
    void expect_shown(int asked, std::uint32_t colour) {
        args.current = asked;
        read_frame_from_file(args, ref);
        for (const std::uint32_t pixel : args.pixels.span())
            ASSERT_EQ(pixel, colour) << "asked for " << asked;
    }
};

TEST_F(frame_reader_test, repeats_show_the_nearest_earlier_picture_and_are_decoded_once) {
    open(write_movie({.frames = 5, .data = {{0, {}}, {2, {}}, {3, {}}}}), 50);
    expect_shown(50, 0); // nothing but repeats down to the start: black as it was
    expect_shown(53, frame_colour(1));
    args.pixels.span()[0] = 1; // shows whether the same data is decoded again
    args.current = 52;
    EXPECT_FALSE(read_frame_from_file(args, ref));
    EXPECT_EQ(args.pixels.span()[0], 1U);
    expect_shown(54, frame_colour(4));
    expect_shown(51, frame_colour(1));
}

TEST_F(frame_reader_test, a_frame_before_the_first_is_reported) {
    open(write_movie({.frames = 2}), 5);
    for (const int before : {4, 0, INT32_MIN}) {
        args.current = before;
        testing::internal::CaptureStderr();
        EXPECT_FALSE(read_frame_from_file(args, ref));
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "playertool: read_frame_from_file: Error reading movie file.\n");
    }
    testing::internal::CaptureStderr();
    args.current = 7; // behind the last one
    EXPECT_FALSE(read_frame_from_file(args, ref));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(frame_reader_test, damage_leaves_the_previous_picture_whole_and_is_said_once) {
    std::vector<std::uint8_t> cut = packed_frame(1);
    cut.resize(cut.size() - 4);
    std::vector<std::uint8_t> half = packed_frame(3);
    half[half.size() - movie::ir1_flat_bytes + 2] |= 0x80; // says detailed: longer than there is
    const std::vector<std::uint8_t> wrong_size = packed_frame(2, 4, 4);
    open(write_movie({.frames = 6, .data = {{1, cut}, {2, wrong_size}, {3, {9}}, {5, half}}}));
    expect_shown(0, frame_colour(0));
    testing::internal::CaptureStderr();
    for (int pass = 0; pass < 3; ++pass)
        for (const int damaged : {1, 2, 3, 5})
            expect_shown(damaged, frame_colour(0));
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::ranges::count(said, '\n'), 4) << said;
    expect_shown(4, frame_colour(4));
    expect_shown(1, frame_colour(4));
}

TEST_F(frame_reader_test, damage_before_any_picture_leaves_black) {
    std::vector<std::uint8_t> cut = packed_frame(0);
    cut.pop_back();
    open(write_movie({.frames = 1, .data = {{0, cut}}}));
    testing::internal::CaptureStderr();
    expect_shown(0, 0);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

// A screen that strips are drawn on.
struct strip_screen {
    static inline bool is_open = true;
    static inline int shown = 0; // whole frames
    static inline std::vector<std::uint32_t> pixels;

    static void draw(const play_args &args, int bottom, int rows,
                     std::span<const std::uint32_t> strip) {
        const auto width = static_cast<std::size_t>(args.width);
        pixels.resize(width * static_cast<std::size_t>(args.height));
        std::copy_n(strip.begin(), width * static_cast<std::size_t>(rows),
                    pixels.begin() + static_cast<std::ptrdiff_t>(bottom) * args.width);
    }
    static constexpr strip_view view{[] { return is_open; }, [] {}, draw,
                                     [](bool is_whole) { shown += is_whole ? 1 : 0; }};
};

TEST_F(frame_reader_test, strips_show_what_the_pixels_would_and_these_catch_up) {
    const int width = 1024, height = 200; // several strips, and a smaller last one
    std::mt19937 random(7);
    std::vector<std::uint32_t> image(static_cast<std::size_t>(width * height));
    std::vector<std::uint8_t> noise(movie::ir1_worst_case(width, height));
    std::ranges::generate(image, random);
    noise.resize(static_cast<std::size_t>(movie::IR1_compress(image, width, height, noise, 12)));
    std::vector<std::uint8_t> half = noise;
    half.resize(half.size() * 2 / 3);
    open(write_movie({.frames = 6,
                      .width = width,
                      .height = height,
                      .data = {{1, noise}, {2, {}}, {3, half}},
                      .missing = {5}}));
    strip_screen::is_open = true;
    strip_screen::shown = 0;
    ASSERT_TRUE(read_frame_from_file(args, ref));
    const auto draw = [&](int frame) {
        args.current = frame;
        return draw_frame_in_strips(args, ref, strip_screen::view);
    };
    EXPECT_EQ(draw(0), strip_result::unchanged) << "the pixels show it";
    EXPECT_EQ(draw(1), strip_result::drawn);
    EXPECT_EQ(draw(2), strip_result::unchanged) << "a repeat of what was drawn";
    EXPECT_EQ(args.pixels.span()[0], frame_colour(0)) << "went past them";
    const std::vector<std::uint32_t> seen = strip_screen::pixels;
    catch_up_pixels(args, ref);
    EXPECT_TRUE(std::ranges::equal(args.pixels.span(), seen));

    testing::internal::CaptureStderr();
    EXPECT_EQ(draw(4), strip_result::drawn);
    EXPECT_EQ(draw(3), strip_result::spoilt);
    catch_up_pixels(args, ref);
    EXPECT_EQ(args.pixels.span()[0], frame_colour(4)) << "the last whole one";
    EXPECT_EQ(draw(5), strip_result::unchanged) << "not written";
    EXPECT_NE(testing::internal::GetCapturedStderr().find("ends too early"), std::string::npos);
    EXPECT_EQ(strip_screen::shown, 2);

    strip_screen::is_open = false;
    EXPECT_EQ(draw(1), strip_result::unavailable);
    EXPECT_TRUE(read_frame_from_file(args, ref));
    EXPECT_TRUE(std::ranges::equal(args.pixels.span(), seen));
}

TEST_F(frame_reader_test, a_movie_under_construction_plays_as_far_as_it_is_written) {
    const std::string path = folder + "/growing.reel";
    movie::vf_movie writer;
    writer.magic = movie::vf_magic;
    writer.count = 3;
    writer.width = writer.height = player_test::side;
    writer.offsets.assign(3, 0);
    ASSERT_EQ(movie::VFopenWrite(writer, path.c_str()), 0);
    ASSERT_EQ(movie::VFappend(writer, 0, packed_frame(0)), 0);
    open(path);
    testing::internal::CaptureStderr();
    expect_shown(0, frame_colour(0));
    expect_shown(2, frame_colour(0));
    ASSERT_EQ(movie::VFappend(writer, 1, packed_frame(1)), 0);
    ASSERT_EQ(movie::VFappend(writer, 2, {}), 0);
    expect_shown(2, frame_colour(1));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
