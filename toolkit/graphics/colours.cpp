#include "toolkit/graphics/colours.h"

#include "platform/gl/drawing.h"
#include "platform/gl/windows.h"
#include "toolkit/graphics/standard_colours.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

namespace toolkit {
namespace {

static_assert(largest_map_size == gl::colour_map_size);

// The message counts the range as half open and with the index behind the last one handed out.
constexpr int reported_range_end = 1024;
constexpr int range_end = block_range_last + 2; // a start is tried while it is below this - count

using overlay_colours = std::array<std::array<int, 3>, 1 << gl::overlay_planes>;

struct color_state {
    std::optional<color_map> default_map;
    std::vector<std::unique_ptr<color_map>> local_maps;
    std::vector<color_map *> of_windows; // by toolkit window id; null: the default map
    std::vector<overlay_colours> overlay_stack;
};

color_state &state() {
    static color_state colours;
    return colours;
}

color_map &map_or_default(color_map *map) {
    return map == nullptr ? default_color_map() : *map;
}

const color_map &map_or_default(const color_map *map) {
    return map == nullptr ? default_color_map() : *map;
}

bool has_index(const color_map &map, int index) {
    return index >= 0 && index < map.size;
}

bool has_block(const color_map &map, int block) {
    return block >= 0 && static_cast<std::size_t>(block) < map.blocks.size();
}

bool overlaps_block(const color_map &map, int first, int count) {
    return std::any_of(map.blocks.begin(), map.blocks.end(), [&](const color_block &b) {
        return b.count > 0 && first < b.first + b.count && b.first < first + count;
    });
}

// Where an index is written in the display's table.
int hardware_index(const color_map &map, int index) {
    for (const color_block &b : map.blocks)
        if (index >= b.first && index < b.first + b.count)
            return index - b.first + b.base;
    return index;
}

void show_entry(const color_map &map, int index, int at) {
    std::int16_t red = 0, green = 0, blue = 0;
    gl_unpack_color(map.colours[static_cast<std::size_t>(index)], &red, &green, &blue);
    gl::mapcolor(at, red, green, blue);
}

int append_block(color_map &map, const color_block &b) {
    if (static_cast<std::int32_t>(map.blocks.size()) >= map.capacity) {
        map.capacity += std::max(map.growth, 1);
        map.blocks.reserve(static_cast<std::size_t>(map.capacity));
    }
    if (b.first + b.count > map.size) {
        map.size = b.first + b.count;
        map.colours.resize(static_cast<std::size_t>(map.size));
    }
    map.blocks.push_back(b);
    return static_cast<int>(map.blocks.size()) - 1;
}

void init_map(color_map &map, int size, int blocks) {
    map.size = std::clamp(size, 0, largest_map_size);
    map.colours.assign(static_cast<std::size_t>(map.size), 0);
    map.capacity = map.growth = std::clamp(blocks, 0, largest_map_size);
    map.blocks.reserve(static_cast<std::size_t>(map.capacity));
}

bool is_used(const color_map *map) {
    const std::vector<color_map *> &users = state().of_windows;
    return std::find(users.begin(), users.end(), map) != users.end();
}

// Writes the colours of the blocks of a map: its own, or those of the default map there.
void show_blocks(const color_map &map, bool own) {
    const color_map &standard = default_color_map();
    for (const color_block &b : map.blocks) {
        for (int i = 0; i < b.count; i++) {
            const int at = hardware_index(map, b.first + i);
            if (own)
                show_entry(map, b.first + i, at);
            else if (has_index(standard, at))
                show_entry(standard, at, at);
        }
    }
}

void set_mapped(color_map *map, bool mapped) {
    if (map == nullptr || map->display.not_mapped == !mapped)
        return;
    map->display.not_mapped = !mapped;
    show_blocks(*map, mapped);
    if (mapped)
        return;
    for (const auto &other : state().local_maps) // what it covered of other maps is seen again
        if (!other->display.not_mapped)
            show_blocks(*other, true);
}

} // namespace

// --- packed colours ------------------------------------------------------------------------------

void gl_pack_color(std::uint32_t *out, int red, int green, int blue) {
    const auto byte = [](int v) { return static_cast<std::uint32_t>(v) & 0xFFU; };
    *out = byte(red) << 24 | byte(green) << 16 | byte(blue) << 8;
}

void gl_unpack_color(std::uint32_t colour, std::int16_t *red, std::int16_t *green,
                     std::int16_t *blue) {
    *red = static_cast<std::int16_t>(colour >> 24);
    *green = static_cast<std::int16_t>((colour >> 16) & 0xFFU);
    *blue = static_cast<std::int16_t>((colour >> 8) & 0xFFU);
}

// --- maps ----------------------------------------------------------------------------------------

color_map &default_color_map() {
    std::optional<color_map> &map = state().default_map;
    if (!map) {
        constexpr int room = 32;
        map.emplace();
        init_map(*map, default_map_size, room);
        map->display.not_mapped = false;
        fill_default_map(&*map);
    }
    return *map;
}

void gl_init_colors() {
    static_cast<void>(default_color_map());
}

color_map *gl_create_local_color_map(int size, int blocks) {
    auto map = std::make_unique<color_map>();
    init_map(*map, size, blocks);
    return state().local_maps.emplace_back(std::move(map)).get();
}

void gl_destroy_local_color_map(color_map **map_ref) {
    if (map_ref == nullptr || *map_ref == nullptr)
        return;
    color_state &s = state();
    const auto at = std::find_if(s.local_maps.begin(), s.local_maps.end(),
                                 [map_ref](const auto &m) { return m.get() == *map_ref; });
    if (at == s.local_maps.end())
        return;
    std::replace(s.of_windows.begin(), s.of_windows.end(), *map_ref,
                 static_cast<color_map *>(nullptr));
    set_mapped(*map_ref, false);
    s.local_maps.erase(at);
    *map_ref = nullptr;
}

void gl_free_color_maps() {
    state() = {};
}

// --- blocks --------------------------------------------------------------------------------------

int gl_create_color_block(color_map *map_or_null, int count) {
    color_map &map = map_or_default(map_or_null);
    if (count < 1) {
        std::fprintf(stderr, "gl_create_color_block: a block of %d colours\n", count);
        return -1;
    }
    for (int s = block_range_first; s < range_end - std::min(count, range_end); s++)
        if (!overlaps_block(map, s, count))
            return append_block(map, {static_cast<std::int16_t>(s), s, count});
    std::fprintf(stderr, "ran out of unused color blocks of size %d between %d and %d\n", count,
                 block_range_first, reported_range_end);
    return -1;
}

int gl_define_color_block(color_map *map_or_null, int base, int first, int count) {
    const auto fits = [count](int from) { return from >= 0 && from <= largest_map_size - count; };
    if (count < 0 || count > largest_map_size || !fits(base) || !fits(first)) {
        std::fprintf(stderr, "gl_define_color_block: no block of %d at %d, written at %d\n", count,
                     first, base);
        return -1;
    }
    return append_block(map_or_default(map_or_null),
                        {static_cast<std::int16_t>(base), first, count});
}

int gl_copy_color_block(color_map *map_or_null, int block) {
    color_map &map = map_or_default(map_or_null);
    if (!has_block(map, block))
        return -1;
    const color_block from = map.blocks[static_cast<std::size_t>(block)];
    const int copy = gl_create_color_block(&map, from.count);
    if (copy < 0)
        return -1;
    const int to = gl_get_color_map_index(&map, copy);
    for (int i = 0; i < from.count; i++) {
        std::uint32_t colour = 0;
        gl_get_color_map_entry(&map, from.first + i, &colour);
        gl_set_color_map_entry(&map, to + i, colour);
    }
    return copy;
}

int gl_get_color_map_index(const color_map *map_or_null, int block) {
    const color_map &map = map_or_default(map_or_null);
    return has_block(map, block) ? map.blocks[static_cast<std::size_t>(block)].first : -1;
}

// --- colours -------------------------------------------------------------------------------------

void gl_set_color_map_entry(color_map *map_or_null, int index, std::uint32_t colour) {
    color_map &map = map_or_default(map_or_null);
    if (!has_index(map, index))
        return;
    map.colours[static_cast<std::size_t>(index)] = colour;
    if (!map.display.not_mapped)
        show_entry(map, index, hardware_index(map, index));
}

void gl_get_color_map_entry(const color_map *map_or_null, int index, std::uint32_t *colour) {
    const color_map &map = map_or_default(map_or_null);
    *colour = has_index(map, index) ? map.colours[static_cast<std::size_t>(index)] : 0;
}

void gl_map_color(int index, int red, int green, int blue) {
    std::uint32_t colour = 0;
    gl_pack_color(&colour, red, green, blue);
    gl_set_color_map_entry(nullptr, index, colour);
}

// --- the maps of windows -------------------------------------------------------------------------

void gl_set_window_color_map(int wid, color_map *map) {
    std::vector<color_map *> &maps = state().of_windows;
    if (wid < 0 || wid > gl::max_window_number)
        return;
    const auto slot = static_cast<std::size_t>(wid);
    if (map == &default_color_map())
        map = nullptr;
    if (slot >= maps.size()) {
        if (map == nullptr)
            return;
        maps.resize(slot + 1, nullptr);
    }
    color_map *before = std::exchange(maps[slot], map);
    set_mapped(map, true);
    if (before != nullptr && !is_used(before))
        set_mapped(before, false);
}

color_map *gl_get_window_color_map(int wid) {
    const std::vector<color_map *> &maps = state().of_windows;
    const auto slot = static_cast<std::size_t>(wid);
    return wid >= 0 && slot < maps.size() ? maps[slot] : nullptr;
}

void gl_set_window_color_map_entry(int wid, int index, std::uint32_t colour) {
    gl_set_color_map_entry(gl_get_window_color_map(wid), index, colour);
}

void gl_get_window_color_map_entry(int wid, int index, std::uint32_t *colour) {
    gl_get_color_map_entry(gl_get_window_color_map(wid), index, colour);
}

void gl_window_map_color(int wid, int index, int red, int green, int blue) {
    std::uint32_t colour = 0;
    gl_pack_color(&colour, red, green, blue);
    gl_set_window_color_map_entry(wid, index, colour);
}

// --- overlay -------------------------------------------------------------------------------------

void gl_overlay_map_color(int index, int red, int green, int blue) {
    if (gl::winget() == 0)
        return;
    gl::drawmode(gl::OVERDRAW);
    gl::mapcolor(index, red, green, blue);
    gl::drawmode(gl::NORMALDRAW);
}

void push_overlay_colors() {
    if (gl::winget() == 0)
        return;
    overlay_colours &kept = state().overlay_stack.emplace_back();
    gl::drawmode(gl::OVERDRAW);
    int index = 0;
    for (auto &[red, green, blue] : kept)
        gl::getmcolor(index++, &red, &green, &blue);
    gl::drawmode(gl::NORMALDRAW);
}

void pop_overlay_colors() {
    std::vector<overlay_colours> &stack = state().overlay_stack;
    if (gl::winget() == 0 || stack.empty())
        return;
    int index = 0;
    for (const auto &[red, green, blue] : stack.back())
        gl_overlay_map_color(index++, red, green, blue);
    stack.pop_back();
}

} // namespace toolkit
