// Pictures of one source, or of several side by side, position by position, on every processor.
//
//   frame_source *sources[] = {&first, &second};
//   picture_walk walk;
//   walk.last = 99;                                   // as far as all sources have so many
//   walk.visit = [&](int worker, picture_set &at) { ...; return 0; };
//   if (walk_pictures(sources, walk, &fault) != 0)
//       report_source_fault(fault);
//
// Sources that can only be read in order are read so, one picture at a time; all else happens at
// the same time. There are never more pictures in memory than one of each source for each worker.
#pragma once

#include "tools/reel/frame_source.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <vector>

namespace reel {

// What a worker has of one position. The visitor may take the buffers and leave others.
struct picture_set {
    std::int64_t position = 0;
    std::vector<image_buffer> pictures; // one of each source
    std::vector<std::string> faults;    // why there is no picture; empty where there is one
};

struct picture_walk {
    std::int64_t last = std::numeric_limits<std::int64_t>::max();
    std::function<bool(std::int64_t position)> wanted; // null: every position up to the last
    // Called once for each wanted position that all sources have, by any worker (0 ..
    // count_workers() - 1), in any order. Anything but 0 ends the walk.
    std::function<int(int worker, picture_set &at)> visit;

    // Filled by the walk.
    std::int64_t length = 0;     // positions 0 .. length - 1 were there to be visited
    std::vector<bool> has_ended; // of each source: it has no more positions than that
};

// Lets a source whose pictures are coded as a movie codes them be read through the movie's own
// codec. Other decoders know the same blocks, but make slightly brighter colours of them.
void read_by_own_codec(frame_source &source);

// Returns 0; or -1 with the reason in *fault when a source that is read in order failed, or when
// the visitor ended the walk (then *fault is empty).
[[nodiscard]] int walk_pictures(std::span<frame_source *const> sources, picture_walk &walk,
                                std::string *fault);

// Frames without a picture, as the workers come upon them: in any order.
struct lost_frames {
    std::vector<std::int64_t> numbers;
    std::int64_t first = std::numeric_limits<std::int64_t>::max();
    std::string fault; // of the first one
};

void add_lost_frame(lost_frames &lost, std::int64_t number, const std::string &fault);

// Reports what is wrong with the first one and which others there are: a file that was cut off may
// have thousands of them.
void report_lost_frames(lost_frames &lost);

} // namespace reel
