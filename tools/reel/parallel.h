// Work that every processor may help with.
//
//   std::atomic<int> next = 0;
//   run_parallel(4, [&](int worker) {
//       for (int i = next++; i < count; i = next++)
//           ...                               // item i, with what belongs to this worker
//   });
#pragma once

#include <functional>

namespace reel {

inline constexpr int max_workers = 16;

// How many workers run_parallel starts when it may start as many as it likes.
[[nodiscard]] int count_workers();

// Runs the procedure once for each worker 0, 1 ... at the same time: on as many processors as there
// are, but at most `most`. Fewer workers may come when the system has no threads left, so the
// procedure takes its work from a place that all share. Returns when all are done; an exception of
// one of them (a lack of memory) is passed on then.
void run_parallel(int most, const std::function<void(int worker)> &procedure);

} // namespace reel
