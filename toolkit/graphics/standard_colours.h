// The default map's fixed colours: what the indices of colour_indices.h look like.
//
//   gl_init_colors();
//   int face = gl_get_color_map_index(nullptr, gl_inquire_bevel_button_block()) + bevel_face;
#pragma once

#include "toolkit/graphics/colours.h"

#include <cstdio>
#include <span>
#include <string_view>

namespace toolkit {

// A fixed colour and its highlighted partner.
struct standard_colour {
    int index; // the even one
    std::string_view name;
    std::uint32_t normal;  // packed
    std::uint32_t hilited; // packed
};
[[nodiscard]] std::span<const standard_colour> standard_colours();

// Makes the default map if it is not there and writes its colours to the display's table. Every
// call of this folder that needs the default map does it.
void gl_init_colors();

// The number of the block that buttons and other bevelled things take their colours from: bevel_...
// in colour_indices.h are places in it.
[[nodiscard]] int gl_inquire_bevel_button_block();

// The default map itself, and what fills a new one; for this folder.
[[nodiscard]] color_map &default_color_map();
void fill_default_map(color_map *map);

// Prints a map, null the default one: its size, the number of its blocks and whether the display
// has its colours; then every entry of its blocks as "index #rrggbb". The fixed colours of the
// default map have their names, the odd one of a pair with "hilited".
void tabulate_colours(std::FILE *stream, const color_map *map);

} // namespace toolkit
