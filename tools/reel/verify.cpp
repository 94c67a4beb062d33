#include "tools/reel/verify.h"

#include "tools/reel/json.h"
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
constexpr std::int64_t width_offset = 12;    // in the header
constexpr std::int64_t rate_offset = 20;     // in the header
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

// Where something was found, besides what.
struct place {
    int frame = -1;           // -1: not in one frame
    std::int64_t offset = -1; // of the byte in the file that it is about; -1: none
};

enum class finding_kind {
    fault,  // the frame, or the movie, is not as it should be
    remark, // odd, but nothing that a player minds
};

// What has been found in one file.
struct findings {
    const char *name = "";
    json_text *json = nullptr; // in an open array, or null for lines of text
    std::int64_t wrong = 0;
    int excess_remarks = 0; // pictures with bytes behind them
};

// A number, or null for -1.
void add_json_or_null(json_text &json, std::int64_t value) {
    if (value < 0)
        add_json_null(json);
    else
        add_json(json, value);
}

// Passes a finding on.
void tell(findings &found, finding_kind kind, const place &where, const std::string &what) {
    const bool remark = kind == finding_kind::remark;
    if (!remark)
        ++found.wrong;
    if (found.json == nullptr) {
        const std::string frame =
            where.frame >= 0 ? "frame " + std::to_string(where.frame) + ": " : "";
        std::printf("%s: %s%s%s\n", found.name, remark ? "remark: " : "", frame.c_str(),
                    what.c_str());
        return;
    }
    json_text &json = *found.json;
    break_json(json);
    open_json(json, '{');
    name_json(json, "kind"), add_json(json, remark ? "remark" : "fault");
    name_json(json, "frame"), add_json_or_null(json, where.frame);
    name_json(json, "offset"), add_json_or_null(json, where.offset);
    name_json(json, "text"), add_json(json, what);
    close_json(json, '}');
}

// Says why the decoder refused the data in the buffer; *offset becomes where.
std::string describe_bad_data(const reel_file &file, const frame_buffer &buffer,
                              std::int64_t *offset) {
    const movie::vf_movie &film = *file.film;
    const std::int64_t start = *offset;
    const std::string data = "its data at offset " + std::to_string(start);
    movie::ir1_size size;
    if (movie::ir1_read_size(buffer.packed, &size) != 0)
        return data + " does not start with a picture size";
    if (size.width != coded_side(film.width) || size.height != coded_side(film.height))
        return data + " is a picture of " + std::to_string(size.width) + "x" +
               std::to_string(size.height) + ", not of the movie's size";
    const stream_walk walk = walk_stream(buffer.packed, size);
    if (walk.blocks >= walk.wanted)
        return data + " cannot be decoded";
    *offset = start + static_cast<std::int64_t>(walk.bytes);
    return data + " ends in block " + std::to_string(walk.blocks) + " of " +
           std::to_string(walk.wanted) + ", at offset " + std::to_string(*offset);
}

// Bytes of a chunk behind its last block.
void remark_excess(const reel_file &file, int index, const frame_buffer &buffer, findings &found,
                   progress &meter) {
    movie::ir1_size size;
    if (movie::ir1_read_size(buffer.packed, &size) != 0)
        return;
    const frame_entry &frame = file.frames[static_cast<std::size_t>(index)];
    const auto used = static_cast<std::int64_t>(walk_stream(buffer.packed, size).bytes);
    const std::int64_t excess = frame.size - used;
    if (excess <= 0 || found.excess_remarks++ >= max_remarks)
        return;
    clear_progress(meter);
    tell(found, finding_kind::remark, {index, frame.offset + movie::vf_chunk_bytes + used},
         std::to_string(excess) + " bytes behind its picture are not used");
}

// Decodes a picture. Returns what is wrong, or an empty text.
std::string check_picture(const reel_file &file, int index, frame_buffer &buffer, findings &found,
                          progress &meter, std::int64_t *offset) {
    *offset = file.frames[static_cast<std::size_t>(index)].offset + movie::vf_chunk_bytes;
    switch (decode_frame(file, index, buffer)) {
    case frame_fault::unreadable:
        return "its data at offset " + std::to_string(*offset) + " cannot be read";
    case frame_fault::bad_data:
        return describe_bad_data(file, buffer, offset);
    case frame_fault::none:
        break;
    }
    remark_excess(file, index, buffer, found, meter);
    return "";
}

// The place of the byte that the fault of a frame's chunk is about: its table entry, or the chunk.
std::int64_t fault_offset(const reel_file &file, int index) {
    const frame_entry &frame = file.frames[static_cast<std::size_t>(index)];
    const bool in_chunk =
        frame.state == frame_state::chunk_cut_off || frame.state == frame_state::repeat;
    return in_chunk ? frame.offset : movie::vf_header_bytes + table_entry_bytes * index;
}

void check_frames(const reel_file &file, findings &found) {
    frame_buffer buffer;
    std::vector<bool> bad(file.frames.size());
    progress meter = start_progress("verifying", static_cast<std::int64_t>(file.frames.size()));
    for (std::size_t i = 0; i < file.frames.size(); ++i) {
        const auto index = static_cast<int>(i);
        const frame_entry &frame = file.frames[i];
        std::string what = describe_fault(file, index);
        std::int64_t offset = fault_offset(file, index);
        if (frame.state == frame_state::picture)
            what = check_picture(file, index, buffer, found, meter, &offset);
        else if (what.empty() && bad[static_cast<std::size_t>(frame.source)])
            what = "it repeats frame " + std::to_string(frame.source) + ", which is damaged";
        bad[i] = !what.empty();
        if (bad[i]) {
            clear_progress(meter);
            tell(found, finding_kind::fault, {index, offset}, what);
        }
        step_progress(meter);
    }
    clear_progress(meter);
}

void check_header(const reel_file &file, findings &found) {
    const movie::vf_movie &film = *file.film;
    if (film.width != coded_side(film.width) || film.height != coded_side(film.height))
        tell(found, finding_kind::fault, {-1, width_offset},
             "header: " + std::to_string(film.width) + "x" + std::to_string(film.height) +
                 " is not in multiples of " + std::to_string(movie::ir1_block_size));
    if (film.rate < 1)
        tell(found, finding_kind::remark, {-1, rate_offset},
             "header: the rate is " + std::to_string(film.rate) + " frames/s");
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
void remark_layout(const reel_file &file, findings &found) {
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
            tell(found, finding_kind::remark, {-1, chunk.begin},
                 "the chunks of frames " + std::to_string(std::min(reach.frame, chunk.frame)) +
                     " and " + std::to_string(std::max(reach.frame, chunk.frame)) +
                     " share bytes at offset " + std::to_string(chunk.begin));
        if (chunk.end > reach.end)
            reach = chunk;
    }
    count_loose(file.bytes);
    if (overlaps > max_remarks)
        tell(found, finding_kind::remark, {},
             std::to_string(overlaps - max_remarks) + " further chunks share bytes");
    if (loose > 0)
        tell(found, finding_kind::remark, {-1, first_loose},
             std::to_string(loose) + " bytes belong to no chunk, the first at offset " +
                 std::to_string(first_loose));
}

void check_file(const reel_file &file, findings &found) {
    check_header(file, found);
    check_frames(file, found);
    if (found.excess_remarks > max_remarks)
        tell(found, finding_kind::remark, {},
             std::to_string(found.excess_remarks - max_remarks) +
                 " further frames have bytes behind their pictures");
    remark_layout(file, found);
}

int verify_file(const std::string &name) {
    reel_file file;
    if (open_reel(name, file) != 0)
        return -1;
    findings found;
    found.name = name.c_str();
    check_file(file, found);
    if (found.wrong == 0)
        std::printf("%s: %zu frames, all good\n", found.name, file.frames.size());
    else
        std::printf("%s: %zu frames, %lld faults\n", found.name, file.frames.size(),
                    static_cast<long long>(found.wrong));
    return found.wrong == 0 ? 0 : -1;
}

// Adds an object for a file.
int verify_file_as_json(const std::string &name, json_text &json) {
    reel_file file;
    findings found;
    found.json = &json;
    const bool opened = open_reel(name, file) == 0;
    break_json(json);
    open_json(json, '{');
    name_json(json, "file"), add_json(json, name);
    name_json(json, "opened"), add_json(json, opened);
    name_json(json, "frames"), add_json(json, file.frames.size());
    name_json(json, "findings");
    open_json(json, '[');
    if (opened)
        check_file(file, found);
    close_json(json, ']');
    name_json(json, "faults"), add_json(json, found.wrong);
    name_json(json, "good"), add_json(json, opened && found.wrong == 0);
    close_json(json, '}');
    return opened && found.wrong == 0 ? 0 : -1;
}

} // namespace

int run_verify(const verify_options &options) {
    int status = exit_good;
    json_text json;
    open_json(json, '[');
    for (const std::string &name : options.files) {
        const int result = options.json ? verify_file_as_json(name, json) : verify_file(name);
        if (result != 0)
            status = exit_failed;
    }
    close_json(json, ']');
    if (options.json)
        std::printf("%s\n", json.text.c_str());
    return status;
}

} // namespace reel
