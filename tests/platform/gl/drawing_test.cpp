#include "platform/gl/drawing.h"
#include "platform/gl/pixels.h"
#include "tests/platform/gl/gl_fixture.h"

#include <climits>
#include <cmath>
#include <random>

namespace {

constexpr int side = 40; // of the window that is drawn in

std::uint32_t pixel(int x, int y) {
    std::array<std::uint32_t, 1> word{};
    gl::lrectread(x, y, x, y, word);
    return word[0];
}

int count_drawn(std::uint32_t colour) {
    std::vector<std::uint32_t> all(side * side);
    EXPECT_EQ(gl::lrectread(0, 0, side - 1, side - 1, all), side * side);
    return static_cast<int>(std::count(all.begin(), all.end(), colour));
}

void wipe() {
    gl::cpack(0);
    gl::clear();
    gl::cpack(0xFF);
}

} // namespace

struct gl_drawing : gl_test::gl_fixture {
    gl_drawing() {
        open_window(100, 50, side, side);
        wipe();
    }
};

TEST_F(gl_drawing, shapes_have_their_pixels) {
    gl::rectfi(5, 6, 9, 7);
    EXPECT_EQ(count_drawn(0xFF), 10);
    EXPECT_EQ(pixel(5, 6), 0xFFU);
    EXPECT_EQ(pixel(5, 5), 0U);
    wipe();
    gl::recti(2, 2, 11, 7);
    EXPECT_EQ(count_drawn(0xFF), 2 * 10 + 2 * 4);
    wipe();
    gl::linewidth(3);
    gl::move2i(5, 5);
    gl::draw2i(5, 14);
    EXPECT_EQ(count_drawn(0xFF), 30);
    gl::linewidth(1);
    wipe();
    gl::move2i(1, 1);
    gl::draw2i(21, 11); // both ends, one pixel a step
    EXPECT_EQ(count_drawn(0xFF), 21);
    EXPECT_EQ(pixel(21, 11), 0xFFU);
    EXPECT_EQ(pixel(11, 6), 0xFFU);
    gl::draw2i(21, 30); // goes on from there
    EXPECT_EQ(pixel(21, 29), 0xFFU);
    wipe();
    gl::pnt2i(39, 39);
    EXPECT_EQ(count_drawn(0xFF), 1);
}

TEST_F(gl_drawing, discs_are_round_closed_and_symmetric) {
    for (int radius = 0; radius <= 19; radius++) {
        wipe();
        gl::circfi(20, 20, radius);
        const int disc = count_drawn(0xFF);
        EXPECT_NEAR(disc, M_PI * (radius + 0.5) * (radius + 0.5), 3.0 + 2.0 * radius);
        gl::cpack(0xFF00);
        gl::circi(20, 20, radius);
        EXPECT_EQ(count_drawn(0xFF00) + count_drawn(0xFF), disc) << "the outline is its edge";
        for (int y = 1; y < side; y++)
            for (int x = 1; x < side; x++) {
                ASSERT_EQ(pixel(x, y), pixel(side - x, y));
                ASSERT_EQ(pixel(x, y), pixel(y, x)) << radius;
            }
    }
}

TEST_F(gl_drawing, nothing_leaves_the_box) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> any(-60, 100);
    gl::viewport(10, 29, 12, 25);
    for (int i = 0; i < 300; i++) {
        gl::linewidth(1 + i % 5);
        gl::rectfi(any(random), any(random), any(random), any(random));
        gl::recti(any(random), any(random), any(random), any(random));
        gl::move2i(any(random), any(random));
        gl::draw2i(any(random), any(random));
        gl::circi(any(random), any(random), any(random));
        gl::circfi(any(random), any(random), any(random));
    }
    const std::array extremes{INT_MIN, INT_MIN + 1, -1, 0, 20, INT_MAX - 1, INT_MAX};
    for (const int a : extremes)
        for (const int b : extremes) {
            gl::rectfi(a, b, b, a);
            gl::recti(a, a, b, b);
            gl::move2i(a, b);
            gl::draw2i(b, a);
            gl::circfi(a, b, a);
            gl::circi(a, b, b);
            gl::scrmask(a, b, a, b);
            gl::viewport(a, b, b, a);
            gl::scrmask(10, 29, 12, 25);
            gl::ortho2(a, b, -1, 1);
            gl::recti(a, b, b, a);
            gl::reshapeviewport();
            gl::viewport(10, 29, 12, 25);
        }
    gl::clear();
    gl::reshapeviewport();
    EXPECT_EQ(count_drawn(0xFF), 20 * 14);
    EXPECT_EQ(pixel(10, 12), 0xFFU);
    EXPECT_EQ(pixel(29, 25), 0xFFU);
}

TEST_F(gl_drawing, a_clipped_line_has_the_pixels_of_the_whole_one) {
    std::mt19937 random(11);
    std::uniform_int_distribution<int> any(-30, 70);
    for (int i = 0; i < 200; i++) {
        const std::array<int, 4> p{any(random), any(random), any(random), any(random)};
        SCOPED_TRACE(i);
        const auto draw = [&p] {
            gl::move2i(p[0], p[1]);
            gl::draw2i(p[2], p[3]);
        };
        std::array<std::vector<std::uint32_t>, 2> seen;
        for (int k = 0; k < 2; k++) {
            wipe();
            if (k == 1)
                gl::scrmask(13, 27, 9, 30);
            draw();
            gl::reshapeviewport();
            seen[static_cast<std::size_t>(k)].resize(15 * 22);
            gl::lrectread(13, 9, 27, 30, seen[static_cast<std::size_t>(k)]);
        }
        ASSERT_EQ(seen[0], seen[1]);
    }
}

TEST_F(gl_drawing, coordinates_can_be_the_screens_or_scaled) {
    gl::pushmatrix();
    gl::screenspace();
    gl::pnt2i(100 + 3, 50 + 4);
    gl::popmatrix();
    EXPECT_EQ(pixel(3, 4), 0xFFU);
    gl::ortho2(-0.5, side - 0.5, -0.5, side - 0.5);
    gl::pnt2i(30, 31);
    gl::ortho2(0, 0, NAN, 1); // nonsense draws somewhere or nowhere, safely
    gl::pnt2i(1, 1);
    gl::reshapeviewport();
    EXPECT_EQ(pixel(30, 31), 0xFFU);
    gl::pushviewport();
    gl::viewport(0, 1, 0, 1);
    gl::popviewport();
    int left = 0, right = 0, bottom = 0, top = 0;
    gl::getviewport(&left, &right, &bottom, &top);
    EXPECT_EQ((std::array{left, right, bottom, top}), (std::array{0, side - 1, 0, side - 1}));
    for (int i = 0; i < 2 * gl::stack_depth; i++)
        gl::pushmatrix();
    for (int i = 0; i < 3 * gl::stack_depth; i++)
        gl::popmatrix();
}

TEST_F(gl_drawing, write_mask_protects_bits) {
    gl::cpack(0x332211);
    gl::clear();
    gl::writemask(0x0000FF); // red alone
    gl::cpack(0xAABBCC);
    gl::rectfi(0, 0, 0, 0);
    EXPECT_EQ(pixel(0, 0), 0x3322CCU);
    const std::array<std::uint32_t, 1> picture{0x445566};
    gl::lrectwrite(1, 0, 1, 0, picture);
    EXPECT_EQ(pixel(1, 0), 0x332266U);
    gl::writemask(gl::all_bits);
    gl::lrectwrite(1, 0, 1, 0, picture);
    EXPECT_EQ(pixel(1, 0), 0x445566U);
}

// Zooms and places of every kind against the definition, pixel by pixel.
TEST_F(gl_drawing, written_pictures_are_zoomed_and_clipped_exactly) {
    std::mt19937 random(3);
    const std::array zooms{1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 7.0F, 1.5F, 2.25F, 0.5F, 0.3F, 0.01F};
    std::uniform_int_distribution<int> sizes(1, 21);
    std::uniform_int_distribution<int> places(-50, 45);
    for (int i = 0; i < 1500; i++) {
        const float zx = zooms[random() % zooms.size()];
        const float zy = zooms[random() % zooms.size()];
        const int w = sizes(random), h = sizes(random), px = places(random), py = places(random);
        SCOPED_TRACE(testing::Message() << "case " << i << ": " << w << "x" << h << " at " << px
                                        << "," << py << " zoom " << zx << "," << zy);
        std::vector<std::uint32_t> picture(static_cast<std::size_t>(w * h));
        for (std::uint32_t &word : picture)
            word = random() & 0xFFFFFF;
        wipe();
        gl::rectzoom(zx, zy);
        gl::lrectwrite(px, py, px + w - 1, py + h - 1, picture);
        gl::rectzoom(1, 1);
        std::vector<std::uint32_t> seen(side * side);
        gl::lrectread(0, 0, side - 1, side - 1, seen);
        const int covered_x = std::max(1, static_cast<int>(static_cast<double>(w) * zx));
        const int covered_y = std::max(1, static_cast<int>(static_cast<double>(h) * zy));
        for (int y = 0; y < side; y++)
            for (int x = 0; x < side; x++) {
                const int dx = x - px, dy = y - py;
                std::uint32_t expected = 0;
                if (dx >= 0 && dy >= 0 && dx < covered_x && dy < covered_y) {
                    const int sx = std::min(static_cast<int>(dx / static_cast<double>(zx)), w - 1);
                    const int sy = std::min(static_cast<int>(dy / static_cast<double>(zy)), h - 1);
                    expected = picture[static_cast<std::size_t>(sy * w + sx)];
                }
                ASSERT_EQ(seen[static_cast<std::size_t>(y * side + x)], expected)
                    << "pixel " << x << "," << y;
            }
    }
}

TEST_F(gl_drawing, hostile_rectangles_do_nothing) {
    const std::vector<std::uint32_t> nine(9, 0x123456);
    gl::lrectwrite(0, 0, 3, 3, nine); // needs 16
    gl::lrectwrite(5, 5, 2, 2, nine);
    gl::lrectwrite(INT_MIN, INT_MIN, INT_MAX, INT_MAX, nine);
    gl::lrectwrite(INT_MAX - 2, INT_MAX - 2, INT_MAX, INT_MAX, nine);
    gl::rectzoom(NAN, -5);
    gl::lrectwrite(-10, -10, -8, -8, nine);
    gl::rectzoom(1e30F, 1e30F);
    gl::lrectwrite(INT_MIN, INT_MIN, INT_MIN + 2, INT_MIN + 2, nine);
    gl::rectzoom(1, 1);
    EXPECT_EQ(count_drawn(0), side * side);
    std::vector<std::uint32_t> few(3, 7);
    EXPECT_EQ(gl::lrectread(0, 0, 1, 1, few), 0);
    EXPECT_EQ(gl::lrectread(-1, 0, 1, 0, few), 3);
    EXPECT_EQ(few, (std::vector<std::uint32_t>{0, 0, 0}));
    EXPECT_EQ(gl::readpixels(4, few), 0);
    EXPECT_EQ(gl::readpixels(INT_MAX, few), 0);
}

TEST_F(gl_drawing, reading_and_copying) {
    gl::cpack(0x0000AA);
    gl::rectfi(0, 0, 4, 4);
    gl::cpack(0x00BB00);
    gl::pnt2i(2, 1);
    std::array<std::uint32_t, 3> row{};
    gl::cmov2s(1, 1);
    EXPECT_EQ(gl::readpixels(3, row), 3);
    EXPECT_EQ(row, (std::array<std::uint32_t, 3>{0xAA, 0xBB00, 0xAA}));
    int x = 0, y = 0;
    gl::getcpos(&x, &y);
    EXPECT_EQ(std::pair(x, y), std::pair(4, 1));

    for (const auto &[dx, dy] : {std::pair(2, 1), {-1, -1}, {3, 0}, {-2, 2}, {0, -3}}) {
        std::vector<std::uint32_t> before(side * side), after(side * side);
        std::mt19937 random(5);
        for (std::uint32_t &word : before)
            word = random() & 0xFFFFFF;
        gl::lrectwrite(0, 0, side - 1, side - 1, before);
        gl::rectcopy(10, 10, 25, 20, 10 + dx, 10 + dy);
        gl::lrectread(0, 0, side - 1, side - 1, after);
        for (int py = 10; py <= 20; py++)
            for (int px = 10; px <= 25; px++)
                ASSERT_EQ(after[static_cast<std::size_t>((py + dy) * side + px + dx)],
                          before[static_cast<std::size_t>(py * side + px)]);
    }
    // Of pixels that overlap themselves, only the bits of the mask.
    gl::cpack(0x332211);
    gl::clear();
    gl::cpack(0x665544);
    gl::rectfi(4, 0, 4, 0);
    gl::writemask(0xFF);
    gl::rectcopy(3, 0, 5, 0, 4, 0);
    EXPECT_EQ(gl::getwritemask(), 0xFFU);
    EXPECT_EQ(pixel(4, 0), 0x665511U);
    EXPECT_EQ(pixel(5, 0), 0x332244U);
    EXPECT_EQ(pixel(6, 0), 0x332211U);
    gl::writemask(gl::all_bits);
    gl::rectcopy(-5, -5, 60, 60, 3, 3);
    gl::rectcopy(0, 0, 5, 5, 1000, INT_MIN);
}
