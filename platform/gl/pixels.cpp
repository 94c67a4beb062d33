#include "platform/gl/pixels.h"

#include "platform/gl/paint.h"
#include "platform/gl/window_record.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace gl {
namespace {

constexpr std::uint32_t index_mask = colour_map_size - 1;

struct zoom_factors {
    float x = 1;
    float y = 1;
};
zoom_factors zoom; // of the process, not of a window: it is set before the window is chosen

float limited(float z) {
    return std::isnan(z) ? 1.0F : std::clamp(z, 1.0F / max_rectzoom, max_rectzoom);
}

// One direction of a zoomed picture: how many pixels it covers, and which source pixel each shows.
struct axis {
    int source = 0;        // pixels of the source
    int covered = 0;       // pixels on the screen
    int whole_zoom = 0;    // the zoom when it is a whole number, else 0
    std::int64_t step = 0; // source pixels per screen pixel, 32 bits behind the point

    [[nodiscard]] int at(int i) const {
        if (whole_zoom != 0)
            return i / whole_zoom;
        return std::min(static_cast<int>((i * step) >> 32), source - 1);
    }
};

axis make_axis(int source, float z) {
    constexpr double point = 4294967296.0; // 2^32
    axis a;
    a.source = source;
    a.covered = std::max(1, static_cast<int>(std::min(static_cast<double>(source) * z,
                                                      static_cast<double>(far_away))));
    a.whole_zoom = z >= 1 && z == std::floor(z) ? static_cast<int>(z) : 0;
    a.step = static_cast<std::int64_t>(std::ceil(point / double{z}));
    return a;
}

struct to_display {
    std::uint32_t operator()(std::uint32_t p) const { return swap_red_blue(p); }
};
struct to_index {
    std::uint32_t operator()(std::uint32_t p) const { return p & index_mask; }
};

// Whole pixels of `Zoom` (0: `zoom`) words each.
template <int Zoom, typename Convert>
std::uint32_t *write_whole(std::uint32_t *to, const std::uint32_t *from, int count, int n,
                           Convert convert) {
    const int width = Zoom == 0 ? n : Zoom;
    for (int i = 0; i < count; i++) {
        const std::uint32_t word = convert(from[i]);
        for (int k = 0; k < width; k++)
            to[k] = word;
        to += width;
    }
    return to;
}

template <typename Convert>
void write_copies(std::uint32_t *to, const std::uint32_t *from, int count, int n, Convert convert) {
    switch (n) {
    case 2:
        write_whole<2>(to, from, count, n, convert);
        return;
    case 3:
        write_whole<3>(to, from, count, n, convert);
        return;
    case 4:
        write_whole<4>(to, from, count, n, convert);
        return;
    default:
        write_whole<0>(to, from, count, n, convert);
    }
}

// Screen pixels first .. last of one row (counted from the picture's left edge) to `to`.
template <typename Convert>
void write_row(std::uint32_t *to, const std::uint32_t *from, const axis &a, int first, int last,
               Convert convert) {
    if (a.whole_zoom == 1) {
        const std::uint32_t *in = from + first;
        for (int i = 0, n = last - first + 1; i < n; i++)
            to[i] = convert(in[i]);
        return;
    }
    int i = first;
    if (a.whole_zoom > 1) {
        const int n = a.whole_zoom;
        for (; i <= last && i % n != 0; i++) // the rest of a pixel cut by the left edge
            *to++ = convert(from[i / n]);
        const int count = (last + 1 - i) / n;
        if (count > 0) {
            write_copies(to, from + i / n, count, n, convert);
            to += std::ptrdiff_t{count} * n;
            i += count * n;
        }
    }
    for (; i <= last; i++)
        *to++ = convert(from[a.at(i)]);
}

struct picture {
    std::span<const std::uint32_t> words;
    axis across;
    axis up;
    place corner; // lower left, window coordinates
};

template <typename Convert>
void write_picture(window_record &w, const raster &r, const picture &p, const box &inside,
                   Convert convert) {
    const auto bytes =
        static_cast<std::size_t>(inside.right - inside.left + 1) * sizeof(std::uint32_t);
    int shown = -1; // the source row that the row below shows
    for (int y = inside.bottom; y <= inside.top; y++) {
        std::uint32_t *to = row_of(w, r, y) + inside.left;
        const int source = p.up.at(y - p.corner.y);
        if (source == shown) {
            std::memcpy(to, to + r.stride, bytes); // the row below lies behind in memory
            continue;
        }
        shown = source;
        const std::uint32_t *from = p.words.data() + std::ptrdiff_t{source} * p.across.source;
        write_row(to, from, p.across, inside.left - p.corner.x, inside.right - p.corner.x, convert);
    }
}

// The slow way, for when only some bits of each pixel may change.
void write_masked(window_record &w, const raster &r, const picture &p, const box &inside) {
    const std::uint32_t mask = paint_mask(w);
    for (int y = inside.bottom; y <= inside.top; y++) {
        std::uint32_t *row = row_of(w, r, y);
        const std::uint32_t *from =
            p.words.data() + std::ptrdiff_t{p.up.at(y - p.corner.y)} * p.across.source;
        for (int x = inside.left; x <= inside.right; x++) {
            const std::uint32_t in = from[p.across.at(x - p.corner.x)];
            const std::uint32_t word = w.modes.rgb ? swap_red_blue(in) : in & index_mask;
            row[x] = (row[x] & ~mask) | (word & mask);
        }
    }
}

// Copies words that may overlap, of each the bits of the mask.
void copy_words(std::uint32_t *to, const std::uint32_t *from, std::ptrdiff_t count,
                std::uint32_t mask) {
    if (mask == all_bits) {
        std::memmove(to, from, static_cast<std::size_t>(count) * sizeof *to);
        return;
    }
    const bool backwards = to > from; // or words would be read that are written already
    for (std::ptrdiff_t n = 0; n < count; n++) {
        const std::ptrdiff_t i = backwards ? count - 1 - n : n;
        to[i] = (to[i] & ~mask) | (from[i] & mask);
    }
}

// The extent of corners given in any numbers; 0 when it can not be that of any picture.
std::int64_t extent(int first, int last) {
    const std::int64_t n = std::int64_t{last} - first + 1;
    return n > 0 && n <= far_away ? n : 0;
}

// Where reading looks: what is shown, or the back buffer when drawing goes there alone.
raster reading_raster(window_record &w) {
    if (w.draw_mode == OVERDRAW)
        return w.overlay.empty() ? raster{} : overlay_raster(w);
    const bool back = w.modes.double_buffered && w.draw_back && !w.draw_front;
    return w.rasters[static_cast<std::size_t>(back ? 1 - w.front : w.front)];
}

void read_row(window_record &w, place from, std::span<std::uint32_t> to) {
    const raster r = reading_raster(w);
    const bool outside = r.pixels == nullptr || from.y < 0 || from.y >= w.area.height;
    const std::uint32_t *row = outside ? nullptr : row_of(w, r, from.y);
    const bool swapped = w.modes.rgb && w.draw_mode == NORMALDRAW;
    int x = from.x;
    for (std::uint32_t &word : to) {
        const std::uint32_t in = row != nullptr && x >= 0 && x < w.area.width ? row[x] : 0;
        word = swapped ? swap_red_blue(in) : in;
        x++;
    }
}

} // namespace

void rectzoom(float x, float y) {
    zoom = {limited(x), limited(y)};
}

void lrectwrite(int x1, int y1, int x2, int y2, std::span<const std::uint32_t> pixels) {
    window_record *w = current_window();
    const std::int64_t width = extent(x1, x2);
    const std::int64_t height = extent(y1, y2);
    if (w == nullptr || width == 0 || height == 0 ||
        static_cast<std::int64_t>(pixels.size()) / width < height)
        return;
    const picture p{pixels, make_axis(static_cast<int>(width), zoom.x),
                    make_axis(static_cast<int>(height), zoom.y), to_window(*w, x1, y1)};
    const box inside = common(paint_box(*w), {p.corner.x, p.corner.x + p.across.covered - 1,
                                              p.corner.y, p.corner.y + p.up.covered - 1});
    if (inside.is_empty())
        return;
    const paint_targets targets = targets_of(*w);
    for (const raster &r : targets.all()) {
        if (paint_mask(*w) != all_bits)
            write_masked(*w, r, p, inside);
        else if (w->modes.rgb && w->draw_mode == NORMALDRAW)
            write_picture(*w, r, p, inside, to_display{});
        else
            write_picture(*w, r, p, inside, to_index{});
    }
    if (targets.count > 0)
        note_box(*w, inside);
}

std::int64_t lrectread(int x1, int y1, int x2, int y2, std::span<std::uint32_t> pixels) {
    window_record *w = current_window();
    const std::int64_t width = extent(x1, x2);
    const std::int64_t height = extent(y1, y2);
    if (w == nullptr || width == 0 || height == 0 ||
        static_cast<std::int64_t>(pixels.size()) / width < height)
        return 0;
    const place corner = to_window(*w, x1, y1);
    const auto row = static_cast<std::size_t>(width);
    for (int y = 0; y < height; y++)
        read_row(*w, {corner.x, corner.y + y},
                 pixels.subspan(static_cast<std::size_t>(y) * row, row));
    return width * height;
}

int readpixels(int n, std::span<std::uint32_t> pixels) {
    window_record *w = current_window();
    if (w == nullptr || n <= 0 || n > far_away || pixels.size() < static_cast<std::size_t>(n))
        return 0;
    read_row(*w, {w->text_x, w->text_y}, pixels.first(static_cast<std::size_t>(n)));
    w->text_x = std::min(w->text_x + n, far_away);
    return n;
}

void rectcopy(int x1, int y1, int x2, int y2, int to_x, int to_y) {
    window_record *w = current_window();
    if (w == nullptr || extent(x1, x2) == 0 || extent(y1, y2) == 0)
        return;
    const place from = to_window(*w, x1, y1);
    const place end = to_window(*w, x2, y2);
    const place to = to_window(*w, to_x, to_y);
    const int dx = to.x - from.x;
    const int dy = to.y - from.y;
    const box window{0, w->area.width - 1, 0, w->area.height - 1};
    const box source = common(window, {from.x, end.x, from.y, end.y});
    const box inside = common(
        paint_box(*w), {source.left + dx, source.right + dx, source.bottom + dy, source.top + dy});
    if (inside.is_empty())
        return;
    const paint_targets targets = targets_of(*w);
    const raster in = reading_raster(*w);
    if (in.pixels == nullptr)
        return;
    const std::ptrdiff_t count = inside.right - inside.left + 1;
    const std::uint32_t mask = paint_mask(*w);
    // The buffer that is read comes last, or the other one would get moved pixels.
    for (int pass = 0; pass < 2; pass++) {
        for (const raster &r : targets.all()) {
            if ((r.pixels == in.pixels) != (pass == 1))
                continue;
            for (int i = 0, rows = inside.top - inside.bottom + 1; i < rows; i++) {
                const int y = dy > 0 ? inside.top - i : inside.bottom + i;
                copy_words(row_of(*w, r, y) + inside.left,
                           row_of(*w, in, y - dy) + inside.left - dx, count, mask);
            }
        }
    }
    if (targets.count > 0)
        note_box(*w, inside);
}

} // namespace gl
