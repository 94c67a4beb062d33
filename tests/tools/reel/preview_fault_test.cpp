// reel preview where time and size go wrong: what is cancelled has its grace, a reader who went away
// costs nothing, ranges may be larger than any list of them, and waiting takes no processor time.
#include "tests/tools/reel/run_program.h"
#include "tools/reel/preview.h"
#include "tools/reel/report.h"

#include <chrono>
#include <sys/stat.h>
#include <thread>

namespace reel {
namespace {

// Of the processor.
double seconds_of_children() {
    rusage used{};
    ::getrusage(RUSAGE_CHILDREN, &used);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

class preview_fault_test : public testing::Test {
protected:
    scratch_folder folder;

    std::string write_script(const std::string &name, const std::string &text) {
        write_bytes(folder / name, "#!/bin/sh\ncd \"${0%/*}\"\n" + text);
        std::filesystem::permissions(folder / name, std::filesystem::perms::owner_all);
        return folder / name;
    }
    std::string write_player(const std::string &orders) {
        return write_script("player", "FAKE_PLAYER='" + orders + "' exec '" + FAKE_PLAYER_PROGRAM +
                                          "' \"$@\"\n");
    }
    void SetUp() override {
        write_bytes(folder / "picture", "P6 4 4 255\n" + std::string(48, '\x40'));
    }
};

TEST_F(preview_fault_test, a_cancelled_renderer_has_time_to_save) {
    const std::string renderer =
        write_script("renderer", "trap 'sleep 1; echo saved >saved; exit 0' INT\n"
                                 "cp picture 1.ppm\nwhile :; do sleep 0.05; done\n");
    const outcome got = run({"preview", "--frames", "1-9", "--player", write_player("cancel@1"),
                             folder / "#.ppm", "--", renderer});
    EXPECT_EQ(exit_cancelled, got.status) << got.err;
    EXPECT_EQ("saved\n", read_bytes(folder / "saved"));
}

TEST_F(preview_fault_test, ranges_beyond_all_lists) {
    const std::string renderer = write_script("renderer", "cp picture 4.ppm\n");
    const struct {
        std::string frames;
        int status;
        std::string said;
    } cases[] = {
        {"1-100000000000", exit_missing, "missing: frames 1-3, 5-100000000000\n"},
        {"1-100000000000x3", exit_missing, "missing: frames 1, 7, 10, 13, 16, 19, 22, 25, ...\n"},
        {"1-9000000000000000000", exit_misused, "at most 18 digits"},
    };
    for (const auto &each : cases) {
        const auto begin = std::chrono::steady_clock::now();
        const outcome got = run({"preview", "--frames", each.frames, "--player",
                                 write_player("linger=0"), folder / "#.ppm", "--", renderer});
        EXPECT_EQ(each.status, got.status) << got.err;
        EXPECT_TRUE(contains(got.err, each.said)) << got.err;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
    }
}

// As nohup does it, and worse.
TEST_F(preview_fault_test, started_to_outlive_its_terminal) {
    const std::string renderer =
        write_script("renderer", "kill -HUP $PPID; sleep 0.3; cat || exit 9; cp picture 1.ppm\n");
    const std::string line = "trap '' HUP; '" REEL_PROGRAM "' preview --no-window --frames 1-1 '" +
                             (folder / "#.ppm") + "' -- '" + renderer + "' <&- 2>'" +
                             (folder / "said") + "'";
    EXPECT_EQ(0, std::system(line.c_str())) << read_bytes(folder / "said");
}

// "2>&1 | less", left alone: more comes than the pipe takes, and then a message of our own.
TEST_F(preview_fault_test, a_reader_who_reads_no_more_holds_nothing_up) {
    const std::string renderer =
        write_script("renderer", "seq 20000 >&2; cp picture 9.ppm; sleep 0.3; cp picture 1.ppm\n");
    ASSERT_EQ(0, ::mkfifo((folder / "err").c_str(), 0600));
    const int reader = ::open((folder / "err").c_str(), O_RDWR | O_CLOEXEC);
    const pid_t program = start_program(
        folder, {"preview", "--no-window", "--frames", "1-1", folder / "#.ppm", "--", renderer});
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    int status = -1;
    while (::waitpid(program, &status, WNOHANG) == 0 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ::close(reader); // which ends what waits for it
    EXPECT_EQ(exit_good, status);
}

// All frames are there, and its user looks at them: nothing is watched any more.
TEST_F(preview_fault_test, a_pause_at_the_end_costs_nothing) {
    for (const char *name : {"1.ppm", "2.ppm", "3.ppm"})
        std::filesystem::copy_file(folder / "picture", folder / name);
    constexpr double most = 1.5; // it lasts three
    double used = most;
    for (int tries = 0; tries < 3 && used >= most; ++tries) { // other work slows ours, too
        const double before = seconds_of_children();
        const outcome got = run({"preview", "--watch", "--keep-old", "--frames", "1-3", "--player",
                                 write_player("pause@1=3000 linger=0"), folder / "#.ppm"});
        EXPECT_EQ(exit_good, got.status) << got.err;
        used = seconds_of_children() - before;
    }
    EXPECT_LT(used, most);
}

} // namespace
} // namespace reel
