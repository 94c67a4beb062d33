#include "platform/fonts/fonts.h"

#include "platform/fonts/base_faces.h"
#include "platform/fonts/faces.h"
#include "platform/fonts/glyph_cache.h"
#include "platform/fonts/utf8.h"
#include "platform/gl/text_blend.h"

#include FT_OUTLINE_H

#include <algorithm>
#include <cmath>
#include <vector>

namespace fm {
namespace {

constexpr float points_per_inch = 72.0F;
constexpr float pixels_per_inch = 96.0F;
constexpr int pixels_in_unit = 64;   // FreeType counts in 1/64 pixel
constexpr int widest_text = 1 << 24; // pixels: what lies beyond is not walked

struct font_record {
    int face = -1;
    float points = 1.0F;
    int pixels = 1;  // to the em
    fmfontinfo info; // once it was asked for
    bool is_measured = false;
};

std::vector<font_record> fonts; // handle 1 is the first
fmfonthandle current = no_font;

font_record *find_font(fmfonthandle font) {
    if (font <= no_font || font > static_cast<int>(fonts.size()))
        return nullptr;
    return &fonts[static_cast<std::size_t>(font) - 1];
}

// Letters that reach highest and lowest in a line of ordinary text.
constexpr std::u32string_view tall_letters = U"\u00C5\u00C3\u00C9\u00D1\u00D4\u00DCbdfl|([/";
constexpr std::u32string_view deep_letters = U"gjpqyQ\u00C7|([{/;,_@$";

// How far the fitted letters reach, up (direction 1) or down (-1); -1 when the face has none.
int reach(int face, int pixels, std::u32string_view letters, int direction) {
    FT_Face record = face_record(face);
    int farthest = -1;
    for (const char32_t letter : letters) {
        const letter_place place{face, FT_Get_Char_Index(record, letter)};
        if (place.index == 0 || !load_outline(place, pixels))
            continue;
        FT_BBox box;
        FT_Outline_Get_CBox(&record->glyph->outline, &box);
        const FT_Pos edge = direction > 0 ? box.yMax : -box.yMin;
        farthest =
            std::max(farthest, static_cast<int>((edge + pixels_in_unit - 1) / pixels_in_unit));
    }
    return farthest;
}

// Font units in pixels of this size, rounded up.
int scaled_up(FT_Face record, FT_Pos units, int pixels) {
    return static_cast<int>((units * pixels + record->units_per_EM - 1) / record->units_per_EM);
}

fmfontinfo measure(int face, int pixels) {
    FT_Face record = face_record(face);
    int above = reach(face, pixels, tall_letters, 1);
    int below = reach(face, pixels, deep_letters, -1);
    if (above <= 0) // symbols
        above = std::max(1, scaled_up(record, record->bbox.yMax, pixels));
    if (below < 0)
        below = std::max(0, scaled_up(record, -record->bbox.yMin, pixels));
    fmfontinfo info;
    info.yorig = below;
    info.height = above + below;
    info.xsize = scaled_up(record, record->max_advance_width, pixels);
    info.pixels = pixels;
    info.fixed_width = FT_IS_FIXED_WIDTH(record) != 0;
    return info;
}

int pixels_of(float points) {
    return static_cast<int>(std::lround(points * pixels_per_inch / points_per_inch));
}

fmfonthandle font_of(int face, float points) {
    for (std::size_t i = 0; i < fonts.size(); i++)
        if (fonts[i].face == face && fonts[i].points == points)
            return static_cast<fmfonthandle>(i + 1);
    if (fonts.size() >= max_fonts)
        return no_font;
    fonts.push_back({face, points, std::max(1, pixels_of(points)), {}, false});
    return static_cast<fmfonthandle>(fonts.size());
}

int open_named(std::string_view name) {
    for (const font_file &file : files_named(name)) {
        const int face = open_face(file);
        if (face >= 0)
            return face;
    }
    return -1;
}

// What rounding to whole pixels has taken from the distance of two letters, or added to it.
int correction(int right_delta, int left_delta) {
    constexpr int half = pixels_in_unit / 2;
    const int moved = right_delta - left_delta;
    return moved > half ? -1 : moved < -half + 1 ? 1 : 0;
}

// Calls visit(glyph, x) for each letter with the place of its pen. Returns the width.
template <typename Visit> int walk(const font_record &font, std::string_view text, Visit visit) {
    int pen = 0;
    int right_delta = 0;
    while (!text.empty() && pen < widest_text) {
        const glyph &g = find_glyph(font.face, font.pixels, next_letter(&text));
        pen += correction(right_delta, g.left_delta);
        right_delta = g.right_delta;
        visit(g, pen);
        pen += g.advance;
    }
    return pen;
}

} // namespace

void fminit() {
    read_font_files();
}

void fmexit() {
    current = no_font;
    fonts.clear();
    empty_glyph_cache();
    close_faces();
    forget_font_files();
}

fmfonthandle fmfindfont(std::string_view name) {
    fminit();
    int face = open_named(name);
    for (const std::string_view equivalent : equivalents_of(name))
        if (face < 0)
            face = open_named(equivalent);
    return face < 0 ? no_font : font_of(face, 1.0F);
}

fmfonthandle fmscalefont(fmfonthandle font, float points) {
    constexpr float least_points = points_per_inch / pixels_per_inch; // one pixel
    const font_record *record = find_font(font);
    if (record == nullptr || !(points > 0))
        return no_font;
    return font_of(record->face, std::clamp(record->points * points, least_points, max_points));
}

void fmsetfont(fmfonthandle font) {
    current = font;
}

fmfonthandle fmgetfont() {
    return current;
}

int fmprstr(std::string_view text) {
    const font_record *record = find_font(current);
    if (record == nullptr)
        return 0;
    const int width = walk(*record, text, [](const glyph &g, int x) {
        gl::blend_coverage({g.pixels, g.width, g.height, g.width}, x + g.left, g.bottom);
    });
    gl::move_text(width);
    return width;
}

int fmgetstrwidth(fmfonthandle font, std::string_view text) {
    const font_record *record = find_font(font);
    return record == nullptr ? 0 : walk(*record, text, [](const glyph &, int) {});
}

text_box fmgetstrbox(fmfonthandle font, std::string_view text) {
    text_box box;
    const font_record *record = find_font(font);
    if (record == nullptr)
        return box;
    bool any = false;
    box.width = walk(*record, text, [&box, &any](const glyph &g, int x) {
        if (g.width == 0)
            return;
        const text_box own{x + g.left, x + g.left + g.width, g.bottom, g.bottom + g.height, 0};
        box.left = any ? std::min(box.left, own.left) : own.left;
        box.right = any ? std::max(box.right, own.right) : own.right;
        box.bottom = any ? std::min(box.bottom, own.bottom) : own.bottom;
        box.top = any ? std::max(box.top, own.top) : own.top;
        any = true;
    });
    return box;
}

int fmgetfontinfo(fmfonthandle font, fmfontinfo *info) {
    *info = {};
    font_record *record = find_font(font);
    if (record == nullptr)
        return -1;
    if (!record->is_measured) {
        record->info = measure(record->face, record->pixels);
        record->is_measured = true;
    }
    *info = record->info;
    return 0;
}

std::string fmgetfacename(fmfonthandle font) {
    const font_record *record = find_font(font);
    return record == nullptr ? std::string() : face_file(record->face).name;
}

} // namespace fm
