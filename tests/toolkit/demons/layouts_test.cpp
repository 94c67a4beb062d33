#include "tests/toolkit/demons/demon_fixture.h"
#include "toolkit/demons/layouts.h"
#include "toolkit/objects/object_names.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <sys/resource.h>
#include <unistd.h>

namespace toolkit {

namespace fs = std::filesystem;

namespace {

int redrawn = 0;

struct layouts : demon_fixture {
    layouts() {
        set_window_hooks(
            {.demon_box = [](object *owner) { return static_cast<display_object *>(owner)->box; },
             .draw_demon = [](object *) { ++redrawn; }});
        std::string pattern = (fs::temp_directory_path() / "layouts.XXXXXX").string();
        folder = ::mkdtemp(pattern.data());
        god = make(nullptr, {0, 0, 1280, 1024});
        set_demon_god(god);
        window = open_demon_window({100, 200, 300, 200});
        add_demon(window, god);
        panel = make(window, {110, 210, 100, 50});
        button = make(panel, {115, 215, 20, 10});
        menu = make(nullptr, {150, 220, 40, 60});
        add_pop_demon(menu, panel);
        name_demon("main window", window);
        name_demon("panel", panel);
        name_demon("a button", button);
        name_demon("menu", menu);
        redrawn = 0;
    }
    ~layouts() override { fs::remove_all(folder); }

    [[nodiscard]] std::string base() const { return folder + "/desk"; }
    [[nodiscard]] std::string path() const { return base() + ".lyo"; }
    [[nodiscard]] std::string text() const {
        std::ostringstream all;
        all << std::ifstream(path(), std::ios::binary).rdbuf();
        return all.str();
    }
    void read(const std::string &content) const {
        std::ofstream(path(), std::ios::binary) << content;
        read_layout(base().c_str());
    }
    [[nodiscard]] std::vector<screen_box> boxes() const {
        return {god->box, window->box, panel->box, button->box, menu->box};
    }

    std::string folder;
    demon *god = nullptr;
    demon *window = nullptr;
    demon *panel = nullptr;
    demon *button = nullptr;
    demon *menu = nullptr;
};

} // namespace

TEST_F(layouts, blocks_are_nested_and_relative) {
    write_layout(base().c_str());
    EXPECT_EQ(text(), "BEGIN main window\n"
                      "    TYPE -1\n"
                      "    POSITION 100 200\n"
                      "    SIZE 300 200\n"
                      "    BEGIN panel\n"
                      "        TYPE -1\n"
                      "        POSITION 10 10\n"
                      "        SIZE 100 50\n"
                      "        BEGIN a button\n"
                      "            TYPE -1\n"
                      "            POSITION 5 5\n"
                      "            SIZE 20 10\n"
                      "        END\n"
                      "        BEGIN menu\n"
                      "            TYPE -1\n"
                      "            POSITION 40 10\n"
                      "            SIZE 40 60\n"
                      "        END\n"
                      "    END\n"
                      "END\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
    const auto before = boxes();
    demon_move_message(window, 77, -30);
    demon_move_message(button, 3, 3);
    panel->box.width = 9;
    read_layout(base().c_str());
    EXPECT_EQ(boxes(), before);
    EXPECT_EQ(redrawn, 1);
}

TEST_F(layouts, demons_without_a_name_get_one_and_an_empty_tree_an_empty_file) {
    demon *more = make(window, {1, 1, 1, 1});
    name_demon("two\nlines", more);
    demon *unnamed = make(window, {2, 2, 2, 2});
    write_layout(base().c_str());
    EXPECT_NE(text().find("    BEGIN demon_class "), std::string::npos);
    EXPECT_NE(text().find("    BEGIN two lines\n"), std::string::npos);
    const std::string first = text();
    destroy_ui_symbol_table(); // their flags stay: they are named again
    unnamed->box.x = 50;
    write_layout(base().c_str());
    EXPECT_EQ(text().find("BEGIN \n"), std::string::npos);
    demon_destroy_message(window);
    write_layout(base().c_str());
    EXPECT_TRUE(fs::exists(path()));
    EXPECT_EQ(text(), "");
    set_demon_god(nullptr);
    std::ofstream(path()) << first;
    write_layout(base().c_str());
    EXPECT_EQ(text(), first) << "there is nothing to write about";
}

TEST_F(layouts, reading_applies_what_it_understands) {
    const auto start = boxes();
    struct {
        const char *name;
        std::string content;
        screen_box panel, button; // afterwards
    } const cases[] = {
        {"children follow",
         "BEGIN panel\nPOSITION 20 30\nEND\n",
         {120, 230, 100, 50},
         {125, 235, 20, 10}},
        {"a later position is from the parent's new place",
         "BEGIN panel\nPOSITION 20 30\n  BEGIN a button\n POSITION 1 2\nEND END",
         {120, 230, 100, 50},
         {121, 232, 20, 10}},
        {"a block by itself",
         "BEGIN a button\nTYPE 7\nSIZE 33 44\nEND\n",
         {110, 210, 100, 50},
         {115, 215, 33, 44}},
        {"back to the parent",
         "BEGIN a button\nEND\nSIZE 3 4\nEND\n",
         {110, 210, 3, 4},
         {115, 215, 20, 10}},
        {"unknown ones are skipped",
         "BEGIN nobody\nTYPE 1\nPOSITION 9 9\nSIZE 9 9\nBEGIN a button\nSIZE 1 1\nEND\nEND\n",
         {110, 210, 100, 50},
         {115, 215, 1, 1}},
        {"one number",
         "BEGIN a button\nPOSITION 0 0\nSIZE 5\nEND\nBEGIN panel\nSIZE 5 5\n",
         {110, 210, 100, 50},
         {110, 210, 20, 10}},
        {"a word",
         "BEGIN a button\nSIZE 5 6\nsize 7 8\nSIZE 9 9\n",
         {110, 210, 100, 50},
         {115, 215, 5, 6}},
        {"a type without number",
         "BEGIN a button\nTYPE\nEND\nSIZE 5 5",
         {110, 210, 100, 50},
         {115, 215, 20, 10}},
        {"words for numbers", "BEGIN a button\nSIZE x 7y\n", {110, 210, 100, 50}, {115, 215, 0, 7}},
        {"blanks, tabs, other line ends",
         "\t\n \r\nBEGIN \t a button\r\n SIZE\n\n5\t\r\n6",
         {110, 210, 100, 50},
         {115, 215, 5, 6}},
        {"no name",
         "BEGIN a button\nBEGIN\nSIZE 5 6\nBEGIN \t\nSIZE 5 6\n",
         {110, 210, 100, 50},
         {115, 215, 20, 10}},
        {"a keyword for a name",
         "BEGIN a button\nBEGIN SIZE\n4 5\nBEGIN panel\nSIZE 8 8",
         {110, 210, 8, 8},
         {115, 215, 20, 10}},
        {"no demon",
         "BEGIN thing\nSIZE 5 6\nPOSITION 1 1\nEND\nEND\n",
         {110, 210, 100, 50},
         {115, 215, 20, 10}},
        {"the root has no parent",
         "BEGIN main window\nEND\nEND\nEND\nPOSITION 5 5\nSIZE 1 1\n",
         {110, 210, 100, 50},
         {115, 215, 20, 10}},
        {"huge numbers",
         "BEGIN panel\nSIZE 99999999999999999999 -2147483649\nEND\n"
         "BEGIN a button\nPOSITION 4294967296 -99999999999\n",
         {110, 210, 32767, -32768},
         {32767, -32553, 20, 10}},
        {"empty", "", {110, 210, 100, 50}, {115, 215, 20, 10}},
    };
    object *thing = create_object(nullptr);
    name_demon("thing", thing);
    for (const auto &c : cases) {
        read(c.content);
        EXPECT_EQ(panel->box, c.panel) << c.name << ": " << panel->box.y;
        EXPECT_EQ(button->box, c.button) << c.name << ": " << button->box.y;
        EXPECT_EQ(god->box, start[0]) << c.name;
        window->box = start[1];
        panel->box = start[2];
        button->box = start[3];
        menu->box = start[4];
    }
}

TEST_F(layouts, a_demon_that_goes_when_it_is_moved_takes_its_block_along) {
    object_class *cls = derive_object_class(inq_display_object_class(), "jumpy class");
    set_class_method(
        cls, msg_move,
        [](object *self, word, word) -> word {
            display_visibility_message(self, true);
            demon_destroy_message(static_cast<demon *>(get_named_object("a button")));
            return 0;
        },
        "jump");
    button->client = refer_to(create_object(create_set_of<display_object>(1, 1, cls)));
    read("BEGIN a button\nPOSITION 1 1\nSIZE 2 2\nEND\nSIZE 3 3\nBEGIN panel\nSIZE 6 7\n");
    EXPECT_EQ(panel->kids, nullptr);
    EXPECT_EQ(panel->box, (screen_box{110, 210, 6, 7}));
}

TEST_F(layouts, what_is_no_file_is_not_read_and_draws_nothing) {
    read_layout(base().c_str());
    fs::create_directory(path());
    read_layout(base().c_str());
    ASSERT_EQ(::mkfifo((base() + "2.lyo").c_str(), 0600), 0);
    read_layout((base() + "2").c_str());
    read_layout(nullptr);
    EXPECT_EQ(redrawn, 0);
}

TEST_F(layouts, what_can_not_be_written_stays_as_it_was) {
    const auto refused = [](const std::string &where) {
        testing::internal::CaptureStderr();
        write_layout(where.c_str());
        const std::string told = testing::internal::GetCapturedStderr();
        return told.find("not written: ") != std::string::npos &&
               told.find(where) != std::string::npos;
    };
    EXPECT_TRUE(refused(folder + "/none/desk"));
    fs::create_directory(folder + "/taken.lyo");
    EXPECT_TRUE(refused(folder + "/taken"));

    std::ofstream(path()) << "kept";
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tiny{300, before.rlim_max}; // a disk that is full in the middle of it
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &tiny);
    const bool failed = refused(base());
    setrlimit(RLIMIT_FSIZE, &before);
    static_cast<void>(std::signal(SIGXFSZ, handler));
    EXPECT_TRUE(failed);
    EXPECT_EQ(text(), "kept");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2)
        << "nothing is left lying about";

    fs::permissions(path(), fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink("desk.lyo", folder + "/link.lyo");
    write_layout((folder + "/link").c_str());
    EXPECT_TRUE(fs::is_symlink(folder + "/link.lyo"));
    EXPECT_EQ(text().substr(0, 17), "BEGIN main window");
    EXPECT_EQ(fs::status(path()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(layouts, deep_trees_and_long_lines_come_back) {
    demon *d = panel;
    for (int depth = 0; depth < 300; ++depth)
        d = make(d, {static_cast<std::int16_t>(depth), 0, 5, 6});
    name_demon((std::string(60, 'n') + " " + std::string(60, 'm')).c_str(), d);
    write_layout(base().c_str());
    d->box = {1, 2, 3, 4};
    read_layout(base().c_str());
    EXPECT_EQ(d->box, (screen_box{299, 0, 5, 6}));

    const auto before = boxes();
    std::string deep;
    for (int i = 0; i < 10000; ++i)
        deep += std::string(static_cast<std::size_t>(i % 700), ' ') + "BEGIN level " +
                std::to_string(i) + "\n";
    read(deep);
    EXPECT_EQ(boxes(), before);
    read("BEGIN " + std::string(100000, 'x') + "\nSIZE 1 1\n" + std::string(5000, '\n') +
         "BEGIN panel\nSIZE 7 7\n" + std::string(5000, 'Z') + " SIZE 8 8");
    EXPECT_EQ(panel->box.width, 7);
}

// Rubbish moves and sizes demons at most; nothing else of the tree changes.
TEST_F(layouts, rubbish_is_harmless) {
    write_layout(base().c_str());
    const std::string good = text();
    std::mt19937 random(7);
    for (int round = 0; round < 600; ++round) {
        std::string bad = round % 3 == 0 ? std::string(random() % 900, 0) : good;
        for (auto hits = bad.size() / (1 + random() % 200); hits > 0; --hits)
            bad[random() % bad.size()] = static_cast<char>(random());
        read(bad.substr(0, random() % (bad.size() + 1)));
        ASSERT_EQ(chain(god->kids), (std::vector{window}));
        ASSERT_EQ(chain(panel->kids), (std::vector{button}));
        ASSERT_EQ(chain(panel->pop_list), (std::vector{menu}));
    }
    read(good);
    EXPECT_EQ(button->box, (screen_box{115, 215, 20, 10}));
}

} // namespace toolkit
