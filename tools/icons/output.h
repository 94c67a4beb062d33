// Pictures as icon files, and as a C++ source that holds them all.
#pragma once

#include "tools/icons/drawing.h"

#include <string>
#include <string_view>

namespace icons {

struct named_picture {
    std::string name;
    picture pixels;
};

// The bytes of an icon file: width, height and the pixels, all 32-bit and big-endian.
[[nodiscard]] std::string icon_file(const picture &p);

// The source that defines toolkit::builtin_icons().
[[nodiscard]] std::string icon_source(const std::vector<named_picture> &pictures);

// 0, or -1 when the file could not be written whole.
[[nodiscard]] int write_file(const std::string &path, std::string_view content);

} // namespace icons
