// What text looks like in windows: measured from the pixels.

#include "platform/fonts/fonts.h"
#include "platform/fonts/glyph_cache.h"
#include "platform/gl/drawing.h"
#include "platform/gl/pixels.h"
#include "platform/gl/text_blend.h"
#include "tests/platform/gl/gl_fixture.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <random>

namespace {

constexpr int side = 160; // of the window that is drawn in
constexpr int start_x = 50, start_y = 60;
constexpr std::uint32_t white = 0xFFFFFF;

std::atomic<int> allocations{0};

using picture = std::vector<std::uint32_t>;

picture read_all() {
    picture all(side * side);
    EXPECT_EQ(gl::lrectread(0, 0, side - 1, side - 1, all), side * side);
    return all;
}

void wipe(std::uint32_t ground = 0) {
    gl::cpack(ground);
    gl::clear();
    gl::cpack(white);
}

// The text, white on black, as far as the window and its box go.
picture drawn(std::string_view text) {
    wipe();
    gl::cmov2i(start_x, start_y);
    fm::fmprstr(text);
    return read_all();
}

std::string some_text(std::mt19937 &random) {
    const std::vector<std::string> pieces{"A",
                                          "g",
                                          "j",
                                          "f",
                                          "W",
                                          "@",
                                          "1",
                                          " ",
                                          "(",
                                          "Q",
                                          "\xC3\x85",
                                          "\xC3\xA7",
                                          "\xD0\xA9",
                                          "\xCE\xA8",
                                          "\xFF",
                                          "\t",
                                          "\xE2\x98\x83",
                                          "\xE6\x98\xA0",
                                          "e\xCC\x81",
                                          "\xF0\x9F\x98\x80"};
    std::string text;
    for (std::size_t n = random() % 6; n > 0; n--)
        text += pieces[random() % pieces.size()];
    return text;
}

} // namespace

[[gnu::noinline]] void *operator new(std::size_t size) {
    allocations++;
    if (void *p = std::malloc(size))
        return p;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void *p) noexcept {
    std::free(p);
}
[[gnu::noinline]] void operator delete(void *p, std::size_t) noexcept {
    std::free(p);
}

struct text_drawing : gl_test::gl_fixture {
    text_drawing() {
        open_window(100, 50, side, side);
        use("Helvetica", 10.0F);
    }
    ~text_drawing() override { fm::fmexit(); }
    text_drawing(const text_drawing &) = delete;
    text_drawing &operator=(const text_drawing &) = delete;

    static void use(std::string_view face, float points) {
        fm::fmsetfont(fm::fmscalefont(fm::fmfindfont(face), points));
        ASSERT_NE(fm::fmgetfont(), fm::no_font);
    }
};

TEST_F(text_drawing, pixels_are_where_the_measures_say) {
    std::mt19937 random(5);
    for (const char *face :
         {"Helvetica", "Times-BoldItalic", "Courier", "ZapfChancery-MediumItalic"})
        for (const float points : {1.0F, 8.0F, 10.0F, 12.0F, 20.0F}) {
            use(face, points);
            for (int i = 0; i < 12; i++) {
                const std::string text = some_text(random);
                SCOPED_TRACE(testing::Message() << face << " " << points << " " << text);
                const fm::text_box box = fm::fmgetstrbox(fm::fmgetfont(), text);
                const picture seen = drawn(text);
                int x = 0, y = 0;
                gl::getcpos(&x, &y);
                ASSERT_EQ(x, start_x + fm::fmgetstrwidth(fm::fmgetfont(), text));
                ASSERT_EQ(x, start_x + box.width);
                ASSERT_EQ(y, start_y);
                fm::text_box ink{side, -side, side, -side, 0};
                for (int at = 0; at < side * side; at++) {
                    if (seen[static_cast<std::size_t>(at)] == 0)
                        continue;
                    ink.left = std::min(ink.left, at % side - start_x);
                    ink.right = std::max(ink.right, at % side - start_x + 1);
                    ink.bottom = std::min(ink.bottom, at / side - start_y);
                    ink.top = std::max(ink.top, at / side - start_y + 1);
                }
                if (ink.left == side) {
                    ASSERT_EQ(box.right - box.left, 0);
                    continue;
                }
                // A letter's picture may have an empty row or column at its edge.
                ASSERT_TRUE(ink.left == box.left || ink.left == box.left + 1);
                ASSERT_TRUE(ink.right == std::min(box.right, side - start_x) ||
                            ink.right == box.right - 1);
                ASSERT_TRUE(ink.bottom == box.bottom || ink.bottom == box.bottom + 1);
                ASSERT_TRUE(ink.top == box.top || ink.top == box.top - 1);
            }
        }
}

TEST_F(text_drawing, only_the_box_is_touched) {
    std::mt19937 random(9);
    for (int i = 0; i < 100; i++) {
        const std::string text = some_text(random);
        const picture whole = drawn(text);
        const int left = 40 + static_cast<int>(random() % 40),
                  bottom = 45 + static_cast<int>(random() % 20);
        const int right = left + static_cast<int>(random() % 30),
                  top = bottom + static_cast<int>(random() % 12);
        wipe();
        gl::scrmask(left, right, bottom, top);
        gl::cmov2i(start_x, start_y);
        fm::fmprstr(text);
        gl::reshapeviewport();
        const picture cut = read_all();
        for (int y = 0; y < side; y++)
            for (int x = 0; x < side; x++) {
                const auto at = static_cast<std::size_t>(y * side + x);
                const bool inside = x >= left && x <= right && y >= bottom && y <= top;
                ASSERT_EQ(cut[at], inside ? whole[at] : 0U) << text;
            }
    }
    for (const int far : {-40000, -200, side + 200, 40000}) { // beyond all edges
        wipe();
        gl::cmov2i(far, start_y);
        fm::fmprstr("text");
        gl::cmov2i(start_x, far);
        fm::fmprstr("text");
        const picture seen = read_all();
        EXPECT_EQ(std::count(seen.begin(), seen.end(), 0U), side * side);
    }
}

TEST_F(text_drawing, colours_are_mixed_by_coverage_within_the_write_mask) {
    const picture coverage = drawn("Ag&");
    const std::uint32_t ground = 0x204080, ink = 0xF0C010; // 0x00BBGGRR
    EXPECT_GT(std::count_if(coverage.begin(), coverage.end(),
                            [](std::uint32_t c) { return c != 0 && c != white; }),
              20)
        << "edges are smooth";
    for (const std::uint32_t mask : {gl::all_bits, 0x00FF00U, 0x0F000FU}) {
        wipe(ground);
        gl::cpack(ink);
        gl::writemask(mask);
        gl::cmov2i(start_x, start_y);
        fm::fmprstr("Ag&");
        gl::writemask(gl::all_bits);
        const picture seen = read_all();
        for (std::size_t at = 0; at < seen.size(); at++) {
            std::uint32_t wanted = 0;
            for (const int shift : {0, 8, 16}) {
                const std::uint32_t a = coverage[at] & 0xFF, to = (ink >> shift) & 0xFF,
                                    from = (ground >> shift) & 0xFF;
                wanted |= ((to * a + from * (255 - a) + 127) / 255) << shift;
            }
            ASSERT_EQ(seen[at], (ground & ~mask) | (wanted & mask & 0xFFFFFF));
        }
    }
}

TEST_F(text_drawing, indices_are_never_mixed) {
    const std::string text = "Ag& \xC3\x85";
    const picture coverage = drawn(text);
    gl::cmode();
    gl::gconfig();
    for (const std::uint32_t mask : {gl::all_bits, 1U}) {
        gl::color(6);
        gl::clear();
        gl::color(129);
        gl::writemask(mask);
        gl::cmov2i(start_x, start_y);
        EXPECT_EQ(fm::fmprstr(text), fm::fmgetstrwidth(fm::fmgetfont(), text));
        gl::writemask(gl::all_bits);
        const picture seen = read_all();
        const std::uint32_t ink = mask == 1 ? 7 : 129;
        for (std::size_t at = 0; at < seen.size(); at++)
            ASSERT_EQ(seen[at], (coverage[at] & 0xFF) >= gl::coverage_threshold ? ink : 6U);
    }
}

TEST_F(text_drawing, the_overlay_takes_text_too) {
    const picture coverage = drawn("Ag&");
    gl::overlay(gl::overlay_planes);
    gl::gconfig();
    gl::drawmode(gl::OVERDRAW);
    gl::color(2);
    gl::cmov2i(start_x, start_y);
    fm::fmprstr("Ag&");
    const picture seen = read_all();
    for (std::size_t at = 0; at < seen.size(); at++)
        ASSERT_EQ(seen[at], (coverage[at] & 0xFF) >= gl::coverage_threshold ? 2U : 0U);
}

TEST_F(text_drawing, any_bytes_can_be_drawn) {
    std::mt19937 random(21);
    for (int i = 0; i < 300; i++) {
        std::string bytes(random() % 40, '\0');
        for (char &b : bytes)
            b = static_cast<char>(random());
        if (i % 2 == 0) // letters from anywhere, most of them in no face
            for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4) {
                const unsigned code = 0x10000 + static_cast<unsigned>(random() % 0x20000);
                bytes[at] = static_cast<char>(0xF0 | (code >> 18));
                bytes[at + 1] = static_cast<char>(0x80 | ((code >> 12) & 0x3F));
                bytes[at + 2] = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
                bytes[at + 3] = static_cast<char>(0x80 | (code & 0x3F));
            }
        gl::cmov2i(-20, start_y);
        ASSERT_EQ(fm::fmprstr(bytes), fm::fmgetstrwidth(fm::fmgetfont(), bytes));
    }
}

TEST_F(text_drawing, the_same_text_is_the_same_pixels_whatever_was_drawn_between) {
    const std::string text = "Frame 17 of 240 \xE2\x98\x83";
    const picture first = drawn(text);
    std::int64_t pictures = fm::glyph_cache_facts().drawn;
    allocations = 0;
    fm::fmprstr(text);
    (void)fm::fmgetstrbox(fm::fmgetfont(), text);
    EXPECT_EQ(allocations, 0) << "known letters ask for no memory";
    EXPECT_EQ(fm::glyph_cache_facts().drawn, pictures) << "nor are they made again";

    const fm::fmfonthandle used = fm::fmgetfont();
    std::string many;
    for (char c = ' '; c <= '~'; c++)
        many += c;
    pictures = fm::glyph_cache_facts().drawn;
    for (int points = 1; points <= 60; points++) { // more than there is room for
        use("Times-Roman", static_cast<float>(points));
        fm::fmprstr(many);
        ASSERT_LE(fm::glyph_cache_facts().glyphs, fm::max_cached_glyphs);
        ASSERT_LE(fm::glyph_cache_facts().bytes, fm::max_cached_bytes);
    }
    EXPECT_EQ(fm::glyph_cache_facts().drawn, pictures + 60 * 95);
    EXPECT_LT(fm::glyph_cache_facts().glyphs, 60U * 95U);
    for (const float large : {600.0F, 1000.0F}) { // pictures that are not kept
        use("Times-Roman", large);
        const std::size_t before = fm::glyph_cache_facts().bytes;
        const picture once = drawn("a%");
        EXPECT_EQ(drawn("a%"), once);
        EXPECT_EQ(fm::glyph_cache_facts().bytes, before);
    }
    fm::fmsetfont(used);
    EXPECT_EQ(drawn(text), first);
}

TEST_F(text_drawing, nothing_is_drawn_without_font_or_window) {
    fm::fmsetfont(fm::no_font);
    EXPECT_EQ(fm::fmprstr("text"), 0);
    const picture seen = drawn("text");
    EXPECT_EQ(std::count(seen.begin(), seen.end(), 0U), side * side);
    use("Helvetica", 10.0F);
    gl::winclose(gl::winget());
    EXPECT_GT(fm::fmprstr("text"), 0);
}
