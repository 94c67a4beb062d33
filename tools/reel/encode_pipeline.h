// Pictures on their way into a movie, on several threads: read, edited and compressed at the same
// time, handed over in order.
//
//   image_buffer first;                                   // source.read(0, first, &fault)
//   pipeline_settings settings = {&source, &plan, 12};
//   run_pipeline(settings, std::move(first), [&](std::span<const std::uint8_t> stream) {
//       return add_frame(writer, stream);                 // on this thread; -1 ends it
//   }, &fault);
//
// A ring of slots, each with the memory of one frame, bounds what is under way, however long the
// source is. Of a source that is any_order the workers read for themselves; from any other a
// thread of its own reads, and where the source can read in two steps, it does only the first.
#pragma once

#include "tools/reel/frame_source.h"
#include "tools/reel/picture_edit.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace reel {

struct pipeline_settings {
    frame_source *source = nullptr;
    const edit_plan *plan = nullptr; // for pictures of the first one's size
    int threshold = 0;               // of IR1_compress
    int threads = 0;                 // that compress; 0: as many as there are processors
};

// Takes a frame's compressed data. Returns 0, or -1 after a report.
using stream_sink = std::function<int(std::span<const std::uint8_t> stream)>;

// Compresses `first`, which is the source's picture at position 0 as it was read, and all those
// behind it. Returns 0 at the source's end, or -1 with the reason in *fault (empty when the sink
// has reported it): of several things that go wrong at once the one with the first frame.
[[nodiscard]] int run_pipeline(const pipeline_settings &settings, image_buffer first,
                               const stream_sink &sink, std::string *fault);

} // namespace reel
