#include "tools/reel/verify.h"

#include "tools/reel/progress.h"
#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace reel {

namespace {

constexpr int max_remarks = 10; // of one kind, for one file
constexpr std::int64_t table_entry_bytes = 4;
constexpr std::uint8_t detailed_flag = 0x80; // in the first byte of a block's first colour
constexpr std::size_t mask_bytes = 2;

// How far a stream goes.
struct stream_walk {
    std::int64_t blocks = 0; // complete ones
    std::int64_t wanted = 0; // blocks that its size asks for
    std::size_t bytes = 0;   // up to the end of the last complete block
};

stream_walk walk_stream(std::span<const std::uint8_t> packed, const movie::ir1_size &size) {
    stream_walk walk;
    walk.wanted =
        std::int64_t{size.width / movie::ir1_block_size} * (size.height / movie::ir1_block_size);
    walk.bytes = movie::ir1_header_bytes;
    while (walk.blocks < walk.wanted && walk.bytes + mask_bytes < packed.size()) {
        const bool detailed = (packed[walk.bytes + mask_bytes] & detailed_flag) != 0;
        const std::size_t length = detailed ? movie::ir1_detailed_bytes : movie::ir1_flat_bytes;
        if (walk.bytes + length > packed.size())
            break;
        walk.bytes += length;
        ++walk.blocks;
    }
    return walk;
}

// Says why the decoder refused the data in the buffer.
std::string describe_bad_data(const reel_file &file, int index, const frame_buffer &buffer) {
    const movie::vf_movie &film = *file.film;
    const std::int64_t start =
        file.frames[static_cast<std::size_t>(index)].offset + movie::vf_chunk_bytes;
    const std::string place = "its data at offset " + std::to_string(start);
    movie::ir1_size size;
    if (movie::ir1_read_size(buffer.packed, &size) != 0)
        return place + " does not start with a picture size";
    if (size.width != coded_side(film.width) || size.height != coded_side(film.height))
        return place + " is a picture of " + std::to_string(size.width) + "x" +
               std::to_string(size.height) + ", not of the movie's size";
    const stream_walk walk = walk_stream(buffer.packed, size);
    if (walk.blocks < walk.wanted)
        return place + " ends in block " + std::to_string(walk.blocks) + " of " +
               std::to_string(walk.wanted) + ", at offset " +
               std::to_string(start + static_cast<std::int64_t>(walk.bytes));
    return place + " cannot be decoded";
}

// What has been found in one file.
struct findings {
    const char *name = "";
    std::int64_t wrong = 0;
    int excess_remarks = 0; // pictures with bytes behind them
};

void say(findings &found, int index, const std::string &what) {
    std::printf("%s: frame %d: %s\n", found.name, index, what.c_str());
    ++found.wrong;
}

// Bytes of a chunk behind its last block.
void remark_excess(const reel_file &file, int index, const frame_buffer &buffer, findings &found,
                   progress &meter) {
    movie::ir1_size size;
    if (movie::ir1_read_size(buffer.packed, &size) != 0)
        return;
    const auto used = static_cast<std::int64_t>(walk_stream(buffer.packed, size).bytes);
    const std::int64_t excess = file.frames[static_cast<std::size_t>(index)].size - used;
    if (excess <= 0 || found.excess_remarks++ >= max_remarks)
        return;
    clear_progress(meter);
    std::printf("%s: remark: frame %d: %lld bytes behind its picture are not used\n", found.name,
                index, static_cast<long long>(excess));
}

void check_frames(const reel_file &file, findings &found) {
    frame_buffer buffer;
    std::vector<bool> bad(file.frames.size());
    progress meter = start_progress("verifying", static_cast<std::int64_t>(file.frames.size()));
    for (std::size_t i = 0; i < file.frames.size(); ++i) {
        const auto index = static_cast<int>(i);
        const frame_entry &frame = file.frames[i];
        std::string what = describe_fault(file, index);
        if (frame.state == frame_state::picture) {
            const frame_fault fault = decode_frame(file, index, buffer);
            if (fault == frame_fault::unreadable)
                what = "its data at offset " +
                       std::to_string(frame.offset + movie::vf_chunk_bytes) + " cannot be read";
            else if (fault == frame_fault::bad_data)
                what = describe_bad_data(file, index, buffer);
            else
                remark_excess(file, index, buffer, found, meter);
        } else if (what.empty() && bad[static_cast<std::size_t>(frame.source)]) {
            what = "it repeats frame " + std::to_string(frame.source) + ", which is damaged";
        }
        bad[i] = !what.empty();
        if (bad[i]) {
            clear_progress(meter);
            say(found, index, what);
        }
        step_progress(meter);
    }
    clear_progress(meter);
}

void check_header(const reel_file &file, findings &found) {
    const movie::vf_movie &film = *file.film;
    if (film.width != coded_side(film.width) || film.height != coded_side(film.height)) {
        std::printf("%s: header: %dx%d is not in multiples of %d\n", found.name, film.width,
                    film.height, movie::ir1_block_size);
        ++found.wrong;
    }
    if (film.rate < 1)
        std::printf("%s: remark: header: the rate is %d frames/s\n", found.name, film.rate);
}

struct extent {
    std::int64_t begin = 0;
    std::int64_t end = 0;
    int frame = 0;
};

// The chunks in the order in which they stand in the file.
std::vector<extent> list_extents(const reel_file &file) {
    std::vector<extent> extents;
    for (std::size_t i = 0; i < file.frames.size(); ++i) {
        const frame_entry &frame = file.frames[i];
        if (frame.state == frame_state::picture || frame.state == frame_state::repeat)
            extents.push_back({frame.offset, frame.offset + movie::vf_chunk_bytes + frame.size,
                               static_cast<int>(i)});
    }
    std::sort(extents.begin(), extents.end(), [](const extent &a, const extent &b) {
        return a.begin != b.begin ? a.begin < b.begin : a.frame < b.frame;
    });
    return extents;
}

// Remarks on bytes that belong to two chunks or to none.
void remark_layout(const reel_file &file, const findings &found) {
    extent reach; // up to where chunks, or the head of the file, have come
    reach.end =
        movie::vf_header_bytes + table_entry_bytes * static_cast<std::int64_t>(file.frames.size());
    const std::int64_t chunks_begin = reach.end;
    std::int64_t loose = 0;
    std::int64_t first_loose = 0;
    int overlaps = 0;
    const auto count_loose = [&](std::int64_t until) {
        if (until > reach.end && loose == 0)
            first_loose = reach.end;
        loose += std::max<std::int64_t>(until - reach.end, 0);
    };
    for (const extent &chunk : list_extents(file)) {
        count_loose(chunk.begin);
        if (chunk.begin < reach.end && chunk.begin >= chunks_begin && overlaps++ < max_remarks)
            std::printf("%s: remark: the chunks of frames %d and %d share bytes at offset %lld\n",
                        found.name, std::min(reach.frame, chunk.frame),
                        std::max(reach.frame, chunk.frame), static_cast<long long>(chunk.begin));
        if (chunk.end > reach.end)
            reach = chunk;
    }
    count_loose(file.bytes);
    if (overlaps > max_remarks)
        std::printf("%s: remark: %d further chunks share bytes\n", found.name,
                    overlaps - max_remarks);
    if (loose > 0)
        std::printf("%s: remark: %lld bytes belong to no chunk, the first at offset %lld\n",
                    found.name, static_cast<long long>(loose), static_cast<long long>(first_loose));
}

int verify_file(const std::string &name) {
    reel_file file;
    if (open_reel(name, file) != 0)
        return -1;
    findings found;
    found.name = name.c_str();
    check_header(file, found);
    check_frames(file, found);
    if (found.excess_remarks > max_remarks)
        std::printf("%s: remark: %d further frames have bytes behind their pictures\n", found.name,
                    found.excess_remarks - max_remarks);
    remark_layout(file, found);
    if (found.wrong == 0)
        std::printf("%s: %zu frames, all good\n", found.name, file.frames.size());
    else
        std::printf("%s: %zu frames, %lld faults\n", found.name, file.frames.size(),
                    static_cast<long long>(found.wrong));
    return found.wrong == 0 ? 0 : -1;
}

} // namespace

int run_verify(const verify_options &options) {
    int status = exit_good;
    for (const std::string &name : options.files)
        if (verify_file(name) != 0)
            status = exit_failed;
    return status;
}

} // namespace reel
