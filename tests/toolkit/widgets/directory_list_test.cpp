#include "toolkit/widgets/directory_list.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace toolkit {

namespace {

struct scratch : testing::Test {
    scratch() {
        std::string name = "/tmp/directory_list_XXXXXX";
        path = ::mkdtemp(name.data());
    }
    ~scratch() override { std::filesystem::remove_all(path); }
    void write(const std::string &name, std::size_t size = 0) const {
        std::ofstream(join_path(path, name)) << std::string(size, 'x');
    }
    void make_folder(const std::string &name) const {
        std::filesystem::create_directory(join_path(path, name));
    }
    [[nodiscard]] std::vector<std::string> names(const directory_list &list) const {
        std::vector<std::string> all;
        for (const directory_entry &each : list.entries)
            all.push_back(each.name);
        return all;
    }
    std::string path;
    std::string fault;
};

} // namespace

TEST_F(scratch, folders_come_first_and_numbers_count) {
    for (const char *name : {"shot10.reel", "Shot2.reel", "shot2.reel", "shot002b", ".hidden", "b",
                             "\xC3\xA4 x", "A", "reel", "x.reels"})
        write(name, 5);
    make_folder("z 9");
    make_folder("z 10");
    write(std::string(250, 'n') + ".reel");
    directory_list list;
    ASSERT_EQ(read_directory(path, list, &fault), 0) << fault;
    EXPECT_EQ(list.path, path);
    EXPECT_EQ(names(list),
              (std::vector<std::string>{"z 9", "z 10", "A", "b", std::string(250, 'n') + ".reel",
                                        "reel", "Shot2.reel", "shot2.reel", "shot002b",
                                        "shot10.reel", "x.reels", "\xC3\xA4 x"}));
    EXPECT_TRUE(list.entries[0].is_folder);
    EXPECT_EQ(list.entries[2].size, 5);
    list.extension = "reel";
    list.with_hidden = true;
    ASSERT_EQ(read_directory(path + "/./", list, &fault), 0);
    EXPECT_EQ(names(list), (std::vector<std::string>{"z 9", "z 10", std::string(250, 'n') + ".reel",
                                                     "Shot2.reel", "shot2.reel", "shot10.reel"}));
    EXPECT_EQ(find_entry(list, "SHOT"), 3);
    EXPECT_EQ(find_entry(list, "shot", 4), 4);
    EXPECT_EQ(find_entry(list, "z", 4), 0) << "around the end";
    EXPECT_EQ(find_entry(list, "shot3"), -1);
    EXPECT_EQ(find_entry(list, ""), -1);
    EXPECT_EQ(find_entry({}, "x"), -1);
}

TEST_F(scratch, links_and_what_can_not_be_read) {
    make_folder("real");
    std::filesystem::create_symlink("real", join_path(path, "link"));
    std::filesystem::create_symlink("nothing", join_path(path, "broken"));
    directory_list list;
    ASSERT_EQ(read_directory(path, list, &fault), 0);
    EXPECT_EQ(names(list), (std::vector<std::string>{"link", "real", "broken"}));
    EXPECT_TRUE(list.entries[2].is_broken);
    EXPECT_EQ(read_directory(path + "/absent", list, &fault), -1);
    EXPECT_EQ(fault, path + "/absent: No such file or directory");
    EXPECT_EQ(list.entries.size(), 3U) << "kept";
    EXPECT_EQ(read_directory(path + "/broken", list, &fault), -1);
}

TEST_F(scratch, many_files_are_read_at_once) {
    for (int i = 0; i < 20000; ++i)
        ::link(join_path(path, i == 0 ? "0" : std::to_string((i - 1) / 1000 * 1000)).c_str(),
               join_path(path, std::to_string(i)).c_str()) == 0
            ? void()
            : write(std::to_string(i));
    directory_list list;
    const std::clock_t begin = std::clock(); // of our own time: others may be busy
    ASSERT_EQ(read_directory(path, list, &fault), 0);
    const std::clock_t taken = std::clock() - begin;
    ASSERT_EQ(list.entries.size(), 20000U);
    EXPECT_EQ(list.entries[19999].name, "19999");
    EXPECT_LT(taken, 5 * CLOCKS_PER_SEC) << "also under a sanitizer";
}

TEST(paths, are_taken_apart_and_put_together) {
    EXPECT_EQ(parent_folder("/a/b/"), "/a");
    EXPECT_EQ(parent_folder("/a"), "/");
    EXPECT_EQ(parent_folder("/"), "/");
    EXPECT_EQ(join_path("/", "x"), "/x");
    EXPECT_EQ(join_path("/a", "x y"), "/a/x y");
    EXPECT_EQ(with_extension("shot", "reel"), "shot.reel");
    EXPECT_EQ(with_extension("shot.reel", "reel"), "shot.reel");
    EXPECT_EQ(with_extension("reel", "reel"), "reel.reel");
    EXPECT_EQ(with_extension("shot.r", ""), "shot.r");
    directory_list list;
    std::string fault;
    ::setenv("HOME", "/", 1);
    ASSERT_EQ(read_directory("~", list, &fault), 0);
    EXPECT_EQ(list.path, "/");
    ASSERT_EQ(read_directory("/tmp/../tmp//.", list, &fault), 0);
    EXPECT_EQ(list.path, "/tmp");
}

TEST(texts, of_sizes_and_times) {
    const struct {
        std::int64_t bytes;
        const char *text;
    } sizes[] = {{0, "0 B"},       {640, "640 B"},      {1023, "1023 B"},
                 {1024, "1.0 KB"}, {10239, "10 KB"},    {3650722202, "3.4 GB"},
                 {-5, "0 B"},      {1048575, "1.0 MB"}, {INT64_MAX, "8.0 EB"}};
    for (const auto &c : sizes)
        EXPECT_EQ(size_text(c.bytes), c.text) << c.bytes;
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    constexpr std::int64_t now = 1795258320; // 21 Nov 2026 10:52
    EXPECT_EQ(time_text(now, now), "21 Nov 10:52");
    EXPECT_EQ(time_text(now - 200 * 86400, now), "5 May 2026");
}

} // namespace toolkit
