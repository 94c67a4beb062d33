#include "tools/reel/frame_watch.h"

#include "tests/tools/reel/scratch_folder.h"

#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reel {

namespace {

using std::chrono::milliseconds;
using numbers = std::vector<std::int64_t>;

constexpr milliseconds period{30};
constexpr milliseconds patience{10000}; // with machines that have other work
constexpr milliseconds quiet_time{200}; // nothing comes for so long: nothing will

const std::vector<std::string> image_extensions = {"exr", "png"};

struct understand_case {
    std::vector<std::string> names; // of files in the folder
    const char *text;               // within the folder
    const char *pattern;            // understood; "" a folder, null: a fault
    const char *frame;              // a name that is a frame
    const char *other;              // a name that is none
};

TEST(understand_frames, cases) {
    const understand_case cases[] = {
        {{}, "a.####.png", "a.####.png", "a.-001.png", "a.00007.png"},
        {{}, "a@@@@.png", "a####.png", "a10000.png", "a7.png"},
        {{}, "a_%04d.png", "a_####.png", "a_0007.png", "a_7.png"},
        {{}, "a_%d.png", "a_#.png", "a_-7.png", "a_.png"},
        {{}, "a.####.####.png", nullptr, "", ""},
        {{}, "a.png", nullptr, "", ""},
        {{}, "out", "", "", ""},
        {{}, "out.d/", "", "", ""},
        {{}, ".", "", "", ""},
        // one frame of a sequence, which need not be there
        {{}, "a.0007.png", "a.####.png", "a.10000.png", "a.7.png"},
        {{}, "no/a7.png", "a#.png", "a12.png", "b7.png"},
        {{}, "a10.png", "a#.png", "a09.png", "a.png"},
        {{}, "a.-001.png", "a.#.png", "a.0001.png", "a.x.png"},
        {{}, "s1_v2.0007.2k.png", "s1_v2.####.2k.png", "s1_v2.0008.2k.png", "s1_v2.0007.3k.png"},
        {{}, "s05_1001.png", "s05_#.png", "s05_1002.png", "s06_1001.png"},
        {{}, "0001_1920x1080.png", "####_1920x1080.png", "0002_1920x1080.png", "1.png"},
        {{"s2_c7.png"}, "s1_c7.png", "s#_c7.png", "s3_c7.png", "s1_c8.png"},
        {{"a01.png"}, "a10.png", "a##.png", "a100.png", "a9.png"},
    };
    for (const understand_case &each : cases) {
        const scratch_folder folder;
        for (const std::string &name : each.names)
            write_bytes(folder / name, "");
        watched_frames frames;
        std::string fault;
        const int result = understand_frames(folder / each.text, frames, &fault);
        ASSERT_EQ(result, each.pattern == nullptr ? -1 : 0) << each.text << ": " << fault;
        ASSERT_EQ(fault.empty(), result == 0) << each.text;
        if (result != 0)
            continue;
        EXPECT_EQ(frames.is_folder, each.pattern[0] == 0) << each.text;
        EXPECT_EQ(frames.known, each.pattern[0] != 0) << each.text;
        if (!frames.known)
            continue;
        std::string pattern = format_pattern(frames.pattern);
        EXPECT_EQ(pattern.substr(pattern.rfind('/') + 1), each.pattern);
        std::int64_t number = 0;
        EXPECT_EQ(match_frame_name(frames.pattern, each.frame, &number), 0) << each.frame;
        EXPECT_EQ(match_frame_name(frames.pattern, each.other, &number), -1) << each.other;
    }
}

int open_file(const std::string &path) {
    return ::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0666);
}

// Both ways of watching.
class watch_test : public testing::TestWithParam<bool> {
protected:
    scratch_folder folder;
    frame_watch watch;
    milliseconds looks_after = period;

    ~watch_test() override { stop_watch(watch); }

    bool is_polling() const { return GetParam(); }

    void start(const std::string &text, bool keep_old = false) {
        watched_frames frames;
        std::string fault;
        ASSERT_EQ(understand_frames(folder / text, frames, &fault), 0) << fault;
        ASSERT_EQ(start_watch(frames, {image_extensions, keep_old, is_polling(), looks_after},
                              watch, &fault),
                  0)
            << fault;
    }

    numbers take() {
        numbers taken;
        for (const frame_file &file : changed_frames(watch)) {
            EXPECT_TRUE(std::filesystem::exists(file.path)) << file.path;
            taken.push_back(file.number);
        }
        return taken;
    }

    void wait_in_poll() const {
        pollfd waiting{watch.fd, POLLIN, 0};
        const int longest = static_cast<int>(quiet_time.count());
        ::poll(&waiting, 1, std::min(watch_wait_ms(watch), longest));
    }

    // What comes until there are `count` frames, and a little later.
    numbers take_frames(std::size_t count) {
        numbers all;
        auto end = std::chrono::steady_clock::now() + (count > 0 ? patience : quiet_time);
        bool is_enough = count == 0;
        while (std::chrono::steady_clock::now() < end) {
            const numbers taken = take();
            all.insert(all.end(), taken.begin(), taken.end());
            if (!is_enough && all.size() >= count) {
                is_enough = true;
                end = std::chrono::steady_clock::now() + quiet_time;
            }
            wait_in_poll();
        }
        std::sort(all.begin(), all.end());
        return all;
    }
};

INSTANTIATE_TEST_SUITE_P(ways, watch_test, testing::Values(false, true),
                         [](const auto &way) { return way.param ? "polled" : "told"; });

TEST_P(watch_test, frames_in_any_order_each_version_once) {
    write_bytes(folder / "a.0001.png", "old");
    write_bytes(folder / "a.0002.png", "");
    start("a.####.png");
    EXPECT_EQ(take_frames(0), numbers());
    write_bytes(folder / "a.9999.png", "x");
    write_bytes(folder / "a.10000.png", "x");
    write_bytes(folder / "a.-003.png", "x");
    write_bytes(folder / "b.0004.png", "x");
    write_bytes(folder / ".a.0005.png", "x");
    write_bytes(folder / "a.0005.png.tmp", "x");
    write_bytes(folder / "a.0006.png", ""); // keeps the place
    std::filesystem::create_directory(folder / "a.0007.png");
    EXPECT_EQ(take_frames(3), (numbers{-3, 9999, 10000}));
    write_bytes(folder / "a.0002.png", "placeholder filled");
    write_bytes(folder / "a.0001.png", "old one again");
    std::filesystem::rename(folder / "a.0005.png.tmp", folder / "a.0005.png");
    write_bytes(folder / "a.9999.png", "second version");
    EXPECT_EQ(take_frames(4), (numbers{1, 2, 5, 9999}));
    write_bytes(folder / "a.0008.png", "x");
    std::filesystem::remove(folder / "a.0008.png"); // before anybody looks
    write_bytes(folder / "new", "y");
    std::filesystem::rename(folder / "new", folder / "a.9999.png"); // third
    EXPECT_EQ(take_frames(1), (numbers{9999}));
    EXPECT_TRUE(watch.notes.empty());
}

TEST_P(watch_test, files_of_before_are_kept_when_asked) {
    write_bytes(folder / "a.2.png", "x");
    write_bytes(folder / "a.02.png", "the same frame");
    write_bytes(folder / "a.1.png", "x");
    write_bytes(folder / "a.3.png", "");
    start("a.#.png", true);
    EXPECT_EQ(take_frames(2), (numbers{1, 2}));
    ASSERT_EQ(watch.notes.size(), 1U);
    EXPECT_NE(watch.notes[0].find("a.2.png is the same frame as a.02.png"), std::string::npos);
}

TEST_P(watch_test, numbers_of_another_length) {
    start("a.####.png");
    write_bytes(folder / "a.0001.png", "x");
    EXPECT_EQ(take_frames(1), numbers{1});
    EXPECT_TRUE(watch.notes.empty());
    write_bytes(folder / "a.02.png", "x");
    write_bytes(folder / "a.-00003.png", "x");
    write_bytes(folder / "a.1.png", "the first has its frame");
    write_bytes(folder / "ab.4.png", "x");
    EXPECT_EQ(take_frames(2), (numbers{-3, 2}));
    ASSERT_EQ(watch.notes.size(), 2U);
    EXPECT_NE((watch.notes[0] + watch.notes[1]).find(" counts as frame "), std::string::npos);
}

TEST_P(watch_test, files_held_open) {
    const int early_file = open_file(folder / "0002.png");
    ASSERT_EQ(::write(early_file, "x", 1), 1);
    start("####.png");
    const int file = open_file(folder / "0001.png");
    ASSERT_GE(file, 0);
    // Longer than the time after which a silent file counts; but it is never silent for long.
    const auto end = std::chrono::steady_clock::now() + 6 * period;
    numbers early;
    while (std::chrono::steady_clock::now() < end) {
        ASSERT_EQ(::write(file, "x", 1), 1);
        const numbers taken = take();
        early.insert(early.end(), taken.begin(), taken.end());
        ::usleep(2000);
    }
    EXPECT_TRUE(early.empty());
    EXPECT_EQ(take_frames(1), numbers{1}); // silent, but never closed
    ::close(file);
    EXPECT_EQ(take_frames(0), numbers()); // the same version
    const int again = open_file(folder / "0001.png");
    ASSERT_EQ(::write(again, "second", 6), 6);
    EXPECT_EQ(take_frames(1), numbers{1});
    ::close(again);
    ::close(early_file); // who only looks can not know
    EXPECT_EQ(take_frames(is_polling() ? 0 : 1), is_polling() ? numbers() : numbers{2});
}

TEST_P(watch_test, links) {
    std::filesystem::create_directory(folder / "elsewhere");
    const std::string target = folder / "elsewhere/x";
    write_bytes(folder / "elsewhere/hard", "x");
    start("####.png");
    std::filesystem::create_hard_link(folder / "elsewhere/hard", folder / "0001.png");
    std::filesystem::create_symlink(target, folder / "0002.png"); // to nothing yet
    EXPECT_EQ(take_frames(1), numbers{1});
    write_bytes(target, "x");
    EXPECT_EQ(take_frames(1), numbers{2});
    write_bytes(target, "second version");
    write_bytes(folder / "elsewhere/hard", "second version");
    EXPECT_EQ(take_frames(2), (numbers{1, 2}));
}

TEST_P(watch_test, folder_is_understood_by_its_first_image) {
    write_bytes(folder / "old_0001.png", "x");
    start("");
    for (const char *name :
         {"note_0001.txt", ".b_0001.png", "thumb_0001.png", "b_0001.png~", "b_0001.png.tmp",
          "b_0001.tmp.png", "b_0001.png.part", "b_0001.png.lock", "poster.png"})
        write_bytes(folder / name, "x");
    EXPECT_EQ(take_frames(0), numbers());
    EXPECT_FALSE(watch.frames.known);
    write_bytes(folder / "b_0007.PNG", "x");
    EXPECT_EQ(take_frames(1), numbers{7});
    EXPECT_TRUE(watch.frames.description.ends_with("/b_####.PNG")) << watch.frames.description;
    EXPECT_TRUE(watch.notes.empty());
    write_bytes(folder / "a_0001.exr", "x"); // of another sequence
    write_bytes(folder / "a_0002.exr", "x");
    write_bytes(folder / "b_0008.PNG", "x");
    EXPECT_EQ(take_frames(1), numbers{8});
    ASSERT_EQ(watch.notes.size(), 1U);
    EXPECT_NE(watch.notes[0].find("is none of"), std::string::npos) << watch.notes[0];
}

TEST_P(watch_test, folder_that_comes_late_and_is_made_again) {
    start("deep/er/####.png");
    EXPECT_EQ(take_frames(0), numbers());
    for (int round = 0; round < 3; ++round) {
        std::filesystem::create_directories(folder / "deep/er");
        write_bytes(folder / "deep/er/0001.png", "x");
        EXPECT_EQ(take_frames(1), numbers{1}) << round;
        write_bytes(folder / "deep/er/0002.png", "x");
        EXPECT_EQ(take_frames(1), numbers{2}) << round;
        const std::string last = folder / (round == 0 ? "deep" : "kept");
        if (round > 0)
            std::filesystem::rename(folder / "deep", last);
        std::filesystem::remove_all(last);
    }
    std::string fault;
    frame_watch none;
    watched_frames frames;
    write_bytes(folder / "file", "");
    ASSERT_EQ(understand_frames(folder / "file/####.png", frames, &fault), 0);
    EXPECT_EQ(start_watch(frames, {}, none, &fault), -1);
    EXPECT_NE(fault.find("Not a directory"), std::string::npos) << fault;
}

// So many failures: 50, 150, 350, 750 ms after the first one.
milliseconds earliest_after(int failures) {
    return milliseconds(50) * ((1 << failures) - 1);
}

TEST_P(watch_test, retries) {
    start("####.png");
    write_bytes(folder / "0001.png", "half");
    ASSERT_EQ(take_frames(1), numbers{1});
    // Unchanged: rarer and rarer.
    auto begin = std::chrono::steady_clock::now();
    int times = 0;
    retry_frame(watch, 1);
    while (times < 4 && std::chrono::steady_clock::now() < begin + patience) {
        for (const std::int64_t number : take()) {
            ++times;
            EXPECT_GE(std::chrono::steady_clock::now() - begin, earliest_after(times)) << times;
            retry_frame(watch, number);
        }
        wait_in_poll();
    }
    EXPECT_EQ(times, 4);
    write_bytes(folder / "0001.png", "half and");
    EXPECT_EQ(take_frames(1), numbers{1});
    EXPECT_EQ(take_frames(0), numbers()); // it was good
    retry_frame(watch, 5);                // never handed out
    // Written on and on, closed each time: not as often.
    times = 0;
    begin = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() < begin + milliseconds(500)) {
        std::ofstream(folder / "0002.png", std::ios::app) << "line";
        for (const std::int64_t number : take()) {
            EXPECT_GE(std::chrono::steady_clock::now() - begin, earliest_after(times)) << times;
            ++times;
            retry_frame(watch, number);
        }
    }
    EXPECT_GE(take_frames(1).size(), 1U);
}

TEST_P(watch_test, end_looks_at_everything) {
    write_bytes(folder / "0001.png", "old");
    write_bytes(folder / "0002.png", "old");
    start("####.png");
    write_bytes(folder / "0003.png", "bad");
    ASSERT_EQ(take_frames(1), numbers{3});
    retry_frame(watch, 3);
    write_bytes(folder / "0004.png", "x");
    write_bytes(folder / "0002.png", "new version");
    write_bytes(folder / "0005.png", "");
    numbers last;
    for (const frame_file &file : last_frames(watch))
        last.push_back(file.number);
    EXPECT_EQ(last, (numbers{2, 3, 4}));
    EXPECT_EQ(take_frames(0), numbers());
}

TEST_P(watch_test, late_folder_is_told) {
    if (is_polling())
        return;
    looks_after = 10 * patience; // none
    start("deep/er/#.png");
    for (const char *name : {"deep", "deep/er"}) {
        std::filesystem::create_directory(folder / name);
        EXPECT_EQ(take_frames(0), numbers());
    }
    write_bytes(folder / "deep/er/1.png", "x");
    EXPECT_EQ(take_frames(1), numbers{1});
}

TEST_P(watch_test, rest_is_quiet_and_lost_events_are_found) {
    if (is_polling())
        return;
    const auto begin = std::chrono::steady_clock::now();
    start("#.png");
    EXPECT_TRUE(watch.is_telling);
    const milliseconds wait(watch_wait_ms(watch));
    EXPECT_GT(std::chrono::steady_clock::now() - begin + wait, 2 * period);
    std::ifstream limit_file("/proc/sys/fs/inotify/max_queued_events");
    int limit = 16384; // what the system keeps
    limit_file >> limit;
    write_bytes(folder / "1.png", "x");
    for (int i = 0; i < std::min(limit, 100'000); ++i)
        ::close(open_file(folder / (i % 2 == 0 ? "a" : "b")));
    write_bytes(folder / "2.png", "x");
    EXPECT_EQ(take_frames(2), (numbers{1, 2}));
}

} // namespace

} // namespace reel
