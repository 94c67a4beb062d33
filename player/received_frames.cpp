#include "player/received_frames.h"

#include "ipc/shared_blocks.h"
#include "player/engine.h"
#include "player/preview_movie.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <utility>

namespace player {

namespace {

// A parent that renders one frame while we take another uses two blocks in turn.
constexpr std::size_t kept_blocks = 2;

struct frame_block {
    void *address = nullptr; // null: none
    int key = -1;
    int id = 0;
    std::size_t bytes = 0; // that the system says it has
};

std::array<frame_block, kept_blocks> blocks;
std::size_t next_to_go = 0;

void release(frame_block &block) {
    if (block.address != nullptr)
        ipc::shmem_free(block.address, block.id);
    block = {};
}

// The block of that key that we have already. A parent may have marked it for removal: then the key
// finds nothing any more; if it finds another one, that is meant.
frame_block *kept_block(int key) {
    for (frame_block &block : blocks) {
        if (block.address == nullptr || block.key != key)
            continue;
        const int now = ipc::shmem_find(key);
        if (now < 0 || now == block.id)
            return &block;
        release(block);
    }
    return nullptr;
}

const frame_block *attach(const frame_announcement &frame) {
    if (frame_block *kept = kept_block(frame.key))
        return kept;
    frame_block &block = blocks[next_to_go];
    next_to_go = (next_to_go + 1) % kept_blocks;
    release(block);
    block.address = ipc::shmem_attach(static_cast<std::size_t>(frame.size), frame.key, &block.id);
    if (block.address == nullptr) {
        std::perror("Player: shmem_malloc");
        return nullptr;
    }
    block.key = frame.key;
    block.bytes = ipc::shmem_size(block.id);
    return &block;
}

int refuse(std::int32_t number, const char *what, std::int64_t value) {
    std::fprintf(stderr, "%s: Frame %d is lost: %s (%lld).\n", gMe, number, what,
                 static_cast<long long>(value));
    return -1;
}

std::size_t picture_bytes(std::int32_t width, std::int32_t height) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
           sizeof(std::uint32_t);
}

// What is wrong with a frame before its block is looked at.
int check_frame(const frame_announcement &frame, const play_args &args) {
    const std::int64_t last = std::int64_t{args.first} + args.count - 1;
    if (frame.number < args.first || frame.number > last)
        return refuse(frame.number, "the session has no such frame; frames", args.count);
    if (args.width < 1 || args.height < 1)
        return refuse(frame.number, "the session's pictures have no size; width", args.width);
    const std::size_t needed = picture_bytes(args.width, args.height);
    if (frame.size < 1 || static_cast<std::size_t>(frame.size) < needed)
        return refuse(frame.number, "it is too small for its picture, bytes", frame.size);
    // A parent that has not asked for the size sends pictures as it renders them.
    const std::size_t rendered = picture_bytes(args.orig_width, args.orig_height);
    if (needed < rendered && static_cast<std::size_t>(frame.size) >= rendered)
        return refuse(frame.number, "it has not the size that was asked for, bytes", frame.size);
    return 0;
}

bool has_room(frame_buffer &buffer, std::size_t words) {
    if (buffer.count < words)
        buffer = make_frame_buffer(words);
    return buffer.count >= words;
}

// Copies the frame into the pixels.
int take_frame(const frame_announcement &frame, ipc_link &parent, play_args &args) {
    const frame_block *block = attach(frame);
    if (block == nullptr)
        return -1;
    if (block->bytes < static_cast<std::size_t>(frame.size))
        return refuse(frame.number, "its block is too small, bytes",
                      static_cast<std::int64_t>(block->bytes));
    const std::size_t needed = picture_bytes(args.width, args.height);
    const std::size_t words = needed / sizeof(std::uint32_t);
    set_link_busy(parent, true);
    const bool is_taken =
        has_room(args.pixels, words) && (args.render != 0 || has_room(args.packed, words));
    if (is_taken)
        std::memcpy(args.pixels.words.get(), block->address, needed);
    set_link_busy(parent, false);
    return is_taken ? 0
                    : refuse(frame.number, "there is no memory for it, bytes",
                             static_cast<std::int64_t>(needed));
}

} // namespace

int receive_frame(const frame_announcement &frame, ipc_link &parent, play_args &args,
                  movie_ref &ref) {
    if (check_frame(frame, args) != 0 || take_frame(frame, parent, args) != 0)
        return -1;
    args.current = frame.number;
    ++state.frames_received;
    if (args.render != 0)
        return 0;
    compress_to_movie_file(args, ref);
    if (std::int64_t{args.current} + 1 == std::int64_t{args.first} + args.count) {
        static_cast<void>(prepare_preview(args, ref, args.current));
        stop_playing(args);
    }
    return 0;
}

void release_frame_blocks() {
    for (frame_block &block : blocks)
        release(block);
}

} // namespace player
