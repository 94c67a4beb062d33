// The bitmap table: widgets name an icon, and its pixels are there when they are first wanted.
//
//   gl_init_bitmap_table();                           // once, at start-up
//   const int play = gl_ind_bitmap("play");           // when a button is made
//   if (const bitmap_record *b = gl_load_bitmap(play))
//       gl_draw_bitmap(play, box.x + (box.width - b->width) / 2, ...);
//   gl_free_bitmap_table();
//
// An icon comes from a file: "%s/%s.icn" of the environment variable ICON_DIR and the icon's name,
// or "/usr/IRIS/qlt/icon/%s.icn" when that is not set. Where there is none, the program's own icon
// of that name is taken (builtin_icons.h); where there is none either, nothing is drawn.
//
// Icons are for RGB windows: while a colour-map window is current, nothing is read or drawn.
//
// An icon file: width and height in pixels, 32-bit signed, 1 .. max_bitmap_side each; then
// width x height pixels of 32 bits, 0xAABBGGRR, rows from the bottom up; all big-endian. What lies
// behind is not looked at. Pixels are written as they are: alpha does not blend.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace toolkit {

inline constexpr int bitmap_table_size = 200;
inline constexpr int max_bitmap_name = 31; // bytes; longer names are cut
inline constexpr int max_bitmap_side = 32767;
inline constexpr int no_bitmap = -1; // the index of no entry

struct bitmap_record {
    std::int16_t width = 0;
    std::int16_t height = 0;
    std::vector<std::uint32_t> pixels; // width x height, 0xAABBGGRR, rows from the bottom up
};

struct bitmap_entry {
    std::array<char, max_bitmap_name + 1> name{'x', 'x', 'x'}; // "xxx": the entry is free
    std::unique_ptr<bitmap_record> bitmap;                     // null until loaded
    std::int32_t index = 0;                                    // its own place
    bool is_refused = false; // its file was reported as faulty and is not tried again
};

// All entries free, whatever they held.
void gl_init_bitmap_table();

// Gives all pixels back. Names stay: what is wanted again is loaded again.
void gl_free_bitmap_table();

// The index of a name, which takes the first free entry when it is new. no_bitmap when the table is
// full, which is reported the first time.
[[nodiscard]] int gl_ind_bitmap(std::string_view name);

// The entry, or null when there is no such index.
[[nodiscard]] const bitmap_entry *gl_get_bitmap_entry(int index);

// The entry's bitmap, loaded if it was not; null when there is none. The table owns it; it is good
// until it is replaced or the table is freed.
const bitmap_record *gl_load_bitmap(int index);

// Draws with the lower left pixel at x, y, in the coordinates selected.
void gl_draw_bitmap(int index, int x, int y);

// Keeps a bitmap under an index, in place of what was there. Returns 0; or -1 when there is no such
// index, or the pixels are not width x height: the bitmap is gone then.
int gl_save_bitmap(int index, std::unique_ptr<bitmap_record> bitmap);

// Writes "%s.icn" of the name, in the current directory, in place of a file of that name once all
// of it is on the disk. Returns 0, or -1 when nothing was written: silently when the bitmap is null
// or faulty or the file can not be created, after a message when writing it fails.
int gl_save_icon_to_file(const bitmap_record *bitmap, std::string_view name);

// Reads the entry's file anew. Returns 0; or -1 when there is no file, silently, or it is none of
// an icon, after a message: what was loaded before stays.
int gl_read_icon_from_file(int index);

} // namespace toolkit
