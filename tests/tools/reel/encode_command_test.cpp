// reel encode as people call it: pixels on standard input, videos, edits, and what goes wrong.
#include "tests/tools/reel/run_program.h"
#include "tools/reel/reel_file.h"

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <sys/socket.h>
#include <thread>

namespace reel {

namespace {

constexpr int width = 32;
constexpr int height = 16;
constexpr std::size_t frame_bytes = std::size_t{width} * height * 3;

// Frame n as raw RGB from the top down: one colour each, and one in the top left quarter.
std::string raw_frame(int n) {
    std::string bytes;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool corner = x < width / 2 && y < height / 2;
            bytes += static_cast<char>(corner ? 248 : n / 32 * 8);
            bytes += static_cast<char>(corner ? 0 : n % 32 * 8);
            bytes += static_cast<char>(corner ? 0 : 128);
        }
    return bytes;
}

std::string raw_frames(int count) {
    std::string bytes;
    for (int n = 0; n < count; ++n)
        bytes += raw_frame(n);
    return bytes;
}

// The number of the raw frame that each frame of a movie shows, by its last pixel but one.
std::vector<int> shown_numbers(const std::string &film) {
    std::vector<int> numbers;
    reel_file movie;
    frame_buffer buffer;
    EXPECT_EQ(open_reel(film, movie), 0);
    for (const frame_entry &frame : movie.frames) {
        EXPECT_EQ(decode_frame(movie, frame.source, buffer), frame_fault::none);
        const std::uint32_t pixel = buffer.words[static_cast<std::size_t>(width) - 2];
        numbers.push_back(static_cast<int>((pixel & 0xFF) / 8 * 32 + (pixel >> 8 & 0xFF) / 8));
    }
    return numbers;
}

const arguments from_stdin = {"encode", "--stdin", "--size", "32x16", "--format", "rgb24", "-o"};

arguments with(arguments words, const arguments &more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

void write_image(const std::string &path, int w, int h, OIIO::TypeDesc type, float value) {
    const OIIO::ImageSpec spec(w, h, 3, type);
    const std::vector<float> values(spec.image_pixels() * 3, value);
    const auto output = OIIO::ImageOutput::create(path);
    ASSERT_TRUE(output && output->open(path, spec)) << OIIO::geterror();
    ASSERT_TRUE(output->write_image(OIIO::TypeFloat, values.data()) && output->close());
}

// The size of a movie's pictures and a pixel of their lower right quarter.
void read_movie(const std::string &film, std::string *size, std::uint32_t *pixel) {
    reel_file movie;
    frame_buffer buffer;
    ASSERT_EQ(open_reel(film, movie), 0);
    ASSERT_FALSE(movie.frames.empty());
    *size = std::to_string(movie.film->width) + "x" + std::to_string(movie.film->height);
    ASSERT_EQ(decode_frame(movie, movie.frames[0].source, buffer), frame_fault::none);
    const auto columns = static_cast<std::size_t>(movie.film->width);
    *pixel =
        buffer.words[static_cast<std::size_t>(movie.film->height) / 4 * columns + 3 * columns / 4];
}

// Many frames on many threads come out in order, and always as the same bytes.
TEST(reel_encode, order_and_bytes_whatever_the_threads) {
    constexpr int count = 700;
    const scratch_folder folder;
    write_bytes(folder / "raw", raw_frames(count));
    std::string first;
    for (const char *threads : {"1", "2", "5"}) {
        const std::string film = folder / threads;
        const outcome made =
            run_from(folder / "raw", with(from_stdin, {film, "--threads", threads}));
        ASSERT_EQ(made.status, 0) << made.err;
        if (first.empty()) {
            first = read_bytes(film);
            const std::vector<int> numbers = shown_numbers(film);
            ASSERT_EQ(numbers.size(), static_cast<std::size_t>(count));
            for (int n = 0; n < count; ++n)
                EXPECT_EQ(numbers[static_cast<std::size_t>(n)], n);
        }
        EXPECT_TRUE(read_bytes(film) == first) << threads;
    }
    // The same through a pipe, and from image files in any order of reading.
    const scratch_folder logs;
    const std::string program = REEL_PROGRAM;
    const std::string piped = folder / "piped";
    const std::string line = "cat '" + (folder / "raw") + "' | '" + program +
                             "' encode --stdin --size 32x16 --format rgb24 -o '" + piped +
                             "' 2> '" + (logs / "err") + "'";
    EXPECT_EQ(std::system(line.c_str()), 0) << read_bytes(logs / "err");
    EXPECT_TRUE(read_bytes(piped) == first);
    // No message gets into a movie when the places where messages go are closed.
    const std::string silent = folder / "silent";
    const std::string quiet_line = "'" + program +
                                   "' encode --stdin --size 32x16 --format rgb24 -o '" + silent +
                                   "' < '" + (folder / "raw") + "' >&- 2>&-";
    EXPECT_EQ(std::system(quiet_line.c_str()), 0);
    EXPECT_TRUE(read_bytes(silent) == first);
    ASSERT_EQ(run({"decode", piped, "-o", folder / "f.####.png"}).status, 0);
    ASSERT_EQ(
        run({"encode", "--frames", "1-699x3", "-o", folder / "x", folder / "f.####.png"}).status,
        0);
    const std::vector<int> numbers = shown_numbers(folder / "x");
    ASSERT_EQ(numbers.size(), 233U);
    for (int i = 0; i < 233; ++i)
        EXPECT_EQ(numbers[static_cast<std::size_t>(i)], 1 + 3 * i);
}

TEST(reel_encode, edits) {
    const scratch_folder folder;
    write_bytes(folder / "raw", raw_frames(2));
    write_image(folder / "grey.exr", 40, 24, OIIO::TypeHalf, 0.5F);
    const struct {
        bool raw;
        arguments words;
        const char *size;
        std::uint32_t pixel;
    } cases[] = {
        {true, {}, "32x16", 0x800000},
        {true, {"--crop", "16x8+0+0"}, "16x8", 0x0000F8},
        {true, {"--crop", "16x8+16+8"}, "16x8", 0x800000},
        {true, {"--scale", "50%"}, "16x8", 0x800000},
        {true, {"--scale", "2"}, "64x32", 0x800000},
        {true, {"--crop", "12x8+0+0", "--scale", "0.5"}, "8x4", 0x0000F8},
        {false, {}, "40x24", 0xB8B8B8},
        {false, {"--raw"}, "40x24", 0x808080},
        {false, {"--size", "20x0"}, "20x12", 0xB8B8B8},
        {false, {"--size", "-1x48", "--raw"}, "80x48", 0x808080},
        {false, {"--size", "16x16"}, "16x16", 0xB8B8B8},
        {false, {"--crop", "5x5+0+0"}, "4x4", 0xB8B8B8},
    };
    for (const auto &each : cases) {
        const std::string film = folder / "x.reel";
        const outcome made =
            each.raw ? run_from(folder / "raw", with(with(from_stdin, {film}), each.words))
                     : run(with({"encode", "-o", film, folder / "grey.exr"}, each.words));
        ASSERT_EQ(made.status, 0) << made.err;
        std::string size;
        std::uint32_t pixel = 0;
        read_movie(film, &size, &pixel);
        EXPECT_EQ(size, each.size);
        for (int shift = 0; shift < 24; shift += 8) // the codec keeps five bits, a filter rings
            EXPECT_NEAR(static_cast<int>(pixel >> shift & 0xFF),
                        static_cast<int>(each.pixel >> shift & 0xFF), 12)
                << made.err;
    }
}

// An AVI that reel decode makes is our own pictures: they come back as they were, repeats too.
TEST(reel_encode, videos) {
    const scratch_folder folder;
    const std::string film = folder / "a b é.reel";
    std::string bytes = raw_frames(40);
    bytes += raw_frame(39) + raw_frame(39) + raw_frame(0);
    write_bytes(folder / "raw", bytes);
    ASSERT_EQ(run_from(folder / "raw", with(from_stdin, {film, "--fps", "30"})).status, 0);
    const std::string avi = folder / "ä.avi";
    ASSERT_EQ(run({"decode", film, "-o", avi}).status, 0);
    const std::string back = folder / "back.reel";
    const outcome made = run({"encode", avi, "-o", back});
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_TRUE(read_bytes(back) == read_bytes(film));
    EXPECT_EQ(run({"encode", film, "-o", back, "--fps", "12"}).status, 0);
    EXPECT_EQ(read_bytes(back).substr(28), read_bytes(film).substr(28)) << "only the rate differs";
    ASSERT_EQ(run({"encode", avi, "-o", back, "--frames", "38-42x2"}).status, 0);
    EXPECT_EQ(shown_numbers(back), (std::vector<int>{38, 39, 0}));

    // Other videos are decoded, whatever they are called.
    const std::string mkv = folder / "clip.mkv";
    ASSERT_EQ(run({"decode", film, "-o", mkv}).status, 0);
    std::filesystem::rename(mkv, folder / "clip");
    const outcome other = run({"encode", folder / "clip", "-o", back, "--frames", "1-9"});
    ASSERT_EQ(other.status, 0) << other.err;
    EXPECT_TRUE(contains(other.err, "9 frames (0 repeated), 32x16, 30 frames/s")) << other.err;
    EXPECT_EQ(shown_numbers(back), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9}));

    // A stream that tells its own size and rate, out of a file and out of a socket.
    std::string y4m = "YUV4MPEG2 W32 H16 F30000:1001 Ip A4:3 C444\n";
    for (int n = 0; n < 5; ++n)
        y4m += "FRAME\n" + std::string(32 * 16, static_cast<char>(16 + n * 40)) +
               std::string(2 * 32 * 16, '\x80');
    write_bytes(folder / "y4m", y4m);
    const arguments encode_y4m = {"encode", "--stdin", "--format", "y4m", "-o", back};
    int ends[2] = {-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const scratch_folder logs;
    const pid_t child = start_program(logs, encode_y4m, RLIM_INFINITY, ends[0]);
    ::close(ends[0]);
    EXPECT_EQ(::send(ends[1], y4m.data(), y4m.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(y4m.size()));
    ::close(ends[1]);
    for (const outcome &streamed : {wait_for(logs, child), run_from(folder / "y4m", encode_y4m)}) {
        ASSERT_EQ(streamed.status, 0) << streamed.err;
        for (const char *said :
             {"its 29.97 frames per second become 30", "its pixels are not square (4:3)",
              "5 frames (0 repeated), 32x16, 30 frames/s"})
            EXPECT_TRUE(contains(streamed.err, said)) << streamed.err;
    }
}

// What is on standard input ("" : nothing), what is asked, what is said. "*" is the folder; every
// file in it afterwards was there before.
TEST(reel_encode, refuses_and_leaves_nothing_behind) {
    const scratch_folder folder;
    write_bytes(folder / "raw", raw_frames(3));
    write_bytes(folder / "cut", raw_frames(3).substr(0, 2 * frame_bytes + 100));
    write_bytes(folder / "text.mp4", "This is no video.");
    write_bytes(folder / "cut.mp4", std::string("\0\0\0\x20"
                                                "ftypisom\0\0\2\0isomiso2avc1mp41",
                                                32));
    write_bytes(folder / "none.mp4", "");
    write_image(folder / "a.png", 8, 8, OIIO::TypeUInt8, 1);
    ASSERT_EQ(run_from(folder / "raw", with(from_stdin, {folder / "good.reel"})).status, 0);
    std::string damaged = read_bytes(folder / "good.reel");
    damaged.resize(damaged.size() - 10);
    write_bytes(folder / "cut.reel", damaged);
    damaged = read_bytes(folder / "good.reel");
    constexpr std::size_t first_colour =
        28 + 3 * 4 + 18 + 4 + 2; // of the first frame's first block
    damaged[first_colour] ^= '\x80';
    write_bytes(folder / "bad.reel", damaged);
    write_bytes(folder / "cut.y4m", "YUV4MPEG2 W4 H4 F24:1 C444\nFRAME\n" + std::string(48, 'x') +
                                        "FRAME\n" + std::string(40, 'x'));
    for (const std::string name : {"cut.png", "cut.jpg", "cut.dpx"}) {
        write_image(folder / name, 64, 64, OIIO::TypeUInt8, 1);
        const std::string whole = read_bytes(folder / name);
        write_bytes(folder / name, whole.substr(0, whole.size() * 9 / 10));
    }
    const arguments raw = {"encode",   "--stdin", "--size", "32x16",
                           "--format", "rgb24",   "-o",     "*/x.reel"};
    const arguments encode = {"encode", "-o", "*/x.reel"};
    const struct {
        const char *input;
        arguments words;
        int status;
        const char *message;
    } cases[] = {
        {"cut", raw, 1, "standard input: it ends inside frame 2, after 100 of 1536 bytes"},
        {"", raw, 1, "standard input: it is empty"},
        {"raw", with(raw, {"--frames", "1-3"}), 1, "there are frames 0-2 only"},
        {"raw", with(raw, {"--crop", "32x16+1+0"}), 1, "is not inside the picture of 32x16"},
        {"raw", with(raw, {"--scale", "5%"}), 0, ""},
        {"", with(encode, {"--size", "40000x8", "*/a.png"}), 1, "it is 40000x8 pixels; a movie"},
        {"raw", with(raw, {"*/a.png"}), 2, "--stdin takes the place of input files"},
        {"raw", {"encode", "--stdin", "--format", "rgb24", "-o", "*/x.reel"}, 2, "need --size"},
        {"raw", {"encode", "--stdin", "--size", "8x8", "-o", "*/x.reel"}, 2, "needs --format"},
        {"raw", with(raw, {"--format", "1"}), 2, "1 not in {"},
        {"raw", with(raw, {"--fps", "0"}), 2, "--fps"},
        {"raw",
         {"encode", "--stdin", "--size", "32x0", "--format", "rgba", "-o", "*/x.reel"},
         2,
         "the size that they come in"},
        {"raw",
         {"encode", "--stdin", "--size", "2x3", "--format", "gray8", "-o", "*/x.reel"},
         1,
         "it is 2x3 pixels; a movie has 4x4"},
        {"raw",
         {"encode", "--stdin", "--size", "40000x8", "--format", "gray8", "-o", "*/x.reel"},
         1,
         "a side has 1 to 32767"},
        {"raw", {"encode", "--stdin", "--format", "y4m", "-o", "*/x.reel"}, 1, "standard input: "},
        {"", with(encode, {"--format", "rgba", "*/a.png"}), 2, "--format needs --stdin"},
        {"", with(encode, {"--crop", "8x8", "*/a.png"}), 2, "is not WxH+X+Y"},
        {"", with(encode, {"--size", "0x0", "*/a.png"}), 2, "is not WxH"},
        {"", with(encode, {"--scale", "0", "*/a.png"}), 2, "is not a percentage"},
        {"", with(encode, {"--scale", "2", "--size", "8x8", "*/a.png"}), 2, "exclude each other"},
        {"", with(encode, {"--threads", "0", "*/a.png"}), 2, "--threads"},
        {"", with(encode, {"*/text.mp4"}), 1, "text.mp4: "},
        {"", with(encode, {"*/cut.mp4"}), 1, "cut.mp4: "},
        {"", with(encode, {"*/none.mp4"}), 1, "none.mp4 (frame 0): it is empty"},
        {"", with(encode, {"*/cut.png"}), 1, "cut.png (frame 0): it is cut off"},
        {"", with(encode, {"*/cut.jpg"}), 1, "cut.jpg (frame 0): it is cut off"},
        {"", with(encode, {"*/cut.dpx"}), 1, "cut.dpx (frame 0): it is damaged or cut off"},
        {"", with(encode, {"*/cut.y4m"}), 1, "cut.y4m (frame 1): the file is cut off"},
        {"", with(encode, {"*/bad.reel"}), 1, "bad.reel (frame 0): its data is damaged"},
        {"", with(encode, {"*/cut.reel"}), 1, "cut.reel (frame 2): its chunk"},
        {"", with(encode, {"*/cut.reel", "--scale", "2"}), 1, "cut.reel (frame 2): its chunk"},
        {"", with(encode, {"*/good.reel", "--frames", "2-3"}), 1, "there are frames 0-2 only"},
    };
    const auto before = folder.names();
    for (const auto &each : cases) {
        arguments words = each.words;
        for (std::string &word : words)
            if (word.starts_with("*"))
                word.replace(0, 1, folder.path);
        const std::string input = each.input[0] != 0 ? folder / each.input : "/dev/null";
        const outcome got = run_from(input, words);
        EXPECT_EQ(got.status, each.status) << each.message << "\n" << got.err;
        EXPECT_TRUE(contains(got.err, each.message)) << each.message << "\n" << got.err;
        if (each.status == 0)
            std::filesystem::remove(folder / "x.reel");
        EXPECT_EQ(folder.names(), before) << each.message;
        if (each.status != 0) {
            EXPECT_EQ(std::count(got.err.begin(), got.err.end(), '\n'),
                      1 + (contains(got.err, "frames 0 to") ? 1 : 0))
                << "one message:\n"
                << got.err;
        }
    }
}

// Waits until something else than the inputs is in the folder: the temporary file.
bool wait_for_output(const scratch_folder &folder, std::size_t inputs) {
    for (int i = 0; i < 2000 && folder.names().size() <= inputs; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return folder.names().size() > inputs;
}

// While it waits for more pixels: a signal ends it, and so does a full disk.
TEST(reel_encode, ends_while_it_waits) {
    for (const int number : {SIGINT, SIGTERM, 0}) {
        const scratch_folder folder;
        const scratch_folder logs;
        int ends[2] = {-1, -1};
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        const rlim_t limit = number != 0 ? RLIM_INFINITY : 3000;
        const pid_t child =
            start_program(logs, with(from_stdin, {folder / "x.reel"}), limit, ends[0]);
        ::close(ends[0]);
        const std::string bytes = raw_frames(20);
        ASSERT_EQ(::write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        if (number != 0) {
            EXPECT_TRUE(wait_for_output(folder, 0));
            ::kill(child, number);
        }
        const outcome got = wait_for(logs, child);
        EXPECT_EQ(got.status, number != 0 ? -number : 1) << got.err;
        EXPECT_EQ(contains(got.err, "File too large"), number == 0) << got.err;
        EXPECT_TRUE(folder.names().empty());
        ::close(ends[1]);
    }
}

} // namespace

} // namespace reel
