// The temporary movie of a preview, written frame by frame and read by the player itself.
#include "player/frame_reader.h"
#include "player/preview_movie.h"
#include "tests/player/player_fixture.h"

#include <csignal>
#include <random>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

using namespace player;
using player_test::frame_colour;

class preview_movie_test : public player_test::player_fixture {
protected:
    void SetUp() override {
        player_fixture::SetUp();
        ::setenv("TMPDIR", folder.c_str(), 1);
        begin(66, 50); // no whole blocks
    }
    void TearDown() override {
        ref = {};
        EXPECT_TRUE(std::filesystem::is_empty(folder)) << "no file ever has a name";
        ::unsetenv("TMPDIR");
        player_fixture::TearDown();
    }
    void begin(int width, int height) {
        ref = {};
        args = {};
        args.first = 5;
        args.count = 6;
        args.width = width;
        args.height = height;
        args.compression = 12;
        ASSERT_EQ(allocate_frame_buffers(args), 0);
    }
    // The frame of that index comes, in one colour.
    void take(int index, int colour_of) {
        std::ranges::fill(args.pixels.span(), frame_colour(colour_of));
        args.current = args.first + index;
        compress_to_movie_file(args, ref);
    }
    std::string said_by(const std::function<void()> &what) {
        testing::internal::CaptureStderr();
        what();
        return testing::internal::GetCapturedStderr();
    }
    [[nodiscard]] struct stat movie_status() const {
        struct stat status {};
        EXPECT_EQ(::fstat(::fileno(ref.film->stream.get()), &status), 0);
        return status;
    }
};

TEST_F(preview_movie_test, frames_are_appended_replaced_and_left_out) {
    take(0, 0);
    take(3, 3);
    take(1, 1);
    take(3, 30); // again, otherwise
    ASSERT_NE(ref.film, nullptr);
    EXPECT_EQ(ref.film->count, 6);
    EXPECT_EQ(ref.film->width, 64);
    EXPECT_EQ(ref.film->height, 48);
    EXPECT_EQ(ref.film->rate, 30);
    EXPECT_EQ(ref.film->threshold, 12);
    const std::vector<std::int32_t> &offsets = ref.film->offsets;
    for (const int missing : {2, 4, 5})
        EXPECT_EQ(offsets[static_cast<std::size_t>(missing)], 0);
    EXPECT_TRUE(offsets[0] == 28 + 4 * 6 && offsets[0] < offsets[1] && offsets[1] < offsets[3]);
    EXPECT_EQ(last_received_frame(args, ref), 8);
    ASSERT_EQ(prepare_preview(args, ref, 8), 0);
    EXPECT_EQ(args.width, 64);
    EXPECT_EQ(args.count, 4);
    int before = 0;
    for (const auto &[index, colour_of] : {std::pair{0, 0}, {1, 1}, {2, -1}, {3, 30}, {4, -1}}) {
        args.current = args.first + index;
        read_frame_from_file(args, ref);
        before = colour_of < 0 ? before : colour_of; // one that is missing leaves the picture
        EXPECT_EQ(args.pixels.span().front(), frame_colour(before)) << index;
        EXPECT_EQ(args.pixels.span().back(), frame_colour(before)) << index;
    }
    // By its own handle it is a whole movie file, as it stands in the table.
    const std::string copy = folder + "/copy.reel";
    std::filesystem::copy_file("/proc/self/fd/" + std::to_string(::fileno(ref.film->stream.get())),
                               copy);
    const movie::vf_owner read = movie::VFopen(copy.c_str(), "r");
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->offsets, offsets);
    std::filesystem::remove(copy);
}

TEST_F(preview_movie_test, its_file_is_nobody_elses) {
    const mode_t before = ::umask(0);
    take(0, 0);
    ::umask(before);
    const struct stat status = movie_status();
    EXPECT_EQ(status.st_nlink, 0U);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    struct stat in {};
    ASSERT_EQ(::stat(folder.c_str(), &in), 0);
    EXPECT_EQ(status.st_dev, in.st_dev);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(preview_movie_test, a_users_own_movie_is_not_written_to) {
    const std::string path = write_movie({.frames = 3, .width = 64, .height = 48});
    const auto bytes_of = [&] {
        std::ostringstream bytes;
        bytes << std::ifstream(path).rdbuf();
        return bytes.str();
    };
    const std::string bytes = bytes_of();
    for (const char *mode : {"r", "r+"}) {
        ref.film = movie::VFopen(path.c_str(), mode);
        if (ref.film == nullptr)
            continue; // not a way to open one
        ref.is_preview = false;
        take(0, 7);
        EXPECT_TRUE(ref.is_preview);
        EXPECT_EQ(movie_status().st_nlink, 0U);
        EXPECT_EQ(bytes_of(), bytes);
        ref = {};
    }
    std::filesystem::remove(path);
}

TEST_F(preview_movie_test, what_can_not_be_written_is_said) {
    const std::string bad = "playertool: compress_to_movie_file: Bad play_args.\n";
    args.packed = {};
    EXPECT_EQ(said_by([&] { take(0, 0); }), bad);
    free_frame_buffers(args);
    EXPECT_EQ(said_by([&] { compress_to_movie_file(args, ref); }), bad);
    EXPECT_EQ(ref.film, nullptr);
    // No movie can be begun: said once, tried again now and then.
    begin(64, 48);
    args.count = -1;
    const std::string failed = said_by([&] {
        for (int i = 0; i < 100; ++i)
            take(0, 0);
    });
    const std::string text = "playertool: compress_to_movie_file: Error opening file.\n";
    const std::size_t at = failed.find(text);
    EXPECT_NE(at, std::string::npos) << failed;
    EXPECT_EQ(failed.find(text, at + 1), std::string::npos) << failed;
    args.count = 6;
    program_clock::advance_us(10 * program_clock::us_per_second);
    EXPECT_EQ(said_by([&] { take(0, 0); }), "");
    EXPECT_NE(ref.film, nullptr);
}

// In a mount namespace, so that the disk is our own. False: the kernel gives none.
bool mount_small_disk(const std::string &at) {
    const auto write_to = [](const char *path, const std::string &text) {
        std::ofstream(path) << text;
    };
    if (::unshare(CLONE_NEWNS) != 0) {
        const std::string user = std::to_string(::getuid());
        const std::string group = std::to_string(::getgid());
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return false;
        write_to("/proc/self/setgroups", "deny");
        write_to("/proc/self/uid_map", "0 " + user + " 1");
        write_to("/proc/self/gid_map", "0 " + group + " 1");
    }
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("none", at.c_str(), "tmpfs", 0, "size=1m") == 0;
}

constexpr int no_disk = 77;

TEST_F(preview_movie_test, a_full_disk_is_said_once_and_the_session_goes_on) {
    const auto fill_disk = [this] {
        if (!mount_small_disk(folder)) {
            std::perror("no disk of our own");
            std::_Exit(no_disk);
        }
        begin(256, 256);
        std::mt19937 random(1);
        const auto take_noise = [&](int index) {
            for (std::uint32_t &word : args.pixels.span())
                word = static_cast<std::uint32_t>(random());
            args.current = args.first + index;
            compress_to_movie_file(args, ref);
        };
        std::ofstream(folder + "/others") << std::string(900'000, 'x');
        const std::string said = said_by([&] {
            for (int i = 0; i < 40; ++i)
                take_noise(i % 6);
        });
        EXPECT_TRUE(said.ends_with(": No space left on device\n"
                                   "Player: compression: No space left on device\n"))
            << said;
        EXPECT_EQ(std::ranges::count(said, '\n'), 2) << said;
        std::filesystem::remove(folder + "/others");
        EXPECT_EQ(said_by([&] {
                      program_clock::advance_us(10 * program_clock::us_per_second);
                      take_noise(2);
                  }),
                  "");
        EXPECT_EQ(last_received_frame(args, ref), args.first + 2);
        std::fflush(stdout);
        std::_Exit(HasFailure() ? 1 : 0);
    };
    std::signal(SIGCHLD, SIG_DFL);
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0)
        fill_disk();
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == no_disk)
        GTEST_SKIP() << "the kernel gives no mount namespace to fill a disk in";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

} // namespace
