// A picture that a command makes, such as a contact sheet, on its way into an image file.
//
//   if (check_picture_file("sheet.png", inputs) != 0) ...     // before the work; reported
//   write_picture_file("sheet.png", picture);
#pragma once

#include "tools/reel/image_io.h"

#include <string>
#include <vector>

namespace reel {

// Whether an image can be written under a name, or images under the names of a pattern: the
// extension is that of an image format, and no file that would be replaced belongs to the inputs:
// is one of them, stands in a folder that is one, or is another frame of a sequence that one names
// by a pattern or by a frame. Returns 0, or -1 after a report.
[[nodiscard]] int check_picture_file(const std::string &path,
                                     const std::vector<std::string> &inputs);

// Writes the picture; a file of that name is replaced by a complete one. Several threads may write
// at once. Returns 0, or -1 after a report.
[[nodiscard]] int write_picture_file(const std::string &path, const image_buffer &picture);

} // namespace reel
