// From the renderer's pixels to the words of a frame block: 0xAABBGGRR in native byte order, the
// bottom row first, without gaps.
//
//   if (check_picture(picture, width) != null) ...           // says what is wrong
//   write_frame(picture, size, scaler, line, words);
#pragma once

#include "link/frame_scaler.h"
#include "link/reel_link.h"

#include <cstdint>
#include <span>

namespace render_link {

struct frame_size {
    int width = 0;
    int height = 0;
    bool operator==(const frame_size &) const = default;
    [[nodiscard]] std::size_t words() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
};

// What is wrong with a picture whose rows are so wide, in words; null: nothing.
[[nodiscard]] const char *check_picture(const reel_link_picture &picture, int width);

// Writes a picture that check_picture found right.
//   size    of the picture
//   scaler  set from this size to that of the frame; null: they are the same
//   line    room for one row of the picture, needed by the scaler; else it may be empty
//   words   the frame, as many words as its size has
void write_frame(const reel_link_picture &picture, const frame_size &size, frame_scaler *scaler,
                 std::span<std::uint32_t> line, std::span<std::uint32_t> words);

} // namespace render_link
