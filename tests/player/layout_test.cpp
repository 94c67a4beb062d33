// Where everything stands in the window, for movies of many shapes on screens of several sizes:
// as layouts.golden beside this file has it.
#include "tests/player/window_fixture.h"

#include <cstdlib>
#include <sstream>

namespace {

using namespace player;
using toolkit::demon;
using toolkit::screen_box;

struct part {
    const char *name;
    screen_box box; // from the window's lower left corner
};

struct shape {
    int width, height;
    int zoom = 0; // 0: as it is opened
};
constexpr std::array shapes{shape{4, 4},         shape{4, 4, 720},   shape{64, 48},
                            shape{320, 240},     shape{320, 240, 2}, shape{1000, 190},
                            shape{1000, 190, 2}, shape{1920, 1080},  shape{1920, 1080, 2},
                            shape{3840, 2160},   shape{120, 1600}};
constexpr std::array screens{"1280x1024", "1024x768", "3840x2160"};

class layout_test : public player_test::window_fixture {
protected:
    static std::vector<part> parts() {
        const demon *in = player_tool.window.get();
        std::vector<part> all;
        const auto add = [&](const char *name, const toolkit::demon_ref &widget) {
            const screen_box &box = widget.get()->box;
            all.push_back({name,
                           {static_cast<std::int16_t>(box.x - in->box.x),
                            static_cast<std::int16_t>(box.y - in->box.y), box.width, box.height}});
        };
        add("menu bar", player_tool.menu_bar);
        add("label", player_tool.label);
        add("picture", player_tool.picture);
        add("controls", player_tool.controls);
        add("slider", player_tool.slider);
        add("time", player_tool.time);
        constexpr std::array names{"reverse", "fast reverse", "fast forward", "play",
                                   "stop",    "step back",    "step forward"};
        for (std::size_t i = 0; i < names.size(); ++i)
            add(names[i], player_tool.buttons[i]);
        return all;
    }
    static bool lies_in(const screen_box &box, const screen_box &in) {
        return box.x >= in.x && box.y >= in.y && box.x + box.width <= in.x + in.width &&
               box.y + box.height <= in.y + in.height && box.width > 0 && box.height > 0;
    }
    static bool overlap(const screen_box &a, const screen_box &b) {
        return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height &&
               b.y < a.y + a.height;
    }
    // What holds for every window, whatever the golden says.
    void expect_sound(const std::string &what) {
        const display::rectangle real = display::memory::facts(window).area;
        const screen_box &box = player_tool.window.get()->box;
        EXPECT_EQ(real, (display::rectangle{box.x, screen_height - box.y - box.height, box.width,
                                            box.height}))
            << what;
        const screen_box screen{0, 0, static_cast<std::int16_t>(state.screen_width),
                                static_cast<std::int16_t>(state.screen_height)};
        EXPECT_TRUE(lies_in(box, screen)) << what;
        const std::vector<part> all = parts();
        const screen_box own{0, 0, box.width, box.height};
        constexpr std::size_t panel = 3; // the buttons lie in it
        for (std::size_t i = 0; i < all.size(); ++i) {
            EXPECT_TRUE(lies_in(all[i].box, i > panel ? all[panel].box : own))
                << what << all[i].name;
            for (std::size_t k = i > panel ? panel + 1 : 0; k < i; ++k)
                EXPECT_FALSE(overlap(all[i].box, all[k].box))
                    << what << all[i].name << " and " << all[k].name;
        }
        const screen_box &picture = all[2].box;
        EXPECT_LE(std::abs(picture.width * args.height - picture.height * args.width),
                  std::max(args.width, args.height))
            << what << "a pixel off at most";
        const bool has_room = args.width * args.zoom + 20 <= state.screen_width &&
                              args.height * args.zoom + 225 <= state.screen_height;
        if (has_room) {
            EXPECT_EQ(picture.width, args.width * args.zoom) << what;
            EXPECT_EQ(picture.height, args.height * args.zoom) << what;
        }
    }
    void describe(const std::string &what, std::ostream &out) {
        expect_sound(what);
        run();
        if (ref.film != nullptr)
            expect_frame(0, what);
        const screen_box &box = player_tool.window.get()->box;
        out << what << "window " << box.x << " " << box.y << " " << box.width << " " << box.height
            << "\n";
        for (const part &p : parts())
            out << "  " << p.name << " " << p.box.x << " " << p.box.y << " " << p.box.width << " "
                << p.box.height << "\n";
    }
};

TEST_F(layout_test, every_shape_on_every_screen_is_laid_out_as_it_was) {
    std::ostringstream found;
    found << "name, x, y, width, height: the window's on the screen, others from its corner\n";
    std::vector<std::string> movies;
    for (const shape &s : shapes)
        movies.push_back(write_movie({.frames = 1, .width = s.width, .height = s.height},
                                     std::to_string(movies.size()) + ".reel"));
    for (const char *screen : screens) {
        build(screen);
        found << "\n";
        describe(std::string("no movie on ") + screen + ": ", found);
        for (std::size_t i = 0; i < shapes.size(); ++i) {
            const shape &s = shapes[i];
            build(screen);
            state.play_file_name = movies[i];
            ASSERT_EQ(load_play_file(args, ref), 0);
            if (s.zoom != 0) {
                args.zoom = s.zoom;
                fit_player_window(args);
            }
            std::ostringstream what;
            what << s.width << "x" << s.height << " zoom " << args.zoom << " on " << screen << ": ";
            describe(what.str(), found);
        }
    }
    std::ostringstream golden;
    golden << std::ifstream(LAYOUTS_GOLDEN).rdbuf();
    if (found.str() == golden.str())
        return;
    const std::string other = testing::TempDir() + "layouts.found";
    std::ofstream(other) << found.str();
    FAIL() << "laid out otherwise than " << LAYOUTS_GOLDEN << "; what was found is in " << other;
}

TEST_F(layout_test, a_window_resized_by_its_user_keeps_all_inside_and_the_picture_whole) {
    load({.frames = 3, .width = 320, .height = 240});
    for (const display::rectangle &area : std::vector<display::rectangle>{
             {50, 60, 300, 300}, {0, 0, 1280, 1000}, {200, 100, 340, 900}, {10, 10, 900, 250}}) {
        send(display::event_kind::geometry, 0, false, area);
        run();
        std::ostringstream what;
        what << area.width << " x " << area.height << ": ";
        const screen_box &box = player_tool.window.get()->box;
        EXPECT_EQ(box.width, area.width) << what.str();
        EXPECT_EQ(box.height, area.height) << what.str();
        for (const part &p : parts())
            EXPECT_TRUE(lies_in(p.box, {0, 0, box.width, box.height})) << what.str() << p.name;
        const screen_box picture = parts()[2].box;
        EXPECT_NEAR(picture.height, picture.width * 0.75, 1.5) << what.str();
        expect_frame(0, what.str());
    }
    send(display::event_kind::geometry, 0, false, {10, 10, 20, 15}); // nothing has room
    tap('.');
    run();
    EXPECT_EQ(args.current, 1);
}

} // namespace
