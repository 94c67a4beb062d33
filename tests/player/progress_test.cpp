// How far a session is, in words and pixels, and where the parts of its window stand.
#include "platform/display/display_memory.h"
#include "player/progress_layout.h"
#include "player/progress_report.h"
#include "player/progress_window.h"
#include "tests/player/player_fixture.h"

#include <cmath>
#include <limits>
#include <sstream>

namespace {

using namespace player;
using toolkit::screen_box;

play_args session(int first, int count, int current) {
    play_args args;
    args.first = first;
    args.count = count;
    args.current = current;
    return args;
}

TEST(progress_report_test, words_and_pixels) {
    struct row {
        int first, count, current;
        std::int64_t elapsed;
        const char *time, *frame;
        int filled; // of 300
    };
    constexpr std::int64_t ages = std::numeric_limits<std::int64_t>::max();
    for (const row &r : std::vector<row>{
             {1, 40, no_frame_yet, 60, "", "Rendering first frame...\n", 0},
             {1, 40, 10, 60, "About 00:04 to go.", "Frame 10 of 40\n", 75},
             {1, 40, 40, 60, "Done.", "Frame 40 of 40\n", 300},
             {0, 2, 0, 3570, "About 00:59 to go.", "Frame 1 of 2\n", 150}, // 59 min 30 s
             {0, 2, 0, 3540, "About 00:59 to go.", "Frame 1 of 2\n", 150},
             {0, 2, 0, 3539, "About 00:59 to go.", "Frame 1 of 2\n", 150},
             {0, 2, 0, 3600, "About 01:01 to go.", "Frame 1 of 2\n", 150},
             {0, 2, 0, 7199, "About 01:59 to go.", "Frame 1 of 2\n", 150},
             {0, 2, 0, 360'000, "About 100:01 to go.", "Frame 1 of 2\n", 150},
             {0, 2, 0, 0, "About 00:01 to go.", "Frame 1 of 2\n", 150},
             {-5, 10, -4, 8, "About 00:01 to go.", "Frame 2 of 10\n", 60},
             {100, 3, 101, 59, "About 00:01 to go.", "Frame 2 of 3\n", 200},
             {1, 0, 5, 9, "", "Rendering first frame...\n", 0}, // what nobody should send
             {1, -7, 5, 9, "", "Rendering first frame...\n", 0},
             {1, 4, 9, 9, "Done.", "Frame 4 of 4\n", 300},
             {5, 4, 2, 9, "", "Rendering first frame...\n", 0},
             {INT32_MIN, INT32_MAX, 0, 9, "Done.", "Frame 2147483647 of 2147483647\n", 300},
             {0, INT32_MAX, 0, ages, "", "Frame 1 of 2147483647\n", 0}}) {
        const play_args args = session(r.first, r.count, r.current);
        const std::string what =
            std::to_string(r.current).append(" of ").append(std::to_string(r.count));
        if (r.elapsed != ages) {
            EXPECT_EQ(time_line(args, r.elapsed), r.time) << what;
        } else {
            EXPECT_LT(time_line(args, r.elapsed).size(), 40U) << what;
        }
        EXPECT_EQ(frame_line(args), r.frame) << what;
        EXPECT_EQ(filled_length(args, 300), r.filled) << what;
    }
}

TEST(progress_layout_test, pictures_are_fitted_by_the_ratio_of_their_sides) {
    struct row {
        extent picture, screen, fitted;
    };
    for (const row &r : std::vector<row>{
             {{200, 150}, {1280, 1024}, {200, 150}},
             {{1280, 824}, {1280, 1024}, {1280, 824}}, // as large as there is room
             {{1281, 10}, {1280, 1024}, {1280, 9}},
             {{1920, 1080}, {1280, 1024}, {1280, 720}},
             {{5000, 200}, {1280, 1024}, {1280, 51}},
             {{100, 3000}, {1280, 1024}, {27, 824}},
             {{3000, 3000}, {1280, 1024}, {824, 824}},
             {{1000, 999}, {1280, 1024}, {1280, 1278}}, // wider than high: the width decides
             {{700, 590}, {640, 480}, {640, 539}},
             {{100, 580}, {640, 480}, {100, 580}}, // 580 rows there are on any screen
             {{100, 581}, {640, 480}, {99, 580}},
             {{32767, 1}, {1280, 1024}, {1280, 1}},
             {{1, 32767}, {1280, 1024}, {1, 824}}}) {
        EXPECT_EQ(fitted_session_picture(r.picture, r.screen), r.fitted)
            << r.picture.width << " x " << r.picture.height << " becomes "
            << fitted_session_picture(r.picture, r.screen).width << " x "
            << fitted_session_picture(r.picture, r.screen).height;
    }
}

// The window itself, on screens of several sizes: as progress.golden has it.
class progress_window_test : public player_test::player_fixture {
protected:
    void build(int width, int height, const char *screen) {
        toolkit::system_terminate();
        ::setenv("PLAYER_SCREEN", screen, 1);
        toolkit::system_init();
        args = {};
        args.width = args.orig_width = width;
        args.height = args.orig_height = height;
        args.count = 4;
        ASSERT_EQ(build_progress_window(args), 0);
    }
    void TearDown() override {
        destroy_progress_window();
        ::unsetenv("PLAYER_SCREEN");
        player_fixture::TearDown();
    }
    static bool lies_in(const screen_box &box, const screen_box &in) {
        return box.x >= in.x && box.y >= in.y && box.x + box.width <= in.x + in.width &&
               box.y + box.height <= in.y + in.height && box.width > 0 && box.height > 0;
    }
};

TEST_F(progress_window_test, every_shape_on_every_screen_is_laid_out_as_it_was) {
    std::ostringstream found;
    found << "name, x, y, width, height: the window's on the screen, others from its corner\n";
    for (const auto &[screen, size] :
         {std::pair{"1280x1024", extent{1280, 1024}}, std::pair{"1024x768", extent{1024, 768}},
          std::pair{"640x480", extent{640, 480}}}) {
        for (const extent &shape :
             {extent{200, 150}, extent{1920, 1080}, extent{300, 225}, extent{299, 300},
              extent{4, 4}, extent{5000, 200}, extent{120, 1600}, extent{0, 0}}) {
            destroy_progress_window();
            build(shape.width, shape.height, screen);
            const screen_box &w = progress.window.get()->box;
            std::ostringstream what;
            what << "\n" << shape.width << "x" << shape.height << " on " << screen << ": ";
            found << what.str() << args.width << "x" << args.height << ", window " << w.x << " "
                  << w.y << " " << w.width << " " << w.height;
            EXPECT_TRUE(lies_in(w, {0, 0, static_cast<std::int16_t>(size.width),
                                    static_cast<std::int16_t>(size.height)}))
                << what.str();
            EXPECT_EQ(display::memory::facts(display::memory::windows().back()).area,
                      (display::rectangle{w.x, size.height - w.y - w.height, w.width, w.height}));
            const auto put = [&](const char *name, const screen_box &box) {
                EXPECT_TRUE(lies_in(box, {0, 0, w.width, w.height})) << what.str() << name;
                found << "\n  " << name << " " << box.x << " " << box.y << " " << box.width << " "
                      << box.height;
            };
            const progress_layout now = progress_layout_in(args, {w.width, w.height});
            put("picture", now.picture);
            put("label", now.label);
            put("bar", now.bar);
            put("frame line", now.frame_line);
            put("time line", now.time_line);
            put("button", now.wide_button);
            put("cancel", now.cancel);
            put("paused", now.paused);
            for (const auto &[part, box] :
                 {std::pair{&progress.picture, now.picture}, std::pair{&progress.label, now.label},
                  std::pair{&progress.cancel, now.wide_button}}) {
                EXPECT_EQ(part->get()->box.x - w.x, box.x) << what.str();
                EXPECT_EQ(part->get()->box.y - w.y, box.y) << what.str();
                EXPECT_EQ(part->get()->box.width, box.width) << what.str();
                EXPECT_EQ(part->get()->box.height, box.height) << what.str();
            }
            // The picture keeps its shape, and is no larger than it was rendered.
            EXPECT_LE(now.picture.width, std::max(shape.width, 1)) << what.str();
            EXPECT_LE(std::abs(now.picture.width * args.height - now.picture.height * args.width),
                      std::max(args.width, args.height))
                << what.str();
        }
    }
    found << "\n";
    std::ostringstream golden;
    golden << std::ifstream(PROGRESS_GOLDEN).rdbuf();
    if (found.str() == golden.str())
        return;
    const std::string other = testing::TempDir() + "progress.found";
    std::ofstream(other) << found.str();
    FAIL() << "laid out otherwise than " << PROGRESS_GOLDEN << "; what was found is in " << other;
}

} // namespace
