// The calls of vf.h that find and read frames.
#include "movie/vf.h"

#include "movie/file_io.h"
#include "movie/vf_file.h"

#include <algorithm>
#include <cinttypes>
#include <fcntl.h>
#include <new>

namespace movie {

// ---- Frames ------------------------------------------------------------------------------------

void VFreport(vf_movie &film, int index, const char *what, std::int64_t value) {
    const auto frame = static_cast<std::size_t>(index);
    if (index < 0 || frame >= film.offsets.size() ||
        (frame < film.reported.size() && film.reported[frame])) {
        return;
    }
    std::fprintf(stderr, "VF: \"%s\": frame %d: %s (%" PRId64 ")\n", film.name.c_str(), index, what,
                 value);
    try {
        film.reported.resize(film.offsets.size());
        film.reported[frame] = true;
    } catch (const std::bad_alloc &) {
        return; // it may be said again then
    }
}

namespace {

// The table entry of a frame; one that was 0 is looked up again in the file.
std::int32_t look_up_entry(vf_movie &film, int index) {
    std::int32_t &entry = film.offsets[static_cast<std::size_t>(index)];
    std::array<std::uint8_t, vf_entry_bytes> bytes{};
    if (entry == 0 && read_at(vf_descriptor(film), vf_table_end(index), bytes)) {
        entry = get_signed(bytes.data());
    }
    return entry;
}

// Finds the data of exactly this frame; `none` when its chunk has no data.
vf_find find_own_data(vf_movie &film, int index, std::int64_t file_size, vf_frame *where) {
    const std::int64_t entry = look_up_entry(film, index);
    if (entry == 0) {
        return vf_find::absent;
    }
    const auto first_chunk = vf_table_end(std::ssize(film.offsets));
    std::array<std::uint8_t, 4> word{};
    if (entry < first_chunk || entry + vf_chunk_bytes > file_size ||
        !read_at(vf_descriptor(film), entry + vf_chunk_size_offset, word)) {
        VFreport(film, index, "no chunk at its offset", entry);
        return vf_find::damaged;
    }
    const std::int64_t size = get_signed(word.data());
    if (size == 0) {
        return vf_find::none;
    }
    const std::int64_t data = entry + vf_chunk_bytes;
    if (size < 0 || size > file_size - data) {
        VFreport(film, index, "its data size runs outside the file", size);
        return vf_find::damaged;
    }
    const auto most = static_cast<std::int64_t>(vf_max_data_bytes(film));
    *where = {index, data, std::min(size, most)};
    return vf_find::found;
}

// Walks back from a frame over zero-length chunks; look says what it finds at a frame, `none` for
// such a chunk.
template <typename look_call> vf_find walk_repeats(vf_movie &film, int index, look_call look) {
    if (film.stream == nullptr || index < 0 ||
        static_cast<std::size_t>(index) >= film.offsets.size()) {
        return vf_find::none;
    }
    for (int i = index; i >= 0; --i) {
        // A long run of repeats is walked once: playing on, or back, meets what was found before.
        const bool known = i >= film.repeated && i <= film.repeats_to;
        i = known ? film.repeated : i;
        const vf_find result = look(i);
        if (result != vf_find::none || i == 0) {
            film.repeats_to = known ? std::max(film.repeats_to, index) : index;
            film.repeated = i;
            return result;
        }
    }
    return vf_find::none;
}

} // namespace

vf_find VFfindframe(vf_movie &film, int index, vf_frame *where) {
    const std::int64_t file_size = film.stream != nullptr ? vf_file_size(film) : -1;
    return walk_repeats(film, index,
                        [&](int i) { return find_own_data(film, i, file_size, where); });
}

int VFreadframe(vf_movie &film, const vf_frame &where, std::span<std::uint8_t> buffer) {
    if (where.size < 0 || static_cast<std::uint64_t>(where.size) > buffer.size()) {
        VFreport(film, where.index, "its data does not fit the buffer", where.size);
        return -1;
    }
    const auto size = static_cast<std::size_t>(where.size);
    if (film.stream == nullptr || !read_at(vf_descriptor(film), where.offset, buffer.first(size))) {
        VFreport(film, where.index, "its data can not be read", where.offset);
        return -1;
    }
    return 0;
}

namespace {

// How much data the chunk of a frame can have at most: it ends where the next frame's begins, when
// that lies behind it.
std::size_t most_data(vf_movie &film, int index) {
    const std::size_t most = vf_max_data_bytes(film);
    if (index + 1 >= std::ssize(film.offsets)) {
        return most;
    }
    const std::int64_t data = film.offsets[static_cast<std::size_t>(index)] + vf_chunk_bytes;
    const std::int64_t next = look_up_entry(film, index + 1);
    return next >= data ? std::min(most, static_cast<std::size_t>(next - data)) : most;
}

// Tells the kernel which frame is likely to come, when it is not the one behind the last: as many
// frames from this one as this is from the one before.
void announce_frame(vf_movie &film, int index) {
    const std::int64_t next = std::int64_t{2} * index - film.fetched;
    if (film.fetched < 0 || next < 0 || next >= std::ssize(film.offsets)) {
        return;
    }
    const std::int64_t place = film.offsets[static_cast<std::size_t>(next)];
    if (place > 0) {
        const std::size_t bytes = vf_chunk_bytes + most_data(film, static_cast<int>(next));
        posix_fadvise(vf_descriptor(film), place, static_cast<off_t>(bytes), POSIX_FADV_WILLNEED);
    }
}

// Reads the data of exactly this frame; `none` when its chunk has no data. What can not be read at
// once (damage, most likely) is left to those who say why.
//   with_data  whether data is read together with the chunk's head; cleared when that was in vain:
//              a long run of repeats whose chunks lie in any order would cost as much data as it
//              has frames
vf_find fetch_own_data(vf_movie &film, int index, std::span<std::uint8_t> buffer, bool &with_data,
                       vf_frame *where) {
    const std::int64_t entry = look_up_entry(film, index);
    if (entry == 0) {
        return vf_find::absent;
    }
    std::array<std::uint8_t, vf_chunk_bytes> head{};
    const std::size_t most = with_data ? most_data(film, index) : 0;
    const auto room = buffer.first(std::min(buffer.size(), most));
    const bool in_place = entry >= vf_table_end(std::ssize(film.offsets));
    const std::size_t there = in_place ? read_up_to(vf_descriptor(film), entry, head, room) : 0;
    const std::int64_t size = there >= head.size() ? get_signed(&head[vf_chunk_size_offset]) : -1;
    if (size == 0) {
        with_data = with_data && there == head.size();
        film.fetched_end += entry == film.fetched_end ? vf_chunk_bytes : 0;
        return vf_find::none;
    }
    if (size > 0 && size <= static_cast<std::int64_t>(there - head.size())) {
        *where = {index, entry + vf_chunk_bytes, size};
    } else {
        const vf_find result = find_own_data(film, index, vf_file_size(film), where);
        if (result != vf_find::found) {
            return result;
        }
        if (VFreadframe(film, *where, buffer) != 0) {
            return vf_find::damaged;
        }
    }
    if (entry != film.fetched_end) {
        announce_frame(film, index);
    }
    film.fetched = index;
    film.fetched_end = where->offset + where->size;
    return vf_find::found;
}

} // namespace

vf_find VFfetchframe(vf_movie &film, int index, int have, std::span<std::uint8_t> buffer,
                     vf_frame *where) {
    bool with_data = true;
    return walk_repeats(film, index, [&](int i) {
        if (i != have) {
            return fetch_own_data(film, i, buffer, with_data, where);
        }
        where->index = i;
        return vf_find::found;
    });
}

std::size_t vf_max_data_bytes(const vf_movie &film) {
    return ir1_worst_case(film.width, film.height);
}

} // namespace movie
