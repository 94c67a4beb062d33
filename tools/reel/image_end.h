// Image files that end too early, where the libraries that read them keep silent (JPEG: the rest of
// the picture is grey) or speak to standard error themselves (PNG).
//
//   if (const char *fault = find_early_end("shot.0001.jpg", scratch); fault != nullptr) ...
#pragma once

#include <cstddef>
#include <vector>

namespace reel {

// Returns what is wrong, "it is empty" or "it is cut off"; null when nothing is, when the file
// cannot be opened or is of a format that is not looked at here. What follows the picture, and
// whether its content makes sense, is left alone.
//   scratch  memory kept from one file to the next
[[nodiscard]] const char *find_early_end(const char *path, std::vector<std::byte> &scratch);

} // namespace reel
