// The real program over real files.
#include "tests/tools/reel/run_program.h"

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace reel {

namespace {

constexpr int width = 24;
constexpr int height = 16;
constexpr int header_bytes = 28;
constexpr std::size_t frame_bytes = 18 + 4 + 6 * 6 * 4; // one chunk of a frame of flat blocks

// Frame n of the test film: 4 x 4 blocks of one colour each, all different in any mirror image.
// Frame 3 is the same as frame 2.
void test_pixel(int frame, int x, int y, std::uint8_t *rgb) {
    const int shown = frame == 3 ? 2 : frame;
    rgb[0] = static_cast<std::uint8_t>(x / 4 * 40 + 4);
    rgb[1] = static_cast<std::uint8_t>(y / 4 * 64 + 4);
    rgb[2] = static_cast<std::uint8_t>(shown * 32 + 4);
}

bool is_linear(const std::string &path) {
    return path.ends_with(".exr");
}

// Linear light, for the formats that hold it, of a display value and back.
float to_linear(float value) {
    return value <= 0.04045F ? value / 12.92F : std::pow((value + 0.055F) / 1.055F, 2.4F);
}

float to_display(float value) {
    return value <= 0.0031308F ? value * 12.92F : 1.055F * std::pow(value, 1 / 2.4F) - 0.055F;
}

// Writes a frame of w x h pixels as a file that any other program might have made.
void write_frame(const std::string &path, int frame, int w = width, int h = height) {
    const OIIO::ImageSpec spec(w, h, 3, is_linear(path) ? OIIO::TypeHalf : OIIO::TypeUInt8);
    std::vector<float> values(spec.image_pixels() * 3);
    for (int i = 0; i < w * h; ++i) {
        std::uint8_t rgb[3];
        test_pixel(frame, i % w, i / w, rgb);
        for (std::size_t c = 0; c < 3; ++c) {
            const float value = static_cast<float>(rgb[c]) / 255;
            values[static_cast<std::size_t>(i) * 3 + c] =
                is_linear(path) ? to_linear(value) : value;
        }
    }
    const auto output = OIIO::ImageOutput::create(path);
    ASSERT_TRUE(output && output->open(path, spec)) << OIIO::geterror();
    ASSERT_TRUE(output->write_image(OIIO::TypeFloat, values.data()));
    ASSERT_TRUE(output->close());
}

void expect_frame(const std::string &path, int frame, int tolerance) {
    const auto input = OIIO::ImageInput::open(path);
    ASSERT_TRUE(input) << OIIO::geterror();
    ASSERT_EQ(input->spec().width, width);
    ASSERT_EQ(input->spec().height, height);
    std::vector<float> values(input->spec().image_pixels() * 3);
    ASSERT_TRUE(input->read_image(0, 0, 0, 3, OIIO::TypeFloat, values.data()));
    for (int i = 0; i < width * height; ++i) {
        std::uint8_t rgb[3];
        test_pixel(frame, i % width, i / width, rgb);
        for (std::size_t c = 0; c < 3; ++c) {
            const float value = values[static_cast<std::size_t>(i) * 3 + c];
            ASSERT_NEAR(255 * (is_linear(path) ? to_display(value) : value), rgb[c], tolerance)
                << path << " pixel " << i << " channel " << c;
        }
    }
}

std::string frame_name(const std::string &extension, int frame) {
    return "shot.100" + std::to_string(frame) + extension;
}

void write_shot(const scratch_folder &folder, const std::string &extension, int count) {
    for (int i = 0; i < count; ++i)
        write_frame(folder / frame_name(extension, i), i);
}

TEST(reel_command, every_format_there_and_back) {
    for (const char *extension : {".png", ".exr", ".tif", ".dpx", ".tga", ".rgb", ".jpg"}) {
        SCOPED_TRACE(extension);
        const scratch_folder folder;
        write_shot(folder, extension, 5);
        const std::string film = folder / "a b é.reel";
        const outcome made =
            run({"encode", "--fps", "25", "-o", film, folder / frame_name(extension, 0)});
        ASSERT_EQ(made.status, 0) << made.err;
        EXPECT_TRUE(contains(made.err, "5 images, frames 1000 to 1004, 24x16")) << made.err;

        const outcome told = run({"info", "--json", film});
        EXPECT_EQ(told.status, 0);
        for (const char *part : {"\"width\": 24, \"height\": 16, \"frames\": 5, \"rate\": 25, "
                                 "\"threshold\": 12, \"seconds\": 0.200000",
                                 "\"repeated_frames\": [[3, 3]]", "\"missing\": 0"})
            EXPECT_TRUE(contains(told.out, part)) << told.out;
        EXPECT_EQ(run({"verify", film}).status, 0);

        // What comes out shows the right thing, and makes the same film again.
        const bool lossy = std::strcmp(extension, ".jpg") == 0;
        const std::string again = folder / "again.reel";
        ASSERT_EQ(run({"decode", film, "-o", folder / "new.####" + extension}).status, 0);
        ASSERT_EQ(
            run({"encode", "--fps", "25", "-o", again, folder / "new.@@@@" + extension}).status, 0);
        for (int i = 0; i < 5; ++i)
            expect_frame(folder / ("new.000" + std::to_string(i) + extension), i, lossy ? 16 : 8);
        EXPECT_EQ(run({"verify", again}).status, 0);
        if (!lossy) {
            EXPECT_EQ(read_bytes(film), read_bytes(again));
        }
    }
}

TEST(reel_command, a_repeat_has_no_data) {
    const scratch_folder folder;
    write_shot(folder, ".png", 5);
    const std::string film = folder / "a.reel";
    ASSERT_EQ(run({"encode", "-o", film, folder.path}).status, 0);
    EXPECT_EQ(read_bytes(film).size(), header_bytes + 5 * 4 + 4 * frame_bytes + 18);
}

TEST(reel_command, odd_sizes_lose_right_and_top) {
    const scratch_folder folder;
    write_frame(folder / "a.png", 0, width + 3, height + 4 + 1); // one row of blocks more below
    const outcome made = run({"encode", "-o", folder / "a.reel", folder / "a.png"});
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_TRUE(contains(made.err, "27x21 becomes 24x20")) << made.err;
}

// Faults: what is there, what is asked, what is said. "*" is the folder; every file in it
// afterwards was there before.
TEST(reel_command, refuses_and_leaves_nothing_behind) {
    const struct {
        arguments words;
        int status;
        const char *message;
    } cases[] = {
        {{"encode", "-o", "*/x.reel", "*/gap.#.png"}, 1, "frame 2 is missing"},
        {{"encode", "-o", "*/x.reel", "*/mixed.1.png"}, 1, "mixed.3.png (frame 3): it is 28x16"},
        {{"encode", "-o", "*/x.reel", "*/bad.1.png"}, 1, "bad.2.png (frame 2): "},
        {{"encode", "-o", "*/x.reel", "*/absent.png"}, 1, "absent.png: No such file"},
        {{"encode", "-o", "*/x.reel", "*/tiny.png"}, 1, "it is 3x9 pixels"},
        {{"encode", "-o", "*/no/x.reel", "*/gap.1.png", "*/gap.3.png"}, 1, "No such file"},
        {{"encode", "-o", "*", "*/gap.1.png", "*/gap.3.png"}, 1, "it is a folder"},
        {{"encode", "-o", "/dev/full", "*/gap.1.png", "*/gap.3.png"}, 1, "not a regular file"},
        {{"encode", "-o", "*/gap.1.png", "*/gap.3.png"}, 1, "not replaced"},
        {{"encode", "-o", "*/pipe", "*/gap.1.png", "*/gap.3.png"}, 1, "not a regular file"},
        {{"encode", "-o", "*/x.reel", "*/pipe"}, 1, "not a regular file"},
        {{"encode", "-o", "*/nowhere", "*/gap.1.png", "*/gap.3.png"}, 1, "a link to something"},
        {{"encode", "-o", "*/x.reel"}, 2, "input is required"},
        {{"encode", "*/gap.1.png"}, 2, "--output is required"},
        {{"encode", "-o", "*/x.reel", "--fps", "0", "*/gap.1.png"}, 2, "--fps"},
        {{"encode", "-o", "*/x.reel", "--fps", "23.976", "*/gap.1.png"}, 2, "whole number"},
        {{"encode", "-o", "*/x.reel", "--frames", "3-1", "*/gap.1.png"}, 2, "--frames"},
        {{"decode", "*/good.reel", "-o", "*/x.png"}, 2, "several frames need a place"},
        {{"decode", "*/film.0.png", "-o", "*/film.#.png"}, 1, "the movie itself"},
        {{"decode", "*/good.reel", "-o", "*/x.##.zzz"}, 1, "no image format"},
        {{"decode", "*/good.reel", "-o", "*/no/x.##.png"}, 1, "No such file"},
        {{"decode", "*/good.reel", "-o", "*/x.#.png", "--frames", "1-5"}, 1, "frames 0-1 only"},
        {{"decode", "*/cut.reel", "-o", "*/x.avi"}, 1, "none of the frames can be shown"},
        {{"info", "*/absent.reel"}, 1, "absent.reel: No such file"},
        {{"info", "*/bad.2.png"}, 1, "cannot be opened as a movie"},
        {{"verify", "*"}, 1, "it is a folder"},
        {{"verify", "*/empty.reel", "*/good.reel"}, 1, "empty.reel: it is empty"},
        {{}, 2, "required"},
    };
    const scratch_folder folder;
    for (const char *name : {"gap.1.png", "gap.3.png", "mixed.1.png", "mixed.2.png", "bad.1.png"})
        write_frame(folder / name, 0);
    write_frame(folder / "mixed.3.png", 0, width + 4);
    write_frame(folder / "tiny.png", 0, 3, 9);
    write_bytes(folder / "bad.2.png", "This is no image, and no movie of any kind.");
    write_bytes(folder / "empty.reel", "");
    ASSERT_EQ(
        run({"encode", "-o", folder / "good.reel", folder / "gap.1.png", folder / "gap.3.png"})
            .status,
        0);
    std::filesystem::copy_file(folder / "good.reel", folder / "film.0.png");
    write_bytes(folder / "cut.reel", read_bytes(folder / "good.reel").substr(0, 60));
    std::filesystem::create_symlink("absent/x.reel", folder / "nowhere");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const auto before = folder.names();
    for (const auto &each : cases) {
        arguments words = each.words;
        for (std::string &word : words)
            if (word.starts_with("*"))
                word.replace(0, 1, folder.path);
        const outcome got = run(words);
        EXPECT_EQ(got.status, each.status) << each.message << "\n" << got.err;
        EXPECT_TRUE(contains(got.err, each.message)) << each.message << "\n" << got.err;
        EXPECT_EQ(folder.names(), before) << each.message;
    }
    EXPECT_EQ(read_bytes(folder / "film.0.png"), read_bytes(folder / "good.reel"));
}

TEST(reel_command, a_full_disk_leaves_the_old_files) {
    const scratch_folder folder;
    write_shot(folder, ".png", 5);
    const std::string film = folder / "a.reel";
    ASSERT_EQ(run({"encode", "-o", film, folder.path}).status, 0);
    const std::string old = read_bytes(film);
    for (const char *name : {"old.0.png", "old.0.rgb", "old.0.tif", "old.0.jpg"})
        write_bytes(folder / name, "old");
    const auto before = folder.names();
    const rlim_t no_room = 60;
    for (const arguments &words : {arguments{"encode", "-o", film, folder / "shot.####.png"},
                                   arguments{"decode", film, "-o", folder / "old.#.png"},
                                   arguments{"decode", film, "-o", folder / "old.#.tif"},
                                   arguments{"decode", film, "-o", folder / "old.#.jpg"},
                                   arguments{"decode", film, "-o", folder / "old.#.rgb"}}) {
        const outcome got = run(words, no_room);
        EXPECT_EQ(got.status, 1) << words[0] << " " << words.back();
        EXPECT_EQ(folder.names(), before);
    }
    EXPECT_EQ(read_bytes(film), old);
    for (const char *name : {"old.0.png", "old.0.rgb", "old.0.tif", "old.0.jpg"})
        EXPECT_EQ(read_bytes(folder / name), "old");
}

TEST(reel_command, a_signal_leaves_nothing) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        const scratch_folder folder;
        const scratch_folder logs;
        write_frame(folder / "a.png", 0, 640, 480);
        arguments words = {"encode", "-o", folder / "x.reel"};
        words.insert(words.end(), 5000, folder / "a.png");
        const pid_t child = start_program(logs, words, RLIM_INFINITY);
        for (int i = 0; i < 2000 && folder.names().size() < 2; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(folder.names().size(), 2U) << "the temporary file is there while it works";
        ::kill(child, number);
        EXPECT_EQ(wait_for(logs, child).status, -number);
        EXPECT_EQ(folder.names(), std::vector<std::string>{"a.png"});
    }
}

void put_word(std::string &bytes, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<char>(value >> (24 - 8 * i));
}

// Damages a film of five frames in one 32-bit word; verify tells the frame, the place and what is
// wrong.
TEST(reel_command, verify_says_where) {
    const std::size_t first = header_bytes + 5 * 4; // offset of frame 0's chunk
    const auto chunk = [&](std::size_t i) { return first + i * frame_bytes; };
    const auto entry = [](std::size_t i) { return header_bytes + i * 4; };
    const auto text = [](std::size_t value) { return std::to_string(value); };
    const auto data_size = static_cast<std::uint32_t>(frame_bytes - 18);
    const struct {
        std::size_t at;
        std::uint32_t value;
        int status;
        std::string expected;
    } cases[] = {
        {entry(1), 0, 1, "frame 1: it is missing"},
        {entry(1), 99999, 1, "frame 1: its table entry points outside the file, at 99999"},
        {entry(1), 0x80000000, 1, "frame 1: its table entry points outside the file"},
        {entry(1), 30, 1, "frame 1: its table entry points into the head of the file, at 30"},
        {chunk(1) + 14, 0x7FFFFFFF, 1, "frame 1: its chunk at offset " + text(chunk(1))},
        {chunk(1) + 14, 0xFFFFFFFF, 1, "frame 1: its chunk at offset " + text(chunk(1))},
        {chunk(1) + 14, data_size - 1, 1,
         "frame 1: its data at offset " + text(chunk(1) + 18) +
             " ends in block 23 of 24, at offset " + text(chunk(1) + frame_bytes - 6)},
        {chunk(1) + 18, 0x00180014, 1,
         "frame 1: its data at offset " + text(chunk(1) + 18) + " is a picture of 24x20"},
        {chunk(2) + 14, 2, 1, "frame 3: it repeats frame 2, which is damaged"},
        {chunk(0) + 14, 0, 1, "frame 0: it repeats the frame before, which has no picture"},
        {entry(4), static_cast<std::uint32_t>(chunk(1)), 0, "remark: the chunks of frames 1 and 4"},
        {entry(3), static_cast<std::uint32_t>(chunk(2)), 0, "remark: 18 bytes belong to no chunk"},
        {12, 25, 1, "header: 25x16"},
    };
    const scratch_folder folder;
    write_shot(folder, ".png", 5);
    const std::string film = folder / "a.reel";
    ASSERT_EQ(run({"encode", "-o", film, folder.path}).status, 0);
    const std::string good = read_bytes(film);
    for (const auto &each : cases) {
        std::string bytes = good;
        put_word(bytes, each.at, each.value);
        write_bytes(film, bytes);
        const outcome got = run({"verify", film});
        EXPECT_EQ(got.status, each.status) << each.expected;
        EXPECT_TRUE(contains(got.out, each.expected)) << each.expected << "\n" << got.out;
    }

    // Decoding goes on with the frames that can be shown.
    std::string bytes = good;
    put_word(bytes, entry(1), 0);
    write_bytes(film, bytes);
    const outcome got = run({"decode", film, "-o", folder / "out.#.png"});
    EXPECT_EQ(got.status, 1);
    EXPECT_TRUE(contains(got.err, "frame 1 is left out: it is missing")) << got.err;
    EXPECT_FALSE(std::filesystem::exists(folder / "out.1.png"));
    for (const int i : {0, 2, 3, 4})
        expect_frame(folder / ("out." + std::to_string(i) + ".png"), i, 7);
    EXPECT_TRUE(contains(run({"info", "--json", film}).out, "\"missing_frames\": [[1, 1]]"));
}

TEST(reel_command, help_has_examples) {
    for (const char *name : {"encode", "info", "verify", "decode"}) {
        const outcome got = run({name, "--help"});
        EXPECT_EQ(got.status, 0);
        EXPECT_TRUE(contains(got.out, "Example:\n  reel " + std::string(name))) << got.out;
    }
}

} // namespace

} // namespace reel
