// A movie file as the commands look at it: every frame's chunk, and what is wrong with it.
//
//   reel_file movie;
//   if (open_reel("shot.reel", movie) != 0) ...           // reported
//   for (const frame_entry &frame : movie.frames) ...
//   decode_frame(movie, movie.frames[7].source, buffer);  // the picture that frame 7 shows
//
// Frames are numbered from 0.
#pragma once

#include "movie/vf.h"
#include "tools/reel/frame_pattern.h"

#include <cstdint>
#include <string>
#include <vector>

namespace reel {

enum class frame_state {
    picture,
    repeat,         // no data: the same picture as the frame before
    missing,        // not written
    offset_outside, // its table entry is negative or points at or beyond the file's end
    offset_in_head, // its table entry points into the header or the table
    chunk_cut_off,  // the file ends inside its chunk, or its data size is negative
};

struct frame_entry {
    frame_state state = frame_state::missing;
    std::int64_t offset = 0; // of the chunk, as in the table
    std::int64_t size = 0;   // of the data, as in the chunk
    int source = -1;         // the frame whose picture this one shows; -1: none can be found
};

struct reel_file {
    movie::vf_owner film;
    std::int64_t bytes = 0; // of the file, when it was opened
    std::vector<frame_entry> frames;
};

// Opens a movie and reads the table and the head of every chunk, on several processors when there
// are many; no data. Returns 0, or -1 after a report.
[[nodiscard]] int open_reel(const std::string &name, reel_file &file);

// Memory for frames of one movie, kept from one to the next.
struct frame_buffer {
    std::vector<std::uint8_t> packed;
    movie::vf_chunk chunk;            // its data is in packed
    std::vector<std::uint32_t> words; // the picture, bottom-up
};

enum class frame_fault {
    none,
    unreadable, // the file could not be read
    bad_data,   // the decoder refused it
};

// Reads and decodes the data of a frame whose state is `picture`. With bad_data, packed holds
// what was read: at most as much as the decoder can use.
[[nodiscard]] frame_fault decode_frame(const reel_file &file, int index, frame_buffer &buffer);

// A movie's picture size as the codec keeps it: multiples of 4.
[[nodiscard]] int coded_side(int pixels);

// How many blocks a picture of a movie has.
[[nodiscard]] std::int64_t blocks_of(const movie::vf_movie &film);

// How many of a picture's blocks are detailed ones, as the size of its data tells: a stream of
// another size has another number of them. -1 for frames that are no pictures, and for data of a
// size that no picture of the movie's size has.
[[nodiscard]] std::int64_t detailed_blocks_of(const movie::vf_movie &film,
                                              const frame_entry &frame);

// Whether nothing can be shown for a frame because its table entry or its chunk is wrong.
[[nodiscard]] bool is_damaged(frame_state state);

// The frames that are in a state.
[[nodiscard]] std::vector<frame_range> frames_in_state(const reel_file &file, frame_state state);

// What is wrong with a frame's chunk, as the end of a sentence: "its table entry 12 points ...".
// Empty for pictures and repeats whose picture is there.
[[nodiscard]] std::string describe_fault(const reel_file &file, int index);

} // namespace reel
