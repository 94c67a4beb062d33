// Colour maps, and the blocks of consecutive indices that they are handed out in.
//
//   int ramp = gl_create_color_block(nullptr, 16);              // of the default map, or -1
//   int first = gl_get_color_map_index(nullptr, ramp);
//   std::uint32_t colour;
//   gl_pack_color(&colour, 200, 200, 200);
//   gl_set_color_map_entry(nullptr, first + 3, colour);
//   gl_set_draw_value(first + 3);                               // drawing.h
//
//   color_map *own = gl_create_local_color_map(1024, 8);
//   ... blocks and colours as above, with `own` ...
//   gl_set_window_color_map(wid, own);                          // now its colours are seen
//   gl_destroy_local_color_map(&own);
//
// Every call takes a map; null is the default map, which is made with its fixed colours
// (colour_indices.h) when it is first needed. There is one table of colours in the display for all
// colour-map windows: a map is "mapped" while its colours are written there. The default map always
// is; a local one while a window has it. RGB windows take the default map's colours themselves when
// they are drawn in.
//
// A colour is packed: 0xRRGGBB00; the lowest byte carries no meaning.
//
// Indices and blocks that a map does not have are safe everywhere: nothing is stored, and what is
// asked for reads as black or -1.
#pragma once

#include <cstdint>
#include <vector>

namespace toolkit {

// Blocks are handed out from these indices; those below and above are left alone.
inline constexpr int block_range_first = 128;
inline constexpr int block_range_last = 1021;
inline constexpr int default_map_size = 1024;
inline constexpr int largest_map_size = 4096; // indices of the display's own table

struct color_block {
    std::int16_t base = 0;  // where the first entry is written in the display's table
    std::int32_t first = 0; // index of the first entry in the map
    std::int32_t count = 0;
};

// Whether a map's colours are written to the display's table now.
struct map_display {
    bool not_mapped = true;
};

// Read freely; change it through the calls below.
struct color_map {
    map_display display;
    std::vector<std::uint32_t> colours; // packed, by index
    std::int32_t size = 0;              // indices
    std::vector<color_block> blocks;    // a block's number is its place here; none is ever removed
    std::int32_t capacity = 0;          // blocks there is room for
    std::int32_t growth = 0;            // by how many blocks that grows
};

// --- packed colours ------------------------------------------------------------------------------

// Components are 0 .. 255; of others the low 8 bits count.
void gl_pack_color(std::uint32_t *out, int red, int green, int blue);
void gl_unpack_color(std::uint32_t colour, std::int16_t *red, std::int16_t *green,
                     std::int16_t *blue);

// --- maps ----------------------------------------------------------------------------------------

// A new map, black, not mapped.
//   size    indices: brought into 0 .. largest_map_size
//   blocks  room for so many blocks at first, and so many more whenever that is full
// The caller gives it back.
[[nodiscard]] color_map *gl_create_local_color_map(int size, int blocks);

// Gives the map back and clears the variable. Windows that had it have the default map again.
// Nothing for null, and for what is no local map.
void gl_destroy_local_color_map(color_map **map_ref);

// Forgets the default map, its blocks and all local maps; the next use makes it anew.
void gl_free_color_maps();

// --- blocks --------------------------------------------------------------------------------------

// Reserves `count` consecutive indices: the first run in 128 .. 1021, one index after the other,
// that no block overlaps. The last index handed out is 1021. Returns the block's number, or -1
// after one line on standard error: there is no such run, or count is below 1. A map smaller than
// the block's end grows to it.
[[nodiscard]] int gl_create_color_block(color_map *map, int count);

// Records a block at indices of the caller's choice, whatever else lies there.
//   base   where it is written in the display's table
// Returns its number, or -1 after one line on standard error when the range is not one of 0 ..
// largest_map_size - 1.
int gl_define_color_block(color_map *map, int base, int first, int count);

// A new block of the same count with the same colours. Its number, or -1 when it can't be made.
[[nodiscard]] int gl_copy_color_block(color_map *map, int block);

// The first index of a block; -1 for a block that there is not.
[[nodiscard]] int gl_get_color_map_index(const color_map *map, int block);

// --- colours -------------------------------------------------------------------------------------

// Stores a colour and, while the map is mapped, writes it to the display's table: at the place that
// the first block around the index gives, or else at the index itself.
void gl_set_color_map_entry(color_map *map, int index, std::uint32_t colour);
void gl_get_color_map_entry(const color_map *map, int index, std::uint32_t *colour);

// The default map's entry from components.
void gl_map_color(int index, int red, int green, int blue);

// --- the maps of windows -------------------------------------------------------------------------
// wid is a toolkit window id (window_table.h). A window without a map of its own has the default
// map, and these calls then work on that.

// Gives a window a map (null: the default one). A local map is mapped while some window has it:
// the colours of its blocks are written to the display's table when the first one takes it, and
// the default map's come back there when the last one leaves it. The map stays the caller's.
void gl_set_window_color_map(int wid, color_map *map);
[[nodiscard]] color_map *gl_get_window_color_map(int wid); // null: the default map

void gl_set_window_color_map_entry(int wid, int index, std::uint32_t colour);
void gl_get_window_color_map_entry(int wid, int index, std::uint32_t *colour);
void gl_window_map_color(int wid, int index, int red, int green, int blue);

// --- overlay -------------------------------------------------------------------------------------

// What overlay index 1 .. 3 looks like; without a current window nothing happens. All windows
// share the overlay's colours.
void gl_overlay_map_color(int index, int red, int green, int blue);

// Keeps the overlay's colours, and puts back what the last push kept. Without a current window, or
// without a push before, they do nothing.
void push_overlay_colors();
void pop_overlay_colors();

} // namespace toolkit
