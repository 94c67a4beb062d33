#include "toolkit/graphics/standard_colours.h"

#include "toolkit/graphics/colour_indices.h"

#include <array>
#include <string>

namespace toolkit {
namespace {

constexpr std::uint32_t rgb(int red, int green, int blue) {
    return static_cast<std::uint32_t>(red) << 24 | static_cast<std::uint32_t>(green) << 16 |
           static_cast<std::uint32_t>(blue) << 8;
}

constexpr std::uint32_t grey(int level) {
    return rgb(level, level, level);
}

constexpr int bevel(int place) {
    return bevel_block_first + place;
}

constexpr std::array table{
    standard_colour{colour_black, "black", grey(0), grey(16)},
    standard_colour{colour_background, "background", grey(80), grey(94)},
    standard_colour{colour_drawing, "drawing", grey(24), grey(24)},
    standard_colour{colour_dark_gray, "dark gray", grey(64), grey(74)},
    standard_colour{colour_medium_gray, "medium gray", grey(108), grey(120)},
    standard_colour{colour_gray, "gray", grey(136), grey(152)},
    standard_colour{colour_light_gray, "light gray", grey(172), grey(188)},
    standard_colour{colour_text, "text", grey(230), grey(242)},
    standard_colour{colour_disabled_text, "disabled text", grey(128), grey(134)},
    standard_colour{colour_white, "white", grey(255), grey(255)},
    standard_colour{colour_accent, "accent", rgb(232, 150, 56), rgb(248, 172, 84)},
    standard_colour{colour_accent_ground, "accent ground", rgb(132, 84, 30), rgb(150, 98, 40)},
    standard_colour{colour_well, "well", grey(50), grey(58)},
    standard_colour{colour_face, "face", grey(80), grey(94)},
    standard_colour{colour_picture_ground, "picture ground", grey(34), grey(40)},
    standard_colour{colour_progress, "progress", rgb(255, 0, 0), rgb(255, 64, 64)},
    standard_colour{bevel(bevel_face), "bevel face", grey(92), grey(108)},
    standard_colour{bevel(bevel_light), "bevel light", grey(134), grey(152)},
    standard_colour{bevel(bevel_dark), "bevel dark", grey(48), grey(56)},
    standard_colour{bevel(bevel_outline), "bevel outline", grey(24), grey(24)},
    standard_colour{bevel(bevel_text), "bevel text", grey(230), grey(255)},
    standard_colour{bevel(bevel_disabled_text), "bevel disabled text", grey(134), grey(134)},
    standard_colour{bevel(bevel_pressed), "bevel pressed", grey(66), grey(74)},
    standard_colour{bevel(bevel_accent), "bevel accent", rgb(232, 150, 56), rgb(248, 172, 84)},
};

constexpr bool is_complete() {
    int next = fixed_colours_first;
    for (const standard_colour &c : table) {
        if (c.index != next)
            return false;
        next += 2;
    }
    return next == bevel_block_first + bevel_block_count;
}
static_assert(fixed_colours_first % 2 == 0);
static_assert(fixed_colours_first + fixed_colours_count == bevel_block_first);
static_assert(is_complete(), "every pair of the fixed blocks has its line, in order");

// The first indices look the same in every program.
constexpr std::array first_colours{rgb(0, 0, 0),     rgb(255, 0, 0),    rgb(0, 255, 0),
                                   rgb(255, 255, 0), rgb(0, 0, 255),    rgb(255, 0, 255),
                                   rgb(0, 255, 255), rgb(255, 255, 255)};

constexpr int bevel_button_block = 1; // its number: fill_default_map defines it second

// " name" or " name, hilited" of a fixed colour, else nothing.
std::string label_of(int index) {
    for (const standard_colour &c : table)
        if (hilited(c.index) == hilited(index))
            return " " + std::string(c.name) + (index == c.index ? "" : ", hilited");
    return {};
}

} // namespace

std::span<const standard_colour> standard_colours() {
    return table;
}

void fill_default_map(color_map *map) {
    int index = 0;
    for (const std::uint32_t colour : first_colours)
        gl_set_color_map_entry(map, index++, colour);
    gl_define_color_block(map, fixed_colours_first, fixed_colours_first, fixed_colours_count);
    gl_define_color_block(map, bevel_block_first, bevel_block_first, bevel_block_count);
    for (const standard_colour &c : table) {
        gl_set_color_map_entry(map, c.index, c.normal);
        gl_set_color_map_entry(map, hilited(c.index), c.hilited);
    }
}

int gl_inquire_bevel_button_block() {
    gl_init_colors();
    return bevel_button_block;
}

void tabulate_colours(std::FILE *stream, const color_map *map) {
    const bool fixed = map == nullptr;
    if (fixed)
        map = &default_color_map();
    std::fprintf(stream, "map of %d colours, %zu blocks, %s\n", static_cast<int>(map->size),
                 map->blocks.size(), map->display.not_mapped ? "not mapped" : "mapped");
    int number = 0;
    for (const color_block &b : map->blocks) {
        std::fprintf(stream, "block %d: %d at %d, shown at %d\n", number++,
                     static_cast<int>(b.count), static_cast<int>(b.first),
                     static_cast<int>(b.base));
        for (int i = b.first; i < b.first + b.count; i++) {
            std::uint32_t colour = 0;
            gl_get_color_map_entry(map, i, &colour);
            std::fprintf(stream, "  %4d #%06x%s\n", i, static_cast<unsigned>(colour >> 8),
                         fixed ? label_of(i).c_str() : "");
        }
    }
}

} // namespace toolkit
