#include "player/frame_reader.h"

#include "player/play_stats.h"

#include <algorithm>
#include <cstdio>

namespace player {

namespace {

// What makes a frame unreadable, for VFreport.
struct fault {
    const char *what = nullptr; // null: nothing
    std::int64_t value = 0;
};

// What can be said of a frame's data before it is decoded. A stream of another size than the
// movie's would put its rows in the wrong places; one that is too short even for flat blocks would
// spoil the picture before its end is met.
fault find_fault(const play_args &args, std::span<const std::uint8_t> data) {
    constexpr int block_pixels = movie::ir1_block_size * movie::ir1_block_size;
    const auto bytes = static_cast<std::int64_t>(data.size());
    movie::ir1_size size;
    if (movie::ir1_read_size(data, &size) != 0)
        return {"its data has no usable head, bytes", bytes};
    if (size.width != args.width)
        return {"its coded width is not the movie's", size.width};
    if (size.height != args.height)
        return {"its coded height is not the movie's", size.height};
    const std::int64_t blocks = std::int64_t{size.width} * size.height / block_pixels;
    if (bytes < blocks * static_cast<std::int64_t>(movie::ir1_flat_bytes))
        return {"its data is too short for a picture, bytes", bytes};
    return {};
}

enum class decoding { whole, untouched, half };

// Decodes a frame into the pixels, or reports why not.
decoding decode(play_args &args, movie_ref &ref, std::span<const std::uint8_t> data, int index) {
    const phase_timer timed(play_phase::decoding);
    if (!ref.tables)
        ref.tables = movie::vf_current_table();
    if (!ref.tables)
        ref.tables = movie::IR1_init_tables();
    fault found = find_fault(args, data);
    if (!ref.tables)
        found = {"no memory to decode it, bytes", movie::ir1_colour_count * sizeof(std::uint32_t)};
    const bool untouched = found.what != nullptr;
    if (!untouched && movie::IR1_decompress(*ref.tables, data, args.pixels.span()) != 0)
        found = {"its data ends too early, bytes", static_cast<std::int64_t>(data.size())};
    if (found.what == nullptr)
        return decoding::whole;
    movie::VFreport(*ref.film, index, found.what, found.value);
    return untouched ? decoding::untouched : decoding::half;
}

enum class finding { read, unchanged, failed };

// Reads the data of frame `index` into args.packed, unless the pixels show it already.
finding read_data(play_args &args, movie_ref &ref, int index, movie::vf_frame *where) {
    const phase_timer timed(play_phase::reading);
    const movie::vf_find result =
        movie::VFfetchframe(*ref.film, index, ref.decoded, args.packed.bytes(), where);
    if (result != movie::vf_find::found)
        return finding::failed;
    return where->index == ref.decoded ? finding::unchanged : finding::read;
}

decoding decode_packed(play_args &args, movie_ref &ref, const movie::vf_frame &where) {
    const auto size = static_cast<std::size_t>(where.size);
    return decode(args, ref, args.packed.bytes().first(size), where.index);
}

// Puts the picture back that a failed decoding has half overwritten.
void restore_picture(play_args &args, movie_ref &ref) {
    const int shown = ref.decoded;
    ref.decoded = -1;
    movie::vf_frame where;
    if (shown >= 0 && read_data(args, ref, shown, &where) == finding::read &&
        decode_packed(args, ref, where) == decoding::whole)
        ref.decoded = shown;
    else
        std::ranges::fill(args.pixels.span(), 0U);
}

} // namespace

bool read_frame_from_file(play_args &args, movie_ref &ref) {
    if (!args.pixels || !args.packed || !ref.film)
        return false;
    const std::int64_t index = std::int64_t{args.current} - args.first;
    if (index < 0) {
        std::fprintf(stderr, "%s: read_frame_from_file: Error reading movie file.\n", gMe);
        return false;
    }
    if (index >= ref.film->count)
        return false;
    movie::vf_frame where;
    if (read_data(args, ref, static_cast<int>(index), &where) != finding::read)
        return false;
    switch (decode_packed(args, ref, where)) {
    case decoding::whole:
        ref.decoded = where.index;
        return true;
    case decoding::half:
        restore_picture(args, ref);
        return true;
    case decoding::untouched:
        break;
    }
    return false;
}

} // namespace player
