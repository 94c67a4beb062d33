// Movies that can not be opened or saved, and movies of every kind that can.
#include "player/movie_copy.h"
#include "tests/player/window_fixture.h"

#include <csignal>
#include <ctime>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using namespace player;

std::string bytes_of(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void write_file(const std::string &path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

mode_t mode_of(const std::string &path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

// Without the right to read and write everything, as users are.
class as_user {
public:
    as_user() : was_(::geteuid()) {
        if (was_ == 0) {
            EXPECT_EQ(::seteuid(nobody), 0);
        }
    }
    ~as_user() { EXPECT_EQ(::seteuid(was_), 0); }
    as_user(const as_user &) = delete;
    as_user &operator=(const as_user &) = delete;

private:
    static constexpr uid_t nobody = 65534;
    uid_t was_;
};

class play_file_test : public player_test::window_fixture {
protected:
    void SetUp() override {
        window_fixture::SetUp();
        fs::permissions(folder, fs::perms{0755});
    }
    // Opens or saves, acknowledging what is said; which is noted without the program's name.
    int open_file(const std::string &path) {
        state.play_file_name = path;
        return listen(load_play_file);
    }
    int save(const std::string &path) {
        toolkit::updateWidgetValue(player_tool.save_file_tool.get(), path.c_str());
        return listen(save_play_file);
    }
    int listen(int (*call)(play_args &, movie_ref &)) {
        told.clear();
        confirm();
        testing::internal::CaptureStderr();
        const int result = call(args, ref);
        said = testing::internal::GetCapturedStderr();
        run();
        return result;
    }
    // Every file of the folder with its size, and links with where they lead.
    std::vector<std::string> listing() const {
        std::vector<std::string> found;
        for (const auto &each : fs::recursive_directory_iterator(folder))
            found.push_back(each.path().string() +
                            (each.is_symlink()        ? fs::read_symlink(each.path()).string()
                             : each.is_regular_file() ? bytes_of(each.path().string())
                                                      : std::string()));
        std::ranges::sort(found);
        return found;
    }
    std::string said;
};

TEST_F(play_file_test, what_is_no_movie_is_named_and_leaves_the_player_usable) {
    const std::string good = write_movie({.frames = 3}, "good.reel");
    const std::string whole = bytes_of(good);
    write_file(folder + "/empty", "");
    write_file(folder + "/foreign", "GIF89a, or something else that is no movie at all");
    write_file(folder + "/short", whole.substr(0, 3));
    write_file(folder + "/header", whole.substr(0, 12));
    write_file(folder + "/secret", whole);
    fs::permissions(folder + "/secret", fs::perms::none);
    fs::create_directory(folder + "/folder");
    fs::create_symlink("nowhere", folder + "/dead");
    ::mkfifo((folder + "/pipe").c_str(), 0644);
    struct row {
        const char *name, *reason;
    };
    for (const row &r :
         {row{"missing", "There is no such file."}, row{"folder", "It is a folder."},
          row{"empty", "The file is empty."}, row{"foreign", "It is not a reel file."},
          row{"short", "It is not a reel file."}, row{"header", "The file is damaged."},
          row{"secret", "Permission denied"}, row{"dead", "There is no such file."},
          row{"pipe", "It is not a plain file."}}) {
        ASSERT_EQ(open_file(good), 0);
        const std::string path = folder + "/" + r.name;
        {
            const as_user without_rights;
            EXPECT_EQ(open_file(path), -1);
        }
        std::string lines = "playertool: Problem with '";
        lines.append(path).append("'\nplayertool: ").append(path).append(": ");
        lines.append(r.reason).append("\n");
        EXPECT_TRUE(said.ends_with(lines)) << said;
        EXPECT_LE(std::ranges::count(said, '\n'), 3) << "and who reads it may say why\n" << said;
        EXPECT_EQ(told, path + ": " + r.reason);
        EXPECT_EQ(ref.film, nullptr);
        EXPECT_EQ(text_of(player_tool.label), "--- no segment loaded ---");
        EXPECT_EQ(windows_titled("Message"), 0U);
        tap(' '), tap('.'), tap('=', {display::key_shift_left});
        run();
        EXPECT_FALSE(state.playing);
    }
    ASSERT_EQ(open_file(good), 0);
    expect_frame(0);
}

TEST_F(play_file_test, movies_of_every_kind_are_played) {
    const std::vector<std::uint8_t> none;
    struct row {
        const char *what;
        player_test::movie_plan plan;
        int last; // the picture after End; -1: black
    };
    for (const row &r :
         std::vector<row>{{"one frame", {.frames = 1}, 0},
                          {"no frame", {.frames = 0}, -1},
                          {"all missing", {.frames = 4, .missing = {0, 1, 2, 3}}, -1},
                          {"half of it missing", {.frames = 4, .missing = {1, 3}}, 0},
                          {"half of it repeats", {.frames = 4, .data = {{1, none}, {3, none}}}, 2},
                          {"64 x 48", {.frames = 4, .width = 64, .height = 48}, 3},
                          {"320 x 240", {.frames = 4, .width = 320, .height = 240}, 3}}) {
        for (const std::int32_t mode : {mode_normal, mode_loop, mode_swing}) {
            build();
            load(r.plan);
            EXPECT_EQ(args.zoom, args.width == 64 ? 3 : args.width == 320 ? 1 : 27) << r.what;
            set_mode(args, mode);
            tap(display::key_end);
            run();
            EXPECT_EQ(args.current, std::max(r.plan.frames - 1, 0)) << r.what;
            if (r.last >= 0) {
                expect_frame(r.last, r.what);
            }
            const auto expect_playing = [&](bool playing) {
                pause(500);
                then([&, playing] {
                    EXPECT_EQ(state.playing, playing) << r.what << mode;
                    stop_playing(args);
                });
            };
            tap(' ');
            expect_playing(r.plan.frames > 0 && mode != mode_normal);
            tap('r');
            expect_playing(r.plan.frames > 0 && mode != mode_normal);
            tap(',');
            run();
            EXPECT_FALSE(gl::is_display_lost()) << r.what;
            EXPECT_GE(args.current, 0) << r.what;
            EXPECT_LT(args.current, std::max(r.plan.frames, 1)) << r.what;
        }
    }
}

TEST_F(play_file_test, a_long_movie_opens_at_once) {
    constexpr int frames = 100'000;
    const std::string path = folder + "/long.reel";
    movie::vf_movie film;
    film.magic = movie::vf_magic;
    film.count = frames;
    film.width = film.height = player_test::side;
    film.rate = 24;
    film.offsets.assign(frames, 0);
    ASSERT_EQ(movie::VFopenWrite(film, path.c_str()), 0);
    for (const int i : {0, 54'321, frames - 1})
        ASSERT_EQ(movie::VFappend(film, i, player_test::packed_frame(i % 700)), 0);
    film = {};
    const std::clock_t before = std::clock(); // of our own time: others may be busy
    ASSERT_EQ(open_file(path), 0);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC);
    expect_frame(0);
    click(player_tool.time);
    tap('a', {display::key_control_left});
    type("54321");
    confirm();
    run();
    EXPECT_EQ(args.current, 54'321);
    EXPECT_EQ(number_of(player_tool.slider), 54'321);
    expect_frame(54'321 % 700);
    tap(display::key_end);
    run();
    expect_frame((frames - 1) % 700);
}

// ---- saving

TEST_F(play_file_test, a_copy_is_whole_and_gives_the_movie_its_name) {
    const std::string source = write_movie({.frames = 300}, "source.reel");
    const std::string bytes = bytes_of(source);
    ASSERT_EQ(open_file(source), 0);
    const mode_t mask = ::umask(0027);
    write_file(folder + "/old.reel", "what was there before");
    fs::permissions(folder + "/old.reel", fs::perms{0604});
    write_file(folder + "/far.reel", "what the link leads to");
    fs::permissions(folder + "/far.reel", fs::perms{0600});
    fs::create_symlink("far.reel", folder + "/link.reel");
    struct row {
        const char *name;
        mode_t mode;
    };
    for (const row &r : {row{"new.reel", 0640}, row{"old.reel", 0604}, row{"link.reel", 0600}}) {
        const std::string path = folder + "/" + r.name;
        EXPECT_EQ(save(path), 0);
        EXPECT_EQ(said + told, "") << r.name;
        EXPECT_TRUE(bytes_of(path) == bytes) << r.name;
        EXPECT_EQ(mode_of(path), r.mode) << r.name;
        EXPECT_STREQ(args.name.data(), r.name);
        EXPECT_EQ(text_of(player_tool.label), format_movie_label(args));
        EXPECT_EQ(display::memory::facts(window).title, std::string("Player Tool - ") + r.name);
    }
    ::umask(mask);
    EXPECT_TRUE(fs::is_symlink(folder + "/link.reel"));
    EXPECT_TRUE(bytes_of(folder + "/far.reel") == bytes);
    EXPECT_TRUE(bytes_of(source) == bytes);
    EXPECT_EQ(listing().size(), 5U) << "nothing else is left";
    fs::remove(source); // still open: as a movie that never had a name
    EXPECT_EQ(save(folder + "/kept.reel"), 0);
    EXPECT_TRUE(bytes_of(folder + "/kept.reel") == bytes);
    tap(display::key_end);
    run();
    expect_frame(299);
}

TEST_F(play_file_test, onto_itself_it_stays_as_it_is) {
    const std::string source = write_movie({.frames = 3}, "source.reel");
    fs::create_hard_link(source, folder + "/hard.reel");
    fs::create_symlink(source, folder + "/soft.reel");
    ASSERT_EQ(open_file(source), 0);
    struct stat before {};
    ::stat(source.c_str(), &before);
    const auto files = listing();
    for (const char *name : {"/source.reel", "/./source.reel", "/hard.reel", "/soft.reel"}) {
        EXPECT_EQ(save(folder + name), 0) << name;
        EXPECT_EQ(said + told, "") << name;
        struct stat after {};
        ::stat(source.c_str(), &after);
        EXPECT_EQ(after.st_ino, before.st_ino) << name;
        EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec) << name;
        EXPECT_EQ(listing(), files) << name;
    }
}

TEST_F(play_file_test, what_can_not_be_saved_leaves_all_as_it_was_and_says_so) {
    const std::string source = write_movie({.frames = 600}, "source.reel");
    ASSERT_GT(fs::file_size(source), 16'000U);
    ASSERT_EQ(open_file(source), 0);
    fs::create_directory(folder + "/folder");
    fs::create_directory(folder + "/closed");
    write_file(folder + "/closed/old.reel", "old");
    write_file(folder + "/old.reel", "old");
    fs::permissions(folder + "/old.reel", fs::perms{0666});
    fs::create_symlink("nowhere", folder + "/dead.reel");
    fs::create_directory(folder + "/open");
    fs::permissions(folder + "/open", fs::perms{0777});
    write_file(folder + "/open/old.reel", "old");
    fs::permissions(folder + "/open/old.reel", fs::perms{0666});
    write_file(folder + "/open/locked.reel", "old");
    const auto files = listing();
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_IGN);
    struct row {
        std::string path;
        const char *why;
        rlim_t largest = RLIM_INFINITY;
    };
    std::string problem;
    EXPECT_EQ(copy_movie(fileno(ref.film->stream.get()), folder + "/folder", nullptr, &problem),
              copy_result::failed);
    EXPECT_EQ(problem, "It is a folder"); // the file tool goes into it
    for (const row &r : {row{folder + "/none/new.reel", "No such file or directory"},
                         row{folder + "/dead.reel", "It is a link that leads nowhere"},
                         row{folder + "/closed/new.reel", "Permission denied"},
                         row{folder + "/closed/old.reel", "Permission denied"},
                         row{folder + "/open/locked.reel", "Permission denied"},
                         row{"/dev/full", "It is not a plain file"},
                         row{folder + "/open/old.reel", "File too large", 8'000},
                         row{folder + "/open/new.reel", "File too large", 8'000}}) {
        {
            const as_user without_rights;
            const rlimit less{std::min(r.largest, limit.rlim_max), limit.rlim_max};
            ::setrlimit(RLIMIT_FSIZE, &less);
            EXPECT_EQ(save(r.path), -1) << r.path;
            ::setrlimit(RLIMIT_FSIZE, &limit);
        }
        const std::string text = r.path + " can not be written: " + r.why + ".";
        EXPECT_EQ(said, std::string("playertool: ").append(text).append("\n"));
        EXPECT_EQ(told, text);
        EXPECT_TRUE(listing() == files) << r.path;
        EXPECT_STREQ(args.name.data(), "source.reel");
        EXPECT_EQ(text_of(player_tool.label), format_movie_label(args));
    }
    std::signal(SIGXFSZ, SIG_DFL);
    fs::resize_file(source, 5'000); // another program has cut it
    EXPECT_EQ(save(folder + "/cut.reel"), 0) << "what is there now";
    EXPECT_EQ(fs::file_size(folder + "/cut.reel"), 5'000U);
}

TEST_F(play_file_test, escape_stops_saving_and_nothing_is_saved_without_a_movie) {
    ASSERT_EQ(open_file(write_movie({.frames = 5}, "source.reel")), 0);
    write_file(folder + "/old.reel", "old");
    const auto files = listing();
    display::memory::push_key(display::key_escape, true);
    static_cast<void>(gl::qtest()); // it is known to be held
    for (const char *name : {"/old.reel", "/new.reel"}) {
        toolkit::updateWidgetValue(player_tool.save_file_tool.get(), (folder + name).c_str());
        EXPECT_EQ(save_play_file(args, ref), -1) << name;
        EXPECT_TRUE(listing() == files) << name;
    }
    display::memory::push_key(display::key_escape, false);
    run();
    EXPECT_EQ(told, "");
    EXPECT_STREQ(args.name.data(), "source.reel");
    EXPECT_EQ(text_of(player_tool.label), format_movie_label(args));
    EXPECT_EQ(open_file(folder + "/none.reel"), -1);
    EXPECT_EQ(save(folder + "/new.reel"), -1);
    EXPECT_EQ(said + told, "");
    EXPECT_TRUE(listing() == files);
}

} // namespace
