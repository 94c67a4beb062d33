#include "toolkit/graphics/bitmaps.h"

#include "tests/toolkit/graphics/graphics_fixture.h"
#include "toolkit/graphics/builtin_icons.h"
#include "toolkit/graphics/colour_indices.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <set>
#include <sys/stat.h>

namespace toolkit {

namespace files = std::filesystem;

// A window to draw in, and a directory of icons.
struct bitmaps : graphics_fixture {
    bitmaps() {
        std::string name = (files::temp_directory_path() / "icons-XXXXXX").string();
        folder = ::mkdtemp(name.data());
        setenv("ICON_DIR", folder.c_str(), 1);
        gl_init_bitmap_table();
        gl_set_win(open_window());
    }
    ~bitmaps() override {
        gl_init_bitmap_table();
        unsetenv("ICON_DIR");
        std::error_code error;
        files::remove_all(folder, error);
    }
    static std::string words(const std::vector<std::int64_t> &values) {
        std::string bytes;
        for (const std::int64_t value : values)
            for (int shift = 24; shift >= 0; shift -= 8)
                bytes.push_back(static_cast<char>(value >> shift & 0xFF));
        return bytes;
    }
    void write(const std::string &name, const std::string &bytes) const {
        std::ofstream(folder + "/" + name + ".icn", std::ios::binary) << bytes;
    }
    [[nodiscard]] std::string read(const std::string &name) const {
        std::ifstream file(folder + "/" + name + ".icn", std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    [[nodiscard]] std::ptrdiff_t file_count() const {
        return std::distance(files::directory_iterator(folder), files::directory_iterator());
    }
    // What loading prints, and whether it gave a bitmap.
    static std::string load(int index, bool *is_loaded) {
        testing::internal::CaptureStderr();
        *is_loaded = gl_load_bitmap(index) != nullptr;
        return testing::internal::GetCapturedStderr();
    }
    static std::unique_ptr<bitmap_record> make(std::int16_t width, std::int16_t height,
                                               std::vector<std::uint32_t> pixels) {
        return std::make_unique<bitmap_record>(bitmap_record{width, height, std::move(pixels)});
    }
    std::string folder;
};

TEST_F(bitmaps, files_are_drawn_as_they_are) {
    write("two",
          words({2, 3, 0x00112233, 0x80445566, 0xFF778899, 0, 0x00FFFFFF, 0xFF0000FF}) + "behind");
    const int index = gl_ind_bitmap("two");
    EXPECT_EQ(gl_get_bitmap_entry(index)->bitmap, nullptr) << "read when it is first wanted";
    const std::vector<std::uint32_t> before = picture();
    gl_draw_bitmap(index, 110, 210);
    EXPECT_EQ(pixel(110, 210), 0x112233U) << "the bottom row comes first; alpha does not blend";
    EXPECT_EQ(pixel(111, 210), 0x445566U);
    EXPECT_EQ(pixel(110, 211), 0x778899U);
    EXPECT_EQ(pixel(111, 212), 0x0000FFU);
    const std::vector<std::uint32_t> after = picture();
    EXPECT_EQ(std::inner_product(before.begin(), before.end(), after.begin(), 0, std::plus<>{},
                                 std::not_equal_to<>{}),
              6);
    const bitmap_record *loaded = gl_load_bitmap(index);
    files::remove_all(folder);
    EXPECT_EQ(gl_load_bitmap(index), loaded) << "once";
    for (const int far : {INT_MIN, INT_MAX, INT_MAX - 1, -100000})
        gl_draw_bitmap(index, far, far);
    for (const int bad : {no_bitmap, bitmap_table_size, INT_MIN, INT_MAX, index + 1})
        gl_draw_bitmap(bad, 110, 210);
    EXPECT_EQ(picture(), after);
}

TEST_F(bitmaps, colour_map_windows_have_none) {
    write("one", words({1, 1, 0xFFFFFFFF}));
    const int index = gl_ind_bitmap("one"), kept = gl_ind_bitmap("kept");
    gl_save_bitmap(kept, make(1, 1, {0xFFFFFFFF}));
    gl_set_win(open_window({300, 300, 60, 40}, true));
    const std::vector<std::uint32_t> before = picture();
    for (const int i : {index, kept, gl_ind_bitmap("play")})
        gl_draw_bitmap(i, 310, 310);
    EXPECT_EQ(picture(), before);
    EXPECT_EQ(gl_load_bitmap(index), nullptr);
    EXPECT_EQ(gl_read_icon_from_file(index), -1);
    EXPECT_EQ(gl_load_bitmap(gl_ind_bitmap("play")), nullptr);
}

TEST_F(bitmaps, faulty_files_are_told_once_and_not_loaded) {
    const struct {
        const char *name;
        std::string bytes;
        const char *reason;
    } cases[] = {
        {"empty", "", "shorter than the two sizes"},
        {"seven", std::string(7, '\1'), "shorter than the two sizes"},
        {"no_width", words({0, 5, 1, 2, 3}), "0 x 5 pixels: not a size"},
        {"negative", words({-1, -1, 1}), "-1 x -1 pixels: not a size"},
        {"least", words({INT_MIN, 1, 1}), "not a size"},
        {"wraps_16", words({65537, 1, 1}), "65537 x 1 pixels: not a size"},
        {"wraps_32", words({65536, 65536, 1}), "not a size"},
        {"huge", words({32767, 32767, 1}), "take 4294705164 bytes; the file has 12"},
        {"short", words({2, 2, 1, 2, 3}) + "\1\2\3", "take 24 bytes; the file has 23"},
    };
    bool is_loaded = false;
    for (const auto &c : cases) {
        write(c.name, c.bytes);
        const int index = gl_ind_bitmap(c.name);
        const std::string told = load(index, &is_loaded);
        EXPECT_FALSE(is_loaded) << c.name;
        EXPECT_EQ(told.rfind("icon " + folder + "/" + c.name + ".icn: ", 0), 0U) << told;
        EXPECT_NE(told.find(c.reason), std::string::npos) << told;
        EXPECT_EQ(load(index, &is_loaded), "") << "not at every drawing";
    }
    files::create_directory(folder + "/folder.icn");
    ASSERT_EQ(::mkfifo((folder + "/pipe.icn").c_str(), 0600), 0);
    for (const char *name : {"folder", "pipe"}) // which nobody writes into: no waiting for it
        EXPECT_NE(load(gl_ind_bitmap(name), &is_loaded).find("not a regular file"),
                  std::string::npos);
    EXPECT_EQ(load(gl_ind_bitmap("missing"), &is_loaded), "");
    EXPECT_FALSE(is_loaded);

    const int mended = gl_ind_bitmap("short");
    write("short", words({1, 1, 7}));
    EXPECT_EQ(gl_read_icon_from_file(mended), 0);
    write("short", "x");
    testing::internal::CaptureStderr();
    EXPECT_EQ(gl_read_icon_from_file(mended), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(gl_load_bitmap(mended)->pixels, std::vector<std::uint32_t>{7}) << "what was stays";
}

TEST_F(bitmaps, a_directory_takes_the_place_of_built_in_icons) {
    write("play", words({1, 1, 0xFF123456}));
    write("stop", "no icon");
    const int play = gl_ind_bitmap("play"), stop = gl_ind_bitmap("stop");
    EXPECT_EQ(gl_load_bitmap(play)->width, 1);
    bool is_loaded = false;
    EXPECT_NE(load(stop, &is_loaded), "");
    EXPECT_TRUE(is_loaded) << "a faulty file does not take the program's own away";
    gl_free_bitmap_table();
    EXPECT_EQ(gl_ind_bitmap("stop"), stop) << "names stay";
    EXPECT_EQ(gl_get_bitmap_entry(play)->bitmap, nullptr);
    files::remove_all(folder);
    const builtin_icon *own = find_builtin_icon("play");
    const bitmap_record *loaded = gl_load_bitmap(play);
    EXPECT_EQ(loaded->width, own->width);
    EXPECT_TRUE(std::equal(own->pixels.begin(), own->pixels.end(), loaded->pixels.begin(),
                           loaded->pixels.end()));
}

TEST_F(bitmaps, the_table_ends) {
    const std::string cut(max_bitmap_name, 'n');
    EXPECT_EQ(gl_ind_bitmap(cut + "1"), 0);
    EXPECT_EQ(gl_ind_bitmap(cut + "2"), 0) << "the same after cutting";
    EXPECT_EQ(gl_ind_bitmap("a"), 1);
    EXPECT_EQ(gl_ind_bitmap("a"), 1);
    for (int i = 2; i < bitmap_table_size; i++)
        ASSERT_EQ(gl_ind_bitmap(std::to_string(i)), i);
    testing::internal::CaptureStderr();
    EXPECT_EQ(gl_ind_bitmap("more"), no_bitmap);
    EXPECT_EQ(gl_ind_bitmap("still more"), no_bitmap);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "icon more: no place among the 200 icons that there can be\n");
    EXPECT_EQ(gl_ind_bitmap("199"), 199);
    EXPECT_EQ(gl_save_bitmap(no_bitmap, make(1, 1, {1})), -1);
    EXPECT_EQ(gl_save_bitmap(199, make(2, 1, {1})), -1);
    EXPECT_EQ(gl_save_bitmap(199, nullptr), -1);
    EXPECT_EQ(gl_save_bitmap(199, make(1, 1, {1})), 0);
    gl_init_bitmap_table();
    EXPECT_STREQ(gl_get_bitmap_entry(199)->name.data(), "xxx");
    EXPECT_EQ(gl_get_bitmap_entry(199)->bitmap, nullptr);
    EXPECT_EQ(gl_get_bitmap_entry(199)->index, 199);
}

TEST_F(bitmaps, saved_files_are_whole_or_not_there) {
    const auto kept = make(2, 1, {0x80112233, 0x01020304});
    write("kept", "what the user had, which is longer than the icon that replaces it");
    EXPECT_EQ(gl_save_icon_to_file(kept.get(), folder + "/kept"), 0);
    EXPECT_EQ(read("kept"), words({2, 1, 0x80112233, 0x01020304}));
    EXPECT_EQ(gl_load_bitmap(gl_ind_bitmap("kept"))->pixels, kept->pixels);
    EXPECT_EQ(file_count(), 1) << "nothing of the writing is left";

    testing::internal::CaptureStderr();
    EXPECT_EQ(gl_save_icon_to_file(nullptr, folder + "/null"), -1);
    EXPECT_EQ(gl_save_icon_to_file(make(2, 2, {1}).get(), folder + "/faulty"), -1);
    EXPECT_EQ(gl_save_icon_to_file(kept.get(), folder + "/no such/kept"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    files::create_directory(folder + "/taken.icn");
    testing::internal::CaptureStderr();
    EXPECT_EQ(gl_save_icon_to_file(kept.get(), folder + "/taken"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "icon " + folder + "/taken.icn: not written: Is a directory\n");
    EXPECT_EQ(file_count(), 2);
}

// Drawn for the faces of buttons: without blending they match only while these stay.
TEST_F(bitmaps, built_in_icons_match_the_faces_that_they_stand_on) {
    const struct {
        const char *suffix;
        int ground, shape;
    } states[] = {
        {"", bevel_block_first + bevel_face, bevel_block_first + bevel_text},
        {".hilite", hilited(bevel_block_first + bevel_face),
         hilited(bevel_block_first + bevel_text)},
        {".pressed", bevel_block_first + bevel_pressed, bevel_block_first + bevel_accent},
        {".disabled", colour_face, colour_disabled_text},
    };
    std::set<std::string> wanted{"sc40", "hsc40", "sx40", "hsx40", "player16", "player32"};
    for (const char *name :
         {"reverse", "fast_reverse", "fast_forward", "play", "stop", "step_back", "step_forward",
          "first", "last", "quit", "up", "down", "left", "right"})
        for (const auto &state : states) {
            const std::string full = name + std::string(state.suffix);
            wanted.insert(full);
            const builtin_icon *icon = find_builtin_icon(full);
            ASSERT_NE(icon, nullptr) << full;
            const auto has = [&](int index) {
                const std::uint32_t colour = pixel_of(index) | 0xFF000000U;
                return std::count(icon->pixels.begin(), icon->pixels.end(), colour);
            };
            EXPECT_EQ(icon->pixels.front(), pixel_of(state.ground) | 0xFF000000U) << full;
            EXPECT_GT(has(state.shape), 10) << full;
            EXPECT_TRUE(std::all_of(icon->pixels.begin(), icon->pixels.end(), [](std::uint32_t p) {
                return p >> 24 == 255;
            })) << full;
        }
    std::set<std::string> names;
    for (const builtin_icon &icon : builtin_icons()) {
        EXPECT_TRUE(names.insert(std::string(icon.name)).second) << icon.name;
        EXPECT_EQ(icon.pixels.size(), static_cast<std::size_t>(icon.width * icon.height));
    }
    EXPECT_TRUE(std::includes(names.begin(), names.end(), wanted.begin(), wanted.end()));
    EXPECT_EQ(find_builtin_icon("player16")->pixels.front() >> 24, 0U) << "for the desktop";
    gl_identify_program("playertool", "PlayerTool");
}

} // namespace toolkit
