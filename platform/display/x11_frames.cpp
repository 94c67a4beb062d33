#include "platform/display/x11_frames.h"

#include "platform/clock/program_clock.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <unistd.h>
#include <utility>
#include <vector>
#include <xcb/shm.h>
#include <xcb/xcbext.h>

namespace display::x11 {

void (*on_server_stuck)() = nullptr;

namespace {

constexpr std::size_t bytes_per_pixel = sizeof(std::uint32_t);

// How long a server may take for one picture before it counts as gone.
constexpr std::int64_t longest_present_us = 10 * program_clock::us_per_second;

xcb_gcontext_t context = XCB_NONE;

// A request with a reply follows every present: once its reply is here, the server has read the
// picture, whichever way it went and even if the window was gone.
xcb_get_input_focus_cookie_t marker{};
bool under_way = false;

bool server_accepts(xcb_void_cookie_t sent) {
    const malloced<xcb_generic_error_t> error(xcb_request_check(xserver.xcb, sent));
    return !error && xcb_connection_has_error(xserver.xcb) == 0;
}

bool take_marker() {
    void *reply = nullptr;
    xcb_generic_error_t *error = nullptr;
    if (xcb_poll_for_reply(xserver.xcb, marker.sequence, &reply, &error) == 0) {
        return false;
    }
    std::free(reply);
    std::free(error);
    return true;
}

void wait_for_last_present() {
    if (!under_way) {
        return;
    }
    const int fd = xcb_get_file_descriptor(xserver.xcb);
    while (!take_marker()) {
        if (!wait_for_fd(fd, POLLIN, longest_present_us)) {
            on_server_stuck();
            break;
        }
    }
    under_way = false;
}

void mark_present() {
    marker = xcb_get_input_focus(xserver.xcb);
    under_way = xcb_connection_has_error(xserver.xcb) == 0;
}

xcb_gcontext_t find_context() {
    if (context == XCB_NONE) {
        context = xcb_generate_id(xserver.xcb);
        const std::uint32_t no_exposures = 0;
        xcb_create_gc(xserver.xcb, context, xserver.screen->root, XCB_GC_GRAPHICS_EXPOSURES,
                      &no_exposures);
    }
    return context;
}

// Sends one piece that fits into a request.
void put_piece(const surface &from, xcb_window_t window, rectangle piece) {
    static std::vector<std::uint32_t> packed; // kept: nothing is allocated per frame
    const auto width = static_cast<std::size_t>(piece.width);
    const std::size_t count = width * static_cast<std::size_t>(piece.height);
    const std::uint32_t *first = from.pixels + std::ptrdiff_t{piece.y} * from.stride + piece.x;
    if (piece.width != from.stride) {
        if (packed.size() < count) {
            packed.resize(count);
        }
        for (std::size_t y = 0; y < static_cast<std::size_t>(piece.height); ++y) {
            std::copy_n(first + static_cast<std::ptrdiff_t>(y) * from.stride, width,
                        packed.data() + y * width);
        }
        first = packed.data();
    }
    xcb_put_image(xserver.xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, window, find_context(),
                  static_cast<std::uint16_t>(piece.width), static_cast<std::uint16_t>(piece.height),
                  static_cast<std::int16_t>(piece.x), static_cast<std::int16_t>(piece.y), 0,
                  xserver.screen->root_depth, static_cast<std::uint32_t>(count * bytes_per_pixel),
                  reinterpret_cast<const std::uint8_t *>(first));
}

// Cuts an area into pieces that respect the server's longest request.
void put_strips(const surface &from, xcb_window_t window, rectangle area) {
    constexpr std::uint32_t header_words = sizeof(xcb_put_image_request_t) / 4 + 1; // long form
    constexpr std::uint32_t enough_words = 1 << 16; // longer ones gain nothing
    const std::uint32_t limit = std::min(xcb_get_maximum_request_length(xserver.xcb), enough_words);
    if (limit <= header_words) {
        return; // the connection is gone
    }
    const int words = static_cast<int>(limit - header_words);
    const int columns = std::min(area.width, words);
    const int rows = std::max(1, words / columns);
    for (int y = 0; y < area.height; y += rows) {
        for (int x = 0; x < area.width; x += columns) {
            put_piece(from, window,
                      {area.x + x, area.y + y, std::min(columns, area.width - x),
                       std::min(rows, area.height - y)});
        }
    }
}

bool make_or_report(frame_block *block, int width, int height, bool shared) {
    if (block->make(width, height, shared)) {
        return true;
    }
    report_no_memory(width, height);
    return false;
}

bool make_frame(frame_block *block, int width, int height) {
    return make_or_report(block, width, height, xserver.scale == 1);
}

bool make_device(window_frames *f, int width, int height) {
    return xserver.scale == 1 ||
           make_or_report(&f->device, width * xserver.scale, height * xserver.scale, true);
}

} // namespace

frame_block::frame_block(frame_block &&other) noexcept {
    *this = std::move(other);
}

frame_block &frame_block::operator=(frame_block &&other) noexcept {
    if (this != &other) {
        release();
        kind_ = std::exchange(other.kind_, memory_kind::none);
        memory_ = std::exchange(other.memory_, nullptr);
        size_ = std::exchange(other.size_, 0);
        segment_ = std::exchange(other.segment_, 0);
        view_ = std::exchange(other.view_, {});
    }
    return *this;
}

void frame_block::release() {
    if (segment_ != 0) {
        xcb_shm_detach(xserver.xcb, segment_);
    }
    switch (kind_) {
    case memory_kind::plain:
        std::free(memory_);
        break;
    case memory_kind::mapped:
        munmap(memory_, size_);
        break;
    case memory_kind::attached:
        shmdt(memory_);
        break;
    case memory_kind::none:
        break;
    }
    kind_ = memory_kind::none;
    memory_ = nullptr;
    segment_ = 0;
    view_ = {};
}

frame_block::attempt frame_block::make_passed() {
    owned_fd file(memfd_create("frame", MFD_CLOEXEC));
    if (file.get() < 0) {
        return attempt::refused;
    }
    // Reserved at once: pages that turn out to be missing while drawing would end the process.
    if (posix_fallocate(file.get(), 0, static_cast<off_t>(size_)) != 0) {
        return attempt::no_memory;
    }
    void *memory = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) {
        return attempt::no_memory;
    }
    kind_ = memory_kind::mapped;
    memory_ = memory;
    const xcb_shm_seg_t segment = xcb_generate_id(xserver.xcb);
    // The request takes the descriptor over.
    if (!server_accepts(xcb_shm_attach_fd_checked(xserver.xcb, segment, file.release(), 1))) {
        release();
        return attempt::refused;
    }
    segment_ = segment;
    return attempt::done;
}

frame_block::attempt frame_block::make_keyed() {
    constexpr int owner_only = 0600;
    const int id = shmget(IPC_PRIVATE, size_, IPC_CREAT | owner_only);
    if (id < 0) {
        return errno == ENOMEM ? attempt::no_memory : attempt::refused;
    }
    void *memory = shmat(id, nullptr, 0);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): this is how shmat says no
    if (memory == reinterpret_cast<void *>(-1)) {
        shmctl(id, IPC_RMID, nullptr);
        return attempt::no_memory;
    }
    kind_ = memory_kind::attached;
    memory_ = memory;
    const xcb_shm_seg_t segment = xcb_generate_id(xserver.xcb);
    const bool accepted = server_accepts(
        xcb_shm_attach_checked(xserver.xcb, segment, static_cast<std::uint32_t>(id), 1));
    shmctl(id, IPC_RMID, nullptr); // goes with the last of the two of us, however we end
    if (!accepted) {
        release();
        return attempt::refused;
    }
    segment_ = segment;
    return attempt::done;
}

frame_block::attempt frame_block::make_plain() {
    memory_ = std::calloc(size_, 1);
    kind_ = memory_ != nullptr ? memory_kind::plain : memory_kind::none;
    return memory_ != nullptr ? attempt::done : attempt::no_memory;
}

bool frame_block::make(int width, int height, bool shared) {
    release();
    size_ = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * bytes_per_pixel;
    attempt result = attempt::refused;
    if (shared && xserver.way == frame_way::passed_memory) {
        result = make_passed();
        xserver.way = result == attempt::refused ? frame_way::keyed_memory : xserver.way;
    }
    if (result == attempt::refused && shared && xserver.way == frame_way::keyed_memory) {
        result = make_keyed();
        xserver.way = result == attempt::refused ? frame_way::put_image : xserver.way;
    }
    if (result == attempt::refused) {
        result = make_plain();
    }
    if (result == attempt::done) {
        view_ = {static_cast<std::uint32_t *>(memory_), width, height, width};
    }
    return result == attempt::done;
}

void frame_block::send(xcb_window_t window, rectangle area) const {
    if (!is_shared()) {
        put_strips(view_, window, area);
        return;
    }
    const auto x = static_cast<std::int16_t>(area.x);
    const auto y = static_cast<std::int16_t>(area.y);
    xcb_shm_put_image(xserver.xcb, window, find_context(), static_cast<std::uint16_t>(view_.width),
                      static_cast<std::uint16_t>(view_.height), static_cast<std::uint16_t>(area.x),
                      static_cast<std::uint16_t>(area.y), static_cast<std::uint16_t>(area.width),
                      static_cast<std::uint16_t>(area.height), x, y, xserver.screen->root_depth,
                      XCB_IMAGE_FORMAT_Z_PIXMAP, 0, segment_, 0);
}

bool make_frames(window_frames *f, int width, int height) {
    f->width = width;
    f->height = height;
    return make_frame(&f->frames[0], width, height) && make_device(f, width, height);
}

void resize_frames(window_frames *f, int width, int height) {
    f->width = width;
    f->height = height;
    for (frame_block &old : f->frames) {
        if (old.view().pixels == nullptr) {
            continue;
        }
        frame_block fresh;
        if (make_frame(&fresh, width, height)) {
            copy_bottom_left(old.view(), fresh.view());
        }
        old = std::move(fresh);
    }
    (void)make_device(f, width, height);
}

surface find_frame(window_frames *f, int index) {
    if (index < 0 || index >= frames_per_window) {
        return {};
    }
    frame_block &block = f->frames[static_cast<std::size_t>(index)];
    if (block.view().pixels == nullptr) {
        (void)make_frame(&block, f->width, f->height);
    }
    return block.view();
}

void present_frame(window_frames *f, xcb_window_t window, int index, rectangle area) {
    const surface from = find_frame(f, index);
    area = intersect(area, {0, 0, from.width, from.height});
    const int k = xserver.scale;
    if (area.width <= 0 || (k > 1 && f->device.view().pixels == nullptr)) {
        return;
    }
    wait_for_last_present();
    if (k == 1) {
        f->frames[static_cast<std::size_t>(index)].send(window, area);
    } else {
        expand_area(from, f->device.view(), area, k);
        f->device.send(window, {area.x * k, area.y * k, area.width * k, area.height * k});
    }
    mark_present();
}

void forget_presents() {
    context = XCB_NONE;
    under_way = false;
}

} // namespace display::x11
