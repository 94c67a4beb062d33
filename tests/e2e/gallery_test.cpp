// The gallery as its user meets it: the program itself on a virtual X server, without and with a
// window manager, seen by another program.
#include "examples/gallery.h"
#include "tests/e2e/shown_program.h"

#include <filesystem>

namespace gallery {

struct shown_gallery : shown_program, testing::TestWithParam<bool> {
    void SetUp() override {
        start_server(GetParam());
        journal = testing::TempDir() + "gallery_e2e_" + std::to_string(getpid());
    }
    void TearDown() override {
        stop_server();
        std::filesystem::remove(journal);
    }
    display::point in_main(int x, int y) { return place(main_title, main_window, x, y); }
    display::point in_tray(int x, int y) { return place(tray_title, tray_window, x, y); }

    std::string journal;
};

TEST_P(shown_gallery, lives_in_overlapping_windows) {
    // Within the outermost of the nested demons: its left edge, and places in it.
    constexpr toolkit::screen_box nested = section_place(0, 2);
    constexpr int left = nested.x + contents.x, bottom = nested.y + contents.y;
    constexpr int chip_x = 60, chip_y = 110; // of the chip in the tray
    const auto edge = [&] { return pixel(in_main(left, bottom + 50)); };
    const auto chip = [&] { return pixel(in_tray(chip_x - 17, chip_y)); }; // its face
    const auto show_tray = [&] {
        constexpr toolkit::screen_box section = section_place(1, 0);
        press(in_main(section.x + 350, section.y + 71));
    };
    start(GALLERY_PROGRAM, {"-r", journal});
    ASSERT_TRUE(
        becomes([&] { return user->find(main_title) != 0 && user->find(tray_title) != 0; }));
    ASSERT_TRUE(becomes([&] { return edge() != pixel({5, 5}) && chip() != pixel({5, 5}); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    pause(); // all is drawn and placed
    const std::uint32_t plain_edge = edge(), plain_chip = chip();

    // The pointer in one window, then in the other.
    EXPECT_TRUE(
        comes_with_pointer(in_main(left + 20, bottom + 50), [&] { return edge() != plain_edge; }));
    const std::uint32_t lit_edge = edge();
    EXPECT_TRUE(comes_with_pointer(in_tray(chip_x, chip_y), [&] { return chip() != plain_chip; }));
    const std::uint32_t lit_chip = chip();
    EXPECT_TRUE(becomes([&] { return edge() == plain_edge; }));

    // The tray comes over the nested demons, and its own demons with it.
    const display::point shared = in_main(left + 250, bottom + 50);
    const display::point before = in_tray(chip_x, chip_y),
                         corner = in_tray(0, tray_window.height - 1);
    move_window(tray_title, {corner.x + shared.x - before.x, corner.y + shared.y - before.y});
    show_tray();
    ASSERT_TRUE(comes_with_pointer(shared, [&] { return chip() == lit_chip; }));
    EXPECT_LT(std::abs(in_tray(chip_x, chip_y).x - shared.x), 30);
    EXPECT_TRUE(becomes([&] { return edge() == plain_edge; })) << "below another window";
    EXPECT_TRUE(
        comes_with_pointer(in_main(left + 20, bottom + 50), [&] { return edge() == lit_edge; }));
    EXPECT_TRUE(becomes([&] { return chip() == plain_chip; }));

    if (GetParam()) { // an icon, and back
        iconify_window(tray_title);
        EXPECT_TRUE(
            comes_with_pointer(shared, [&] { return chip() != plain_chip && edge() == lit_edge; }));
        show_tray();
        ASSERT_TRUE(comes_with_pointer(shared, [&] { return chip() == lit_chip; }));
    }

    // The tray can be closed and shown again; the gallery ends with its first window.
    close_window(tray_title);
    ASSERT_TRUE(becomes([&] { return user->find(tray_title) == 0; }));
    show_tray();
    ASSERT_TRUE(becomes([&] { return user->find(tray_title) != 0 && chip() == plain_chip; }));
    close_window(main_title);
    EXPECT_TRUE(ends());

    // What was recorded plays to the same end, without hands.
    EXPECT_GT(std::filesystem::file_size(journal), 0U);
    start(GALLERY_PROGRAM, {"-p", journal});
    EXPECT_TRUE(ends());
}

INSTANTIATE_TEST_SUITE_P(gallery, shown_gallery, testing::Bool(), [](const auto &row) {
    return row.param ? "with_a_window_manager" : "without_a_window_manager";
});

} // namespace gallery
