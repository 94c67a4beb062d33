// The ground that all drawing in platform/gl stands on: where the current drawing goes, what may
// be touched, and how coordinates become pixels.
#pragma once

#include "platform/gl/window_record.h"

#include <array>
#include <span>

namespace gl {

// Coordinates beyond this are brought to it before anything is computed with them.
inline constexpr int far_away = 1 << 24;

// The buffers that drawing goes to: none, one or two.
struct paint_targets {
    std::array<raster, 2> rasters{};
    int count = 0;
    [[nodiscard]] std::span<const raster> all() const {
        return {rasters.data(), static_cast<std::size_t>(count)};
    }
};
[[nodiscard]] paint_targets targets_of(window_record &w);

// The word that shapes are drawn with, and the bits of a pixel that may change.
[[nodiscard]] std::uint32_t paint_word(const window_record &w);
[[nodiscard]] std::uint32_t paint_mask(const window_record &w);

// The pixels that may be touched: window and box, in window coordinates.
[[nodiscard]] box paint_box(const window_record &w);

[[nodiscard]] box common(const box &a, const box &b);

// A place as the program gives it, in window coordinates (origin lower left).
struct place {
    int x = 0;
    int y = 0;
};
[[nodiscard]] place to_window(const window_record &w, int x, int y);

// Where a window row starts in a buffer.
[[nodiscard]] inline std::uint32_t *row_of(const window_record &w, const raster &r, int y) {
    return r.pixels + std::ptrdiff_t{w.area.height - 1 - y} * r.stride;
}

// Notes a drawn box (window coordinates, already clipped).
void note_box(window_record &w, const box &b);

// Fills what may be touched of a box with the drawing word, and notes it.
void fill_box(window_record &w, const box &b);

} // namespace gl
