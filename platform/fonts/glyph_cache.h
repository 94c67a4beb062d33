// Pictures of letters, drawn once and kept as long as there is room.
//
//   const fm::glyph &g = fm::find_glyph(face, 13, U'g');     // good until the next find_glyph
//
// The room is fixed: when it is used up, everything is let go and drawn again as it is needed. What
// is in it is found without asking for memory. A picture too large for it is drawn every time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fm {

inline constexpr std::size_t max_cached_glyphs = 4096;
inline constexpr std::size_t max_cached_bytes = std::size_t{1} << 20;
inline constexpr std::size_t max_cached_picture = max_cached_bytes / 16;

struct glyph {
    const std::uint8_t *pixels = nullptr; // coverage, the top row first, `width` bytes in each
    int left = 0;                         // of the pen
    int bottom = 0;                       // from the baseline up, negative below it
    int width = 0;                        // pixels; 0 for a blank
    int height = 0;
    int advance = 0; // pixels to the next letter
    // What fitting to pixels has moved the sides by, in 1/64 pixel: the left one, the right one.
    int left_delta = 0;
    int right_delta = 0;
};

// A letter of an open face at a size of so many pixels to the em. Always finds something: a box
// when no face has the letter.
[[nodiscard]] const glyph &find_glyph(int face, int pixels, char32_t letter);

// Lets everything go, the room too.
void empty_glyph_cache();

struct glyph_cache_use {
    std::size_t glyphs = 0;
    std::size_t bytes = 0;
    std::int64_t drawn = 0; // pictures since the start
};
[[nodiscard]] glyph_cache_use glyph_cache_facts();

} // namespace fm
