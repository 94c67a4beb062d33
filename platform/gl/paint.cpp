#include "platform/gl/paint.h"

#include <algorithm>
#include <cmath>

namespace gl {
namespace {

int near(double v) {
    if (!(std::abs(v) < far_away)) // also not-a-number
        return v < 0 ? -far_away : far_away;
    return static_cast<int>(std::lround(v));
}

// v between the edges low and high of the coordinates, between 0 and size of the viewport.
double scaled(double v, double low, double high, int size) {
    return low == high ? 0.0 : (v - low) * size / (high - low);
}

} // namespace

paint_targets targets_of(window_record &w) {
    paint_targets t;
    const auto add = [&t](const raster &r) {
        if (r.pixels != nullptr)
            t.rasters[static_cast<std::size_t>(t.count++)] = r;
    };
    if (w.draw_mode == OVERDRAW) {
        if (w.modes.has_overlay)
            add(overlay_raster(w));
        return t;
    }
    const auto front = static_cast<std::size_t>(w.front);
    if (!w.modes.double_buffered || w.draw_front)
        add(w.rasters[front]);
    if (w.modes.double_buffered && w.draw_back)
        add(w.rasters[1 - front]);
    return t;
}

std::uint32_t paint_word(const window_record &w) {
    if (w.draw_mode == OVERDRAW)
        return w.overlay_index;
    return w.modes.rgb ? w.rgb_word : w.index;
}

std::uint32_t paint_mask(const window_record &w) {
    return w.draw_mode == OVERDRAW ? all_bits : w.mask;
}

box common(const box &a, const box &b) {
    return {std::max(a.left, b.left), std::min(a.right, b.right), std::max(a.bottom, b.bottom),
            std::min(a.top, b.top)};
}

box paint_box(const window_record &w) {
    return common(w.view.mask, {0, w.area.width - 1, 0, w.area.height - 1});
}

place to_window(const window_record &w, int x, int y) {
    x = std::clamp(x, -far_away, far_away);
    y = std::clamp(y, -far_away, far_away);
    if (w.matrix.space == coordinate_space::window)
        return {x, y};
    if (w.matrix.space == coordinate_space::screen) {
        const int bottom = display::server().screen().y - w.area.y - w.area.height;
        return {x - w.area.x, y - bottom};
    }
    const box &port = w.view.port;
    const matrix_state &m = w.matrix;
    // The edges lie between pixels: a pixel's own place is half a pixel inside.
    const double px = scaled(x, m.left, m.right, port.right - port.left + 1) - 0.5;
    const double py = scaled(y, m.bottom, m.top, port.top - port.bottom + 1) - 0.5;
    return {port.left + near(px), port.bottom + near(py)};
}

void note_box(window_record &w, const box &b) {
    if (!b.is_empty())
        note_drawn(w,
                   {b.left, w.area.height - 1 - b.top, b.right - b.left + 1, b.top - b.bottom + 1});
}

void fill_box(window_record &w, const box &b) {
    const box inside = common(b, paint_box(w));
    const std::uint32_t word = paint_word(w);
    // Clearing an overlay that holds nothing makes none: the window stays a plain one.
    const bool nothing_over = w.draw_mode == OVERDRAW && w.overlay.empty() && word == 0;
    if (inside.is_empty() || nothing_over)
        return;
    const paint_targets targets = targets_of(w);
    const std::uint32_t mask = paint_mask(w);
    for (const raster &r : targets.all()) {
        for (int y = inside.bottom; y <= inside.top; y++) {
            std::uint32_t *row = row_of(w, r, y);
            if (mask == all_bits) {
                std::fill(row + inside.left, row + inside.right + 1, word);
                continue;
            }
            for (int x = inside.left; x <= inside.right; x++)
                row[x] = (row[x] & ~mask) | (word & mask);
        }
    }
    if (targets.count > 0)
        note_box(w, inside);
}

} // namespace gl
