// What the files of reel decode share: decode.cpp sorts out what is wanted, decode_images.cpp and
// decode_video.cpp write it.
#pragma once

#include "tools/reel/decode.h"
#include "tools/reel/reel_file.h"

#include <cstdint>
#include <string>

namespace reel {

// What is to be written. The records that it refers to are the caller's, and there is a frame at
// least and a pixel in it.
struct decode_job {
    const decode_options &options;
    const reel_file &movie;
    frame_selection chosen; // frames that are there
    int width = 0;          // of the pictures
    int height = 0;
};

// The frame at a position of the job, from 0.
[[nodiscard]] inline int frame_at(const decode_job &job, std::int64_t position) {
    return static_cast<int>(job.chosen.range.first + position * job.chosen.step);
}

// A frame's picture in memory, with what it was decoded from.
struct shown_frame {
    frame_buffer buffer;
    int source = -1; // the frame that is in the buffer, or -1
};

// Makes the record hold the picture that a frame shows, unless it holds it already. Returns
// nothing, or the end of a sentence about what is wrong; the record then holds no picture.
[[nodiscard]] std::string show_frame(const reel_file &movie, int index, shown_frame &shown);

// Whether a path leads to the movie itself. It is not replaced: reports that, too.
[[nodiscard]] bool is_the_movie(const decode_job &job, const std::string &path);

// Each returns the program's exit status, after a report when it is not a good one.
[[nodiscard]] int decode_to_images(const decode_job &job);
[[nodiscard]] int decode_to_video(const decode_job &job);

} // namespace reel
