// The gallery's pages as their users meet them, on a virtual X server with a window manager: menus
// by mouse, a file chosen by keyboard alone, a question that keeps the program, the clipboard.
#include "examples/gallery.h"
#include "tests/e2e/shown_program.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>

namespace gallery {

namespace fs = std::filesystem;

using picture = std::vector<std::uint32_t>;

constexpr int screen_height = 1024;

// Keys by their places, which all servers number alike.
constexpr int key_control = 37, key_shift = 50;
constexpr std::array<std::pair<char, int>, 7> other_keys = {
    {{'\r', 36}, {'\x1b', 9}, {'\t', 23}, {'\b', 22}, {'.', 60}, {'/', 61}, {'_', 20}}};
constexpr std::array<std::pair<std::string_view, int>, 4> key_rows = {
    {{"1234567890", 10}, {"qwertyuiop", 24}, {"asdfghjkl", 38}, {"zxcvbnm", 52}}};

int keycode(char c) {
    for (const auto &[character, code] : other_keys)
        if (character == c)
            return code;
    for (const auto &[row, first] : key_rows)
        if (const std::size_t at = row.find(c); at != std::string_view::npos)
            return first + static_cast<int>(at);
    ADD_FAILURE() << "no key for " << c;
    return 0;
}

// Where lines that tell what happened are, and what is used.
constexpr toolkit::screen_box mode_line = {16, 72, 300, 22}, choice_line = {16, 100, 300, 22},
                              file_line = {12, 12, 396, 22}, answer_line = {12, 250, 280, 26};
constexpr toolkit::screen_box message_button = {12, 216, 136, 26},
                              question_button = {12, 148, 136, 26}, text_button = {12, 80, 136, 26};
constexpr int bar_y = menus_window.height - 15, row_height = 30;
constexpr int file_menu_x = 20, playback_menu_x = 80;

class shown_pages : public shown_program, public testing::Test {
protected:
    void SetUp() override {
        start_server(true);
        home = fs::current_path();
        folder = testing::TempDir() + "pages_e2e_" + std::to_string(getpid());
        fs::create_directories(folder + "/sub");
        for (const char *name : {"alpha.reel", "beta.reel", "sub/deep.reel"})
            std::ofstream(folder + "/" + name) << name;
        fs::current_path(folder); // where file tools begin
    }
    void TearDown() override {
        stop_server();
        fs::current_path(home);
        fs::remove_all(folder);
    }

    // ---- what is seen

    bool is_open(const char *title) { return user->find(title) != 0; }
    picture look(const char *title, const toolkit::screen_box &window,
                 const toolkit::screen_box &part) {
        const display::point corner = place(title, window, part.x, part.y + part.height - 1);
        return user->look({corner.x, corner.y, part.width, part.height});
    }
    static bool is_plain(const picture &p) { return std::set(p.begin(), p.end()).size() < 2; }
    // Until it is drawn and stands still.
    bool settles(const char *title, const toolkit::screen_box &window,
                 const toolkit::screen_box &part) {
        picture before;
        int same = 0;
        pause();
        return becomes([&] {
            picture now = is_open(title) ? look(title, window, part) : picture();
            same = !is_plain(now) && now == before ? same + 1 : 0;
            before = std::move(now);
            return same == 8;
        });
    }
    // Windows without a frame that are seen.
    std::vector<display::rectangle> popups() {
        std::vector<display::rectangle> found;
        auto *tree = xcb_query_tree_reply(connection, xcb_query_tree(connection, root), nullptr);
        for (int i = 0; tree != nullptr && i < xcb_query_tree_children_length(tree); ++i) {
            const xcb_window_t w = xcb_query_tree_children(tree)[i];
            auto *is = xcb_get_window_attributes_reply(
                connection, xcb_get_window_attributes(connection, w), nullptr);
            auto *at = xcb_get_geometry_reply(connection, xcb_get_geometry(connection, w), nullptr);
            constexpr int smallest = 20;
            if (is != nullptr && at != nullptr && is->override_redirect != 0 &&
                is->map_state == XCB_MAP_STATE_VIEWABLE && at->width > smallest)
                found.push_back({at->x, at->y, at->width, at->height});
            std::free(is);
            std::free(at);
        }
        std::free(tree);
        return found;
    }
    bool has_popups(std::size_t count) {
        return becomes([&] { return popups().size() == count; });
    }

    // ---- hands

    void tap(char c) {
        if (c == '_')
            user->press_key(key_shift, true);
        user->press_key(keycode(c), true);
        user->press_key(keycode(c), false);
        if (c == '_')
            user->press_key(key_shift, false);
        pause();
    }
    void type(std::string_view text) {
        for (const char c : text)
            tap(c);
    }
    void type_with_control(std::string_view text) {
        for (const char c : text) {
            user->press_key(key_control, true);
            tap(c);
            user->press_key(key_control, false);
            pause();
        }
    }
    void press(const char *title, const toolkit::screen_box &window,
               const toolkit::screen_box &part) {
        shown_program::press(
            place(title, window, part.x + part.width / 2, part.y + part.height / 2));
    }

    fs::path home;
    std::string folder;
};

class shown_menus : public shown_pages {
protected:
    void SetUp() override {
        shown_pages::SetUp();
        start(CONTROLS_PROGRAM);
        ASSERT_TRUE(settles(menus_title, menus_window, mode_line));
        ASSERT_TRUE(settles(controls_title, controls_window, {12, 302, 280, 26}));
    }
    display::point title(int x) { return place(menus_title, menus_window, x, bar_y); }
    display::point row(int x, int number) {
        return place(menus_title, menus_window, x, bar_y - number * row_height);
    }
    picture mode() { return look(menus_title, menus_window, mode_line); }
    picture choice() { return look(menus_title, menus_window, choice_line); }
    // Chooses by the shortcut, and back: how the line looks then.
    picture mode_by_shortcut(char key, char back) {
        const picture before = mode();
        point_at(place(menus_title, menus_window, 400, 50));
        type_with_control({&key, 1});
        EXPECT_TRUE(becomes([&] { return mode() != before; }));
        const picture chosen = mode();
        type_with_control({&back, 1});
        EXPECT_TRUE(becomes([&] { return mode() == before; }));
        return chosen;
    }
};

TEST_F(shown_menus, are_used_by_mouse) {
    const picture normal = mode(), loop = mode_by_shortcut('2', '1');

    point_at(title(playback_menu_x)); // press, drag, release
    user->press_button(1, true);
    ASSERT_TRUE(has_popups(1));
    point_at(row(playback_menu_x, 2));
    user->press_button(1, false);
    EXPECT_TRUE(becomes([&] { return mode() == loop; }));
    EXPECT_TRUE(has_popups(0));

    shown_program::press(title(playback_menu_x)); // a click, and another one
    ASSERT_TRUE(has_popups(1));
    point_at(row(playback_menu_x, 4));
    EXPECT_EQ(popups().size(), 1U) << "it stays open";
    shown_program::press(row(playback_menu_x, 1));
    EXPECT_TRUE(becomes([&] { return mode() == normal; }));
    EXPECT_TRUE(has_popups(0));

    shown_program::press(title(file_menu_x)); // from title to title, and out
    ASSERT_TRUE(has_popups(1));
    const display::rectangle first = popups().at(0);
    EXPECT_TRUE(comes_with_pointer(title(playback_menu_x), [&] {
        const auto now = popups();
        return now.size() == 1 && now[0].x > first.x;
    }));
    press(controls_title, controls_window, {12, 338, 280, 22});
    EXPECT_TRUE(has_popups(0));
    EXPECT_EQ(mode(), normal);

    point_at(title(file_menu_x)); // the last row of "File" ends the program
    user->press_button(1, true);
    ASSERT_TRUE(has_popups(1));
    point_at(row(file_menu_x, 6));
    user->press_button(1, false);
    EXPECT_TRUE(ends());
}

TEST_F(shown_menus, hang_over_edges_whole_and_go_with_their_window) {
    const auto expect_whole = [&] {
        ASSERT_TRUE(has_popups(1));
        const display::rectangle all = popups().at(0);
        EXPECT_GE(all.y, 0);
        EXPECT_LE(all.y + all.height, screen_height);
        EXPECT_EQ(all.height / row_height, 8);
        const auto row_of = [&](int number) {
            return user->look({all.x + 4, all.y + number * row_height + 6, all.width - 8, 18});
        };
        EXPECT_TRUE(becomes([&] { // texts on the same ground in the first row and the last one
            return !is_plain(row_of(0)) && !is_plain(row_of(7)) && row_of(0)[0] == row_of(7)[0];
        }));
    };
    shown_program::press(title(playback_menu_x));
    expect_whole();
    EXPECT_GT(popups().at(0).y + popups().at(0).height, row(0, 0).y + bar_y) << "beyond the edge";
    press(controls_title, controls_window, {12, 338, 280, 22});
    ASSERT_TRUE(has_popups(0));

    const int before = title(0).y;
    move_window(menus_title, {700, screen_height - 180});
    ASSERT_TRUE(becomes([&] { return title(0).y > before + 100; }));
    shown_program::press(title(playback_menu_x));
    expect_whole();

    iconify_window(menus_title);
    EXPECT_TRUE(has_popups(0));
    user->send(user->find(menus_title), "_NET_ACTIVE_WINDOW", {2, 0, 0}, true);
    pause();
    ASSERT_TRUE(settles(menus_title, menus_window, mode_line));
    shown_program::press(title(playback_menu_x));
    ASSERT_TRUE(has_popups(1));
    close_window(menus_title);
    EXPECT_TRUE(becomes([&] { return !is_open(menus_title); }));
    EXPECT_TRUE(has_popups(0));
    close_window(controls_title);
    EXPECT_TRUE(ends());
}

TEST_F(shown_pages, a_file_is_chosen_by_keyboard_alone) {
    start(FILES_PROGRAM);
    ASSERT_TRUE(settles(files_title, files_window, file_line));
    point_at(place(files_title, files_window, 300, 30)); // and there it stays
    const auto chosen = [&](std::string_view keys) {
        const picture before = look(files_title, files_window, file_line);
        type_with_control("o");
        EXPECT_TRUE(settles("File Tool", {0, 0, 300, 300}, {0, 0, 300, 300}));
        type(keys);
        EXPECT_TRUE(becomes([&] { return !is_open("File Tool"); })) << keys;
        EXPECT_TRUE(becomes([&] { return look(files_title, files_window, file_line) != before; }));
        return look(files_title, files_window, file_line);
    };
    const picture typed = chosen("\tsub/deep.reel\r"); // as a name
    const picture other = chosen("be\r");              // found in the list
    EXPECT_EQ(chosen("s\rde\r"), typed) << "into the folder, and the file there";
    EXPECT_EQ(chosen("\bbe\r"), other) << "from that folder, where it still is, to its parent";
    close_window(files_title);
    EXPECT_TRUE(ends());
}

TEST_F(shown_pages, a_question_keeps_the_program) {
    constexpr const char *question = "Question";
    start(DIALOGS_PROGRAM);
    ASSERT_TRUE(settles(dialogs_title, dialogs_window, message_button));
    const auto answer = [&] { return look(dialogs_title, dialogs_window, answer_line); };
    const auto other_button = [&] { return look(dialogs_title, dialogs_window, message_button); };
    const picture nothing = answer(), plain = other_button();
    std::vector<picture> answers;
    for (const char key : {'\x1b', '\r', '\x1b'}) {
        press(dialogs_title, dialogs_window, question_button);
        ASSERT_TRUE(becomes([&] { return is_open(question); }));
        move_window(question, {20, 20}); // what is behind it is seen
        ASSERT_TRUE(becomes([&] { return place(question, {}, 0, 0).x < 60; }));
        ASSERT_TRUE(becomes([&] { return other_button() == plain; }));
        press(dialogs_title, dialogs_window, message_button);
        EXPECT_EQ(other_button(), plain) << "not even lit";
        send_close(dialogs_title);
        tap(key);
        EXPECT_TRUE(becomes([&] { return !is_open(question); }));
        EXPECT_FALSE(is_open("Message"));
        EXPECT_TRUE(is_open(dialogs_title));
        ASSERT_TRUE(settles(dialogs_title, dialogs_window, answer_line));
        answers.push_back(answer());
    }
    EXPECT_NE(answers[0], answers[1]) << "No and Yes";
    EXPECT_EQ(answers[0], answers[2]);
    EXPECT_TRUE(answers[0] != nothing && answers[1] != nothing);
}

TEST_F(shown_pages, texts_go_from_program_to_program) {
    const auto offered = [this] { return user->ask_text("UTF8_STRING", [] { pause(); }); };
    start(CONTROLS_PROGRAM);
    ASSERT_TRUE(settles(fields_title, fields_window, {12, 200, 400, 100}));
    press(fields_title, fields_window, {90, 12 + 7 * 32, 100, 24}); // the field "Shot"
    type_with_control("a");
    type("take.7");
    type_with_control("ac");
    EXPECT_TRUE(becomes([&] { return offered() == "take.7"; }));
    start(DIALOGS_PROGRAM);
    ASSERT_TRUE(settles(dialogs_title, dialogs_window, text_button));
    press(dialogs_title, dialogs_window, text_button);
    ASSERT_TRUE(becomes([&] { return is_open("Question"); }));
    type_with_control("av");
    EXPECT_TRUE(becomes([&] { // the text comes when its owner has answered
        type("x");
        type_with_control("ac");
        return offered().starts_with("take.7x");
    })) << offered();
}

} // namespace gallery
