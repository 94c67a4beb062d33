// The program's own icons, built in, so that they can not be missing. They are drawn in share/icons
// and turned into pixels by the build (tools/icons).
//
//   const builtin_icon *icon = find_builtin_icon("play.hilite");
//
// Nobody needs this to draw an icon: bitmaps.h falls back on it. A button's icon has four pictures,
// NAME, NAME.hilite (under the pointer), NAME.pressed (held, or switched on) and NAME.disabled,
// each on the bevel-button block's face of that state, so that they are drawn without blending.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace toolkit {

struct builtin_icon {
    std::string_view name;
    std::int16_t width;
    std::int16_t height;
    std::span<const std::uint32_t> pixels; // 0xAABBGGRR, rows from the bottom up
};

// All of them.
[[nodiscard]] std::span<const builtin_icon> builtin_icons();

// The icon of a name, or null.
[[nodiscard]] const builtin_icon *find_builtin_icon(std::string_view name);

// Tells the desktop the program's name and class, for all windows opened from now on, and gives it
// the program's own icon for them.
void gl_identify_program(const char *instance, const char *class_name);

} // namespace toolkit
