#include "platform/gl/text_blend.h"

#include "platform/gl/paint.h"

#include <algorithm>

namespace gl {
namespace {

constexpr unsigned opaque = 255;

// Two of a word's channels at a time: a * amount + b * (255 - amount), divided by 255, rounded.
std::uint32_t mixed_pair(std::uint32_t a, std::uint32_t b, unsigned amount) {
    constexpr std::uint32_t channels = 0x00FF00FF;
    constexpr std::uint32_t half = 0x00800080;
    const std::uint32_t sum = (a & channels) * amount + (b & channels) * (opaque - amount) + half;
    return ((sum + ((sum >> 8) & channels)) >> 8) & channels;
}

std::uint32_t mixed(std::uint32_t word, std::uint32_t ground, unsigned amount) {
    return mixed_pair(word, ground, amount) |
           (mixed_pair((word >> 8) & 0xFFU, (ground >> 8) & 0xFFU, amount) << 8);
}

void blend_row(std::uint32_t *to, const std::uint8_t *from, int count, std::uint32_t word,
               std::uint32_t mask) {
    for (int i = 0; i < count; i++) {
        if (from[i] == 0)
            continue;
        const std::uint32_t pixel = from[i] == opaque ? word : mixed(word, to[i], from[i]);
        to[i] = (to[i] & ~mask) | (pixel & mask);
    }
}

void threshold_row(std::uint32_t *to, const std::uint8_t *from, int count, std::uint32_t word,
                   std::uint32_t mask) {
    for (int i = 0; i < count; i++)
        if (from[i] >= coverage_threshold)
            to[i] = (to[i] & ~mask) | (word & mask);
}

} // namespace

void blend_coverage(const coverage &letter, int dx, int dy) {
    window_record *w = current_window();
    if (w == nullptr || letter.width <= 0 || letter.height <= 0)
        return;
    const int left = w->text_x + std::clamp(dx, -far_away, far_away);
    const int bottom = w->text_y + std::clamp(dy, -far_away, far_away);
    const int top = bottom + letter.height - 1;
    const box inside = common(paint_box(*w), {left, left + letter.width - 1, bottom, top});
    if (inside.is_empty())
        return;
    const paint_targets targets = targets_of(*w);
    const auto put = w->modes.rgb && w->draw_mode == NORMALDRAW ? blend_row : threshold_row;
    const std::uint32_t word = paint_word(*w);
    const std::uint32_t mask = paint_mask(*w);
    const int count = inside.right - inside.left + 1;
    for (const raster &r : targets.all())
        for (int y = inside.bottom; y <= inside.top; y++)
            put(row_of(*w, r, y) + inside.left,
                letter.pixels + std::ptrdiff_t{top - y} * letter.stride + (inside.left - left),
                count, word, mask);
    if (targets.count > 0)
        note_box(*w, inside);
}

void move_text(int dx) {
    if (window_record *w = current_window())
        w->text_x =
            std::clamp(w->text_x + std::clamp(dx, -far_away, far_away), -far_away, far_away);
}

} // namespace gl
