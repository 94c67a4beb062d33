// Shared memory segments of our own: nobody else can look into them, and none outlives the
// processes that use it.
//
//   own_segment block;
//   if (create_segment(bytes, block) != 0) ...       // null address: no memory
//   ... tell the other process block.key, learn that it has attached ...
//   mark_shared(block);                              // from here on the system removes it
//
// Until it is marked, a segment is found by its key, and stays when this process is killed: the
// next sweep_segments takes it. Our mark is the upper half of the key.
#pragma once

#include <cstddef>
#include <cstdint>

namespace render_link {

inline constexpr std::int32_t key_mark = 0x5E1C; // upper 16 bits of our keys; below 0x8000
inline constexpr int key_number_bits = 16;       // the rest is random

// A segment that this process has attached. It goes with the record.
struct own_segment {
    own_segment() = default;
    own_segment(const own_segment &) = delete;
    own_segment &operator=(const own_segment &) = delete;
    ~own_segment();

    void *address = nullptr;
    std::size_t bytes = 0;
    int key = -1;
    int id = 0;
    bool marked = false; // for removal
};

// Creates one, all 0. What the record had is released. Returns 0, or -1 with errno.
[[nodiscard]] int create_segment(std::size_t bytes, own_segment &segment);

// Detaches the segment, and marks it for removal if it is not.
void release_segment(own_segment &segment);

// Marks the segment for removal if somebody else is attached as well. The caller knows that the
// other process has attached: a fork of this one counts as somebody else too.
void mark_shared(own_segment &segment);

// Removes segments with our mark, of this user, that nobody has attached and whose creator is gone.
// Returns how many.
int sweep_segments();

} // namespace render_link
