// A complete copy of an open file under another name: there whole, or not at all.
//
//   std::string problem;
//   switch (copy_movie(fileno(film.stream.get()), "/home/ann/walk.reel", go_on, &problem)) ...
//
// The copy is written beside the target, flushed to the disk, and then takes its name: what had
// that name stays as it was until then, whatever happens. A symbolic link is followed. Permissions
// are those of the file that is replaced, or of a new one.
#pragma once

#include <cstdint>
#include <string>

namespace player {

enum class copy_result {
    done,
    same,    // the target is the source itself, which stays as it is
    stopped, // by the caller
    failed   // *problem says why, in words: "No space left on device"
};

// Asked after each piece, with the bytes copied so far and all of them; false stops the copying.
using copy_progress = bool (*)(std::int64_t copied, std::int64_t size);

// Copies what the descriptor's file holds now; its position is not used.
[[nodiscard]] copy_result copy_movie(int source, const std::string &target, copy_progress go_on,
                                     std::string *problem);

} // namespace player
