#include "tools/reel/reel_file.h"

#include "movie/file_io.h"
#include "tools/reel/parallel.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace reel {

namespace {

constexpr std::int64_t table_entry_bytes = 4;
constexpr std::size_t frames_at_once = 2048; // that one processor looks at before it asks for more

std::int64_t table_end(const movie::vf_movie &film) {
    return movie::vf_header_bytes +
           table_entry_bytes * static_cast<std::int64_t>(film.offsets.size());
}

frame_entry examine_chunk(const movie::vf_movie &film, std::int64_t offset,
                          std::int64_t file_bytes) {
    frame_entry entry;
    entry.offset = offset;
    if (offset == 0)
        return entry;
    if (offset < 0 || offset >= file_bytes) {
        entry.state = frame_state::offset_outside;
        return entry;
    }
    if (offset < table_end(film)) {
        entry.state = frame_state::offset_in_head;
        return entry;
    }
    entry.state = frame_state::chunk_cut_off;
    std::array<std::uint8_t, 4> size{};
    if (!movie::read_at(::fileno(film.stream.get()), offset + movie::vf_chunk_size_offset, size))
        return entry;
    entry.size = movie::get_signed(size.data());
    if (entry.size == 0)
        entry.state = frame_state::repeat;
    else if (entry.size > 0 && entry.size <= file_bytes - offset - movie::vf_chunk_bytes)
        entry.state = frame_state::picture;
    return entry;
}

// Reads the heads of all chunks. Each is a call to the system of its own, so that a movie of many
// frames is worth more than one processor.
void examine_chunks(reel_file &file) {
    const movie::vf_movie &film = *file.film;
    const std::size_t count = film.offsets.size();
    file.frames.assign(count, {});
    std::atomic<std::size_t> next = 0;
    const std::size_t shares = count / frames_at_once + 1;
    run_parallel(static_cast<int>(std::min<std::size_t>(shares, max_workers)), [&](int) {
        for (;;) {
            const std::size_t begin = next.fetch_add(frames_at_once);
            for (std::size_t i = begin; i < std::min(begin + frames_at_once, count); ++i)
                file.frames[i] = examine_chunk(film, film.offsets[i], file.bytes);
            if (begin >= count)
                return;
        }
    });
}

// Looks at what a name stands for, so that the message can say more than that opening failed.
int check_kind(const std::string &name) {
    struct stat status {};
    const char *fault = nullptr;
    if (::stat(name.c_str(), &status) != 0 || ::access(name.c_str(), R_OK) != 0)
        fault = std::strerror(errno);
    else if (S_ISDIR(status.st_mode))
        fault = "it is a folder";
    else if (!S_ISREG(status.st_mode))
        fault = "it is not a regular file";
    else if (status.st_size == 0)
        fault = "it is empty";
    if (fault != nullptr)
        report("%s: %s", name.c_str(), fault);
    return fault == nullptr ? 0 : -1;
}

// Whether the data can be a picture of the movie's size. Asked before there is memory for the
// picture: a damaged header may want gigabytes.
bool may_fill_picture(const movie::vf_movie &film, std::span<const std::uint8_t> packed) {
    movie::ir1_size size;
    if (movie::ir1_read_size(packed, &size) != 0 || size.width != coded_side(film.width) ||
        size.height != coded_side(film.height))
        return false;
    const auto blocks = static_cast<std::size_t>(blocks_of(film));
    return packed.size() >= movie::ir1_header_bytes + blocks * movie::ir1_flat_bytes;
}

} // namespace

int open_reel(const std::string &name, reel_file &file) {
    if (check_kind(name) != 0)
        return -1;
    file.film = movie::VFopen(name.c_str(), "r");
    struct stat status {};
    if (file.film == nullptr || ::fstat(::fileno(file.film->stream.get()), &status) != 0) {
        report("%s: it cannot be opened as a movie", name.c_str());
        return -1;
    }
    file.bytes = status.st_size;
    examine_chunks(file);
    int shown = -1; // whose picture a repeat would show
    for (std::size_t i = 0; i < file.frames.size(); ++i) {
        frame_entry &entry = file.frames[i];
        if (entry.state == frame_state::picture)
            shown = static_cast<int>(i);
        else if (entry.state != frame_state::repeat)
            shown = -1;
        entry.source = shown;
    }
    return 0;
}

frame_fault decode_frame(const reel_file &file, int index, frame_buffer &buffer) {
    const movie::vf_movie &film = *file.film;
    const frame_entry &frame = file.frames[static_cast<std::size_t>(index)];
    const auto wanted = std::min(static_cast<std::size_t>(frame.size), vf_max_data_bytes(film));
    buffer.packed.resize(wanted);
    if (!movie::read_at(::fileno(film.stream.get()), frame.offset + movie::vf_chunk_bytes,
                        buffer.packed))
        return frame_fault::unreadable;
    if (!may_fill_picture(film, buffer.packed))
        return frame_fault::bad_data;
    buffer.words.resize(static_cast<std::size_t>(coded_side(film.width)) *
                        static_cast<std::size_t>(coded_side(film.height)));
    buffer.chunk.data = buffer.packed.data();
    buffer.chunk.size = static_cast<std::int32_t>(wanted);
    return movie::VFdecompress(film, buffer.chunk, buffer.words) == 0 ? frame_fault::none
                                                                      : frame_fault::bad_data;
}

int coded_side(int pixels) {
    return pixels - pixels % movie::ir1_block_size;
}

std::int64_t blocks_of(const movie::vf_movie &film) {
    return std::int64_t{film.width / movie::ir1_block_size} * (film.height / movie::ir1_block_size);
}

std::int64_t detailed_blocks_of(const movie::vf_movie &film, const frame_entry &frame) {
    constexpr std::int64_t flat = movie::ir1_flat_bytes;
    constexpr std::int64_t more = movie::ir1_detailed_bytes - movie::ir1_flat_bytes;
    const std::int64_t blocks = blocks_of(film);
    const std::int64_t excess =
        frame.size - static_cast<std::int64_t>(movie::ir1_header_bytes) - flat * blocks;
    if (frame.state != frame_state::picture || excess < 0 || excess > more * blocks ||
        excess % more != 0)
        return -1;
    return excess / more;
}

bool is_damaged(frame_state state) {
    return state == frame_state::offset_outside || state == frame_state::offset_in_head ||
           state == frame_state::chunk_cut_off;
}

std::vector<frame_range> frames_in_state(const reel_file &file, frame_state state) {
    std::vector<frame_range> ranges;
    for (std::size_t i = 0; i < file.frames.size(); ++i)
        if (file.frames[i].state == state)
            add_to_ranges(ranges, static_cast<std::int64_t>(i));
    return ranges;
}

std::string describe_fault(const reel_file &file, int index) {
    const frame_entry &frame = file.frames[static_cast<std::size_t>(index)];
    const std::string offset = std::to_string(frame.offset);
    const std::string ends = "; the file ends at " + std::to_string(file.bytes);
    switch (frame.state) {
    case frame_state::picture:
        return "";
    case frame_state::repeat:
        return frame.source >= 0 ? "" : "it repeats the frame before, which has no picture";
    case frame_state::missing:
        return "it is missing: its table entry is 0";
    case frame_state::offset_outside:
        return "its table entry points outside the file, at " + offset + ends;
    case frame_state::offset_in_head:
        return "its table entry points into the head of the file, at " + offset;
    case frame_state::chunk_cut_off:
        return "its chunk at offset " + offset + " with " + std::to_string(frame.size) +
               " bytes of data does not fit" + ends;
    }
    return "";
}

} // namespace reel
