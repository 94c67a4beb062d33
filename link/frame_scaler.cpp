#include "link/frame_scaler.h"

#include <algorithm>
#include <array>
#include <new>

namespace render_link {

namespace {

constexpr std::size_t parts = 4;

// A new pixel covers size / to_size old ones. All in units of 1 / to_size of an old pixel, so that
// every border is a whole number.
void share_side(side_shares &side, std::uint32_t size, std::uint32_t to_size) {
    side.pixels.clear();
    side.shares.clear();
    for (std::uint64_t pixel = 0; pixel < to_size; ++pixel) {
        const std::uint64_t begin = pixel * size;
        const std::uint64_t end = begin + size;
        const auto first_share = static_cast<std::uint32_t>(side.shares.size());
        for (std::uint64_t old = begin / to_size; old * to_size < end; ++old) {
            const std::uint64_t covered =
                std::min(end, (old + 1) * to_size) - std::max(begin, old * to_size);
            side.shares.push_back(static_cast<float>(covered) / static_cast<float>(size));
        }
        side.pixels.push_back({static_cast<std::uint32_t>(begin / to_size), first_share,
                               static_cast<std::uint32_t>(side.shares.size())});
    }
}

// Parts are alike, and stay in their order in memory: bytes will do.
void add_row(std::span<float> sums, const std::uint32_t *row, float share) {
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(row);
    for (std::size_t at = 0; at < sums.size(); ++at)
        sums[at] += static_cast<float>(bytes[at]) * share;
}

// Clears the sums as well.
void write_row(frame_scaler &scaler, std::uint32_t *to) {
    auto *bytes = reinterpret_cast<std::uint8_t *>(to);
    for (const pixel_share &pixel : scaler.across.pixels) {
        std::array<float, parts> result = {0.5F, 0.5F, 0.5F, 0.5F}; // rounds
        const float *column = scaler.sums.data() + std::size_t{pixel.first} * parts;
        for (std::uint32_t at = pixel.begin; at < pixel.end; ++at, column += parts) {
            const float share = scaler.across.shares[at];
            for (std::size_t part = 0; part < parts; ++part)
                result[part] += column[part] * share;
        }
        for (const float part : result)
            *bytes++ = static_cast<std::uint8_t>(part);
    }
    std::fill(scaler.sums.begin(), scaler.sums.end(), 0.0F);
}

} // namespace

int set_scaler(frame_scaler &scaler, int width, int height, int to_width, int to_height) {
    try {
        share_side(scaler.across, static_cast<std::uint32_t>(width),
                   static_cast<std::uint32_t>(to_width));
        share_side(scaler.along, static_cast<std::uint32_t>(height),
                   static_cast<std::uint32_t>(to_height));
        scaler.sums.assign(static_cast<std::size_t>(width) * parts, 0.0F);
    } catch (const std::bad_alloc &) {
        return -1;
    }
    scaler.old_row = scaler.new_row = 0;
    return 0;
}

std::size_t scale_row(frame_scaler &scaler, std::span<const std::uint32_t> row, std::uint32_t *to) {
    std::size_t written = 0;
    for (; scaler.new_row < scaler.along.pixels.size(); ++scaler.new_row) {
        const pixel_share &wanted = scaler.along.pixels[scaler.new_row];
        if (scaler.old_row < wanted.first)
            break; // begins further on
        const std::uint32_t at = wanted.begin + scaler.old_row - wanted.first;
        add_row(scaler.sums, row.data(), scaler.along.shares[at]);
        if (at + 1 < wanted.end)
            break; // goes on in the next row
        write_row(scaler, to + written++ * scaler.across.pixels.size());
    }
    ++scaler.old_row;
    if (scaler.new_row == scaler.along.pixels.size())
        scaler.old_row = scaler.new_row = 0;
    return written;
}

} // namespace render_link
