// Where pictures come from: image files, a video, raw pixels on standard input, another movie. All
// look alike to whoever encodes, compares or lays them out.
//
//   frame_source source;
//   std::string fault;
//   if (open_source({"shot.####.exr"}, {}, source, &fault) != 0)
//       report_source_fault(fault);                       // it names the file
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
#include <span>
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
    const char *unit = "frame";     // what one of them is called: "frame", "image"
    std::int64_t count = -1;        // pictures; -1: known only at the end
    std::int64_t expected = -1;     // a good guess where the count is not known, or -1
    std::int64_t first_number = 0;  // what the user calls the first frame
    std::int64_t number_step = 1;   // and how far the next number is
    std::optional<frame_rate> rate; // what the source says of itself
    std::vector<std::string> notes; // what the user should know
    bool any_order = false;
    std::function<read_result(std::int64_t position, image_buffer &picture, std::string *fault)>
        read; // holds what it needs; not called after the record is gone

    // The file and frame at a position, for messages: "shots/a.0007.exr (frame 7)".
    std::function<std::string(std::int64_t position)> name_of;

    // Set where pictures of width x height pixels can be made in parts, a few rows at a time: to
    // be called instead of read, on any thread; `rows` rows from the one `top` rows below the
    // picture's top edge down, as a picture of their own. Returns 0, or -1 with *fault filled.
    // Where the source is not any_order, `fetch` has brought what it takes, in order, before: into
    // picture.scratch.
    std::function<int(std::int64_t position, image_buffer &picture, int top, int rows,
                      std::span<std::uint32_t> words, std::string *fault)>
        unpack;
    std::function<read_result(std::int64_t position, image_buffer &picture, std::string *fault)>
        fetch;

    // Set where the pictures are already coded as a movie codes them: brings the codec's stream of
    // a picture of width x height pixels. Called instead of read, for 0, 1, 2 ... and with the same
    // vector each time: a picture may be coded as what differs from the one before.
    std::function<read_result(std::int64_t position, std::vector<std::uint8_t> &stream,
                              std::string *fault)>
        read_stream;
    int width = 0;                // pixels, where unpack or read_stream is set
    int height = 0;               // pixels, likewise
    std::optional<int> threshold; // that they were coded with, where it is known

    // Makes a read that waits for input fail soon, from another thread; or null.
    std::function<void()> cancel;

    std::shared_ptr<void> state; // the source's own
};

// Opens what the inputs name. A single input that is a movie (by its magic number) or a video (by
// its content, when it is no image) is read as such; all else are images (find_frames). Returns 0,
// or -1 with the reason in *fault (empty when it has been reported already).
[[nodiscard]] int open_source(const std::vector<std::string> &inputs, const source_options &options,
                              frame_source &source, std::string *fault);

// Reports a fault, unless that has been done.
void report_source_fault(const std::string &fault);

} // namespace reel
