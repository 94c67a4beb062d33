#include "link/frame_pixels.h"

#include <array>
#include <cstdlib>

namespace render_link {

namespace {

constexpr int opaque = -1; // in place of a byte

template <int Bytes, int Red, int Green, int Blue, int Alpha>
void write_row(const std::uint8_t *from, std::span<std::uint32_t> to) {
    for (std::uint32_t &word : to) {
        std::uint32_t alpha = 0xFF;
        if constexpr (Alpha != opaque)
            alpha = from[Alpha];
        word = std::uint32_t{from[Red]} | std::uint32_t{from[Green]} << 8 |
               std::uint32_t{from[Blue]} << 16 | alpha << 24;
        from += Bytes;
    }
}

struct pixel_format {
    int bytes;
    void (*write_row)(const std::uint8_t *from, std::span<std::uint32_t> to);
};

// By reel_link_order.
constexpr std::array<pixel_format, 6> formats = {{
    {4, write_row<4, 0, 1, 2, 3>},
    {4, write_row<4, 2, 1, 0, 3>},
    {4, write_row<4, 3, 2, 1, 0>},
    {4, write_row<4, 1, 2, 3, 0>},
    {3, write_row<3, 0, 1, 2, opaque>},
    {3, write_row<3, 2, 1, 0, opaque>},
}};
static_assert(REEL_LINK_RGBA == 0 && REEL_LINK_BGRA == 1 && REEL_LINK_ABGR == 2 &&
              REEL_LINK_ARGB == 3 && REEL_LINK_RGB == 4 && REEL_LINK_BGR == 5);

} // namespace

const char *check_picture(const reel_link_picture &picture, int width) {
    if (picture.pixels == nullptr)
        return "the picture has no pixels";
    const auto order = static_cast<std::size_t>(picture.order);
    if (order >= formats.size())
        return "the picture's pixel order is none that there is";
    if (picture.rows != REEL_LINK_TOP_FIRST && picture.rows != REEL_LINK_BOTTOM_FIRST)
        return "the picture's rows are neither top first nor bottom first";
    const long row_bytes = long{width} * formats[order].bytes;
    if (picture.stride != 0 && picture.stride < row_bytes && picture.stride > -row_bytes)
        return "the picture's stride is shorter than a row";
    return nullptr;
}

void write_frame(const reel_link_picture &picture, const frame_size &size, frame_scaler *scaler,
                 std::span<std::uint32_t> line, std::span<std::uint32_t> words) {
    const pixel_format &format = formats[static_cast<std::size_t>(picture.order)];
    const auto width = static_cast<std::size_t>(size.width);
    const long stride = picture.stride != 0 ? picture.stride : long{size.width} * format.bytes;
    const auto *pixels = static_cast<const std::uint8_t *>(picture.pixels);
    std::uint32_t *to = words.data();
    for (int row = 0; row < size.height; ++row) { // from the bottom
        const int place = picture.rows == REEL_LINK_TOP_FIRST ? size.height - 1 - row : row;
        const std::uint8_t *from = pixels + place * stride;
        if (scaler == nullptr) {
            format.write_row(from, {to, width});
            to += width;
            continue;
        }
        format.write_row(from, line.first(width));
        to += scale_row(*scaler, line.first(width), to) * scaler->across.pixels.size();
    }
}

} // namespace render_link
