// From the movie file to pixels.
//
//   open_movie.film = movie::VFopen(name, "r");   open_movie.decoded = -1;
//   args.current = 17;
//   player::read_frame_from_file(args, open_movie);   // args.pixels: frame 17
#pragma once

#include "player/play_args.h"

namespace player {

// Makes args.pixels show frame args.current, or leaves the whole previous picture there: silently
// when the frame is not written yet, after one line on standard error (once per frame and movie)
// when it is damaged. Before the first frame: "%s: read_frame_from_file: Error reading movie
// file.". A picture that is there already is not decoded again (ref.decoded says which one is).
// Nothing happens unless both buffers and the movie are there. Returns true when the pixels have
// changed.
bool read_frame_from_file(play_args &args, movie_ref &ref);

// How a frame gets to the screen in strips.
struct strip_view {
    bool (*is_possible)() = [] { return false; }; // now
    void (*begin)() = [] {};
    // Draws rows of args.width pixels, of which the lowest is row `bottom` of the picture.
    void (*draw)(const play_args &args, int bottom, int rows,
                 std::span<const std::uint32_t> pixels) = [](const play_args &, int, int,
                                                             std::span<const std::uint32_t>) {};
    void (*end)(bool is_whole) = [](bool) {}; // shows it, if it is whole
};

enum class strip_result {
    drawn,       // ref.drawn says which frame
    unchanged,   // the screen shows the frame already, or it is not there: as above
    unavailable, // nothing was done: no strips now
    spoilt       // a damaged frame was half drawn, and reported: catch up, and draw the pixels
};

// Shows frame args.current without args.pixels: each strip of it is drawn while it is still in the
// processor's caches, which takes half the time. While a movie plays.
[[nodiscard]] strip_result draw_frame_in_strips(play_args &args, movie_ref &ref,
                                                const strip_view &to);

// Brings args.pixels up to what was drawn past them. read_frame_from_file does so, too.
void catch_up_pixels(play_args &args, movie_ref &ref);

} // namespace player
