// Where pictures come from: image files, a video, raw pixels on standard input, another movie. All
// look alike to whoever encodes, compares or lays them out.
//
//   frame_source source;
//   std::string fault;
//   if (open_source({"shot.####.exr"}, {}, source, &fault) != 0)
//       report("%s", fault.c_str());                      // it names the file
//   image_buffer picture;
//   for (std::int64_t i = 0; ...; ++i)
//       switch (source.read(i, picture, &fault)) {        // got: the picture; end: no more
//
// Positions count from 0 over the frames that were chosen. A source that is any_order may be read
// at any position below its count, by several threads at once with buffers of their own; others by
// one thread, at 0, 1, 2 ... Pictures of one source may differ in size: who minds compares.
#pragma once

#include "tools/reel/frame_pattern.h"
#include "tools/reel/image_io.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace reel {

// Frames per second as a fraction; what videos have ("30000/1001").
struct frame_rate {
    int numerator = 0;
    int denominator = 1;
};

// The nearest whole number of frames per second that a movie can have, 1 .. max_rate.
[[nodiscard]] int nearest_rate(frame_rate rate);

// Raw pixels on standard input: rows top-down without padding, frames without anything between.
enum class raw_format {
    none, // no raw pixels
    rgb24,
    bgr24,
    rgba, // transparency over black
    bgra,
    gray8,
    y4m, // no raw pixels either, but a stream that tells its own size and rate
};

struct source_options {
    std::optional<frame_selection> frames; // see frame_list.h; positions for what has no names
    bool raw_values = false;               // linear values are taken as they are, not as light
    raw_format standard_input = raw_format::none; // instead of inputs
    int width = 0;                                // of raw pixels
    int height = 0;                               // of raw pixels
};

enum class read_result {
    got,
    end,    // there are no further pictures
    failed, // *fault says why, naming the file and frame
};

struct frame_source {
    std::string description;        // what was found: "shots/a.####.exr", "film.mp4"
    std::int64_t count = -1;        // pictures; -1: known only at the end
    std::int64_t expected = -1;     // a good guess where the count is not known, or -1
    std::int64_t first_number = 0;  // what the user calls the first frame
    std::int64_t number_step = 1;   // and how far the next number is
    std::optional<frame_rate> rate; // what the source says of itself
    std::vector<std::string> notes; // what the user should know
    bool any_order = false;
    std::function<read_result(std::int64_t position, image_buffer &picture, std::string *fault)>
        read;                    // holds what it needs; not called after the record is gone
    std::shared_ptr<void> state; // the source's own
};

// Opens what the inputs name. A single input that is a movie (by its magic number) or a video (by
// its content, when it is no image) is read as such; all else are images (find_frames). Returns 0,
// or -1 with the reason in *fault.
[[nodiscard]] int open_source(const std::vector<std::string> &inputs, const source_options &options,
                              frame_source &source, std::string *fault);

} // namespace reel
