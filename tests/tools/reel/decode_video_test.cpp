// Videos out of the program, judged by FFmpeg's own tools.
#include "tests/tools/reel/video_support.h"
#include "tools/reel/cram.h"
#include "tools/reel/movie_writer.h"

#include <cmath>
#include <csignal>
#include <random>
#include <unistd.h>

namespace reel {

namespace {

int reel(const std::string &words_of_it, std::string *err) {
    return run(std::string(REEL_PROGRAM) + " " + words_of_it + " 2>&1", err);
}

// ---- movies to write out

constexpr int width = 96;
constexpr int height = 64;
constexpr int rate = 25;
constexpr int frames = 9;
constexpr int repeated = 4; // the same as the frame before

// Soft colours that move, with nothing the same when mirrored.
words make_picture(int frame) {
    const int shown = frame == repeated ? frame - 1 : frame;
    words picture;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.push_back(pack((x * 2 + shown * 4) & 0xFF, y * 3, 128 + (x - y) / 2));
    return picture;
}

bytes compress(const words &picture) {
    bytes packed(movie::ir1_worst_case(width, height));
    const std::int64_t size = movie::IR1_compress(picture, width, height, packed, 12);
    packed.resize(static_cast<std::size_t>(std::max<std::int64_t>(size, 0)));
    return packed;
}

words expand(const bytes &packed) {
    static const movie::ir1_table table = movie::IR1_init_tables();
    words picture(std::size_t{width} * height);
    EXPECT_EQ(movie::IR1_decompress(*table, packed, picture), 0);
    return picture;
}

// Frames `missing` are left out.
void write_movie(const std::string &path, const std::vector<int> &missing = {}) {
    movie_writer writer;
    ASSERT_EQ(start_movie(path, {width, height, rate, 12, frames}, writer), 0);
    for (int i = 0; i < frames; ++i) {
        const bool left_out = std::find(missing.begin(), missing.end(), i) != missing.end();
        ASSERT_EQ(
            left_out ? add_missing_frame(writer) : add_frame(writer, compress(make_picture(i))), 0);
    }
    ASSERT_EQ(finish_movie(writer), 0);
}

// All pictures of a video as FFmpeg's own program decodes them, in words of ours.
std::vector<words> decode_by_ffmpeg(const std::string &path, bool is_15_bit) {
    std::string raw;
    EXPECT_EQ(run("ffmpeg -v error -nostdin -i" + quote(path) + "-f rawvideo -pix_fmt " +
                      (is_15_bit ? "rgb555le" : "rgb0") + " -",
                  &raw),
              0);
    const std::size_t pixel = is_15_bit ? 2 : 4;
    const std::size_t picture_bytes = std::size_t{width} * height * pixel;
    EXPECT_EQ(raw.size() % picture_bytes, 0U);
    std::vector<words> pictures;
    for (std::size_t at = 0; at + picture_bytes <= raw.size(); at += picture_bytes) {
        words picture;
        for (int y = height - 1; y >= 0; --y)
            for (int x = 0; x < width; ++x) {
                const auto *from = reinterpret_cast<const std::uint8_t *>(raw.data()) + at +
                                   static_cast<std::size_t>(y * width + x) * pixel;
                const int low = from[0] | from[1] << 8;
                picture.push_back(is_15_bit ? pack((low >> 10 & 0x1F) << 3, (low >> 5 & 0x1F) << 3,
                                                   (low & 0x1F) << 3)
                                            : pack(from[0], from[1], from[2]));
            }
        pictures.push_back(std::move(picture));
    }
    return pictures;
}

double psnr(const words &a, const words &b) {
    if (a.size() != b.size())
        return 0;
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        for (int shift = 0; shift < 24; shift += 8) {
            const double difference = static_cast<double>(a[i] >> shift & 0xFF) -
                                      static_cast<double>(b[i] >> shift & 0xFF);
            sum += difference * difference;
        }
    return sum == 0 ? 100 : 10 * std::log10(255.0 * 255 * 3 * static_cast<double>(a.size()) / sum);
}

struct export_case {
    const char *name;
    const char *options;
    const char *codec; // as FFmpeg calls it
    double least_psnr; // 100: no pixel differs
};

constexpr double exact = 100;
constexpr export_case exports[] = {
    {"a.mp4", "", "h264", 32},
    {"a.MP4", "--codec vp9", "vp9", 32},
    {"a b\u00fc.mov", "", "h264", 32},
    {"a.mov", "--codec prores", "prores", 36},
    {"a.mkv", "", "ffv1", exact},
    {"a.mkv", "--codec h264", "h264", 32},
    {"a.mkv", "--codec prores", "prores", 36},
    {"a.webm", "", "vp9", 32},
    {"a.avi", "", "msvideo1", exact},
    {"a.avi", "--codec ffv1", "ffv1", exact},
};

TEST(video, exports_are_what_the_movie_shows) {
    const scratch_folder folder;
    const std::string film = folder / "film.reel";
    write_movie(film);
    for (const export_case &each : exports) {
        SCOPED_TRACE(std::string(each.name) + each.options);
        const std::string path = folder / each.name;
        std::string out;
        ASSERT_EQ(reel("decode" + quote(film) + "-o" + quote(path) + each.options, &out), 0) << out;
        ASSERT_EQ(run("ffprobe -v error -count_frames -of csv=p=0 -show_entries stream=codec_name,"
                      "width,height,avg_frame_rate,nb_read_frames" +
                          quote(path),
                      &out),
                  0);
        EXPECT_EQ(out, std::string(each.codec) + ",96,64,25/1,9\n");
        const bool is_15_bit = each.codec == std::string("msvideo1");
        const std::vector<words> pictures = decode_by_ffmpeg(path, is_15_bit);
        ASSERT_EQ(pictures.size(), static_cast<std::size_t>(frames));
        opened video(path);
        std::vector<image_buffer> read;
        ASSERT_NE(video.reader, nullptr) << video.fault;
        ASSERT_EQ(read_all(video, read), video_end) << video.fault;
        ASSERT_EQ(read.size(), pictures.size());
        EXPECT_EQ(video.info.rate_numerator, rate * video.info.rate_denominator);
        for (int i = 0; i < frames; ++i) {
            const auto at = static_cast<std::size_t>(i);
            const words shown = expand(compress(make_picture(i)));
            EXPECT_GE(psnr(pictures[at], shown), each.least_psnr) << "frame " << i;
            EXPECT_GE(psnr(read[at].words, shown), std::min(each.least_psnr, 36.0))
                << "frame " << i;
        }
        std::filesystem::remove(path);
    }
    EXPECT_EQ(folder.names(), std::vector<std::string>{"film.reel"});
}

TEST(video, avi_packets_are_the_movies_own_blocks) {
    const scratch_folder folder;
    std::string out;
    write_movie(folder / "film.reel");
    ASSERT_EQ(reel("decode" + quote(folder / "film.reel") + "-o" + quote(folder / "a.avi"), &out),
              0);
    opened video(folder / "a.avi");
    ASSERT_NE(video.reader, nullptr) << video.fault;
    EXPECT_TRUE(video.info.block_coded);
    EXPECT_TRUE(video.info.count_is_sure);
    EXPECT_EQ(video.info.count, frames);
    bytes packet;
    bytes stream;
    for (int i = 0; i < frames; ++i) {
        ASSERT_EQ(module().read_packet(video.reader.get(), &packet, &video.fault), video_got);
        ASSERT_EQ(ir1_from_cram(packet, video.info.width, video.info.height, stream), 0);
        EXPECT_EQ(stream, compress(make_picture(i))) << "frame " << i;
        EXPECT_EQ(packet.size() < 16, i == repeated) << "frame " << i;
    }
    EXPECT_EQ(module().read_packet(video.reader.get(), &packet, &video.fault), video_end);
}

// What cannot be shown is the picture before, black at the beginning; steps choose frames.
TEST(video, frames_that_are_not_there_and_steps) {
    const scratch_folder folder;
    write_movie(folder / "film.reel", {0, 1, 5, 6});
    const struct {
        const char *options;
        std::vector<int> shown; // -1: black
        int status;
    } cases[] = {
        {"", {-1, -1, 2, 3, 3, 3, 3, 7, 8}, 1},
        {"--frames 2-8x3", {2, 2, 8}, 1},
        {"--frames 2-8x2 --fps 5", {2, 3, 3, 8}, 1},
        {"--frames 3", {3}, 0},
        {"--frames 7-8", {7, 8}, 0},
        {"--frames 1-2", {-1, 2}, 1}, // its file is looked at below
    };
    for (const char *name : {"a.avi", "a.mkv"})
        for (const auto &[options, shown, status] : cases) {
            SCOPED_TRACE(std::string(name) + options);
            std::string out;
            ASSERT_EQ(
                reel("decode" + quote(folder / "film.reel") + "-o" + quote(folder / name) + options,
                     &out),
                status)
                << out;
            const auto pictures = decode_by_ffmpeg(folder / name, std::string(name) == "a.avi");
            ASSERT_EQ(pictures.size(), shown.size());
            for (std::size_t i = 0; i < shown.size(); ++i)
                EXPECT_EQ(pictures[i], shown[i] < 0 ? words(pictures[i].size())
                                                    : expand(compress(make_picture(shown[i]))))
                    << i;
        }
    std::string out;
    EXPECT_EQ(
        run("ffprobe -v error -show_entries packet=flags -of csv=p=0" + quote(folder / "a.avi"),
            &out),
        0);
    EXPECT_TRUE(out.starts_with("K")) << "a player begins at a picture: " << out;
    EXPECT_EQ(reel("decode" + quote(folder / "film.reel") + "-o" + quote(folder / "i.#.png") +
                       "--frames 1-8x3",
                   &out),
              1);
    EXPECT_EQ(folder.names(),
              (std::vector<std::string>{"a.avi", "a.mkv", "film.reel", "i.4.png", "i.7.png"}));
}

TEST(video, what_cannot_be_written_is_said) {
    const scratch_folder folder;
    write_movie(folder / "film.reel");
    write_bytes(folder / "old.mp4", "old");
    const struct {
        const char *words_of_it;
        int status;
        const char *said;
    } cases[] = {
        {"-o */x.webm --codec h264", 2, "h264 goes into .mp4, .mov and .mkv"},
        {"-o */x.mp4 --codec cram", 2, "cram goes into .avi"},
        {"-o */x.png --codec h264", 2, "videos can be written as .mp4"},
        {"-o */x.mp4 --codec mpeg2", 2, "h264"},
        {"-o */x.#.png --fps 5", 2, "--fps is for videos"},
        {"-o */x.mp4 --fps 0", 2, "1 to 1000"},
        {"-o */x.mp4 --frames 3-9", 1, "frames 0-8 only"},
        {"-o */no/x.mp4", 1, "No such file"},
        {"-o /dev/full/x.mp4", 1, "cannot be written"},
    };
    for (const auto &[words_of_it, status, said] : cases) {
        std::string line = words_of_it;
        if (const std::size_t star = line.find('*'); star != std::string::npos)
            line.replace(star, 1, folder.path);
        std::string out;
        EXPECT_EQ(reel("decode" + quote(folder / "film.reel") + line, &out), status) << line;
        EXPECT_NE(out.find(said), std::string::npos) << line << "\n" << out;
        EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;
    }
    // A full disk, by another name: no file may grow.
    for (const char *name : {"old.mp4", "x.mkv", "x.avi", "x.mov"}) {
        std::string out;
        EXPECT_EQ(run("(ulimit -f 1; " + std::string(REEL_PROGRAM) + " decode" +
                          quote(folder / "film.reel") + "-o" + quote(folder / name) + "2>&1)",
                      &out),
                  1)
            << name;
        EXPECT_NE(out.find("File too large"), std::string::npos) << name << "\n" << out;
    }
    EXPECT_EQ(read_bytes(folder / "old.mp4"), "old");
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"film.reel", "old.mp4"}));
}

TEST(video, interrupts_leave_nothing) {
    const scratch_folder folder;
    // Large and busy, so that the files take time.
    constexpr int many = 20000;
    words picture(std::size_t{800} * 600);
    std::minstd_rand random;
    for (std::uint32_t &word : picture)
        word = static_cast<std::uint32_t>(random()) & 0xFFFFFF;
    bytes packed(movie::ir1_worst_case(800, 600));
    packed.resize(static_cast<std::size_t>(movie::IR1_compress(picture, 800, 600, packed, 12)));
    movie_writer writer;
    ASSERT_EQ(start_movie(folder / "film.reel", {800, 600, rate, 12, many}, writer), 0);
    for (int i = 0; i < many; ++i)
        ASSERT_EQ(add_frame(writer, packed), 0);
    ASSERT_EQ(finish_movie(writer), 0);
    for (const char *name : {"a.mp4", "a.mkv", "a.####.png", "a.####.exr"})
        for (int i = 0; i < 3; ++i) {
            const pid_t child = ::fork();
            if (child == 0) {
                std::signal(SIGINT, SIG_DFL);
                ::close(STDERR_FILENO);
                ::execl(REEL_PROGRAM, REEL_PROGRAM, "decode", (folder / "film.reel").c_str(), "-o",
                        (folder / name).c_str(), nullptr);
                ::_exit(127);
            }
            const auto is_at_work = [&] {
                const auto names = folder.names();
                return std::any_of(names.begin(), names.end(), [](const std::string &each) {
                    return each.starts_with(".reel");
                });
            };
            for (int wait = 0; wait < 1000 && !is_at_work(); ++wait)
                ::usleep(20000);
            ::usleep(static_cast<useconds_t>(i) * 70000);
            ::kill(child, SIGINT);
            int status = 0;
            ::waitpid(child, &status, 0);
            EXPECT_TRUE(WIFSIGNALED(status)) << name << " was done too early";
            for (const std::string &left : folder.names())
                EXPECT_FALSE(left.starts_with(".reel") || left == "a.mp4" || left == "a.mkv")
                    << left;
        }
}

} // namespace

} // namespace reel
