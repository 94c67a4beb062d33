#include "platform/display/surfaces.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace display {
namespace {

std::uint32_t *pixel_at(const surface &s, int x, int y) {
    return s.pixels + std::ptrdiff_t{y} * s.stride + x;
}

void copy_rows(const std::uint32_t *from, int from_stride, std::uint32_t *to, int to_stride,
               int width, int height) {
    for (int y = 0; y < height; ++y) {
        std::memcpy(to, from, static_cast<std::size_t>(width) * sizeof *to);
        from += from_stride;
        to += to_stride;
    }
}

} // namespace

bool is_possible_size(int width, int height, int scale) {
    const int longest = longest_side / scale;
    return width >= 1 && height >= 1 && width <= longest && height <= longest;
}

bool check_window_size(rectangle rect, int scale) {
    if (is_possible_size(rect.width, rect.height, scale)) {
        return true;
    }
    std::fprintf(stderr, "display: no window can be %d x %d: its sides must be 1 .. %d\n",
                 rect.width, rect.height, longest_side / scale);
    return false;
}

void report_no_memory(int width, int height) {
    std::fprintf(stderr, "display: no memory for a window of %d x %d\n", width, height);
}

rectangle clamp_window_size(rectangle rect, int scale) {
    const int longest = longest_side / scale;
    rect.x = std::clamp(rect.x, -longest, longest);
    rect.y = std::clamp(rect.y, -longest, longest);
    rect.width = std::clamp(rect.width, 1, longest);
    rect.height = std::clamp(rect.height, 1, longest);
    return rect;
}

pixel_block make_block(int width, int height) {
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    pixel_block block;
    block.memory.reset(static_cast<std::uint32_t *>(std::calloc(count, sizeof(std::uint32_t))));
    if (block.memory) {
        block.view = {block.memory.get(), width, height, width};
    }
    return block;
}

void copy_area(const surface &from, const surface &to, rectangle area) {
    area = intersect(area, intersect({0, 0, from.width, from.height}, {0, 0, to.width, to.height}));
    if (area.width > 0) {
        copy_rows(pixel_at(from, area.x, area.y), from.stride, pixel_at(to, area.x, area.y),
                  to.stride, area.width, area.height);
    }
}

void copy_bottom_left(const surface &from, const surface &to) {
    const int width = std::min(from.width, to.width);
    const int height = std::min(from.height, to.height);
    if (width > 0 && height > 0) {
        copy_rows(pixel_at(from, 0, from.height - height), from.stride,
                  pixel_at(to, 0, to.height - height), to.stride, width, height);
    }
}

void expand_area(const surface &from, const surface &to, rectangle area, int scale) {
    area = intersect(area, {0, 0, from.width, from.height});
    for (int y = area.y; y < area.y + area.height; ++y) {
        const std::uint32_t *source = pixel_at(from, area.x, y);
        std::uint32_t *const first = pixel_at(to, area.x * scale, y * scale);
        std::uint32_t *out = first;
        for (int x = 0; x < area.width; ++x) {
            out = std::fill_n(out, scale, source[x]);
        }
        for (int copy = 1; copy < scale; ++copy) {
            copy_rows(first, 0, first + std::ptrdiff_t{copy} * to.stride, 0, area.width * scale, 1);
        }
    }
}

} // namespace display
