// reel preview with renderers, played by scripts, that do what real ones do badly; and with users,
// played by a stand-in for the player.
#include "tests/tools/reel/run_program.h"
#include "tools/reel/preview.h"
#include "tools/reel/reel_file.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <thread>

namespace reel {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int width = 16;
constexpr int height = 12;
constexpr int last_picture = 9;

// Picture n is of one colour, by which it is known again.
std::string picture_bytes(int n, int channels) {
    std::string bytes;
    for (int pixel = 0; pixel < width * height; ++pixel) {
        const std::string parts = {static_cast<char>(n * 24), static_cast<char>(128), 0,
                                   static_cast<char>(255)};
        bytes += parts.substr(0, static_cast<std::size_t>(channels));
    }
    return bytes;
}

// Which pictures a movie has, in the order of its frames; 0: none.
std::vector<int> pictures_of(const std::string &film) {
    std::vector<int> numbers;
    reel_file movie;
    frame_buffer buffer;
    EXPECT_EQ(0, open_reel(film, movie));
    for (int i = 0; i < static_cast<int>(movie.frames.size()); ++i) {
        const bool is_there =
            movie.frames[static_cast<std::size_t>(i)].state == frame_state::picture &&
            decode_frame(movie, i, buffer) == frame_fault::none;
        const std::uint32_t middle =
            is_there ? buffer.words[buffer.words.size() / 2 + width / 2] : 0;
        numbers.push_back(static_cast<int>(((middle & 0xFF) + 12) / 24));
    }
    return numbers;
}

std::size_t count_of(const std::string &text, const std::string &part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

// S: state letter of a process; 0: it is gone.
char state_of(pid_t process) {
    const std::string text = read_bytes("/proc/" + std::to_string(process) + "/stat");
    const std::size_t at = text.rfind(')');
    return at != std::string::npos && text[at + 2] != 'Z' ? text[at + 2] : '\0';
}

// Whether a process is told what happens in a folder: what is there already is old for it.
bool is_watching(pid_t process, const std::string &path) {
    struct stat status {};
    EXPECT_EQ(0, ::stat(path.c_str(), &status));
    std::ostringstream mark;
    mark << " ino:" << std::hex << status.st_ino << ' ';
    std::error_code gone;
    const std::string all = "/proc/" + std::to_string(process) + "/fdinfo";
    for (const auto &each : std::filesystem::directory_iterator(all, gone))
        if (contains(read_bytes(each.path()), mark.str()))
            return true;
    return false;
}

template <typename condition> bool comes_true(condition holds) {
    const auto end = steady_clock::now() + std::chrono::seconds(30);
    while (!holds() && steady_clock::now() < end)
        std::this_thread::sleep_for(milliseconds(5));
    return holds();
}

// Of renderers: put N [AS] moves picture N into its place, copy N [AS] writes it there; told TEXT waits
// until reel has said that.
constexpr const char *script_words = R"sh(#!/bin/sh
in=${0%/*}/in out=${0%/*}/out
name() { printf '%s/shot%04d.ppm' "$out" "$1"; }
copy() { cp "$in/$1.ppm" "$(name "${2-$1}")"; }
put() { cp "$in/$1.ppm" "$out/.new" && mv "$out/.new" "$(name "${2-$1}")"; }
told() { for i in $(seq 1000); do ! grep -q "$1" /proc/$PPID/fd/2 || return 0; sleep 0.02; done; }
)sh";

class preview_test : public testing::Test {
protected:
    scratch_folder folder;
    scratch_folder logs;

    void SetUp() override {
        for (const char *name : {"in", "out"})
            std::filesystem::create_directory(folder / name);
        const std::string head =
            std::string("P6 ") + std::to_string(width) + " " + std::to_string(height) + " 255\n";
        for (int n = 1; n <= last_picture; ++n)
            write_bytes(folder / ("in/" + std::to_string(n) + ".ppm"), head + picture_bytes(n, 3));
        write_bytes(folder / "in/large.ppm", "P6 24 24 255\n" + picture_bytes(4, 3) +
                                                 picture_bytes(4, 3) + picture_bytes(4, 3));
    }
    void TearDown() override {
        const pid_t process = renderer_process_number();
        if (process > 0)
            ::kill(-process, SIGKILL);
        std::filesystem::remove(folder / "number");
    }

    std::string write_script(const std::string &name, const std::string &text) {
        write_bytes(folder / name, text);
        std::filesystem::permissions(folder / name, std::filesystem::perms::owner_all);
        return folder / name;
    }
    std::string write_renderer(const std::string &script) {
        return write_script("renderer",
                            script_words + ("echo $$ >\"${0%/*}/number\"\n" + script + "\n"));
    }
    // A player whose user does as tests/link/fake_player.cpp says.
    std::string write_player(const std::string &orders) {
        return write_script("player", "#!/bin/sh\nFAKE_PLAYER='" + orders + "' exec '" +
                                          FAKE_PLAYER_PROGRAM + "' \"$@\"\n");
    }
    [[nodiscard]] pid_t renderer_process_number() const {
        return std::atoi(read_bytes(folder / "number").c_str());
    }
    [[nodiscard]] bool is_all_gone() const {
        renderer_process renderer;
        renderer.process = renderer_process_number();
        return comes_true([&] { return surviving_processes(renderer).empty(); });
    }
    [[nodiscard]] std::string pattern() const { return folder / "out/shot####.ppm"; }
    [[nodiscard]] std::string film() const { return folder / "kept.reel"; }

    [[nodiscard]] arguments words(const arguments &options, const std::string &input) const {
        arguments all = {"preview", "-o", film(), "--threshold", "-1"};
        all.insert(all.end(), options.begin(), options.end());
        if (!input.empty())
            all.push_back(input);
        return all;
    }
    [[nodiscard]] arguments rendering(const arguments &options, const std::string &script,
                                      const std::string &input) {
        arguments all = words(options, input);
        all.insert(all.end(), {"--", write_renderer(script)});
        return all;
    }
    [[nodiscard]] arguments rendering(const arguments &options, const std::string &script) {
        return rendering(options, script, pattern());
    }
    void wait_for_text(const std::string &text) {
        EXPECT_TRUE(comes_true([&] { return contains(read_bytes(logs / "err"), text); }))
            << read_bytes(logs / "err");
    }
};

TEST_F(preview_test, renderers_as_they_are) {
    const struct {
        std::string script;
        int status;
        arguments said; // on standard error, each once
        std::vector<int> pictures;
        arguments options = {"--no-window", "--frames", "1-4"};
        std::string input = "out/shot####.ppm";
    } cases[] = {
        {"put 3; copy 1; sleep 0.2; put 4; put 2",
         0,
         {"frames 1-4 (4, from --frames)"},
         {1, 2, 3, 4}},
        // Half files, and empty ones, which are completed later or never.
        {"for n in 1 2; do head -c 300 $in/$n.ppm >$(name $n); done; sleep 0.3; copy 4; copy 3\n"
         "for n in 1 2; do tail -c +301 $in/$n.ppm >>$(name $n); done",
         0,
         {},
         {1, 2, 3, 4}},
        {"for n in 1 2 3 4; do : >$(name $n); done; sleep 0.1\n"
         "for n in 4 3 2 1; do copy $n; sleep 0.05; done",
         0,
         {},
         {1, 2, 3, 4}},
        {"copy 1; copy 2; copy 3; head -c 300 $in/4.ppm >$(name 4)",
         exit_missing,
         {"shot0004.ppm: ", "missing: frame 4\n"},
         {1, 2, 3, 0}},
        {"put 2; put 4; : >$(name 1)", exit_missing, {"missing: frames 1, 3\n"}, {0, 2, 0, 4}},
        // Again and in other versions.
        {"for n in 1 2 3 4; do put $n; done; put 5 2; sleep 0.3; copy 7 2; copy 8 4",
         0,
         {},
         {1, 7, 3, 8}},
        // What fails.
        {"put 1; echo rendering; echo 'out of memory' >&2; exit 7",
         7,
         {"the renderer ended with status 7; its last lines:\n", "    rendering\n",
          "    out of memory\n"},
         {1, 0, 0, 0}},
        {"put 1; kill -SEGV $$", 139, {"the renderer ended with status 139\n"}, {1, 0, 0, 0}},
        {"for n in 1 2 3 4; do put $n; done; exit 3", 3, {"ended with status 3\n"}, {1, 2, 3, 4}},
        // Children that live on, with its output in their hands.
        {"sleep 20 & for n in 1 2 3 4; do put $n; done",
         0,
         {"of the renderer is still there\n"},
         {1, 2, 3, 4}},
        // Sizes and numbers that were not expected.
        {"put 1; sleep 0.2; cp $in/large.ppm $(name 2); put large 3; put 4",
         0,
         {"has 24x24 pixels; such frames are fitted into 16x12\n"},
         {1, 4, 4, 4}},
        {"put 9; put 0 2>/dev/null; for n in 1 2 3 4 8 7; do put $n; done",
         0,
         {"its frame is not one of 1-4\n"},
         {1, 2, 3, 4}},
        {"printf 'half a line' >&2; put 9; for n in 1 2 3 4; do put $n; done",
         0,
         {"half a line\nreel: note: "},
         {1, 2, 3, 4}},
        {"for n in 1 2 3 5 7 9; do put $n; done",
         0,
         {"frames 1-9x2 (5, from --frames)", "shot0002.ppm: its frame is not one of 1-9x2\n"},
         {1, 3, 5, 7, 9},
         {"--no-window", "--frames", "1-9x2"}},
        {"for n in 0 1 2 3; do cp $in/$((n + 1)).ppm $out/a.$((n - 2)).ppm; done",
         0,
         {},
         {1, 2, 3, 4},
         {"--no-window", "--frames", "-2-1"},
         "out/a.#.ppm"},
        {"for n in 1 2 3 4; do cp $in/$n.ppm $out/shot$((n + 997)).ppm; done",
         0,
         {},
         {1, 2, 3, 4},
         {"--no-window", "--frames", "998-1001"},
         "out/shot%03d.ppm"},
        {"for n in 1 2 3 4; do cp $in/$n.ppm $out/shot0$n.ppm; done",
         0,
         {"shot01.ppm counts as frame 1 of "},
         {1, 2, 3, 4}},
        // A folder that comes with its first frame; and another sequence beside it.
        {"mkdir $out/new; out=$out/new; put 1; told new/shot; cp $in/9.ppm $out/other0001.ppm\n"
         "for n in 2 3 4; do put $n; done",
         0,
         {"new/shot####.ppm\n", "other0001.ppm is none of "},
         {1, 2, 3, 4},
         {"--no-window", "--frames", "1-4"},
         "out/new/"},
        {"echo nothing else", exit_missing, {"missing: frames 1-4\n"}, {}},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.script);
        for (const char *name : {"out", "kept.reel"})
            std::filesystem::remove_all(folder / name);
        std::filesystem::create_directory(folder / "out");
        const outcome got = run(rendering(each.options, each.script, folder / each.input));
        TearDown();
        EXPECT_EQ(each.status, got.status) << got.err;
        for (const std::string &text : each.said)
            EXPECT_EQ(1U, count_of(got.err, text)) << text << " in:\n" << got.err;
        if (each.pictures.empty()) {
            EXPECT_FALSE(std::filesystem::exists(film()));
        } else {
            EXPECT_EQ(each.pictures, pictures_of(film()));
        }
    }
}

TEST_F(preview_test, frames_of_before) {
    for (const bool are_kept : {false, true}) {
        for (const int n : {1, 2, 3})
            std::filesystem::copy_file(folder / ("in/" + std::to_string(n) + ".ppm"),
                                       folder / ("out/shot000" + std::to_string(n) + ".ppm"),
                                       std::filesystem::copy_options::overwrite_existing);
        arguments options = {"--no-window", "--frames", "1-4"};
        if (are_kept)
            options.emplace_back("--keep-old");
        const outcome got = run(rendering(options, "put 4; copy 5 2"));
        EXPECT_EQ(are_kept ? 0 : 4, got.status) << got.err;
        const std::vector<int> expected =
            are_kept ? std::vector{1, 5, 3, 4} : std::vector{0, 5, 0, 4};
        EXPECT_EQ(expected, pictures_of(film()));
        std::filesystem::remove(film());
    }
}

TEST_F(preview_test, a_million_lines) {
    const auto begin = steady_clock::now();
    const outcome got = run(rendering({"--no-window", "--frames", "1-2"},
                                      "put 1; seq 500000; put 2; seq 500000 >&2; exit 9"));
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(60));
    EXPECT_EQ(9, got.status);
    EXPECT_EQ(3388895U, got.out.size());
    EXPECT_LT(3388895U, got.err.size());
    EXPECT_TRUE(contains(got.err, "last lines:\n    49998"))
        << got.err.substr(got.err.size() - 400);
    EXPECT_EQ((std::vector{1, 2}), pictures_of(film()));
}

TEST_F(preview_test, ranges_and_mistakes) {
    // Blender's own words tell its frames.
    const std::string blender =
        write_script("blender", std::string(script_words) + "for n in 2 3 4; do put $n; done\n");
    arguments call = words({"--no-window"}, pattern());
    call.insert(call.end(), {"--", blender, "-b", "scene.blend", "-s", "2", "-e", "4", "-a"});
    outcome got = run(call);
    EXPECT_EQ(0, got.status) << got.err;
    EXPECT_TRUE(contains(got.err, "frames 2-4 (3, from blender -s 2 -e 4)")) << got.err;
    EXPECT_EQ((std::vector{2, 3, 4}), pictures_of(film()));

    // A renderer's words reach it as they are.
    call = rendering({"--no-window", "--frames", "1-1"}, "put 1; printf '<%s>' \"$@\"");
    call.insert(call.end(), {"[out]", "[a,b]", "", "--", "{}", "--fps"});
    got = run(call);
    EXPECT_EQ(0, got.status) << got.err;
    EXPECT_EQ("<[out]><[a,b]><><--><{}><--fps>", got.out);

    const struct {
        arguments words;
        int status;
        std::string said;
    } cases[] = {
        {{pattern(), "--", "true"}, 2, "--frames"},
        {{"--watch", pattern()}, 2, "--frames"},
        {{"--frames", "1-4", pattern()}, 2, "--watch"},
        {{"--frames", "1-4", "--watch", pattern(), "--", "true"}, 2, "--watch takes no command"},
        {{"--frames", "4-1", pattern(), "--", "true"}, 2, "--frames"},
        {{"--frames", "1-4", "--", "true"}, 2, "which frames?"},
        {{"--frames", "1-4", pattern(), "true"}, 2, "the renderer's command comes after --"},
        {{"--frames", "1-4", "--stdin", "--size", "4x4", "--", "true"}, 2, "--stdin"},
        {{"--frames", "1-4", "--stdin"}, 2, "--size"},
        {{"--frames", "1-4", "--stdin", "--size", "4x4", pattern()}, 2, "--stdin"},
        {{"--frames", "1-4", "out.png", "--", "true"}, 2, "no frame number in this name"},
        {{"--frames", "1-4", "a##b##.png", "--", "true"}, 2, "more than one place"},
        {{"--frames", "1-4", pattern(), "--", "no-such-renderer"}, 1, "not found along PATH"},
        {{"--frames", "1-4", pattern(), "--", ""}, 1, "no renderer is named"},
        {{"--frames", "1-4", "-o", folder.path, pattern(), "--", "true"}, 1, folder.path},
    };
    for (const auto &each : cases) {
        arguments all = {"preview", "--no-window"};
        all.insert(all.end(), each.words.begin(), each.words.end());
        got = run(all);
        EXPECT_EQ(each.status, got.status) << got.err;
        EXPECT_TRUE(contains(got.err, each.said)) << got.err;
    }
}

TEST_F(preview_test, standard_input) {
    std::string y4m = "YUV4MPEG2 W16 H12 F12:1 C444\n";
    for (const int n : {1, 2, 3})
        y4m += "FRAME\n" + std::string(width * height, static_cast<char>(40 * n)) +
               std::string(2UL * width * height, static_cast<char>(128));
    const std::string rgb = picture_bytes(5, 3) + picture_bytes(2, 3) + picture_bytes(7, 3);
    const struct {
        std::string bytes;
        arguments options;
        int status;
        std::string said;
        std::size_t pictures; // those that are there
    } cases[] = {
        {rgb, {"--size", "16x12"}, 0, "preview of standard input, frames 1-3", 3},
        {picture_bytes(5, 4) + picture_bytes(2, 4) + picture_bytes(7, 4),
         {"--size", "16x12", "--format", "rgba"},
         0,
         "",
         3},
        {y4m, {"--format", "y4m"}, 0, "", 3},
        {rgb + rgb, {"--size", "16x12"}, 0, "", 3},
        {rgb.substr(0, rgb.size() / 3 * 2), {"--size", "16x12"}, 4, "missing: frame 3\n", 2},
        {rgb.substr(0, rgb.size() - 7), {"--size", "16x12"}, 4, "missing: frame 3\n", 2},
        {"", {"--size", "16x12"}, 4, "missing: frames 1-3\n", 0},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.said);
        int pipe_ends[2];
        ASSERT_EQ(0, ::pipe2(pipe_ends, O_CLOEXEC));
        const auto size = static_cast<ssize_t>(each.bytes.size()); // less than a pipe takes
        EXPECT_EQ(size, ::write(pipe_ends[1], each.bytes.data(), each.bytes.size()));
        ::close(pipe_ends[1]);
        arguments options = {"--no-window", "--stdin", "--frames", "1-3"};
        options.insert(options.end(), each.options.begin(), each.options.end());
        const outcome got =
            wait_for(logs, start_program(logs, words(options, ""), RLIM_INFINITY, pipe_ends[0]));
        ::close(pipe_ends[0]);
        EXPECT_EQ(each.status, got.status) << got.err;
        EXPECT_TRUE(contains(got.err, each.said)) << got.err;
        EXPECT_LE(count_of(got.err, "reel: "), each.status == 0 ? 1U : 3U) << got.err;
        std::vector<int> shown;
        if (each.pictures != 0)
            shown = pictures_of(film());
        if (each.bytes != y4m && each.pictures != 0) {
            EXPECT_EQ((std::vector{5, 2, each.pictures == 3 ? 7 : 0}), shown);
        }
        EXPECT_EQ(each.pictures, static_cast<std::size_t>(std::count_if(
                                     shown.begin(), shown.end(), [](int n) { return n != 0; })));
        std::filesystem::remove(film());
    }
}

TEST_F(preview_test, somebody_elses_renderer) {
    const pid_t program =
        start_program(logs, words({"--no-window", "--watch", "--frames", "1-3"}, pattern()));
    ASSERT_TRUE(comes_true([&] { return is_watching(program, folder / "out"); }));
    const std::string script = write_renderer("put 3; copy 1; sleep 0.2; head -c 50 $in/2.ppm "
                                              ">$(name 2); sleep 0.2; copy 2");
    EXPECT_EQ(0, std::system(script.c_str()));
    EXPECT_EQ(0, wait_for(logs, program).status);
    EXPECT_EQ((std::vector{1, 2, 3}), pictures_of(film()));
}

// Interrupted as from a terminal: the renderer is asked to end, and made to.
TEST_F(preview_test, interrupts) {
    const struct {
        std::string script;
        int most_ms;
    } cases[] = {
        {"put 1; trap 'echo saved >&2; exit 5' INT; echo ready >&2; sleep 60 & wait", 20000},
        {"put 1; trap '' INT; echo ready >&2; sleep 60", 20000},
        {"put 1; trap '' INT TERM; echo ready >&2; (sleep 60) & sleep 60", 30000},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.script);
        arguments options = {"--no-window", "--frames", "1-4", "--grace", "1"};
        const pid_t program = start_program(logs, rendering(options, each.script));
        wait_for_text("ready");
        const auto begin = steady_clock::now();
        ::kill(program, SIGINT);
        const outcome got = wait_for(logs, program);
        EXPECT_LT(steady_clock::now() - begin, milliseconds(each.most_ms)) << got.err;
        EXPECT_EQ(128 + SIGINT, got.status) << got.err;
        EXPECT_EQ(contains(each.script, "saved"), contains(got.err, "saved")) << got.err;
        EXPECT_TRUE(is_all_gone()) << "something of it is left";
        std::filesystem::remove(film());
        std::filesystem::remove(logs / "err");
    }
}

TEST_F(preview_test, users) {
    const std::string all = "for n in 1 2 3 4 5; do put $n; sleep 0.1; done";
    const auto after_2 = [](const std::string &text) { // once the user has done something
        return "put 1; put 2; told '" + text + "'; put 3; put 4; put 5";
    };
    const struct {
        std::string orders;
        std::string script;
        int status;
        arguments said;
        arguments options;
    } cases[] = {
        {"linger=0", all, 0, {}, {}},
        {"ok=0", all, 0, {}, {"--render"}},
        {"pause@2=600",
         after_2("paused: "),
         0,
         {"paused: the renderer is stopped\n", "the rendering goes on\n"},
         {}},
        {"cancel@2", "put 1; put 2; sleep 30", 3, {"cancelled\n"}, {}},
        {"cancel@2", "put 1; put 2; trap 'exit 0' INT; sleep 30 & wait", 3, {"cancelled\n"}, {}},
        {"quit@2", after_2("window is gone"), 0, {"the window is gone ("}, {}},
        {"die@2", after_2("window is gone"), 0, {"the window is gone ("}, {"--render"}},
        {"refuse@2 slow@3=300 rest@4=300", all, 0, {}, {}},
        {"exit=1", all, 0, {"there is no window (", "the rendering goes on\n"}, {}},
        // Out of order: the last number ends a preview, and is shown last.
        {"linger=0", "put 5; put 4; sleep 0.2; put 1; put 3; put 2", 0, {}, {}},
        {"linger=0", "put 5; put 4; sleep 0.2; put 1; put 3", 4, {"missing: frame 2\n"}, {}},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.orders + ": " + each.script);
        arguments options = {"--frames", "1-5", "--player", write_player(each.orders)};
        options.insert(options.end(), each.options.begin(), each.options.end());
        const outcome got = run(rendering(options, each.script));
        EXPECT_EQ(each.status, got.status) << got.err;
        for (const std::string &text : each.said)
            EXPECT_TRUE(contains(got.err, text)) << text << " in:\n" << got.err;
        EXPECT_LE(count_of(got.err, "reel: "), each.said.size() + 2) << got.err;
        EXPECT_TRUE(is_all_gone()) << "something of the renderer is left";
        if (each.status == 0) {
            EXPECT_EQ((std::vector{1, 2, 3, 4, 5}), pictures_of(film()));
        }
        std::filesystem::remove_all(folder / "out");
        std::filesystem::create_directory(folder / "out");
        std::filesystem::remove(film());
    }
}

TEST_F(preview_test, leaves_nothing_stopped_when_it_is_killed) {
    const arguments options = {"--frames", "1-5", "--player", write_player("pause@1=4000")};
    const pid_t program = start_program(
        logs, rendering(options, "put 1; while [ ! -e $out/end ]; do sleep 0.02; done; put 2"));
    wait_for_text("paused");
    const pid_t renderer = renderer_process_number();
    EXPECT_TRUE(comes_true([&] { return state_of(renderer) == 'T' || state_of(renderer) == 'D'; }));
    ::kill(program, SIGKILL);
    EXPECT_EQ(-SIGKILL, wait_for(logs, program).status);
    write_bytes(folder / "out/end", "");
    EXPECT_TRUE(comes_true([&] { return std::filesystem::exists(folder / "out/shot0002.ppm"); }));
    EXPECT_TRUE(comes_true([&] { return state_of(renderer) == '\0'; }));
}

} // namespace
} // namespace reel
