// Renderers played by scripts that do what real ones do badly.
#include "tools/reel/renderer_process.h"

#include "tests/tools/reel/scratch_folder.h"
#include "tools/reel/renderer_range.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace reel {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Puts another file in the place of one of our standard streams for a while.
struct replaced_stream {
    int stream;
    int before;

    replaced_stream(int which, int file)
        : stream(which), before(::fcntl(which, F_DUPFD_CLOEXEC, 3)) {
        ::dup2(file, stream);
        ::close(file);
    }
    replaced_stream(int which, const std::string &path)
        : replaced_stream(which, ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {}
    replaced_stream(const replaced_stream &) = delete;
    replaced_stream &operator=(const replaced_stream &) = delete;
    ~replaced_stream() {
        ::dup2(before, stream);
        ::close(before);
    }
};

// State letter and group of a process; a state of 0: it is gone.
std::pair<char, pid_t> look_at_process(pid_t process) {
    const std::string text = read_bytes("/proc/" + std::to_string(process) + "/stat");
    std::pair<char, pid_t> found{0, -1};
    int parent = 0;
    if (const std::size_t at = text.rfind(')'); at != std::string::npos)
        std::sscanf(text.c_str() + at + 1, " %c %d %d", &found.first, &parent, &found.second);
    return found;
}

bool is_gone(pid_t process) {
    const char state = look_at_process(process).first;
    return state == 0 || state == 'Z';
}

// Also one that waits for a process that it has begun to start, which is stopped.
bool is_stopped(pid_t process) {
    const char state = look_at_process(process).first;
    return state == 'T' || state == 'D';
}

template <typename condition> bool comes_true(condition holds, int limit_ms = 10000) {
    const auto end = steady_clock::now() + milliseconds(limit_ms);
    while (!holds() && steady_clock::now() < end)
        std::this_thread::sleep_for(milliseconds(2));
    return holds();
}

class renderer_test : public testing::Test {
protected:
    scratch_folder folder;
    renderer_process renderer;
    int polls = 0;
    std::ptrdiff_t descriptors = count_descriptors();

    // What is not to be waited for ends long before its grace is over, on a slow machine too.
    static constexpr milliseconds short_grace{200}, ample_grace{20000};

    void SetUp() override { renderer.grace = {short_grace, ample_grace}; }
    void TearDown() override {
        const pid_t guard = renderer.guard;
        if (renderer.process > 0)
            ::kill(-renderer.process, SIGKILL);
        finish_renderer(renderer);
        EXPECT_EQ(descriptors, count_descriptors());
        EXPECT_TRUE(guard < 0 || ::kill(guard, 0) != 0);
    }
    static std::ptrdiff_t count_descriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }
    void start(const std::string &script) {
        std::string fault;
        // The scratch folder comes as $1.
        ASSERT_EQ(0, start_renderer({"sh", "-c", script, "sh", folder.path}, renderer, &fault));
    }
    void service_once() {
        const auto &[out, err] = renderer.output_fds;
        pollfd sources[] = {{out, POLLIN, 0}, {err, POLLIN, 0}, {renderer.process_fd, POLLIN, 0}};
        constexpr int most_ms = 100; // for loops that wait for something else, too
        const int wait_ms = renderer_wait_ms(renderer);
        ASSERT_GE(::poll(sources, 3, wait_ms < 0 ? most_ms : std::min(wait_ms, most_ms)), 0);
        service_renderer(renderer);
        ++polls;
    }
    [[nodiscard]] bool is_over() const {
        return !renderer.is_running && renderer.output_fds == std::array{-1, -1};
    }
    void run_to_end() {
        while (!is_over())
            service_once();
    }
    // Runs a script with its outputs in the files out and err.
    void run(const std::string &script) {
        const replaced_stream out(STDOUT_FILENO, folder / "out");
        const replaced_stream err(STDERR_FILENO, folder / "err");
        start(script);
        run_to_end();
    }
    void wait_for_file(const std::string &name) {
        ASSERT_TRUE(comes_true([&] { return !read_bytes(folder / name).empty(); }));
    }
};

TEST_F(renderer_test, passes_everything_on) {
    const struct {
        std::string script;
        int status;
        std::string out;
        std::string err;
        std::deque<std::string> lines;
    } cases[] = {
        {":", 0, "", "", {}},
        {"exit 7", 7, "", "", {}},
        {"kill -9 $$", 137, "", "", {}},
        {"kill -INT $$", 130, "", "", {}}, // even where we ignore it
        {"cat", 0, "typed", "", {"typed"}},
        {"printf 'a\\0b\\n'; printf 'c\\r\\n\\n' >&2; exit 1",
         1,
         std::string("a\0b\n", 4),
         "c\r\n\n",
         {std::string("a\0b", 3), "c"}},
        {"printf '1%%\\r2%%\\r\\ndone'; exit 2", 2, "1%\r2%\r\ndone", "", {"1%", "2%", "done"}},
        {"printf '%0600d\\nend\\n' 0; exit 3",
         3,
         std::string(600, '0') + "\nend\n",
         "",
         {std::string(kept_line_bytes, '0'), "end"}},
    };
    std::signal(SIGINT, SIG_IGN);
    for (const auto &each : cases) {
        SCOPED_TRACE(each.script);
        for (const char *name : {"out", "err"})
            std::filesystem::remove(folder / name);
        write_bytes(folder / "in", "typed");
        const replaced_stream in(STDIN_FILENO, folder / "in");
        renderer = {};
        run(each.script);
        finish_renderer(renderer);
        EXPECT_EQ(each.status, renderer.exit_status);
        EXPECT_EQ(each.out, read_bytes(folder / "out"));
        EXPECT_EQ(each.err, read_bytes(folder / "err"));
        std::deque<std::string> lines = renderer.last_lines;
        std::sort(lines.begin(), lines.end()); // of two streams in any order
        std::deque<std::string> expected = each.lines;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(expected, lines);
    }
    std::signal(SIGINT, SIG_DFL);
}

TEST_F(renderer_test, passes_a_million_lines_on) {
    const auto begin = steady_clock::now();
    run("seq 1000000; exit 9");
    EXPECT_LT(steady_clock::now() - begin, milliseconds(20000));
    const std::string all = read_bytes(folder / "out");
    EXPECT_EQ(6888896U, all.size());
    EXPECT_EQ(9, renderer.exit_status);
    ASSERT_EQ(kept_lines, renderer.last_lines.size());
    EXPECT_EQ("999981", renderer.last_lines.front());
    EXPECT_EQ("1000000", renderer.last_lines.back());
}

TEST_F(renderer_test, says_why_it_can_not_be_started) {
    write_bytes(folder / "plain", "echo\n");
    write_bytes(folder / "orphan", "#!/no/such/shell\n");
    write_bytes(folder / "text", "echo\n");
    for (const char *name : {"orphan", "text"})
        std::filesystem::permissions(folder / name, std::filesystem::perms::owner_all);
    const struct {
        std::vector<std::string> command;
        std::string fault;
    } cases[] = {
        {{}, "no renderer is named"},
        {{""}, "no renderer is named"},
        {{"no-such-renderer"}, "no-such-renderer: not found along PATH"},
        {{"/no/such"}, "/no/such: not found"},
        {{folder / "plain"}, (folder / "plain").append(": may not be run")},
        {{folder.path}, std::string(folder.path).append(": may not be run")},
        {{folder / "orphan"},
         (folder / "orphan").append(": what its first line names is not found")},
        {{folder / "text"},
         (folder / "text")
             .append(": not a program (a script needs a first line "
                     "like #!/bin/sh)")},
    };
    for (const auto &each : cases) {
        std::string fault;
        EXPECT_EQ(-1, start_renderer(each.command, renderer, &fault));
        EXPECT_EQ(each.fault, fault);
        EXPECT_TRUE(is_over());
    }
}

TEST_F(renderer_test, outlives_its_reader) {
    int ends[2];
    ASSERT_EQ(0, ::pipe2(ends, O_CLOEXEC));
    {
        const replaced_stream out(STDOUT_FILENO, ends[1]);
        ::close(ends[0]);
        start("seq 300000 && echo good > $1/end; exit 5");
        run_to_end();
    }
    EXPECT_EQ(5, renderer.exit_status);
    EXPECT_EQ("good\n", read_bytes(folder / "end"));
}

std::string read_slowly(int from, milliseconds pause) {
    std::string all;
    std::array<char, 65536> buffer;
    for (ssize_t count; (count = ::read(from, buffer.data(), buffer.size())) > 0;) {
        all.append(buffer.data(), static_cast<std::size_t>(count));
        std::this_thread::sleep_for(pause);
    }
    ::close(from);
    return all;
}

TEST_F(renderer_test, waits_for_a_slow_reader) {
    int ends[2];
    ASSERT_EQ(0, ::pipe2(ends, O_CLOEXEC));
    std::string all;
    std::thread reader([&] { all = read_slowly(ends[0], milliseconds(5)); });
    {
        const replaced_stream out(STDOUT_FILENO, ends[1]);
        start("seq 1000000");
        run_to_end();
        finish_renderer(renderer);
    }
    reader.join();
    EXPECT_EQ(6888896U, all.size());
    EXPECT_EQ("999999\n1000000\n", all.substr(all.size() - 15));
    EXPECT_LT(polls, 20000); // it waits, it does not ask
}

TEST_F(renderer_test, leaves_out_what_nobody_reads) {
    int ends[2];
    ASSERT_EQ(0, ::pipe2(ends, O_CLOEXEC));
    std::string all;
    std::thread reader;
    renderer.outputs[0].patience = milliseconds(200);
    {
        const replaced_stream out(STDOUT_FILENO, ends[1]);
        start(
            "seq 1000000; echo x > $1/written; until [ -s $1/go ]; do sleep 0.01; done; echo end");
        while (!std::filesystem::exists(folder / "written"))
            service_once();
        EXPECT_LT(polls, 4000); // it waits, it does not ask
        const auto nothing_taken = renderer.outputs[0].last_taken;
        reader = std::thread([&] { all = read_slowly(ends[0], milliseconds(0)); });
        while (renderer.outputs[0].last_taken == nothing_taken)
            service_once(); // a renderer that ended now would not be waited for
        write_bytes(folder / "go", "x");
        run_to_end();
        finish_renderer(renderer);
    }
    reader.join();
    const std::size_t hole = all.find("\nreel: note: ");
    ASSERT_NE(std::string::npos, hole);
    std::size_t missing = 0;
    int length = 0;
    ASSERT_EQ(1, std::sscanf(all.c_str() + hole, "\nreel: note: %zu bytes%*[^\n]\n%n", &missing,
                             &length));
    EXPECT_GE(hole, most_bytes_held);
    EXPECT_EQ(6888896U + 4, all.size() - static_cast<std::size_t>(length) + missing);
    EXPECT_EQ("end", renderer.last_lines.back());
}

TEST_F(renderer_test, stops_and_continues_all_of_its_group) {
    start("(trap '' INT; echo x > $1/ready; sleep 60) &"
          "while :; do echo x >> $1/ticks; sleep 0.01; done");
    wait_for_file("ready");
    wait_for_file("ticks");
    pause_renderer(renderer);
    const auto is_all_stopped = [&] {
        const std::vector<pid_t> all = surviving_processes(renderer);
        return all.size() >= 2 && std::all_of(all.begin(), all.end(), is_stopped);
    };
    EXPECT_TRUE(comes_true(is_all_stopped));
    std::this_thread::sleep_for(milliseconds(50)); // a write that had begun is done
    const std::string ticks = read_bytes(folder / "ticks");
    std::this_thread::sleep_for(milliseconds(100));
    EXPECT_EQ(ticks, read_bytes(folder / "ticks"));
    continue_renderer(renderer);
    EXPECT_TRUE(comes_true([&] { return read_bytes(folder / "ticks").size() > ticks.size(); }));

    // The shell ends at the interrupt; what it started in the background ignores that.
    pause_renderer(renderer);
    end_renderer(renderer);
    run_to_end();
    EXPECT_EQ(130, renderer.exit_status);
    EXPECT_EQ(ending_step::terminated, renderer.ending);
    EXPECT_TRUE(surviving_processes(renderer).empty());
}

TEST_F(renderer_test, ends_step_by_step) {
    const struct {
        std::string traps;
        bool is_hurried;
        int status;
        ending_step last_step;
    } cases[] = {
        {"trap 'exit 5' INT", false, 5, ending_step::interrupted},
        {"trap '' INT", false, 143, ending_step::terminated},
        {"trap '' INT TERM", false, 137, ending_step::killed},
        {"trap '' INT; trap 'exit 6' TERM", true, 6, ending_step::terminated},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.traps);
        std::filesystem::remove(folder / "ready");
        renderer = {};
        const bool ends_at_once = each.is_hurried || each.last_step == ending_step::interrupted;
        renderer.grace.after_interrupt = ends_at_once ? ample_grace : short_grace;
        renderer.grace.after_terminate =
            each.last_step == ending_step::terminated ? ample_grace : short_grace;
        start(each.traps + "; echo x > $1/ready; while :; do sleep 0.02; done");
        wait_for_file("ready");
        const auto begin = steady_clock::now();
        end_renderer(renderer);
        if (each.is_hurried)
            end_renderer(renderer);
        run_to_end();
        EXPECT_LT(steady_clock::now() - begin, ample_grace);
        EXPECT_EQ(each.status, renderer.exit_status);
        EXPECT_EQ(each.last_step, renderer.ending);
        EXPECT_TRUE(surviving_processes(renderer).empty());
        finish_renderer(renderer);
    }
}

TEST_F(renderer_test, does_not_wait_for_children_that_outlive_it) {
    const auto begin = steady_clock::now();
    run("sleep 60 & echo $!; exit 4");
    EXPECT_LT(steady_clock::now() - begin, children_grace + milliseconds(30000));
    EXPECT_EQ(4, renderer.exit_status);
    const std::vector<pid_t> left = surviving_processes(renderer);
    ASSERT_EQ(1U, left.size());
    EXPECT_EQ(std::to_string(left.front()) + "\n", read_bytes(folder / "out"));
}

TEST_F(renderer_test, is_not_left_stopped_when_we_are_killed) {
    const std::string ticks = folder / "ticks";
    const pid_t child = ::fork();
    if (child == 0) {
        std::string fault;
        const std::string script = "while :; do echo x >> $1; sleep 0.01; done";
        if (start_renderer({"sh", "-c", script, "sh", ticks}, renderer, &fault) != 0)
            ::_exit(1);
        comes_true([&] { return !read_bytes(ticks).empty(); });
        pause_renderer(renderer);
        comes_true([&] { return is_stopped(renderer.process); });
        const pid_t both[] = {renderer.process, renderer.guard};
        write_bytes(folder / "processes", {reinterpret_cast<const char *>(both), sizeof both});
        ::raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    ASSERT_TRUE(WIFSIGNALED(status));
    pid_t both[2];
    const std::string bytes = read_bytes(folder / "processes");
    ASSERT_EQ(sizeof both, bytes.size());
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char *>(both));
    const std::size_t before = read_bytes(ticks).size();
    EXPECT_TRUE(comes_true([&] { return !is_stopped(both[0]); }));
    EXPECT_TRUE(comes_true([&] { return read_bytes(ticks).size() > before + 10; }));
    EXPECT_TRUE(comes_true([&] { return is_gone(both[1]); }));
    ::kill(-both[0], SIGKILL);
}

TEST_F(renderer_test, has_a_guard_that_holds_nothing_of_ours) {
    start("sleep 60");
    EXPECT_NE(renderer.process, look_at_process(renderer.guard).second);
    EXPECT_EQ(renderer.process, look_at_process(renderer.process).second);
    const std::string folder_name = "/proc/" + std::to_string(renderer.guard);
    EXPECT_TRUE(comes_true([&] {
        std::error_code error;
        const auto all = std::filesystem::directory_iterator(folder_name + "/fd", error);
        return !error && std::distance(all, {}) == 1;
    }));
    EXPECT_TRUE(
        comes_true([&] { return look_at_process(renderer.guard).second == renderer.guard; }));
    ::kill(renderer.guard, SIGTERM); // as whoever ends all our processes does
    EXPECT_FALSE(comes_true([&] { return is_gone(renderer.guard); }, 100));
    end_renderer(renderer);
    run_to_end();
    EXPECT_EQ(-1, renderer.guard);
}

TEST(renderer_range_test, reads_what_is_well_known) {
    const scratch_folder folder;
    write_bytes(folder / "a.ini", "; by hand\nInitial_Frame=3\n+W640 \nFinal_Frame = 48 ; all\n"
                                  "[Half]\nfinal_frame=24\n");
    const std::string ini = folder / "a.ini";
    const struct {
        std::vector<std::string> command;
        std::string range; // "first last step", empty: not understood
        std::string how;
    } cases[] = {
        {{"blender", "-b", "a.blend", "-s", "1", "-e", "48", "-a"}, "1 48 1", "blender -s 1 -e 48"},
        {{"nice", "/opt/blender-4.1/blender", "--frame-end", "9", "--frame-start", "-3", "-j", "2"},
         "-3 9 2",
         "blender --frame-end 9 --frame-start -3 -j 2"},
        {{"blender", "-b", "a.blend", "-f", "1..7"}, "1 7 1", "blender -f 1..7"},
        {{"blender", "-b", "a.blend", "-f", "7"}, "7 7 1", "blender -f 7"},
        {{"blender", "-f", "1,7"}, "", ""},
        {{"blender", "-b", "a.blend", "-a", "-s", "1", "-e", "48"}, "", ""}, // too late
        {{"blender", "-s", "1", "-a"}, "", ""},
        {{"blender", "-s", "+1", "-e", "9"}, "", ""},
        {{"blender", "-s", "9", "-e", "1"}, "", ""},
        {{"blender", "-e"}, "", ""},
        {{"povray", "a.pov", "+KFI5", "+kff12"}, "5 12 1", "povray +KFI5 +kff12"},
        {{"povray", "a.pov", "-KFF12", "+SF4", "+EF6"}, "4 6 1", "povray -KFF12 +SF4 +EF6"},
        {{"povray", ini}, "3 48 1", "povray " + ini + " Initial_Frame=3 Final_Frame = 48"},
        {{"povray", ini + "[half]", "Initial_Frame=9"},
         "9 24 1",
         "povray " + ini + " Initial_Frame=3 Final_Frame = 48 final_frame=24 Initial_Frame=9"},
        {{"povray", "+KFI5", "a.pov"}, "", ""},
        {{"povray", "+KFF1x"}, "", ""},
        {{"povray", "missing.ini"}, "", ""},
        {{"render", "blender.blend", "-s", "1", "-e", "4"}, "", ""},
        {{}, "", ""},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.command));
        frame_selection got;
        std::string how;
        std::string range;
        if (read_renderer_range(each.command, &got, &how) == 0)
            range = std::to_string(got.range.first) + " " + std::to_string(got.range.last) + " " +
                    std::to_string(got.step);
        EXPECT_EQ(each.range, range);
        EXPECT_EQ(each.how, how);
    }
}

} // namespace
} // namespace reel
