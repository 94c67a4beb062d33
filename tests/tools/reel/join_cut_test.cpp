// Joining and cutting movies that hold everything a movie may: repeats, gaps, damage.
#include "tests/tools/reel/scratch_folder.h"

#include "movie/file_io.h"
#include "movie/vf.h"
#include "tools/reel/cut.h"
#include "tools/reel/join.h"
#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

namespace reel {

namespace {

constexpr int side = 8;                             // pixels
constexpr std::size_t chunk_bytes = 18 + 4 + 4 * 6; // of a picture of flat blocks

// What a movie shows, a letter for each frame: 'a' to 'z' pictures, '=' a repeat, '.' a missing
// frame, '!' one whose table entry points nowhere, '?' one whose data does not decode.
using script = std::string;

std::vector<std::uint8_t> make_picture(char letter, int width) {
    std::vector<std::uint32_t> words(static_cast<std::size_t>(width * side),
                                     0x080808U * static_cast<std::uint32_t>(letter - 'a' + 1));
    std::vector<std::uint8_t> packed(movie::ir1_worst_case(width, side));
    const std::int64_t size = movie::IR1_compress(words, width, side, packed, 12);
    packed.resize(static_cast<std::size_t>(size));
    return packed;
}

void write_film(const std::string &path, const script &frames, int width = side, int rate = 24,
                int threshold = 12) {
    movie::vf_movie film;
    film.magic = movie::vf_magic;
    film.count = static_cast<std::int32_t>(frames.size());
    film.width = width;
    film.height = side;
    film.rate = rate;
    film.threshold = threshold;
    ASSERT_EQ(movie::VFopenWrite(film, path.c_str()), 0);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const char c = frames[i];
        std::vector<std::uint8_t> data;
        if (c == '?')
            data.assign(chunk_bytes, 0xFF);
        else if (c != '=')
            data = make_picture(c == '!' || c == '.' ? 'a' : c, width);
        if (c != '.') {
            ASSERT_EQ(movie::VFappend(film, static_cast<int>(i), data), 0);
        }
        std::array<std::uint8_t, 4> nowhere{0x7F};
        if (c == '!') {
            ASSERT_TRUE(movie::write_at(::fileno(film.stream.get()),
                                        movie::vf_header_bytes + 4 * static_cast<int>(i), nowhere));
        }
    }
}

// The script of a movie: a picture of one colour is known by it.
script read_film(const std::string &path) {
    reel_file film;
    if (open_reel(path, film) != 0)
        return "(cannot be opened)";
    script frames;
    frame_buffer buffer;
    for (std::size_t i = 0; i < film.frames.size(); ++i) {
        const frame_state state = film.frames[i].state;
        const bool shows = state == frame_state::picture &&
                           decode_frame(film, static_cast<int>(i), buffer) == frame_fault::none;
        frames += shows ? static_cast<char>('a' + buffer.words[0] % 256 / 8 - 1)
                  : state == frame_state::repeat  ? '='
                  : state == frame_state::missing ? '.'
                                                  : '!';
    }
    return frames;
}

struct outcome {
    int status = -1;
    std::string err;
};

template <typename procedure> outcome run(procedure work) {
    testing::internal::CaptureStderr();
    const int status = work();
    return {status, testing::internal::GetCapturedStderr()};
}

bool contains(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

TEST(join_cut, cut_shows_the_same_pictures) {
    const struct {
        script film;
        frame_selection chosen;
        script expected;
        bool keep_going;
    } cases[] = {
        {"abcd", {{1, 2}, 1}, "bc", false},
        {"abcd", {{3, 3}, 1}, "d", false},
        {"a===b=", {{2, 5}, 1}, "a=b=", false}, // the first repeat loses its picture
        {"a===b=", {{1, 5}, 2}, "a=b", false},  // frames 1, 3, 5: a step over the picture of 5
        {"a=b=a=", {{1, 5}, 4}, "a=", false},   // two pictures become neighbours
        {"abab", {{0, 3}, 2}, "a=", false},     // the same data, stored twice
        {"aa.=b", {{1, 4}, 1}, "a..b", false},  // a repeat of nothing is nothing
        {"a.ab", {{0, 2}, 2}, "a=", false},
        {"a.ab", {{0, 3}, 1}, "a.ab", false}, // behind a gap the picture is needed again
        {"a!=b?=c", {{0, 6}, 1}, "a..b..c", true},
        {"?b", {{1, 1}, 1}, "b", false}, // damage that is not taken along
        {"a!=b", {{0, 3}, 3}, "ab", false},
        {"=ab", {{1, 2}, 1}, "ab", false},
        {"=ab", {{0, 2}, 1}, ".ab", true},
    };
    const scratch_folder folder;
    for (const auto &each : cases) {
        SCOPED_TRACE(each.film + " to " + each.expected);
        write_film(folder / "in.reel", each.film);
        const outcome got = run([&] {
            return run_cut(
                {folder / "in.reel", folder / "out.reel", each.chosen, {}, each.keep_going});
        });
        EXPECT_EQ(got.status, exit_good) << got.err;
        EXPECT_EQ(read_film(folder / "out.reel"), each.expected);
        EXPECT_EQ(contains(got.err, "note: "), each.expected.find('.') != script::npos) << got.err;
    }
}

TEST(join_cut, join_puts_one_after_the_other) {
    const struct {
        std::vector<script> films;
        script expected;
    } cases[] = {
        {{"ab", "cd"}, "abcd"}, {{"ab=", "b=c"}, "ab===c"}, // byte for byte the same picture
        {{"a.", "a="}, "a.a="}, {{"a", "", "b"}, "ab"},     {{"a="}, "a="},
    };
    for (const auto &each : cases) {
        const scratch_folder folder;
        join_options options;
        options.output = folder / "out.reel";
        for (const script &frames : each.films) {
            options.files.push_back(folder / (std::to_string(options.files.size()) + ".reel"));
            write_film(options.files.back(), frames);
        }
        const outcome got = run([&] { return run_join(options); });
        EXPECT_EQ(got.status, exit_good) << got.err;
        EXPECT_EQ(read_film(options.output), each.expected);
    }
}

// A farm makes more parts than a process may have open.
TEST(join_cut, joins_more_movies_than_can_be_open) {
    const scratch_folder folder;
    write_film(folder / "a.reel", "a");
    write_film(folder / "b.reel", "b=");
    join_options options{{}, folder / "out.reel", {}, false};
    script expected;
    for (int i = 0; i < 100; ++i) {
        options.files.push_back(folder / (i % 2 == 0 ? "a.reel" : "b.reel"));
        expected += i % 2 == 0 ? "a" : "b=";
    }
    struct rlimit usual {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
    struct rlimit few = usual;
    few.rlim_cur = 40;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    const outcome got = run([&] { return run_join(options); });
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_EQ(got.status, exit_good) << got.err;
    EXPECT_EQ(read_film(options.output), expected);
}

// Cutting what was joined gives the parts back, byte for byte.
TEST(join_cut, there_and_back) {
    const scratch_folder folder;
    write_film(folder / "0.reel", "ab==c", side, 25, 7);
    write_film(folder / "1.reel", "d=ef.", side, 25, 7);
    ASSERT_EQ(run([&] {
                  return run_join({{folder / "0.reel", folder / "1.reel"}, folder / "all", {}, {}});
              }).status,
              exit_good);
    for (const std::int64_t part : {0, 1}) {
        const frame_selection chosen{{part * 5, part * 5 + 4}, 1};
        ASSERT_EQ(run([&] {
                      return run_cut({folder / "all", folder / "part", chosen, {}, false});
                  }).status,
                  exit_good);
        EXPECT_EQ(read_bytes(folder / "part"),
                  read_bytes(folder / (std::to_string(part) + ".reel")));
    }
}

TEST(join_cut, the_output_may_be_an_input) {
    const scratch_folder folder;
    write_film(folder / "a.reel", "ab=");
    const std::string film = folder / "a.reel";
    ASSERT_EQ(run([&] { return run_join({{film, film}, film, {}, false}); }).status, exit_good);
    EXPECT_EQ(read_film(film), "ab=ab=");
    ASSERT_EQ(run([&] { return run_cut({film, film, {{2, 3}, 1}, {}, false}); }).status, exit_good);
    EXPECT_EQ(read_film(film), "ba");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.reel"});
}

TEST(join_cut, rates_and_thresholds_are_the_first_ones) {
    const scratch_folder folder;
    write_film(folder / "a.reel", "a", side, 25, 7);
    write_film(folder / "b.reel", "b", side, 30, 12);
    for (const bool given : {false, true}) {
        join_options options{{folder / "a.reel", folder / "b.reel"}, folder / "out", {}, false};
        if (given)
            options.rate = 48;
        const outcome got = run([&] { return run_join(options); });
        reel_file film;
        ASSERT_EQ(open_reel(options.output, film), 0);
        EXPECT_EQ(film.film->rate, given ? 48 : 25);
        EXPECT_EQ(film.film->threshold, 7);
        EXPECT_EQ(contains(got.err, "b.reel: it has 30 frames/s"), !given) << got.err;
        EXPECT_TRUE(contains(got.err, "b.reel: its threshold is 12")) << got.err;
    }
}

// A movie of pictures so large that 120 of them are too much for a movie file; here all of them are
// the same chunk, or repeats of the first.
void write_large_film(const std::string &path, bool repeats) {
    constexpr int frames = 120;
    constexpr int width = 4096;
    constexpr std::int64_t head = movie::vf_header_bytes + 4 * frames;
    const std::size_t bytes = movie::ir1_worst_case(width, width);
    const std::int64_t end = head + movie::vf_chunk_bytes + static_cast<std::int64_t>(bytes);
    movie::vf_movie film;
    film.magic = movie::vf_magic;
    film.count = frames;
    film.width = film.height = width;
    film.offsets.assign(frames, static_cast<std::int32_t>(repeats ? end : head));
    film.offsets[0] = head;
    ASSERT_EQ(movie::VFopenWrite(film, path.c_str()), 0);
    std::array<std::uint8_t, movie::vf_chunk_bytes + movie::ir1_header_bytes> chunk{};
    movie::put_unsigned(&chunk[14], static_cast<std::uint32_t>(bytes));
    movie::put_unsigned(&chunk[18], width << 16 | width);
    const std::array<std::uint8_t, movie::vf_chunk_bytes> repeat{};
    const int file = ::fileno(film.stream.get());
    ASSERT_TRUE(movie::write_at(file, head, chunk) && movie::write_at(file, end, repeat));
}

TEST(join_cut, repeats_of_a_large_picture_fit) {
    const scratch_folder folder;
    write_large_film(folder / "in.reel", true);
    const outcome got = run([&] {
        return run_join({{folder / "in.reel"}, folder / "out.reel", {}, false});
    });
    EXPECT_EQ(got.status, exit_good) << got.err;
    EXPECT_EQ(read_film(folder / "out.reel").substr(1), script(119, '='));
}

TEST(join_cut, refuses_and_leaves_nothing_behind) {
    const scratch_folder folder;
    write_film(folder / "good.reel", "abc");
    write_film(folder / "wide.reel", "a", 2 * side);
    write_film(folder / "entry.reel", "a!");
    write_film(folder / "data.reel", "ab?=");
    write_film(folder / "headless.reel", "=a");
    write_film(folder / "none.reel", "");
    write_large_film(folder / "large.reel", false);
    write_bytes(folder / "text", "This is no movie.");
    const auto before = folder.names();
    const struct {
        std::vector<std::string> files;
        std::string output;
        const char *message;
    } cases[] = {
        {{"good.reel", "wide.reel"}, "x", "wide.reel: it is 16x8, but "},
        {{"good.reel", "wide.reel"}, "x", "good.reel is 8x8"},
        {{"good.reel", "entry.reel"}, "x", "entry.reel: frame 1 is damaged: its table entry"},
        {{"good.reel", "data.reel"}, "x", "data.reel: frame 2 is damaged: the data of frame 2"},
        {{"good.reel", "data.reel"}, "good.reel", "frame 2 is damaged"},
        {{"headless.reel"}, "x", "headless.reel: frame 0 is damaged: it repeats"},
        {{"none.reel", "none.reel"}, "x", "there are no frames for it"},
        {{"large.reel"}, "x", "it would need 22"},
        {{"good.reel", "text"}, "x", "text: it cannot be opened as a movie"},
        {{"good.reel", "absent.reel"}, "x", "absent.reel: No such file"},
        {{"good.reel"}, "text", "it exists and is no movie"},
        {{"good.reel"}, "no/x", "No such file"},
    };
    const std::string good = read_bytes(folder / "good.reel");
    for (const auto &each : cases) {
        join_options options{{}, folder / each.output, {}, false};
        for (const std::string &file : each.files)
            options.files.push_back(folder / file);
        const outcome got = run([&] { return run_join(options); });
        EXPECT_EQ(got.status, exit_failed) << each.message;
        EXPECT_TRUE(contains(got.err, each.message)) << each.message << "\n" << got.err;
        EXPECT_EQ(folder.names(), before) << each.message;
    }
    const outcome beyond = run([&] {
        return run_cut({folder / "good.reel", folder / "x", {{1, 3}, 1}, {}, false});
    });
    EXPECT_EQ(beyond.status, exit_failed);
    EXPECT_TRUE(contains(beyond.err, "good.reel: there are frames 0-2 only")) << beyond.err;
    EXPECT_EQ(folder.names(), before);
    EXPECT_EQ(read_bytes(folder / "good.reel"), good);
}

} // namespace

} // namespace reel
