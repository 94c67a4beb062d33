#include "player/play_file.h"
#include "player/start_up.h"
#include "player/translate_event.h"
#include "tests/player/player_fixture.h"
#include "toolkit/graphics/font_names.h"

namespace {

using namespace player;
using player_test::frame_colour;
using player_test::packed_frame;

class start_up_test : public player_test::player_fixture {
protected:
    // Takes the arguments as main does; returns what was said on standard error.
    std::string start(std::vector<std::string> words) {
        words.insert(words.begin(), "playertool");
        std::vector<char *> argv;
        for (std::string &word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        state = {};
        clear_player();
        parse_command_line(static_cast<int>(words.size()), argv.data());
        testing::internal::CaptureStderr();
        setup_ipc_stuff(parent_link, args);
        return testing::internal::GetCapturedStderr();
    }

    // Loads a movie into an empty player; returns what was said.
    std::string load(const std::string &path, int expected) {
        state.play_file_name = path;
        testing::internal::CaptureStderr();
        EXPECT_EQ(load_play_file(args, ref), expected) << path;
        EXPECT_TRUE(state.play_file_name.empty());
        EXPECT_EQ(ref.film != nullptr, expected == 0);
        return testing::internal::GetCapturedStderr();
    }

    void empty_window() {
        args = {};
        args.width = empty_width;
        args.height = empty_height;
    }
};

TEST_F(start_up_test, arguments) {
    struct row {
        std::vector<std::string> words;
        bool standalone;
        int port;
        std::string movie;
    };
    for (const row &r :
         std::vector<row>{{{}, true, 0, ""},
                          {{"a.reel"}, true, 0, "a.reel"},
                          {{"a.reel", "b.reel"}, true, 0, "b.reel"},
                          {{"-ipc_link_port", "4000", "m.reel"}, false, 4000, "m.reel"},
                          {{"m.reel", "-ipc_link_port", " 12abc"}, false, 12, "m.reel"},
                          {{"-ipc_link_port"}, true, 0, "-ipc_link_port"},
                          {{"-ipc_link_port", "abc"}, true, 0, ""},
                          {{"-ipc_link_port", "-ipc_link_port", "7"}, true, 0, "7"},
                          {{"-ipc_link_port", "99999999999999999999"}, false, INT32_MAX, ""}}) {
        args.zoom = 9;
        args.display_info = 5;
        const std::string said = start(r.words);
        EXPECT_EQ(state.standalone, r.standalone);
        EXPECT_EQ(parent_link.port, r.port);
        EXPECT_EQ(state.play_file_name, r.movie);
        EXPECT_EQ(said.empty(), r.port == 0) << said;
        EXPECT_EQ(parent_link.socket, 0);
        EXPECT_EQ(args.zoom, 1);
        EXPECT_EQ(args.rate, 30.0F);
        EXPECT_EQ(args.display_info, 5);
    }
}

TEST_F(start_up_test, font_variables_count_only_when_all_five_are_usable) {
    const std::vector<std::string> names{"SMALL", "NORM1", "NORM2", "BOLD", "IBOLD"};
    const auto set_all = [&](const char *value) {
        for (const std::string &name : names)
            setenv(("VORTAN_FONT_" + name).c_str(), value, 1);
    };
    const auto said = [] {
        testing::internal::CaptureStderr();
        read_font_variables();
        return testing::internal::GetCapturedStderr();
    };
    set_all("Sans:8");
    unsetenv("VORTAN_FONT_BOLD");
    EXPECT_EQ(said(), "");
    for (const char *bad : {"", ":", "Sans", "Sans:", ":8", "Sans:0", "Sans:-3", "Sans:nan",
                            "Sans:inf", "Sans:x", "Sans:1e30"}) {
        setenv("VORTAN_FONT_BOLD", bad, 1);
        EXPECT_NE(said().find("VORTAN_FONT_BOLD"), std::string::npos) << bad;
        EXPECT_EQ(toolkit::gl_inq_font_names_table(), nullptr) << bad;
    }
    setenv("VORTAN_FONT_BOLD", ":Deja Vu::10.5pt:more", 1);
    std::string too_long(500, 'x');
    too_long += ":9";
    setenv("VORTAN_FONT_IBOLD", too_long.c_str(), 1);
    EXPECT_EQ(said(), "");
    const toolkit::font_names *fonts = toolkit::gl_inq_font_names_table();
    ASSERT_NE(fonts, nullptr);
    EXPECT_EQ((*fonts)[0].name, "Sans");
    EXPECT_EQ((*fonts)[3].name, "Deja Vu");
    EXPECT_EQ((*fonts)[3].size, 10.5F);
    EXPECT_EQ((*fonts)[4].name.size(), toolkit::max_font_name);
    for (const std::string &name : names)
        unsetenv(("VORTAN_FONT_" + name).c_str());
    toolkit::gl_set_font_names_table({{{"Helvetica", 8.0F}, // for the tests that follow
                                       {"Helvetica", 10.0F},
                                       {"Helvetica", 10.0F},
                                       {"Helvetica-Bold", 10.0F},
                                       {"Times-BoldItalic", 12.0F}}});
}

TEST_F(start_up_test, loading_zooms_up_to_about_the_area_before) {
    struct row {
        int width, height, zoom;
    };
    for (const row &r : std::vector<row>{
             {64, 48, 3}, {320, 240, 1}, {4, 4, 54}, {124, 92, 2}, {128, 92, 1}, {67, 51, 3}}) {
        empty_window();
        const std::string path =
            write_movie({.frames = 2, .rate = 12, .width = r.width, .height = r.height});
        EXPECT_EQ(load(path, 0), "");
        EXPECT_EQ(args.zoom, r.zoom) << r.width << " x " << r.height;
        EXPECT_EQ(args.width, r.width / 4 * 4);
        EXPECT_EQ(args.rate, 12.0F);
        EXPECT_EQ(args.count, 2);
        EXPECT_STREQ(args.name.data(), "test.reel");
        EXPECT_EQ(args.pixels.span().back(), frame_colour(0));
    }
    for (const row &r : std::vector<row>{{4, 4, 256}, {64, 48, 20}, {4, 1000, 1}}) {
        args.width = 3840, args.height = 2160, args.zoom = 1;
        load(write_movie({.width = r.width, .height = r.height}), 0);
        EXPECT_EQ(args.zoom, r.zoom) << "as much as the screen has room for";
    }
    // From a zoomed picture: (64 x 3) x (48 x 3) pixels.
    empty_window();
    load(write_movie({.width = 64, .height = 48}), 0);
    load(write_movie({.width = 32, .height = 24}), 0);
    EXPECT_EQ(args.zoom, 6);
}

TEST_F(start_up_test, bad_movies_close_the_one_before_and_never_play) {
    const std::string good = write_movie({.frames = 2}, "good.reel");
    const std::string text = folder + "/text.reel";
    std::ofstream(text) << "not a movie at all, but longer than a header is";
    const std::string flat = write_movie({.width = 3, .height = 8}, "flat.reel");
    for (const std::string &bad : {folder + "/missing.reel", folder, text, flat}) {
        empty_window();
        load(good, 0);
        play_forward(args, ref);
        const std::string said = load(bad, -1);
        EXPECT_NE(said.find("playertool: Problem with '" + bad + "'\n"), std::string::npos);
        EXPECT_GE(std::ranges::count(said, '\n'), 2) << "problem and reason: " << said;
        EXPECT_FALSE(state.playing);
        play_forward(args, ref);
        EXPECT_FALSE(state.playing);
    }
    empty_window();
    const std::string said = load(write_movie({.rate = -24}), 0);
    EXPECT_NE(said.find("-24"), std::string::npos) << said;
    EXPECT_EQ(args.rate, every_frame_rate);
}

// Resident pages of this process, in bytes.
std::int64_t resident_bytes() {
    std::int64_t total = 0;
    std::int64_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * getpagesize();
}

TEST_F(start_up_test, a_huge_claim_takes_no_memory_and_leaves_a_usable_player) {
    constexpr int huge = movie::ir1_max_dimension;
    std::vector<std::uint8_t> few = packed_frame(0);
    few[0] = few[2] = huge >> 8; // a head that claims the same size
    few[1] = few[3] = huge & 0xFC;
    empty_window();
    const std::int64_t before = resident_bytes();
    state.play_file_name = write_movie(
        {.frames = 2, .width = huge, .height = huge, .data = {{0, few}}, .missing = {1}});
    testing::internal::CaptureStderr();
    const bool loaded = load_play_file(args, ref) == 0; // not where memory is rationed
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find(loaded ? "too short" : "No memory"), std::string::npos) << said;
    EXPECT_LT(resident_bytes() - before, std::int64_t{1} << 30);
    EXPECT_EQ(loaded, ref.film != nullptr);
    load(write_movie({.frames = 2}), 0);
    EXPECT_EQ(args.pixels.span().back(), frame_colour(0));
}

TEST(translate_event_test, codes) {
    using namespace toolkit;
    struct row {
        std::int16_t type, value;
        std::uint32_t code; // 0: nothing is delivered
    };
    for (const row &r : std::vector<row>{{input_button, 'A', 0x25},
                                         {input_button, 'a', 0x26},
                                         {input_button, 'B', 0x27},
                                         {input_button, 'b', 0x28},
                                         {input_button, 'C', 0x29},
                                         {input_button, 'c', 0x2a},
                                         {input_button, 'D', 0x38},
                                         {input_button, 'E', 0x39},
                                         {input_button, 'F', 0x3a},
                                         {input_button, 'x', 0x24},
                                         {input_keyboard, 27, 0x30},
                                         {input_none, 0, 0x24},
                                         {input_nothing, 0, 0},
                                         {16, 0, 0},
                                         {input_motion, 0, 0x2d}}) {
        demon_message message;
        EXPECT_EQ(translate_event(r.type, r.value, {3, 4}, &message), r.code != 0);
        if (r.code != 0) {
            EXPECT_EQ(message.code, r.code);
        }
        EXPECT_EQ(message.key, r.type == input_keyboard ? r.value : 0);
        if (r.type == input_motion) {
            EXPECT_FALSE(translate_event(r.type, 0, {3, 4}, &message)) << "the same place";
        }
    }
}

} // namespace
