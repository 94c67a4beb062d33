#include "platform/fonts/glyph_cache.h"

#include "platform/fonts/faces.h"

#include <algorithm>
#include <memory>
#include <span>
#include <vector>

namespace fm {
namespace {

// Half of the places stay free, so that a search is short.
constexpr int table_bits = 13;
constexpr std::size_t table_size = std::size_t{1} << table_bits;
static_assert(table_size >= 2 * max_cached_glyphs);

constexpr int pixels_in_unit = 64; // FreeType counts in 1/64 pixel

struct cached_glyph {
    std::uint64_t key = 0; // 0: free
    glyph picture;
};

struct glyph_cache {
    std::unique_ptr<cached_glyph[]> table;
    std::unique_ptr<std::uint8_t[]> room;
    std::size_t used = 0;
    std::size_t glyphs = 0;
    std::int64_t drawn = 0;
    std::vector<std::uint8_t> large; // the one picture that is too large
    glyph large_glyph;
};
glyph_cache cache;

std::uint64_t key_of(int face, int pixels, char32_t letter) {
    constexpr int letter_bits = 21;
    constexpr int pixel_bits = 16;
    return ((static_cast<std::uint64_t>(face) + 1) << (letter_bits + pixel_bits)) |
           (static_cast<std::uint64_t>(pixels) << letter_bits) | letter;
}

cached_glyph &place_of(std::uint64_t key) {
    constexpr std::uint64_t spread = 0x9E3779B97F4A7C15;
    auto i = static_cast<std::size_t>((key * spread) >> (64 - table_bits));
    while (cache.table[i].key != 0 && cache.table[i].key != key)
        i = (i + 1) % table_size;
    return cache.table[i];
}

void make_room() {
    if (!cache.table)
        cache.table = std::make_unique<cached_glyph[]>(table_size);
    if (!cache.room) // not cleared: pages that are never used are never touched
        cache.room.reset(new std::uint8_t[max_cached_bytes]);
}

void let_all_go() {
    std::fill_n(cache.table.get(), table_size, cached_glyph{});
    cache.used = 0;
    cache.glyphs = 0;
}

// The place for a picture's pixels: in the cache, or the one for large ones.
std::span<std::uint8_t> take_pixels(const glyph &g) {
    const std::size_t size = static_cast<std::size_t>(g.width) * static_cast<std::size_t>(g.height);
    if (size > max_cached_picture) {
        cache.large.resize(size);
        return cache.large;
    }
    if (cache.used + size > max_cached_bytes)
        let_all_go();
    std::uint8_t *pixels = cache.room.get() + cache.used;
    cache.used += size;
    return {pixels, size};
}

// A hollow box as high as a capital: no face has the letter.
glyph draw_box(int pixels) {
    glyph g;
    g.width = std::max(3, pixels / 2);
    g.height = std::max(3, pixels * 7 / 10);
    g.left = 1;
    g.advance = g.width + 2;
    const std::span<std::uint8_t> to = take_pixels(g);
    const auto width = static_cast<std::size_t>(g.width);
    for (std::size_t i = 0; i < to.size(); i++) {
        const std::size_t x = i % width;
        const bool edge = x == 0 || x == width - 1 || i < width || i >= to.size() - width;
        to[i] = edge ? 255 : 0;
    }
    g.pixels = to.data();
    return g;
}

// The letter's own picture; false when FreeType can not draw it.
bool draw_letter(const letter_place &place, int pixels, glyph *g) {
    if (!load_outline(place, pixels))
        return false;
    FT_GlyphSlot slot = face_record(place.face)->glyph;
    if (FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) != 0)
        return false;
    const FT_Bitmap &map = slot->bitmap;
    g->width = static_cast<int>(map.width);
    g->height = static_cast<int>(map.rows);
    g->left = slot->bitmap_left;
    g->bottom = slot->bitmap_top - g->height;
    g->advance = static_cast<int>((slot->advance.x + pixels_in_unit / 2) / pixels_in_unit);
    g->left_delta = static_cast<int>(slot->lsb_delta);
    g->right_delta = static_cast<int>(slot->rsb_delta);
    const std::span<std::uint8_t> to = take_pixels(*g);
    for (int y = 0; y < g->height; y++) {
        const unsigned char *row = map.buffer + std::ptrdiff_t{y} * map.pitch;
        std::copy_n(row, g->width, to.data() + std::ptrdiff_t{y} * g->width);
    }
    g->pixels = to.data();
    return true;
}

glyph draw_glyph(int face, int pixels, char32_t letter) {
    glyph g;
    letter_place place;
    if (find_letter(face, letter, &place) && draw_letter(place, pixels, &g))
        return g;
    return draw_box(pixels);
}

} // namespace

const glyph &find_glyph(int face, int pixels, char32_t letter) {
    make_room();
    const std::uint64_t key = key_of(face, pixels, letter);
    cached_glyph &known = place_of(key);
    if (known.key == key)
        return known.picture;
    if (cache.glyphs == max_cached_glyphs)
        let_all_go();
    const glyph drawn = draw_glyph(face, pixels, letter);
    cache.drawn++;
    if (!cache.large.empty() && drawn.pixels == cache.large.data()) {
        cache.large_glyph = drawn;
        return cache.large_glyph;
    }
    cached_glyph &fresh = place_of(key); // drawing may have let all others go
    fresh = {key, drawn};
    cache.glyphs++;
    return fresh.picture;
}

void empty_glyph_cache() {
    cache = {};
}

glyph_cache_use glyph_cache_facts() {
    return {cache.glyphs, cache.used, cache.drawn};
}

} // namespace fm
