// Videos that FFmpeg's own tools make, whole and damaged, into our module.
#include "tests/tools/reel/video_support.h"
#include "tools/reel/cram.h"

#include <random>

namespace reel {

namespace {

// ---- videos of others

std::size_t count_pixels(int width, int height) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

std::uint32_t pixel_at(const words &picture, int width, int x, int y) {
    return picture[count_pixels(width, y) + static_cast<std::size_t>(x)];
}

// Four colours: red and green above, blue and grey below.
constexpr int side = 64;
constexpr int corners = 4;
const std::uint32_t quarter_colours[corners] = {pack(200, 30, 30), pack(30, 180, 40),
                                                pack(40, 40, 210), pack(128, 128, 128)};

void expect_quarters(const image_buffer &picture, const int (&order)[corners], int tolerance) {
    for (int i = 0; i < corners; ++i) {
        const int x = picture.width / 4 * (i % 2 == 0 ? 1 : 3);
        const int y = picture.height / 4 * (i < 2 ? 3 : 1); // bottom-up
        const std::uint32_t pixel = pixel_at(picture.words, picture.width, x, y);
        EXPECT_EQ(pixel >> 24, 0U);
        for (int shift = 0; shift < 24; shift += 8)
            EXPECT_NEAR(static_cast<int>(pixel >> shift & 0xFF),
                        static_cast<int>(quarter_colours[order[i]] >> shift & 0xFF), tolerance)
                << "quarter " << i << " shift " << shift;
    }
}

TEST(video, reads_what_others_write) {
    const scratch_folder folder;
    std::string raw;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < 2 * side; ++x)
            for (int shift = 0; shift < 24; shift += 8)
                raw += static_cast<char>(
                    quarter_colours[(y < side / 2 ? 0 : 2) + (x < side ? 0 : 1)] >> shift & 0xFF);
    write_bytes(folder / "raw", raw + raw + raw);
    const std::string input =
        "-f rawvideo -pix_fmt rgb24 -s 128x64 -r 24000/1001 -i" + quote(folder / "raw");
    const std::string h264 = "-c:v libx264 -qp 0 ";
    const std::string turn = "-c copy -metadata:s:v rotate="; // of a file that is there
    const std::string plain = quote(folder / "601.mp4");
    const struct {
        const char *name;
        std::string options;
        int tolerance = 3;
        bool upended = false;
        int order[corners] = {0, 1, 2, 3};
    } cases[] = {
        {"601.mp4", h264 + "-vf scale=out_color_matrix=bt601 -pix_fmt yuv444p -colorspace bt470bg"},
        {"709.mp4", h264 + "-vf scale=out_color_matrix=bt709 -pix_fmt yuv420p -colorspace bt709"},
        {"2020.mkv", h264 + "-vf scale=out_color_matrix=bt2020 -pix_fmt yuv420p10 "
                            "-colorspace bt2020nc"},
        {"full.mov", h264 + "-vf scale=out_range=full -pix_fmt yuvj420p"},
        {"full10.mkv", h264 + "-vf scale=out_range=full -pix_fmt yuv420p10 -color_range pc"},
        {"untagged.y4m", "-pix_fmt yuv422p"},
        {"rgb.mkv", "-c:v ffv1 -pix_fmt gbrp10", 1},
        {"rgb.avi", "-c:v rawvideo -pix_fmt bgr24", 0},
        {"15.avi", "-c:v msvideo1", 8},
        {"b.mp4", "-c:v libx264 -bf 2 -crf 5", 6},
        {"v.webm", "-c:v libvpx-vp9 -crf 5 -b:v 0 -deadline realtime", 6},
        {"90.mov", turn + "90", 5, true, {1, 3, 0, 2}},
        {"180.mov", turn + "180", 5, false, {3, 2, 1, 0}},
        {"270.mov", turn + "270", 5, true, {2, 0, 3, 1}},
        {"sar.mp4", h264 + "-vf setsar=4/3", 5},
        // The first of three frames stands twice as long.
        {"variable.mkv", h264 + "-vf setpts='(N+gte(N\\,1))/24/TB' -vsync vfr", 5},
    };
    for (const auto &[name, options, tolerance, upended, order] : cases) {
        SCOPED_TRACE(name);
        std::string line = options.starts_with(turn) ? "-i" + plain : input;
        line += options + quote(folder / name);
        ASSERT_NO_FATAL_FAILURE(ffmpeg(line));
        opened video(folder / name);
        std::vector<image_buffer> pictures;
        ASSERT_NE(video.reader, nullptr) << video.fault;
        ASSERT_EQ(read_all(video, pictures), video_end) << video.fault;
        ASSERT_EQ(pictures.size(), 3U);
        EXPECT_EQ(video.info.width, upended ? side : 2 * side);
        EXPECT_EQ(video.info.note.empty(), name != std::string("sar.mp4")) << video.info.note;
        if (video.info.count_is_sure) {
            EXPECT_EQ(video.info.count, 3);
        }
        if (name != std::string("variable.mkv")) {
            EXPECT_NEAR(double(video.info.rate_numerator) / video.info.rate_denominator,
                        24000.0 / 1001, 0.01);
        }
        for (const image_buffer &picture : pictures) {
            ASSERT_EQ(picture.width, video.info.width);
            ASSERT_EQ(picture.height, video.info.height);
            expect_quarters(picture, order, tolerance);
        }
    }
    // Half transparent: over black everything is half as bright.
    ffmpeg(input + "-vf format=rgba,colorchannelmixer=aa=0.5 -c:v prores_ks -pix_fmt yuva444p10" +
           quote(folder / "alpha.mov"));
    opened video(folder / "alpha.mov");
    image_buffer picture;
    ASSERT_EQ(module().read(video.reader.get(), &picture, &video.fault), video_got);
    EXPECT_NEAR(static_cast<int>(picture.words.back() >> 8 & 0xFF), 90, 3); // the green quarter
}

// ---- bad input

TEST(video, what_is_no_video_is_refused) {
    const scratch_folder folder;
    write_bytes(folder / "text.mp4", "This is not a video.\n");
    write_bytes(folder / "notes.txt", "Nor is this, although some would read it.\n");
    write_bytes(folder / "empty.mov", "");
    ffmpeg("-f lavfi -i sine=d=1" + quote(folder / "sound.m4a"));
    ffmpeg("-f lavfi -i testsrc=s=32x32 -frames 1" + quote(folder / "still.png"));
    for (const char *name : {"text.mp4", "notes.txt", "empty.mov", "sound.m4a", "still.png",
                             "missing.mp4", ".", "a:b.mp4", "http://127.0.0.1/x.mp4"}) {
        const opened video(folder / name);
        EXPECT_EQ(video.reader, nullptr) << name;
        EXPECT_FALSE(video.fault.empty()) << name;
        EXPECT_EQ(video.fault.find('\n'), std::string::npos) << video.fault;
    }
}

TEST(video, cut_off_files_never_pass_for_whole) {
    const scratch_folder folder;
    const std::string source = "-f lavfi -i testsrc=s=160x120:r=24:d=2 ";
    for (const std::string name : {"a.mp4 -movflags +faststart", "b.mp4", "c.mkv",
                                   "d.avi -c:v mjpeg", "e.y4m -pix_fmt yuv420p", "f.mov -bf 3",
                                   "g.webm -deadline realtime", "h.mkv -f lavfi -i sine=d=2.2"}) {
        const std::string file = name.substr(0, name.find(' '));
        ffmpeg(source + name.substr(file.size()) + quote(folder / file));
        const std::string whole = read_bytes(folder / file);
        for (const std::size_t tenths : {2U, 5U, 8U, 9U}) {
            write_bytes(folder / file, whole.substr(0, whole.size() * tenths / 10));
            opened video(folder / file);
            std::vector<image_buffer> pictures;
            if (video.reader != nullptr) {
                EXPECT_EQ(read_all(video, pictures), video_failed) << name << " " << tenths;
            }
            EXPECT_FALSE(video.fault.empty()) << name;
            EXPECT_LT(pictures.size(), 48U);
        }
    }
}

// Whatever is in a file, reading it ends, and not with a crash.
TEST(video, damaged_files_are_survived) {
    const scratch_folder folder;
    const std::string source = "-f lavfi -i testsrc=s=64x48:r=24:d=0.5 ";
    for (const std::string name :
         {"a.mp4 -g 4", "c.mkv -c:v ffv1", "d.avi -c:v msvideo1", "e.y4m -pix_fmt yuv420p",
          "f.mov -c:v prores", "g.webm -deadline realtime"}) {
        const std::string file = name.substr(0, name.find(' '));
        ffmpeg(source + name.substr(file.size()) + quote(folder / file));
        const std::string whole = read_bytes(folder / file);
        for (unsigned seed = 0; seed < 12; ++seed) {
            std::mt19937 random(seed);
            std::string damaged = whole;
            for (int i = 0; i < 20; ++i)
                damaged[random() % damaged.size()] ^= static_cast<char>(1 << random() % 8);
            write_bytes(folder / file, damaged);
            opened video(folder / file);
            int result = video.reader != nullptr ? video_got : video_failed;
            image_buffer picture;
            bytes packet;
            bytes stream;
            for (int i = 0; i < 100 && result == video_got; ++i) {
                result = video.info.block_coded && seed % 2 == 0
                             ? module().read_packet(video.reader.get(), &packet, &video.fault)
                             : module().read(video.reader.get(), &picture, &video.fault);
                if (result == video_got && !packet.empty())
                    (void)ir1_from_cram(packet, video.info.width, video.info.height, stream);
            }
            EXPECT_NE(result, video_got) << name << " seed " << seed;
            EXPECT_EQ(result == video_failed, !video.fault.empty()) << name << " seed " << seed;
        }
    }
}

// ---- sizes

TEST(video, resizing) {
    const struct {
        int width;
        int height;
        int new_width;
        int new_height;
    } cases[] = {{1, 1, 4, 4},     {1, 7, 4, 4},        {3, 2, 64, 48},   {64, 48, 4, 4},
                 {64, 48, 64, 48}, {97, 61, 48, 32},    {2048, 8, 4, 4},  {4, 2000, 4, 8},
                 {5, 5, 1000, 4},  {1920, 8, 3840, 16}, {16, 16, 20, 12}, {30000, 4, 8, 4}};
    for (const auto &each : cases) {
        const int w = each.width;
        const int h = each.height;
        const int new_w = each.new_width;
        const int new_h = each.new_height;
        SCOPED_TRACE(testing::Message() << w << "x" << h << " to " << new_w << "x" << new_h);
        words made;
        std::string fault;
        const auto resize = [&](const words &picture) {
            return module().resize(picture, w, h, new_w, new_h, &made, &fault);
        };
        const std::size_t pixels = count_pixels(w, h);
        const std::size_t new_pixels = count_pixels(new_w, new_h);
        for (const std::uint32_t colour : {0U, 0xFFFFFFU, 0x12C8FEU}) {
            ASSERT_EQ(resize(words(pixels, colour)), 0) << fault;
            EXPECT_EQ(made, words(new_pixels, colour));
        }
        // A ramp from left to right in red, from the bottom up in blue, stays one.
        words ramp;
        for (int i = 0; i < w * h; ++i)
            ramp.push_back(pack((i % w * 255 + w / 2) / w, 0, (i / w * 255 + h / 2) / h));
        ASSERT_EQ(resize(ramp), 0) << fault;
        ASSERT_EQ(made.size(), new_pixels);
        for (int y = 0; y < new_h; ++y)
            for (int x = 0; x < new_w; ++x) {
                const std::uint32_t pixel = pixel_at(made, new_w, x, y);
                const double across = ((x + 0.5) * w / new_w - 0.5) * 255 / w;
                const double along = ((y + 0.5) * h / new_h - 0.5) * 255 / h;
                const double limit_x = 255.0 * (w - 1) / w;
                const double limit_y = 255.0 * (h - 1) / h;
                ASSERT_NEAR(pixel & 0xFF, std::clamp(across, 0.0, limit_x), 3 + 40.0 / w) << x;
                ASSERT_NEAR(pixel >> 16, std::clamp(along, 0.0, limit_y), 3 + 40.0 / h) << y;
                ASSERT_EQ(pixel >> 8 & 0xFF, 0U);
            }
    }
    words made;
    std::string fault;
    EXPECT_EQ(module().resize(words(3), 2, 2, 4, 4, &made, &fault), -1);
    EXPECT_EQ(module().resize(words(4), 2, 2, 0, 4, &made, &fault), -1);
}

} // namespace

} // namespace reel
