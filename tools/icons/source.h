// Reading drawings and the palette from their text files (share/icons/README.md says what is in
// them).
//
//   icons::palette colours;
//   icons::source s;
//   if (icons::read_palette(text, &colours, &error) == 0 &&
//       icons::read_source(text, colours, &s, &error) == 0)
//       for (const icons::wanted_picture &w : s.pictures) ...
//
// The first fault ends the reading with -1, and `error` says what it is: "line 3: ...".
#pragma once

#include "tools/icons/drawing.h"

#include <map>
#include <string>
#include <string_view>

namespace icons {

inline constexpr int max_side = 1024; // of a drawing and of a picture
inline constexpr int max_name = 31;   // characters of a picture's name

using palette = std::map<std::string, state_colours, std::less<>>;

struct wanted_picture {
    std::string name; // a-z, 0-9, "_" and "."
    state_colours colours;
    int width = 0, height = 0; // pixels
};

struct source {
    drawing shapes;
    std::vector<wanted_picture> pictures;
};

[[nodiscard]] int read_palette(std::string_view text, palette *colours, std::string *error);
[[nodiscard]] int read_source(std::string_view text, const palette &colours, source *s,
                              std::string *error);

} // namespace icons
