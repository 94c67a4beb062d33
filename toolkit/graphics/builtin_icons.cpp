#include "toolkit/graphics/builtin_icons.h"

#include "platform/gl/windows.h"

#include <algorithm>
#include <vector>

namespace toolkit {
namespace {

constexpr std::string_view program_icon = "player64"; // taskbars scale it down, docks up

// 0xAABBGGRR from the bottom row up, as the desktop has it: 0xAARRGGBB from the top row down.
std::vector<std::uint32_t> desktop_pixels(const builtin_icon &icon) {
    const auto width = static_cast<std::size_t>(icon.width);
    std::vector<std::uint32_t> all;
    all.reserve(icon.pixels.size());
    for (std::size_t row = static_cast<std::size_t>(icon.height); row-- > 0;)
        for (const std::uint32_t p : icon.pixels.subspan(row * width, width))
            all.push_back((p & 0xFF00FF00U) | (p & 0xFFU) << 16 | (p >> 16 & 0xFFU));
    return all;
}

} // namespace

const builtin_icon *find_builtin_icon(std::string_view name) {
    const std::span<const builtin_icon> all = builtin_icons();
    const auto at = std::find_if(all.begin(), all.end(),
                                 [name](const builtin_icon &icon) { return icon.name == name; });
    return at == all.end() ? nullptr : &*at;
}

void gl_identify_program(const char *instance, const char *class_name) {
    if (const builtin_icon *icon = find_builtin_icon(program_icon))
        gl::winclass(instance, class_name, desktop_pixels(*icon), icon->width);
}

} // namespace toolkit
