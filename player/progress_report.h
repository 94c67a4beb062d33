// How far a session is, in words and pixels: pure computation.
#pragma once

#include "player/play_args.h"

#include <string>

namespace player {

// Frames done, by the number of the newest: 0 .. args.count.
[[nodiscard]] std::int32_t frames_done(const play_args &args);

// Of a bar so many pixels long, what is filled.
[[nodiscard]] int filled_length(const play_args &args, int length);

// "About 00:04 to go." (hours and minutes, rounded up to the next minute but in an hour's last
// one), or "Done.". Empty before the first frame.
//   elapsed  whole seconds since the session began
[[nodiscard]] std::string time_line(const play_args &args, std::int64_t elapsed);

// "Frame 10 of 40\n", or "Rendering first frame...\n".
[[nodiscard]] std::string frame_line(const play_args &args);

} // namespace player
