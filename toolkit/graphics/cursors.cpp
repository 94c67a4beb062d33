#include "toolkit/graphics/cursors.h"

#include "platform/gl/cursors.h"

#include <string_view>

namespace toolkit {
namespace {

using drawn_cursor = std::array<std::string_view, gl::cursor_size>;

// '#' dark, '.' light, blank nothing; the top row first.
constexpr drawn_cursor plain_picture{
    "##              ", //
    "#.#             ", //
    "#..#            ", //
    "#...#           ", //
    "#....#          ", //
    "#.....#         ", //
    "#......#        ", //
    "#.......#       ", //
    "#........#      ", //
    "#.....#####     ", //
    "#..#..#         ", //
    "#.# #..#        ", //
    "##  #..#        ", //
    "#    #..#       ", //
    "     #..#       ", //
    "      ##        ", //
};

// Its origin is in the middle of the gap: column 8, row 7 from the top.
constexpr drawn_cursor crossed_picture{
    " ..           ..", //
    " .#.         .#.", //
    "  .#.       .#. ", //
    "   .#.     .#.  ", //
    "    .#.   .#.   ", //
    "     ..   ..    ", //
    "                ", //
    "                ", //
    "                ", //
    "     ..   ..    ", //
    "    .#.   .#.   ", //
    "   .#.     .#.  ", //
    "  .#.       .#. ", //
    " .#.         .#.", //
    " ..           ..", //
    "                ", //
};

constexpr drawn_cursor busy_picture{
    "  ###########   ", //
    "  #.........#   ", //
    "  ###########   ", //
    "   #.......#    ", //
    "   #.#.#.#.#    ", //
    "    #.#.#.#     ", //
    "     #.#.#      ", //
    "      #.#       ", //
    "     #.#.#      ", //
    "    #.....#     ", //
    "   #...#...#    ", //
    "   #..#.#..#    ", //
    "   #.#.#.#.#    ", //
    "  ###########   ", //
    "  #.........#   ", //
    "  ###########   ", //
};

constexpr bool is_square(const drawn_cursor &picture) {
    for (const std::string_view row : picture)
        if (row.size() != gl::cursor_size)
            return false;
    return true;
}
static_assert(is_square(plain_picture) && is_square(crossed_picture) && is_square(busy_picture));

constexpr gl::cursor_bitmap bits_of(const drawn_cursor &picture) {
    gl::cursor_bitmap bits;
    for (std::size_t y = 0; y < picture.size(); y++) {
        for (std::size_t x = 0; x < picture[y].size(); x++) {
            const auto bit = static_cast<std::uint16_t>(1U << (gl::cursor_size - 1 - x));
            if (picture[y][x] == '#')
                bits.dark[y] = static_cast<std::uint16_t>(bits.dark[y] | bit);
            else if (picture[y][x] == '.')
                bits.light[y] = static_cast<std::uint16_t>(bits.light[y] | bit);
        }
    }
    return bits;
}

struct toolkit_cursor {
    int number;
    gl::cursor_bitmap bits;
    int origin_x; // the pixel that points, from the lower left corner
    int origin_y;
};

constexpr std::array toolkit_cursors{
    toolkit_cursor{cursor_plain, bits_of(plain_picture), 0, 15},
    toolkit_cursor{cursor_crossed, bits_of(crossed_picture), 8, 8},
    toolkit_cursor{cursor_busy, bits_of(busy_picture), 7, 8},
};

bool are_defined = false;

} // namespace

void gl_init_cursors() {
    if (are_defined)
        return;
    are_defined = true;
    for (const toolkit_cursor &c : toolkit_cursors) {
        gl::defcursor(c.number, c.bits);
        gl::curorigin(c.number, c.origin_x, c.origin_y);
    }
}

void gl_set_cursor(int shape) {
    const bool is_ours = shape >= cursor_plain && shape <= cursor_busy;
    if (is_ours && gl::getcursor() != shape) // it is asked for at every move of the pointer
        gl::setcursor(shape);
}

void gl_forget_cursors() {
    are_defined = false;
}

} // namespace toolkit
