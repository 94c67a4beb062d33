// A window's pixels and their way to the server.
//
//   window_frames f;
//   if (!make_frames(&f, width, height)) ...         // no memory
//   surface s = find_frame(f, 0);                    // draw
//   present_frame(f, xid, 0, area);                  // waits for the present before
//
// Widths, heights and areas are in pixels of ours; at a scale above 1 frames are plain memory and
// what is presented is enlarged into one more block, that of the device.
#pragma once

#include "platform/display/x11_connection.h"

#include <array>
#include <cstddef>

namespace display::x11 {

// Pixels, shared with the server where that is possible.
class frame_block {
public:
    frame_block() = default;
    frame_block(frame_block &&other) noexcept;
    frame_block &operator=(frame_block &&other) noexcept;
    frame_block(const frame_block &) = delete;
    frame_block &operator=(const frame_block &) = delete;
    ~frame_block() { release(); }

    // Makes black pixels in place of any before, by the connection's way or plain. Returns false
    // without memory. Where sharing turns out to be impossible, the connection's way changes.
    [[nodiscard]] bool make(int width, int height, bool shared);

    [[nodiscard]] const surface &view() const { return view_; }
    [[nodiscard]] bool is_shared() const { return segment_ != 0; }

    // Sends an area, which must lie inside, to the window.
    void send(xcb_window_t window, rectangle area) const;

private:
    enum class memory_kind { none, plain, mapped, attached };

    // Memory can be missing, or be there and not be shareable with this server.
    enum class attempt { done, no_memory, refused };

    [[nodiscard]] attempt make_passed();
    [[nodiscard]] attempt make_keyed();
    [[nodiscard]] attempt make_plain();
    void release();

    memory_kind kind_ = memory_kind::none;
    void *memory_ = nullptr;
    std::size_t size_ = 0;
    std::uint32_t segment_ = 0; // the server's name of it; 0: not shared
    surface view_;
};

struct window_frames {
    int width = 0;
    int height = 0;
    std::array<frame_block, frames_per_window> frames;
    frame_block device; // at a scale above 1
};

// The first frame, and the device's block if there must be one. False without memory.
[[nodiscard]] bool make_frames(window_frames *f, int width, int height);

// New blocks of another size, for the frames that there were, with what fits of their pictures.
// A frame that there is no memory for stays empty after one line on standard error.
void resize_frames(window_frames *f, int width, int height);

// The frame, made if need be; empty without memory.
[[nodiscard]] surface find_frame(window_frames *f, int index);

void present_frame(window_frames *f, xcb_window_t window, int index, rectangle area);

// The graphics context that pictures are sent with, made when first needed; forgotten with the
// connection, and with it that a present is under way.
void forget_presents();

// Called when the server has not taken a present within a bounded time.
extern void (*on_server_stuck)();

} // namespace display::x11
