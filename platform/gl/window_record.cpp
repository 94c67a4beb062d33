#include "platform/gl/window_record.h"

#include "platform/gl/windows.h"

#include <algorithm>
#include <cstring>

namespace gl {
namespace {

constexpr int overlay_colours = 1 << overlay_planes;
constexpr std::uint32_t index_mask = colour_map_size - 1;

// The first eight are what programs find there when they start.
struct colour_tables {
    std::array<std::uint32_t, colour_map_size> map{0x000000, 0xFF0000, 0x00FF00, 0xFFFF00,
                                                   0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    std::array<std::uint32_t, overlay_colours> overlay{0x000000, 0xFF0000, 0x00FF00, 0xFFFFFF};
};

colour_tables &colours() {
    static colour_tables tables;
    return tables;
}

int current_number = 0;
int newest_number = 0;

// Numbers travel as 16-bit values in the event queue, so they start anew before that ends.
int fresh_number() {
    do {
        newest_number = newest_number % max_window_number + 1;
    } while (find_window(newest_number) != nullptr);
    return newest_number;
}

using plane = std::vector<std::uint32_t>;

std::size_t area_of(const window_record &w) {
    return static_cast<std::size_t>(w.area.width) * static_cast<std::size_t>(w.area.height);
}

// A plane of the window's present size that keeps what fits of the old one.
void resize_plane(plane &p, const window_record &w, int old_width, int old_height) {
    if (p.empty() || (old_width == w.area.width && old_height == w.area.height))
        return;
    plane fresh(area_of(w), 0);
    const int rows = std::min(old_height, w.area.height);
    const auto columns = static_cast<std::size_t>(std::min(old_width, w.area.width));
    for (int row = 0; row < rows; row++) {
        const auto from =
            static_cast<std::size_t>(old_height - 1 - row) * static_cast<std::size_t>(old_width);
        const auto to = static_cast<std::size_t>(w.area.height - 1 - row) *
                        static_cast<std::size_t>(w.area.width);
        std::copy_n(p.begin() + static_cast<std::ptrdiff_t>(from), columns,
                    fresh.begin() + static_cast<std::ptrdiff_t>(to));
    }
    p.swap(fresh);
}

raster frame_raster(const window_record &w, int index) {
    const display::surface s = display::server().frame(w.id, index);
    // A frame of another size belongs to an event still to come: nothing is drawn until then.
    if (s.width < w.area.width || s.height < w.area.height)
        return {};
    return {s.pixels, s.stride};
}

void copy_area(raster from, raster to, rectangle r) {
    if (from.pixels == nullptr || to.pixels == nullptr)
        return;
    const auto bytes = static_cast<std::size_t>(r.width) * sizeof(std::uint32_t);
    for (int y = r.y; y < r.y + r.height; y++)
        std::memcpy(to.pixels + std::ptrdiff_t{y} * to.stride + r.x,
                    from.pixels + std::ptrdiff_t{y} * from.stride + r.x, bytes);
}

// Puts planes and overlay together into the display's frame.
void compose(const window_record &w, rectangle r) {
    const raster out = frame_raster(w, 0);
    const raster in = w.rasters[static_cast<std::size_t>(w.front)];
    if (out.pixels == nullptr || in.pixels == nullptr)
        return;
    const colour_tables &tables = colours();
    for (int y = r.y; y < r.y + r.height; y++) {
        std::uint32_t *to = out.pixels + std::ptrdiff_t{y} * out.stride;
        const std::uint32_t *from = in.pixels + std::ptrdiff_t{y} * in.stride;
        const std::uint32_t *over =
            w.overlay.empty() ? nullptr : w.overlay.data() + std::ptrdiff_t{y} * w.area.width;
        for (int x = r.x; x < r.x + r.width; x++) {
            to[x] = w.modes.rgb ? from[x] : tables.map[from[x] & index_mask];
            const std::uint32_t above = over == nullptr ? 0 : over[x] & (overlay_colours - 1);
            if (above != 0)
                to[x] = tables.overlay[above];
        }
    }
}

} // namespace

std::vector<window_record> &window_pool() {
    static std::vector<window_record> pool = [] {
        std::vector<window_record> records;
        records.reserve(max_windows); // records keep their place
        return records;
    }();
    return pool;
}

window_record *find_window(int number) {
    if (number <= 0)
        return nullptr;
    for (window_record &w : window_pool())
        if (w.number == number)
            return &w;
    return nullptr;
}

window_record *find_window_by_id(display::window_id id) {
    for (window_record &w : window_pool())
        if (w.number != 0 && w.id == id)
            return &w;
    return nullptr;
}

window_record *current_window() {
    return find_window(current_number);
}

void set_current_window(window_record *w) {
    current_number = w == nullptr ? 0 : w->number;
}

window_record *new_record() {
    std::vector<window_record> &pool = window_pool();
    for (window_record &w : pool) {
        if (w.number == 0) {
            w.number = fresh_number();
            return &w;
        }
    }
    if (pool.size() >= max_windows)
        return nullptr;
    window_record &w = pool.emplace_back();
    w.number = fresh_number();
    return &w;
}

void release_record(window_record &w) {
    if (w.number == current_number)
        current_number = 0;
    w = window_record{};
}

void renew_rasters(window_record &w, int old_width, int old_height) {
    for (int i = 0; i < display::frames_per_window; i++) {
        const auto slot = static_cast<std::size_t>(i);
        const bool used = i == w.front || w.modes.double_buffered;
        if (!used) {
            w.rasters[slot] = {};
            w.planes[slot] = {}; // or it would be found again when the window has another size
        } else if (w.composed) {
            resize_plane(w.planes[slot], w, old_width, old_height);
            if (w.planes[slot].empty())
                w.planes[slot].assign(area_of(w), 0);
            w.rasters[slot] = {w.planes[slot].data(), w.area.width};
        } else {
            w.rasters[slot] = frame_raster(w, i);
        }
    }
    resize_plane(w.overlay, w, old_width, old_height);
    w.damage = whole(w);
    w.difference.y += w.area.height - old_height; // goes with the picture
    if (!w.modes.double_buffered)
        w.difference = {};
}

void make_composed(window_record &w) {
    if (w.composed)
        return;
    const std::array<raster, 2> frames = w.rasters;
    w.composed = true;
    for (std::size_t i = 0; i < frames.size(); i++) {
        if (frames[i].pixels == nullptr)
            continue;
        w.planes[i].assign(area_of(w), 0);
        w.rasters[i] = {w.planes[i].data(), w.area.width};
        copy_area(frames[i], w.rasters[i], whole(w));
    }
    w.damage = whole(w);
}

void drop_overlay(window_record &w) {
    if (w.overlay.empty())
        return;
    w.overlay.clear();
    w.damage = whole(w);
    if (!w.modes.rgb)
        return; // composed all the same
    w.composed = false;
    for (std::size_t i = 0; i < w.planes.size(); i++) {
        if (w.planes[i].empty())
            continue;
        const raster plane = w.rasters[i];
        w.rasters[i] = frame_raster(w, static_cast<int>(i));
        copy_area(plane, w.rasters[i], whole(w));
        w.planes[i] = {};
    }
}

void erase_buffers(window_record &w) {
    for (const raster &r : w.rasters) {
        if (r.pixels == nullptr)
            continue;
        for (int y = 0; y < w.area.height; y++)
            std::fill_n(r.pixels + std::ptrdiff_t{y} * r.stride, w.area.width, 0U);
    }
    w.damage = whole(w);
    w.difference = {};
}

void equalise_buffers(window_record &w) {
    const auto front = static_cast<std::size_t>(w.front);
    copy_area(w.rasters[front], w.rasters[1 - front], whole(w));
    w.difference = {};
}

raster overlay_raster(window_record &w) {
    if (w.overlay.empty()) {
        make_composed(w);
        w.overlay.assign(area_of(w), 0);
    }
    return {w.overlay.data(), w.area.width};
}

void note_drawn(window_record &w, rectangle changed) {
    if (w.draw_mode == OVERDRAW || !w.modes.double_buffered) {
        w.damage = display::enclose(w.damage, changed);
        return;
    }
    if (w.draw_front)
        w.damage = display::enclose(w.damage, changed);
    if (w.draw_front != w.draw_back)
        w.difference = display::enclose(w.difference, changed);
}

void show_damage(window_record &w) {
    const rectangle r = display::intersect(w.damage, whole(w));
    w.damage = {};
    if (r.width == 0 || r.height == 0)
        return;
    if (w.composed)
        compose(w, r);
    display::server().present(w.id, w.composed ? 0 : w.front, r);
}

void swap_rasters(window_record &w) {
    if (w.modes.double_buffered) {
        w.front = 1 - w.front;
        w.damage = display::enclose(w.damage, w.difference);
    }
    show_damage(w);
}

std::uint32_t map_entry(int index) {
    return colours().map[static_cast<std::size_t>(index)];
}

std::uint32_t overlay_entry(int index) {
    return colours().overlay[static_cast<std::size_t>(index)];
}

void set_map_entry(int index, std::uint32_t colour) {
    std::uint32_t &entry = colours().map[static_cast<std::size_t>(index)];
    if (entry == colour)
        return;
    entry = colour;
    for_each_window([](window_record &w) {
        if (!w.modes.rgb)
            w.damage = whole(w);
    });
}

void set_overlay_entry(int index, std::uint32_t colour) {
    std::uint32_t &entry = colours().overlay[static_cast<std::size_t>(index)];
    if (entry == colour)
        return;
    entry = colour;
    for_each_window([](window_record &w) {
        if (!w.overlay.empty())
            w.damage = whole(w);
    });
}

} // namespace gl
