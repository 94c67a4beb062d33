#include "tools/icons/output.h"
#include "tools/icons/source.h"

#include <gtest/gtest.h>

namespace icons {

constexpr std::string_view palette_text = "state normal ground 100 shape 200 # comment\n"
                                          "\n"
                                          "state hilite ground 0 shape 255\n"
                                          "state pressed ground 0 shape 255,128,1\n"
                                          "state disabled ground 0 shape 50\n"
                                          "state bare ground none shape 200\n";

struct drawings : testing::Test {
    drawings() { EXPECT_EQ(read_palette(palette_text, &colours, &error), 0) << error; }

    // The first picture of a source that has no fault.
    picture draw(const std::string &text) {
        source s;
        EXPECT_EQ(read_source(text, colours, &s, &error), 0) << error;
        const wanted_picture &w = s.pictures.at(0);
        return make_picture(s.shapes, w.colours, w.width, w.height);
    }
    palette colours;
    std::string error;
};

constexpr std::uint32_t grey(unsigned level, unsigned alpha = 255) {
    return alpha << 24 | level << 16 | level << 8 | level;
}

TEST_F(drawings, whole_pixels_are_crisp_and_parts_are_mixed) {
    EXPECT_EQ(draw("size 3 2\npicture p normal\nbox 1,0 2.5,1\n").pixels,
              (std::vector{grey(100), grey(200), grey(150), grey(100), grey(100), grey(100)}));
    EXPECT_EQ(draw("size 2 2\npicture p normal 4 2\nbox 1,1 2,2\n").pixels,
              (std::vector{grey(100), grey(100), grey(100), grey(100), //
                           grey(100), grey(100), grey(200), grey(200)}));
    EXPECT_EQ(draw("size 2 1\npicture p bare\nbox 0,0 0.5,1\nfill 1,2,3\nbox 1,0 2,1\n").pixels,
              (std::vector{grey(200, 128), 0xFF030201U}))
        << "without a ground the colour is not thinned, only alpha";
    EXPECT_EQ(draw("size 1 1\npicture p normal\nbox 0,0 1,1\nfill ground\nbox 0,0 1,1\n").pixels,
              (std::vector{grey(100)}));
}

// Areas are right, so that shapes are where they are said to be.
TEST_F(drawings, shapes_cover_their_area) {
    const struct {
        const char *statement;
        double area;
    } cases[] = {
        {"polygon 10,10 90,10 50,90", 3200},
        {"polygon 10,10 90,10 90,90 50,50 10,90", 6400 - 1600},
        {"disc 50,50 40", 5026.5},
        {"rounded 10,10 90,90 20", 6400 - 400 * (4 - 3.14159)},
        {"arc 50,50 40 10 0 360", 5026.5 - 2827.4},
        {"arc 50,50 40 10 315 405", (5026.5 - 2827.4) / 4},
    };
    for (const auto &c : cases) {
        double area = 0;
        const picture p = draw(std::string("size 100 100\npicture p bare 25 25\n") + c.statement);
        for (const std::uint32_t pixel : p.pixels)
            area += (pixel >> 24) / 255.0 * 4 * 4;
        EXPECT_NEAR(area, c.area, 8) << c.statement;
    }
    const picture right = draw("size 9 9\npicture p bare\narc 4.5,4.5 4.5 2 315 405\n");
    EXPECT_EQ(right.pixels[4 * 9 + 8] >> 24, 255U) << "around 0 degrees: to the right";
    EXPECT_EQ(right.pixels[4 * 9 + 0] >> 24, 0U);
}

TEST_F(drawings, a_button_has_four_pictures) {
    source s;
    ASSERT_EQ(read_source("size 1 1\nbutton go\nfill shape\nbox 0,0 1,1\n", colours, &s, &error),
              0);
    ASSERT_EQ(s.pictures.size(), 4U);
    EXPECT_EQ(s.pictures[0].name, "go");
    EXPECT_EQ(s.pictures[2].name, "go.pressed");
    const picture pressed = make_picture(s.shapes, s.pictures[2].colours, 1, 1);
    EXPECT_EQ(icon_file(pressed), std::string("\0\0\0\1\0\0\0\1\xFF\x01\x80\xFF", 12));
}

TEST_F(drawings, faults_are_told_with_their_line) {
    const struct {
        const char *text, *complaint;
    } cases[] = {
        {"picture p normal\n", "line 1: the size comes first"},
        {"\nsize 0 5\n", "line 2: wanted: size WIDTH HEIGHT, each 1 .. 1024"},
        {"size 5 5\npicture p odd\n", "line 2: the palette has no state \"odd\""},
        {"size 5 5\npicture ../p normal\n", "line 2: \"../p\" is no name for a picture"},
        {"size 5 5\npicture p normal 5 2000\n", "line 2: wanted: picture NAME STATE"},
        {"size 5 5\nfill 256\n", "line 2: wanted: fill"},
        {"size 5 5\npolygon 1,1 2,2\n", "line 2: wanted: polygon"},
        {"size 5 5\nbox 1,1 2,nan\n", "line 2: wanted: box"},
        {"size 5 5\nbox 3,3 1,4\n", "line 2: wanted: box"},
        {"size 5 5\nrounded 0,0 4,4 3\n", "line 2: wanted: rounded"},
        {"size 5 5\narc 2,2 2 1 90 0\n", "line 2: wanted: arc"},
        {"size 5 5\ntriangle 1,1\n", "line 2: no such statement: triangle"},
    };
    for (const auto &c : cases) {
        source s;
        EXPECT_EQ(read_source(c.text, colours, &s, &error), -1) << c.text;
        EXPECT_EQ(error.rfind(c.complaint, 0), 0U) << error;
    }
    EXPECT_EQ(read_palette("state normal ground 1 shape 2\n", &colours, &error), -1) << "twice";
}

} // namespace icons
